#include "deck/DeckActions.h"
#include "deck/DeckController.h"
#include "deck/ui/NoteEditorView.h"
#include "editor/ui/NoteTextView.h"
#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "notes/Ink.h"
#include "settings/Settings.h"
#include "support/DeckRig.h"
#include "support/InstalledSettings.h"
#include "support/RecordingDesktop.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// One note open in a deck on the right or left edge, its sheet shown; time is the test's.
struct OpenNote : DeckRig {
    RecordingDesktop desktop;
    QString id = notes.create(u"# Groceries\n☐ milk"_s, QString()).id;
    std::unique_ptr<NoteEditorView> view;

    explicit OpenNote(bool onRight = true)
    {
        fanOut();
        deck.expand(id);
        lib.clock.advance(0.05);
        view = std::make_unique<NoteEditorView>(*notes.note(id), deck.model(), deck, notes, onRight,
                                                desktop, lib.images, lib.clock, nullptr);
        view->show();
        QApplication::setActiveWindow(view.get());
    }
    template <class T = QWidget>
    T* part(const QString& name) const
    {
        return view->findChild<T*>(name);
    }
    QString savedText() const { return part<QLabel>(u"saved"_s)->text(); }
    // A drag on the gutter by dx points, in the events a person's hand makes.
    QPointF dragGutter(double dx)
    {
        QWidget* gutter = view->childAt(view->gutterRect().center().toPoint());
        const QPointF at(gutter->width() / 2.0, 60);
        const auto send = [&](QEvent::Type type, QPointF local, Qt::MouseButtons held) {
            QMouseEvent event(type, local, gutter->mapToGlobal(local), Qt::LeftButton, held,
                              Qt::NoModifier);
            QApplication::sendEvent(gutter, &event);
        };
        send(QEvent::MouseButtonPress, at, Qt::LeftButton);
        for (double step : {dx / 2, dx})
            send(QEvent::MouseMove, at + QPointF(step, 0), Qt::LeftButton);
        return gutter->mapToGlobal(at + QPointF(dx, 0));
    }
};

} // namespace

