#include "exchange/StickyArchive.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A file as an older build wrote it: no direction, no pinned flag, no images, and a colour
// name that disagrees with the colour.
const QByteArray older = R"({"version": 3, "app": "Pondrift", "exported": "2026-03-14T09:26:53Z",
    "notes": [{"id": "A", "title": "", "body": "b", "color": 2, "colorName": "Pink",
    "created": "2026-03-14T09:26:53Z", "modified": "2026-03-14T09:26:54Z", "archived": false,
    "order": 1}]})";

} // namespace

class TestStickyArchive : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void roundTripLosesOnlyFractions()
    {
        StickyArchive archive;
        archive.exported = Date{1773480413.0};
        archive.notes = {StickyNote::from(Note(
            u"N1"_s, u"Title"_s, u"☐ milk\n![image](pondrift-img://IMG)"_s, 7, Date{1773480000.7},
            Date{1773480413.2}, true, true, NoteTextDirection::RightToLeft, -0.1))};
        archive.images.insert(u"IMG"_s, QByteArray("\x89PNG\0\xff", 6));
        const QByteArray data = archive.encode();
        // Pretty-printed with sorted keys, for people and diff tools.
        QVERIFY(data.contains("\n    \"app\": \"Pondrift\""));
        QVERIFY(data.indexOf("\"app\"") < data.indexOf("\"exported\""));
        archive.notes.front().created = Date{1773480000.0};
        archive.notes.front().modified = Date{1773480413.0};
        QCOMPARE(StickyArchive::decode(data), std::make_optional(archive));
    }

    void readsOlderFiles()
    {
        const auto archive = StickyArchive::decode(older);
        QVERIFY(archive);
        QVERIFY(archive->images.isEmpty());
        QCOMPARE(archive->notes.front().note(),
                 Note(u"A"_s, {}, u"b"_s, 2, Date{1773480413}, Date{1773480414}, false, false,
                      NoteTextDirection::Automatic, 1));
    }

    // One bad value fails the whole file, so an import never brings in half of it.
    void badFilesFailWhole_data()
    {
        QTest::addColumn<QByteArray>("data");
        const auto row = [](const char* name, const char* from, const char* to) {
            QTest::newRow(name) << QByteArray(older).replace(from, to);
        };
        row("a note without order", ",\n    \"order\": 1", "");
        row("a colour with a fraction", "\"color\": 2", "\"color\": 2.5");
        row("a date with fractions", "54Z", "54.5Z");
        row("an unknown direction", "\"order\": 1",
            "\"order\": 1, \"textDirection\": \"sideways\"");
        row("pinned as a number", "\"order\": 1", "\"order\": 1, \"pinned\": 1");
        row("an image that is not text", "\"notes\"", "\"images\": {\"X\": 1}, \"notes\"");
        row("no version", "\"version\": 3,", "");
        row("not JSON", "\"notes\"", "\"notes");
    }
    void badFilesFailWhole()
    {
        QFETCH(QByteArray, data);
        QVERIFY(!StickyArchive::decode(data));
    }
};

QTEST_GUILESS_MAIN(TestStickyArchive)
#include "tst_stickyarchive.moc"
