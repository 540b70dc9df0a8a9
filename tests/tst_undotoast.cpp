#include "support/FakeDisplays.h"
#include "support/FakePointer.h"
#include "support/InstalledSettings.h"
#include "support/TestLibrary.h"
#include "surfaces/UndoToast.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// What the toast's window was asked to show, kept by the test: the toast owns the window.
struct Shown {
    int windows = 0;
    int presents = 0;
    bool up = false;
    QString title;
    QRectF frame;
    QList<double> rings;
};

struct FakeToastWindow final : UndoToastWindow {
    Shown& shown;
    explicit FakeToastWindow(Shown& shown)
        : shown(shown)
    {
        ++shown.windows;
    }
    void present(const Note& note, const QRectF& frame) override
    {
        ++shown.presents;
        shown.up = true;
        shown.title = note.body;
        shown.frame = frame;
    }
    void setRemaining(double fraction) override { shown.rings.append(fraction); }
    void dismiss() override { shown.up = false; }
};

// Two displays, the pointer on the second, whose visible part leaves out a panel at its
// bottom.
struct Rig {
    TestLibrary lib;
    NoteStore& notes = lib.open();
    FakePointer pointer;
    FakeDisplays displays{{FakeDisplays::make(1, QRectF(0, 0, 1920, 1080), true),
                           DisplayInfo{2, u"Second"_s, QRectF(1920, 0, 1280, 800),
                                       QRectF(1920, 30, 1280, 770), false}}};
    Shown shown;
    UndoToast toast{notes, lib.clock, pointer, displays,
                    [this](UndoToast&) { return new FakeToastWindow(shown); }};
};

} // namespace

class TestUndoToast : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }

    // Two deletions within the window: one toast, showing the second note with a full ring,
    // at the bottom of the display under the pointer.
    void aSecondDeletionReplacesTheFirst()
    {
        Rig r;
        r.toast.start();
        const QString first = r.notes.create(u"first"_s).id;
        const QString second = r.notes.create(u"second"_s).id;
        r.pointer.setLocation({2500, 400});
        r.notes.deleteNote(first);
        r.lib.clock.advance(4);
        r.notes.deleteNote(second);
        QCOMPARE(r.shown.windows, 1);
        QVERIFY(r.shown.up);
        QCOMPARE(r.shown.title, u"second"_s);
        QCOMPARE(r.shown.rings.last(), 1.0);
        QCOMPARE(r.shown.frame, QRectF(1920 + 640 - 134, 30 + 34, 268, 44));
    }

    void theToastGoes_data()
    {
        QTest::addColumn<bool>("undo");
        QTest::addColumn<double>("after");
        QTest::addColumn<bool>("noteBack");
        QTest::newRow("undo hides it at once and brings the note back") << true << 0.0 << true;
        QTest::newRow("the deadline passing hides it through the store") << false << 10.05 << false;
    }
    void theToastGoes()
    {
        QFETCH(bool, undo);
        QFETCH(double, after);
        QFETCH(bool, noteBack);
        Rig r;
        r.toast.start();
        const QString id = r.notes.create(u"gone"_s).id;
        r.notes.deleteNote(id);
        r.lib.clock.advance(9.9);
        QVERIFY(r.shown.up);
        if (undo)
            r.toast.undo();
        r.lib.clock.advance(after);
        QVERIFY(!r.shown.up);
        QVERIFY(!r.toast.isShown());
        QCOMPARE(r.notes.note(id).has_value(), noteBack);
    }

    // The ring reads the deadline, not a count of ticks: a toast that starts late (the event
    // loop held up) shows what is really left, and each tick shows the time left then.
    void theRingFollowsTheRealDeadline()
    {
        Rig r;
        const QString id = r.notes.create(u"gone"_s).id;
        r.notes.deleteNote(id);
        r.lib.clock.advance(4);
        r.toast.start();
        QCOMPARE(r.shown.rings.last(), 0.6);
        r.lib.clock.advance(2.55);
        QVERIFY(qAbs(r.shown.rings.last() - 0.35) < 0.011);
        QVERIFY(qAbs(r.toast.remaining() - 0.345) < 1e-6);
    }
};

QTEST_MAIN(TestUndoToast)
#include "tst_undotoast.moc"
