#include "platform/Log.h"
#include "support/FaultyFiles.h"
#include "support/TestFiles.h"
#include "sync/CloudSyncIndex.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// The sync's memory on disk: whatever is wrong with the file, the load gives an index, and a
// save is whole or not at all.
class TestSyncIndex : public QObject {
    Q_OBJECT

    FaultyFiles files;

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void badFilesLoadEmpty_data()
    {
        QTest::addColumn<QByteArray>("content"); // null: no file at all
        QTest::newRow("no file yet") << QByteArray();
        QTest::newRow("invalid JSON") << "{\"entries\": {"_ba;
        QTest::newRow("a list at the top") << "[]"_ba;
        QTest::newRow("no entries key") << "{}"_ba;
        QTest::newRow("one entry lacking a key spoils the whole index")
            << R"({"entries": {
                 "A": {"fileName": "a.md", "syncedModified": "2026-03-14T09:26:53Z",
                       "fileModified": "2026-03-14T09:26:53Z"},
                 "B": {"fileName": "b.md", "syncedModified": "2026-03-14T09:26:53Z"}}})"_ba;
        QTest::newRow("a date with fractions")
            << R"({"entries": {"A": {"fileName": "a.md",
                 "syncedModified": "2026-03-14T09:26:53.5Z",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba;
        QTest::newRow("a file name that is a number")
            << R"({"entries": {"A": {"fileName": 3,
                 "syncedModified": "2026-03-14T09:26:53Z",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba;
    }
    void badFilesLoadEmpty()
    {
        QFETCH(QByteArray, content);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"cloud-index.json"_s);
        if (!content.isNull()) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
        }
        QVERIFY(CloudSyncIndex::load(path, files).isEmpty());
    }

    void roundTripKeepsWholeSeconds()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"sub/cloud-index.json"_s);
        CloudSyncIndex index;
        index.record(u"A"_s, u"Plans.md"_s, Date{1773480413.75}, Date{1773480414.2});
        QVERIFY(index.save(path, files));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY(text.contains("\"syncedModified\": \"2026-03-14T09:26:53Z\""));
        QVERIFY(text.indexOf("fileModified") < text.indexOf("fileName"));
        const CloudSyncIndex back = CloudSyncIndex::load(path, files);
        QCOMPARE(back.size(), 1);
        const auto* e = back.entry(u"A"_s);
        QVERIFY(e);
        QCOMPARE(e->fileName, u"Plans.md"_s);
        QCOMPARE(e->syncedModified, Date{1773480413.0});
        QCOMPARE(e->fileModified, Date{1773480414.0});
        // A file date with a fraction now reads as later than its entry.
        QVERIFY(Date{1773480414.2} > e->fileModified);
        QVERIFY(e->coarseSynced && e->coarseFile);
    }

    void recordForgetAndLookUp()
    {
        CloudSyncIndex index;
        index.record(u"A"_s, u"a.md"_s, Date{1}, Date{2});
        index.record(u"A"_s, u"b.md"_s, Date{3}, Date{4});
        QCOMPARE(index.entry(u"A"_s)->fileName, u"b.md"_s);
        QCOMPARE(index.entry(u"A"_s)->syncedModified, Date{3});
        QCOMPARE(index.idForFileName(u"a.md"_s), std::nullopt);
        QCOMPARE(index.idForFileName(u"b.md"_s), u"A"_s);
        QCOMPARE(index.idForFileName(u"B.md"_s), std::nullopt);
        const CloudSyncIndex before = index;
        index.forget(u"unknown"_s);
        QVERIFY(index == before);
        index.forget(u"A"_s);
        QVERIFY(index.isEmpty());
        QCOMPARE(index.idForFileName(u"b.md"_s), std::nullopt);
    }

    void failedSaveKeepsTheOldFileAndLogs()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"cloud-index.json"_s);
        CloudSyncIndex index;
        index.record(u"A"_s, u"a.md"_s, Date{1}, Date{2});
        QVERIFY(index.save(path, files));
        const QByteArray before = TestFiles::read(path);
        QStringList lines;
        Log::Capture capture([&](const QString& l) { lines << l; });
        index.record(u"B"_s, u"b.md"_s, Date{3}, Date{4});
        files.failAfter(0);
        QVERIFY(!index.save(path, files));
        files.heal();
        QCOMPARE(lines, QStringList{u"Pondrift cloud: cannot save the sync index \u2014 "_s
                                    + Files::Result{ENOSPC}.description()});
        QCOMPARE(TestFiles::read(path), before);
        QCOMPARE(index.size(), 2);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestSyncIndex)
#include "tst_syncindex.moc"
