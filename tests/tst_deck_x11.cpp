#include "support/ProgramOnScreen.h"

#include <QRegularExpression>
#include <QTest>

#include <xcb/xcb.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window manager on a busy machine may take seconds to answer.
constexpr int patience = 30000;

// The centre of the first item of that kind in the deck's last "items" trace line.
QPoint itemCentre(const QString& trace, const QString& kind)
{
    const qsizetype line = trace.lastIndexOf(u"[deck] items"_s);
    const QRegularExpression item(u" "_s + kind + u":\\S*@(-?\\d+),(-?\\d+),(\\d+)x(\\d+)"_s);
    const QRegularExpressionMatch m =
        item.match(trace.mid(line, trace.indexOf(u'\n', line) - line));
    if (!m.hasMatch())
        return {};
    return QRect(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt(),
                 m.captured(4).toInt())
        .center();
}

} // namespace

class TestDeckX11 : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Hover fans the deck out, a tab's click opens its note and a second click closes it, and
    // the deck rests again once the pointer has gone; a click on the deck never takes the
    // keyboard from the window that had it, and "Show Desktop" leaves the deck where it was.
    void theDeckAnswersThePointerAndKeepsOutOfTheWay()
    {
        ProgramOnScreen desk;
        // A compositor, as most desktops run one: the deck is then a clear rectangle, and only
        // its input shape lets clicks through where it draws nothing.
        QVERIFY2(desk.startDesktop(true), "Xvfb, openbox and picom are needed for this test");
        QVERIFY(desk.seed(
            {u"Groceries"_s, u"Call Mum"_s, u"Ideas"_s, u"Trip"_s, u"Books"_s, u"Films"_s}));
        QVERIFY(desk.launch());
        xcb_window_t deck = XCB_NONE;
        QVERIFY(QTest::qWaitFor(
            [&] { return (deck = desk.programWindow()) && desk.viewable(deck); }, patience));
        const QRect resting = desk.geometry(deck);
        QCOMPARE(resting.right(), 1279);
        QVERIFY2(resting.width() <= 44, qPrintable(u"%1 wide at rest"_s.arg(resting.width())));
        QVERIFY(!desk.takesInput(deck));
        // With a compositor the clear parts show the desktop: no shape is needed.
        QVERIFY(!desk.shaped(deck));

        // Wide enough to lie under the fanned deck's clear part.
        const xcb_window_t other = desk.openOtherWindow({100, 100, 1100, 500});
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        QVERIFY(desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)}));
        QCOMPARE(desk.focus(), other);

        // To the edge, where the pill is.
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(resting.center().x()),
                              QString::number(resting.center().y())}));
        QVERIFY2(desk.waitForLine(u"setState rest -> fan"_s), qPrintable(desk.traceSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.geometry(deck).width() > 200; }, patience));
        QVERIFY2(desk.waitForLine(u"[deck] items"_s), qPrintable(desk.traceSoFar()));
        const QString trace = desk.traceSoFar();
        for (const char* title : {"tab:", "plus:", "cog:"})
            QVERIFY2(trace.count(QLatin1String(title)) >= (qstrcmp(title, "tab:") ? 1 : 5),
                     qPrintable(trace));

        const QPoint tab = itemCentre(trace, u"tab"_s);
        QVERIFY2(!tab.isNull(), qPrintable(trace));
        QVERIFY(desk.xdotool(
            {u"mousemove"_s, u"--sync"_s, QString::number(tab.x()), QString::number(tab.y())}));
        QVERIFY(desk.xdotool({u"click"_s, u"1"_s}));
        QVERIFY2(desk.waitForLine(u"fan -> expanded("_s), qPrintable(desk.traceSoFar()));
        // An open note takes the keyboard.
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == deck; }, patience));
        // What is typed goes into the note; Escape closes it, and the text is in the database.
        QVERIFY(desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"typed in the deck"_s}));
        QVERIFY(desk.xdotool({u"key"_s, u"Escape"_s}));
        QVERIFY2(desk.waitForLine(u"expanded("_s) && desk.waitForLine(u") -> fan"_s),
                 qPrintable(desk.traceSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"typed in the deck"_s); },
                                patience));
        // The keyboard is back in the window that had it.
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == other; }, patience));

        QVERIFY(QTest::qWaitFor([&] { return !desk.takesInput(deck); }, patience));

        // The fanned deck's frame is wide, but where it draws nothing a click reaches the
        // window below, at once (the frame shrinks only half a second after the fan folds).
        desk.clicked(other);
        QVERIFY(
            desk.xdotool({u"mousemove"_s, u"--sync"_s, u"850"_s, u"350"_s, u"click"_s, u"1"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.clicked(other); }, patience));
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, u"300"_s, u"300"_s}));
        QVERIFY2(desk.waitForLine(u"fan -> rest"_s), qPrintable(desk.traceSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.geometry(deck).width() <= 44; }, patience));

        // A click on the deck with another window focused (the More tab: it opens no note)
        // leaves the keyboard where it was.
        QVERIFY(desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)}));
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(resting.center().x()),
                              QString::number(resting.center().y())}));
        QVERIFY2(desk.waitForLine(u"rest -> fan"_s) && desk.waitForLine(u"[deck] items"_s),
                 qPrintable(desk.traceSoFar()));
        const QPoint more = itemCentre(desk.traceSoFar(), u"more"_s);
        QVERIFY2(!more.isNull(), qPrintable(desk.traceSoFar()));
        QVERIFY(desk.xdotool(
            {u"mousemove"_s, u"--sync"_s, QString::number(more.x()), QString::number(more.y())}));
        QVERIFY(desk.xdotool({u"click"_s, u"1"_s}));
        // The column lists all six once the click has gone through.
        QVERIFY2(desk.waitForLine(u"[deck] items"_s), qPrintable(desk.traceSoFar()));
        QCOMPARE(desk.focus(), other);
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, u"300"_s, u"300"_s}));
        QVERIFY(desk.waitForLine(u"fan -> rest"_s));

        desk.showDesktop(true);
        QVERIFY(QTest::qWaitFor([&] { return !desk.viewable(other); }, patience));
        QVERIFY(desk.viewable(deck));
        desk.showDesktop(false);
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));

        // With Control held (Alt-drag is openbox's own) the pill goes where it is dragged,
        // across to the other edge, and stays there: the next launch reads it from the settings.
        QVERIFY(QTest::qWaitFor([&] { return desk.geometry(deck).width() <= 44; }, patience));
        const QRect pill = desk.geometry(deck);
        // The key first, as a hand holds it before it reaches the pill.
        QVERIFY(desk.xdotool({u"keydown"_s, u"ctrl"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.modifiers() & XCB_MOD_MASK_CONTROL; }, patience));
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(pill.center().x()),
                              QString::number(pill.center().y()), u"mousedown"_s, u"1"_s}));
        QVERIFY2(desk.waitForLine(u"pill drag begins"_s), qPrintable(desk.traceSoFar()));
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, u"640"_s, u"200"_s, u"mousemove"_s,
                              u"--sync"_s, u"20"_s, u"200"_s, u"mouseup"_s, u"1"_s, u"keyup"_s,
                              u"ctrl"_s}));
        QVERIFY2(desk.waitForLine(u"pill dropped on the left edge"_s),
                 qPrintable(desk.traceSoFar()));
        QVERIFY2(QTest::qWaitFor([&] { return desk.geometry(deck).left() == 0; }, patience),
                 qPrintable(desk.traceSoFar().right(800)));
        QVERIFY(desk.geometry(deck).top() < pill.top());
        QVERIFY(
            QTest::qWaitFor([&] { return desk.setting("deckOnLeftEdge") == "true"; }, patience));

        // Without one they would show black: the deck cuts itself to what it draws, at once.
        desk.stopCompositor();
        QVERIFY(QTest::qWaitFor([&] { return desk.shaped(deck); }, patience));
    }

    // A note pulled off the deck by its gutter floats in a window of its own, takes the
    // keyboard, keeps what is typed, and tucks away on Escape, handing the keyboard back to
    // the window the person was in before the deck.
    void aNotePulledOffTheDeckFloatsAndTucksAway()
    {
        ProgramOnScreen desk;
        QVERIFY2(desk.startDesktop(true), "Xvfb, openbox and picom are needed for this test");
        QVERIFY(desk.seed({u"Groceries"_s, u"Call Mum"_s}));
        QVERIFY(desk.launch());
        xcb_window_t deck = XCB_NONE;
        QVERIFY(QTest::qWaitFor(
            [&] { return (deck = desk.programWindow()) && desk.viewable(deck); }, patience));
        const QRect resting = desk.geometry(deck);
        // Wide enough to lie under the fanned deck's clear part.
        const xcb_window_t other = desk.openOtherWindow({100, 100, 1100, 500});
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        QVERIFY(desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)}));

        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(resting.center().x()),
                              QString::number(resting.center().y())}));
        QVERIFY2(desk.waitForLine(u"[deck] items"_s), qPrintable(desk.traceSoFar()));
        const QPoint tab = itemCentre(desk.traceSoFar(), u"tab"_s);
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(tab.x()),
                              QString::number(tab.y()), u"click"_s, u"1"_s}));
        QVERIFY2(desk.waitForLine(u"fan -> expanded("_s), qPrintable(desk.traceSoFar()));
        QVERIFY2(desk.waitForLine(u"gutter:"_s), qPrintable(desk.traceSoFar()));
        const QPoint gutter = itemCentre(desk.traceSoFar(), u"gutter"_s);
        QVERIFY2(!gutter.isNull(), qPrintable(desk.traceSoFar()));

        // Away from the edge, step by step as a hand goes, then let go.
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(gutter.x()),
                              QString::number(gutter.y()), u"mousedown"_s, u"1"_s}));
        for (int dx : {20, 60, 120, 240, 400})
            QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(gutter.x() - dx),
                                  QString::number(gutter.y() + 40)}));
        QVERIFY(desk.xdotool({u"mouseup"_s, u"1"_s}));
        QVERIFY2(desk.waitForLine(u"expanded("_s) && desk.waitForLine(u") -> fan"_s),
                 qPrintable(desk.traceSoFar()));
        // The floating note holds the keyboard: a window of its own, neither the deck's nor
        // the other program's.
        xcb_window_t floating = XCB_NONE;
        QVERIFY(QTest::qWaitFor(
            [&] {
                floating = desk.focus();
                return floating != other && floating != deck && floating > XCB_INPUT_FOCUS_PARENT
                       && desk.viewable(floating);
            },
            patience));
        // It followed the pointer away from the edge.
        QVERIFY2(desk.geometry(floating).left() < gutter.x() - 200,
                 qPrintable(u"%1 from the left"_s.arg(desk.geometry(floating).left())));

        QVERIFY(desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"typed afloat"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"typed afloat"_s); },
                                patience));
        QVERIFY(desk.xdotool({u"key"_s, u"Escape"_s}));
        QVERIFY(QTest::qWaitFor([&] { return !desk.viewable(floating); }, patience));
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == other; }, patience));
        QVERIFY(desk.setting("floatingNoteID").isEmpty());
    }

    // The capture key from another program's window opens quick capture with the keyboard;
    // the words typed and Return are a new note, and the keyboard goes back.
    void theCaptureKeyTakesAFewWordsFromAnywhere()
    {
        ProgramOnScreen desk;
        QVERIFY2(desk.startDesktop(true), "Xvfb, openbox and picom are needed for this test");
        QVERIFY(desk.seed({u"Groceries"_s}));
        QVERIFY(desk.launch());
        xcb_window_t deck = XCB_NONE;
        QVERIFY(QTest::qWaitFor(
            [&] { return (deck = desk.programWindow()) && desk.viewable(deck); }, patience));
        // Wide enough to lie under the fanned deck's clear part.
        const xcb_window_t other = desk.openOtherWindow({100, 100, 1100, 500});
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        QVERIFY(desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)}));
        QCOMPARE(desk.focus(), other);

        QVERIFY(desk.xdotool({u"key"_s, u"ctrl+shift+space"_s}));
        xcb_window_t panel = XCB_NONE;
        QVERIFY(QTest::qWaitFor(
            [&] {
                panel = desk.focus();
                return panel != other && panel != deck && panel > XCB_INPUT_FOCUS_PARENT
                       && desk.viewable(panel);
            },
            patience));
        QVERIFY(desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"captured words"_s}));
        QVERIFY(desk.xdotool({u"key"_s, u"Return"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"captured words"_s); },
                                patience));
        QVERIFY(QTest::qWaitFor([&] { return !desk.viewable(panel); }, patience));
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == other; }, patience));
    }

    // A combination another program holds is reported by number and stays dead; the other
    // keys still work: a new note, and the library, an ordinary window in the taskbar's list
    // until it is closed.
    void aKeyHeldElsewhereIsReportedAndTheOthersStillWork()
    {
        ProgramOnScreen desk;
        QVERIFY2(desk.startDesktop(true), "Xvfb, openbox and picom are needed for this test");
        // Ctrl+Shift+Space, the capture key; 65 is Space in the evdev numbering Xvfb uses.
        QVERIFY(desk.holdKey(65, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT));
        QVERIFY(desk.seed({u"Groceries"_s}));
        QVERIFY(desk.launch());
        QVERIFY2(desk.waitForLine(u"Pondrift: hotkey 4 unavailable (status 10) — another app may "
                                  u"own it"_s),
                 qPrintable(desk.traceSoFar()));
        QVERIFY(!desk.traceSoFar().contains(u"hotkey 1 unavailable"_s));
        // Wide enough to lie under the fanned deck's clear part.
        const xcb_window_t other = desk.openOtherWindow({100, 100, 1100, 500});
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        QVERIFY(desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)}));

        QVERIFY(desk.xdotool({u"key"_s, u"ctrl+alt+n"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() != other; }, patience));
        QVERIFY(desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"made by the key"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"made by the key"_s); },
                                patience));

        // All notes opens the library; the archive key brings the same window forward.
        const int before = desk.windows();
        QVERIFY(desk.xdotool({u"key"_s, u"ctrl+alt+a"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.windows() == before + 1; }, patience));
        QVERIFY(desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)}));
        QVERIFY(desk.xdotool({u"key"_s, u"ctrl+alt+l"_s}));
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() != other; }, patience));
        QCOMPARE(desk.windows(), before + 1);

        // The library is an ordinary window: in the taskbar's list while open, gone from it
        // when closed, and the deck stays.
        const xcb_window_t library = desk.focus();
        const auto listed = [&] {
            return desk.property(desk.root(), "_NET_CLIENT_LIST").contains(library);
        };
        QVERIFY(listed());
        QVERIFY(!desk.property(library, "_NET_WM_STATE")
                     .contains(desk.atom("_NET_WM_STATE_SKIP_TASKBAR")));
        QVERIFY(desk.xdotool({u"key"_s, u"alt+F4"_s}));
        QVERIFY(QTest::qWaitFor([&] { return !listed(); }, patience));
        QVERIFY(desk.viewable(desk.programWindow()));
    }
};

QTEST_GUILESS_MAIN(TestDeckX11)
#include "tst_deck_x11.moc"
