#include "exchange/StickyArchive.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray archiveWith(const QString& noteFields, const QString& extra = {})
{
    return (uR"({"version": 3, "app": "Pondrift", "exported": "2026-03-14T09:26:53Z",)"_s
            + extra + uR"("notes": [{"id": "A", "title": "", "body": "b", "color": 2,
             "colorName": "Pink", "created": "2026-03-14T09:26:53Z",
             "modified": "2026-03-14T09:26:54Z", "archived": false)"_s
            + noteFields + u"}]}"_s)
        .toUtf8();
}

} // namespace

class TestStickyArchive : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void roundTripLosesOnlyFractions()
    {
        StickyArchive archive;
        archive.exported = Date{1773480413.0};
        const Note n(u"N1"_s, u"Title"_s, u"☐ milk\n![image](pondrift-img://IMG)"_s, 7,
                     Date{1773480000.7}, Date{1773480413.2}, true, true,
                     NoteTextDirection::RightToLeft, -0.1);
        archive.notes = {StickyNote::from(n)};
        archive.images.insert(u"IMG"_s, QByteArray("\x89PNG\0\xff", 6));
        const QByteArray data = archive.encode();
        QVERIFY(data.contains("\n    \"app\": \"Pondrift\""));
        QVERIFY(data.indexOf("\"app\"") < data.indexOf("\"exported\""));
        const auto back = StickyArchive::decode(data);
        QVERIFY(back);
        QCOMPARE(back->images, archive.images);
        Note expected = n;
        expected.created = Date{1773480000.0};
        expected.modified = Date{1773480413.0};
        QCOMPARE(back->notes.front().note(), expected);
        QCOMPARE(back->notes.front().colorName, StickyNote::from(n).colorName);
    }

    void readsOlderFiles()
    {
        const auto archive = StickyArchive::decode(archiveWith(u", \"order\": 1"_s));
        QVERIFY(archive);
        const Note n = archive->notes.front().note();
        QCOMPARE(n.textDirection, NoteTextDirection::Automatic);
        QCOMPARE(n.pinned, false);
        QCOMPARE(n.color, 2); // the name disagrees and changes nothing
        QVERIFY(archive->images.isEmpty());
    }

    void badFilesFailWhole_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("a note without order") << archiveWith({});
        QTest::newRow("a colour given as text") << archiveWith(u", \"order\": 1"_s).replace(
            "\"color\": 2", "\"color\": \"2\"");
        QTest::newRow("a colour with a fraction") << archiveWith(u", \"order\": 1"_s).replace(
            "\"color\": 2", "\"color\": 2.5");
        QTest::newRow("a date with fractions") << archiveWith(u", \"order\": 1"_s).replace(
            "09:26:54Z", "09:26:54.5Z");
        QTest::newRow("an unknown direction")
            << archiveWith(u", \"order\": 1, \"textDirection\": \"sideways\""_s);
        QTest::newRow("pinned as a number") << archiveWith(u", \"order\": 1, \"pinned\": 1"_s);
        QTest::newRow("an image that is not base64")
            << archiveWith(u", \"order\": 1"_s, uR"("images": {"X": "**"},)"_s);
        QTest::newRow("no version") << archiveWith(u", \"order\": 1"_s).replace(
            "\"version\": 3,", "");
        QTest::newRow("not JSON") << QByteArray("{\"version\": ");
    }
    void badFilesFailWhole()
    {
        QFETCH(QByteArray, data);
        QVERIFY(!StickyArchive::decode(data));
    }
};

QTEST_GUILESS_MAIN(TestStickyArchive)
#include "tst_stickyarchive.moc"
