#include "notes/Note.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// The note record: what makes two notes the same, which sync depends on to see a change.
class TestNote : public QObject {
    Q_OBJECT

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
        QTest::addColumn<int>("field");
        const char* names[] = {"id", "title", "body", "color", "created", "modified",
                               "archived", "pinned", "direction", "order"};
        for (int i = 0; i < 10; ++i)
            QTest::newRow(names[i]) << i;
    }
    void anyFieldMakesNotesDiffer()
    {
        QFETCH(int, field);
        const Note a(u"ID"_s, u"t"_s, u"b"_s, 1, Date{10}, Date{20}, false, false,
                     NoteTextDirection::Automatic, 3);
        Note b = a;
        QCOMPARE(a, b);
        QCOMPARE(qHash(a), qHash(b));
        switch (field) {
        case 0: b.id = u"OTHER"_s; break;
        case 1: b.title = u"T"_s; break;
        case 2: b.body = u"B"_s; break;
        case 3: b.color = 2; break;
        case 4: b.created = Date{10.5}; break;
        case 5: b.modified = Date{20.001}; break;
        case 6: b.archived = true; break;
        case 7: b.pinned = true; break;
        case 8: b.textDirection = NoteTextDirection::RightToLeft; break;
        case 9: b.order = 3.0000001; break;
        }
        QVERIFY(a != b);
    }

    void signedZeroOrdersAreEqualAndHashAlike()
    {
        Note a(u"ID"_s, {}, {}, 0, Date{1}, Date{1}, false, false, NoteTextDirection::Automatic, 0.0);
        Note b = a;
        b.order = -0.0;
        QCOMPARE(a, b);
        QCOMPARE(qHash(a, 7), qHash(b, 7));
    }

    void directionRawValuesRoundTrip()
    {
        for (NoteTextDirection d : TextDirection::all)
            QCOMPARE(TextDirection::fromRawValue(TextDirection::rawValue(d)), d);
        QVERIFY(!TextDirection::fromRawValue(u"sideways"_s));
        QVERIFY(!TextDirection::fromRawValue(u"Automatic"_s));
    }

    void databaseErrorWithoutTextStillReadsAsAFailure()
    {
        QVERIFY(!PersistenceError::database({}).description().isEmpty());
        QCOMPARE(PersistenceError::database(u"disk I/O error"_s).description(), u"disk I/O error"_s);
    }
};

QTEST_GUILESS_MAIN(TestNote)
#include "tst_note.moc"