class TestNoteEditorView : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }

    void theGutterDetachesOnlyPastFortyPointsAwayFromTheEdge_data()
    {
        QTest::addColumn<bool>("onRight");
        QTest::addColumn<double>("dx");
        QTest::addColumn<bool>("detaches");
        QTest::newRow("right edge, 40 left") << true << -40.0 << false;
        QTest::newRow("right edge, 41 left") << true << -41.0 << true;
        QTest::newRow("right edge, 300 towards the edge") << true << 300.0 << false;
        QTest::newRow("left edge, 39 right") << false << 39.0 << false;
        QTest::newRow("left edge, 41 right") << false << 41.0 << true;
        QTest::newRow("left edge, 300 towards the edge") << false << -300.0 << false;
    }
    void theGutterDetachesOnlyPastFortyPointsAwayFromTheEdge()
    {
        QFETCH(bool, onRight);
        QFETCH(double, dx);
        QFETCH(bool, detaches);
        OpenNote f(onRight);
        const QPointF end = f.dragGutter(dx);
        QCOMPARE(f.deck.model().detachingID() == f.id, detaches);
        QCOMPARE(f.deck.model().isDragging(), detaches);
        QCOMPARE(f.view->graphicsEffect() != nullptr, detaches);
        // The floating note follows the pointer; the sheet no longer edits the note.
        const QPointF before = f.floating.pointer;
        f.view->gutterMoved(end + QPointF(0, 30));
        QCOMPARE(f.floating.pointer.y() == before.y() - 30, detaches);
        QTest::keyClicks(f.view->textView(), u"late"_s);
        f.lib.clock.advance(NoteStore::saveDelay);
        QCOMPARE(f.notes.note(f.id)->body.contains(u"late"_s), !detaches);
        f.view->gutterReleased();
        QVERIFY(!f.deck.model().isDragging());
        QCOMPARE(f.deck.state().isFan(), detaches);
    }

    void aNoteDeletedElsewhereReadsAsEmpty()
    {
        OpenNote f;
        f.notes.deleteNote(f.id);
        QCOMPARE(f.view->textView()->text(), QString());
        QCOMPARE(f.part<QLineEdit>(u"title"_s)->text(), QString());
        QTest::keyClicks(f.view->textView(), u"late"_s);
        f.lib.clock.advance(NoteStore::saveDelay);
        QVERIFY(!f.notes.note(f.id));
    }

    void theFindButtonTogglesAndGivesTheFocusBack()
    {
        OpenNote f;
        QVERIFY(QTest::qWaitForWindowActive(f.view.get()));
        QTRY_VERIFY(f.view->textView()->hasFocus());
        auto* find = f.part<QAbstractButton>(u"find"_s);
        find->click();
        QCOMPARE(f.deck.model().findQuery(), std::optional<QString>(QString()));
        QVERIFY(f.part(u"findBar"_s)->isVisible());
        QTRY_VERIFY(f.part(u"findField"_s)->hasFocus());
        QTest::keyClicks(f.part(u"findField"_s), u"mil"_s);
        QCOMPARE(f.part<QLabel>(u"matchCount"_s)->text(), u"1"_s);
        // From wherever the focus has gone meanwhile.
        f.part(u"title"_s)->setFocus();
        find->click();
        QVERIFY(!f.deck.model().findQuery());
        QVERIFY(!f.part(u"findBar"_s)->isVisible());
        QTRY_VERIFY(f.view->textView()->hasFocus());
    }

    void theSavedStateFollowsTheNote()
    {
        OpenNote f;
        const auto saved = [&] {
            return L10n::format(u"note.saved"_s,
                                {Fmt::ago(f.notes.note(f.id)->modified, f.lib.clock.now())});
        };
        // Pinned, so that the deck's idle watch leaves it open meanwhile.
        f.notes.togglePin(f.id);
        f.lib.clock.advance(1);
        QCOMPARE(f.savedText(), saved());
        f.lib.clock.advance(7 * 60);
        QCOMPARE(f.savedText(), saved());
        QVERIFY(f.savedText().contains(u"7"_s));
        // Typing waits out the save delay unsaved.
        QTest::keyClicks(f.view->textView(), u"x"_s);
        QVERIFY(f.notes.unsavedIDs().contains(f.id));
        QCOMPARE(f.savedText(), L10n::text(u"note.not_saved"_s));
        f.lib.clock.advance(NoteStore::saveDelay);
        QCOMPARE(f.savedText(), saved());
    }

    void typingIsSavedAfterTheDelayAndLeavingSavesAtOnce_data()
    {
        QTest::addColumn<QString>("button"); // empty: the sheet is destroyed
        QTest::newRow("close") << u"action.close"_s;
        QTest::newRow("archive") << u"action.archive"_s;
        QTest::newRow("delete") << u"action.delete"_s;
        QTest::newRow("destroyed") << QString();
    }
    void typingIsSavedAfterTheDelayAndLeavingSavesAtOnce()
    {
        QFETCH(QString, button);
        OpenNote f;
        QTest::keyClicks(f.view->textView(), u"abc"_s);
        QVERIFY(!f.lib.storedNote(f.id)->body.contains(u"abc"_s));
        f.lib.clock.advance(NoteStore::saveDelay);
        QVERIFY(f.lib.storedNote(f.id)->body.contains(u"abc"_s));
        QTest::keyClicks(f.view->textView(), u"xyz"_s);
        if (button.isEmpty()) {
            f.view.reset();
        } else {
            f.part<QAbstractButton>(button)->click();
            QVERIFY(f.deck.state().isFan());
        }
        const std::optional<Note> stored = f.lib.storedNote(f.id);
        if (button == u"action.delete"_s) {
            QVERIFY(!f.notes.note(f.id));
        } else {
            QVERIFY(stored && stored->body.contains(u"xyz"_s));
            QCOMPARE(stored->archived, button == u"action.archive"_s);
        }
    }

    void theHeadersButtonsChangeTheNote()
    {
        OpenNote f;
        f.part<QAbstractButton>(u"pin"_s)->click();
        QVERIFY(f.notes.note(f.id)->pinned);
        f.view->textView()->moveCursor(QTextCursor::End);
        f.part<QAbstractButton>(u"task"_s)->click();
        QCOMPARE(f.notes.note(f.id)->body, u"# Groceries\nmilk"_s);
        f.part<QAbstractButton>(u"colour2"_s)->click();
        QCOMPARE(f.notes.note(f.id)->color, 2);
    }
};

QTEST_MAIN(TestNoteEditorView)
#include "tst_noteeditorview.moc"
