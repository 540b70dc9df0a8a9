#include "notes/Ink.h"
#include "platform/fallback/FixedCompositor.h"
#include "settings/Settings.h"
#include "support/FakeDisplays.h"
#include "support/FakePointer.h"
#include "support/InstalledSettings.h"
#include "support/RecordingWindowHints.h"
#include "support/TestLibrary.h"
#include "surfaces/QuickCapture.h"
#include "surfaces/ui/CapturePanel.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QPointer>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

struct FakeCaptureWindow final : CaptureWindow {
    int presents = 0;
    bool closed = false;
    QRectF at;
    void present(const QRectF& frame, quint32) override
    {
        ++presents;
        at = frame;
    }
    void close() override { closed = true; }
};

// Two displays; the pointer on the second, whose visible part leaves out a panel at its top.
struct Capture {
    TestLibrary lib;
    NoteStore& notes = lib.open();
    FakePointer pointer;
    FakeDisplays displays{{FakeDisplays::make(1, QRectF(0, 0, 1920, 1080), true),
                           DisplayInfo{2, u"Second"_s, QRectF(1920, 0, 1280, 800),
                                       QRectF(1920, 0, 1280, 770), false}}};
    std::vector<std::unique_ptr<FakeCaptureWindow>> windows;
    QuickCapture capture{notes, lib.clock, pointer, displays, [this](QuickCapture&) {
                             windows.push_back(std::make_unique<FakeCaptureWindow>());
                             return windows.back().get();
                         }};
    Capture() { pointer.setLocation({2500, 400}); }
};

} // namespace

class TestQuickCapture : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }

    // A held or repeated key leaves the panel as it is; a later press closes it; it opens
    // a little above the middle of the display under the pointer.
    void theHotKeyTogglesAfterTheDebounce()
    {
        Capture c;
        c.capture.toggle();
        QVERIFY(c.capture.isOpen());
        QCOMPARE(c.windows[0]->at, QRectF(1920 + 640 - 230, 770 * 0.58, 460, 150));
        c.lib.clock.advance(0.2);
        c.capture.toggle();
        QVERIFY(c.capture.isOpen());
        QVERIFY(!c.windows[0]->closed);
        c.lib.clock.advance(0.3);
        c.capture.toggle();
        QVERIFY(!c.capture.isOpen());
        QVERIFY(c.windows[0]->closed);
    }

    void losingTheKeyboard_data()
    {
        QTest::addColumn<double>("after");
        QTest::addColumn<bool>("stays");
        QTest::newRow("at once: taken back") << 0.1 << true;
        QTest::newRow("later: the text is dropped") << 0.5 << false;
    }
    void losingTheKeyboard()
    {
        QFETCH(double, after);
        QFETCH(bool, stays);
        Capture c;
        c.capture.show();
        c.lib.clock.advance(after);
        c.capture.keyboardLost();
        QCOMPARE(c.capture.isOpen(), stays);
        QCOMPARE(c.windows[0]->presents, stays ? 2 : 1);
        QCOMPARE(c.notes.notes().size(), 0);
    }

    void saving_data()
    {
        QTest::addColumn<QString>("existing");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QStringList>("bodies");
        QTest::newRow("a new note, trimmed")
            << u"x"_s << u"  milk \n"_s << u"none"_s << QStringList{u"milk"_s, u"x"_s};
        QTest::newRow("appended on a line of its own")
            << u"list"_s << u"eggs"_s << u"existing"_s << QStringList{u"list\neggs"_s};
        QTest::newRow("appended to an empty note without a break")
            << QString() << u"eggs"_s << u"existing"_s << QStringList{u"eggs"_s};
        QTest::newRow("blanks save nothing")
            << u"list"_s << u" \n\t"_s << u"existing"_s << QStringList{u"list"_s};
        QTest::newRow("a target deleted meanwhile: a new note")
            << u"list"_s << u"eggs"_s << u"deleted"_s << QStringList{u"eggs"_s};
    }
    void saving()
    {
        QFETCH(QString, existing);
        QFETCH(QString, typed);
        QFETCH(QString, target);
        QFETCH(QStringList, bodies);
        Capture c;
        const QString id = c.notes.create(existing).id;
        if (target == u"deleted"_s)
            c.notes.deleteNote(id);
        c.capture.show();
        c.capture.save(typed, target == u"none"_s ? std::nullopt : std::optional(id));
        QVERIFY(!c.capture.isOpen());
        QStringList stored;
        for (const Note& note : c.notes.active())
            stored << note.body;
        QCOMPARE(stored, bodies);
    }

    void aDigitPicksANote_data()
    {
        QTest::addColumn<int>("digit");
        QTest::addColumn<int>("targets");
        QTest::addColumn<int>("picked"); // -1 the new note, -2 nothing
        QTest::newRow("1: a new note") << 1 << 8 << -1;
        QTest::newRow("2: the first") << 2 << 8 << 0;
        QTest::newRow("9 of eight: the eighth") << 9 << 8 << 7;
        QTest::newRow("9 of seven: nothing") << 9 << 7 << -2;
        QTest::newRow("0: nothing") << 0 << 8 << -2;
    }
    void aDigitPicksANote()
    {
        QFETCH(int, digit);
        QFETCH(int, targets);
        QFETCH(int, picked);
        const auto got = QuickCapture::targetForDigit(digit, targets);
        QCOMPARE(got.value_or(-2), picked);
    }

    void nineNotesOfferEightTargets()
    {
        Capture c;
        for (int i = 0; i < 9; ++i)
            c.notes.create(QString::number(i));
        QCOMPARE(c.capture.targets().size(), 8);
        QCOMPARE(c.capture.targets().first().id, c.notes.active().first().id);
    }

    // The real panel: Shift+Return breaks the line, Control+2 picks the first note, Return
    // appends and closes; Escape drops the text.
    void thePanelsKeys()
    {
        TestLibrary lib;
        NoteStore& notes = lib.open();
        const QString first = notes.create(u"Shopping"_s).id;
        FakePointer pointer;
        FakeDisplays displays{{FakeDisplays::make(1, QRectF(0, 0, 1920, 1080), true)}};
        RecordingWindowHints hints;
        FixedCompositor compositor{true};
        QPointer<CapturePanel> panel;
        QuickCapture capture{
            notes, lib.clock, pointer, displays, [&](QuickCapture& owner) {
                panel = new CapturePanel(owner, CapturePanel::Parts{notes, hints, compositor});
                return panel.data();
            }};
        capture.show();
        QVERIFY(panel && panel->isVisible());
        QTest::keyClicks(panel->editor(), u"milk"_s);
        QTest::keyClick(panel->editor(), Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClicks(panel->editor(), u"eggs"_s);
        QTest::keyClick(panel->editor(), Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(panel->target(), std::optional(first));
        QTest::keyClick(panel->editor(), Qt::Key_Return);
        QVERIFY(!capture.isOpen());
        QCOMPARE(notes.note(first)->body, u"Shopping\nmilk\neggs"_s);
        QTRY_VERIFY(panel.isNull());

        capture.show();
        QTest::keyClicks(panel->editor(), u"dropped"_s);
        QTest::keyClick(panel->editor(), Qt::Key_Escape);
        QVERIFY(!capture.isOpen());
        QCOMPARE(notes.notes().size(), 1);
        QTRY_VERIFY(panel.isNull());
    }
};

QTEST_MAIN(TestQuickCapture)
#include "tst_quickcapture.moc"
