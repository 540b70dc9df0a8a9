#include "notes/Note.h"
#include "support/NoteBuilder.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// The note record: what makes two notes the same, which sync depends on to see a change.
class TestNote : public QObject {
    Q_OBJECT

    static NoteBuilder base() { return aNote().id(u"ID"_s).title(u"t"_s).body(u"b"_s).color(1); }

private Q_SLOTS:
    void freshNoteHasAnUpperCaseUuidAndTwoClockReadings()
    {
        const Note note;
        static const QRegularExpression uuid(
            u"^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"_s);
        QVERIFY2(uuid.match(note.id).hasMatch(), qPrintable(note.id));
        QVERIFY(note.modified >= note.created);
        QVERIFY(Note().id != note.id);
    }

    void anyFieldMakesNotesDiffer_data()
    {
        QTest::addColumn<Note>("other");
        QTest::addColumn<bool>("differs");
        QTest::newRow("another id") << base().id(u"OTHER"_s).build() << true;
        QTest::newRow("another title") << base().title(u"T"_s).build() << true;
        QTest::newRow("another body") << base().body(u"B"_s).build() << true;
        QTest::newRow("another colour") << base().color(2).build() << true;
        QTest::newRow("a fraction of a second later created")
            << base().created(1000.5).build() << true;
        QTest::newRow("a millisecond later modified") << base().modified(2000.001).build() << true;
        QTest::newRow("one of them archived") << base().archived().build() << true;
        QTest::newRow("one of them pinned") << base().pinned().build() << true;
        QTest::newRow("another direction")
            << base().direction(NoteTextDirection::RightToLeft).build() << true;
        QTest::newRow("a hair's breadth of order") << base().order(1e-300).build() << true;
        QTest::newRow("an order of -0.0 is the same as 0.0") << base().order(-0.0).build() << false;
    }
    void anyFieldMakesNotesDiffer()
    {
        QFETCH(Note, other);
        QFETCH(bool, differs);
        const Note note = base();
        QCOMPARE(note != other, differs);
        if (!differs)
            QCOMPARE(qHash(note, 7), qHash(other, 7));
    }

    void databaseErrorWithoutTextStillReadsAsAFailure()
    {
        QVERIFY(!PersistenceError::database({}).description().isEmpty());
        QCOMPARE(PersistenceError::database(u"disk I/O error"_s).description(),
                 u"disk I/O error"_s);
    }
};

QTEST_GUILESS_MAIN(TestNote)
#include "tst_note.moc"
