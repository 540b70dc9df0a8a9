#include "platform/Log.h"
#include "support/FaultyFiles.h"
#include "support/TestFiles.h"
#include "sync/CloudSyncIndex.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// The sync's memory on disk: whatever is wrong with the file, the load gives an index, and a
// save is whole or not at all.
class TestSyncIndex : public QObject {
    Q_OBJECT

    FaultyFiles files;
    QTemporaryDir dir;
    const QString path = dir.filePath(u"sub/cloud-index.json"_s);

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() { QDir(dir.filePath(u"sub"_s)).removeRecursively(); }

    void badFilesLoadEmpty_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("invalid JSON") << "{\"entries\": {"_ba;
        QTest::newRow("one entry lacking a key spoils the whole index") << R"({"entries": {
                 "A": {"fileName": "a.md", "syncedModified": "2026-03-14T09:26:53Z",
                       "fileModified": "2026-03-14T09:26:53Z"},
                 "B": {"fileName": "b.md", "syncedModified": "2026-03-14T09:26:53Z"}}})"_ba;
        QTest::newRow("a date with fractions") << R"({"entries": {"A": {"fileName": "a.md",
                 "syncedModified": "2026-03-14T09:26:53.5Z",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba;
        QTest::newRow("a content hash that is not one") << R"({"entries": {"A": {"fileName": "a.md",
                 "syncedModified": "2026-03-14T09:26:53Z", "contentHash": "zz",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba;
        QTest::newRow("an exact file date that is text")
            << R"({"entries": {"A": {"fileName": "a.md",
                 "syncedModified": "2026-03-14T09:26:53Z", "fileStamp": "soon",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba;
        QTest::newRow("a file name that is a number") << R"({"entries": {"A": {"fileName": 3,
                 "syncedModified": "2026-03-14T09:26:53Z",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba;
    }
    void badFilesLoadEmpty()
    {
        QFETCH(QByteArray, content);
        QVERIFY(TestFiles::write(path, content));
        QVERIFY(CloudSyncIndex::load(path, files).isEmpty());
    }

    // The note's date loses its fraction on the way; the file's date and the content hash come
    // back exactly, so that an unchanged file is still known after a restart. A second record
    // of an id replaces all of it.
    void savedIndexLoadsBackOrStaysAsItWas()
    {
        CloudSyncIndex index;
        const QByteArray hash = QByteArray(32, '\x5a');
        index.record(u"A"_s, u"Old.md"_s, Date{1}, Date{2}, QByteArray(32, '\x01'));
        index.record(u"A"_s, u"Plans.md"_s, Date{1773480413.75}, Date{1773480414.2}, hash);
        index.forget(u"unknown"_s);
        QVERIFY(index.save(path, files));
        const QByteArray text = TestFiles::read(path);
        const CloudSyncIndex back = CloudSyncIndex::load(path, files);
        QCOMPARE(back.size(), 1);
        QCOMPARE(*back.entry(u"A"_s), (CloudSyncIndex::Entry{u"Plans.md"_s, Date{1773480413.0},
                                                             Date{1773480414.2}, hash}));
        QCOMPARE(back.idForFileName(u"Plans.md"_s), u"A"_s);
        QCOMPARE(back.idForFileName(u"plans.md"_s), std::nullopt);
        QCOMPARE(index.idForFileName(u"Old.md"_s), std::nullopt);

        // A save that fails leaves the old file whole and says why in the log.
        QStringList lines;
        Log::Capture capture([&](const QString& l) { lines << l; });
        index.record(u"B"_s, u"b.md"_s, Date{3}, Date{4});
        files.failAfter(0);
        QVERIFY(!index.save(path, files));
        files.heal();
        QCOMPARE(lines, QStringList{u"Pondrift cloud: cannot save the sync index \u2014 "_s
                                    + Files::Result{ENOSPC}.description()});
        QCOMPARE(TestFiles::read(path), text);
    }
    // An index from before folders and hashes were recorded keeps its entries, without
    // hashes, and belongs to no folder, which the engine reads as a first sync; a folder
    // record it cannot read spoils the whole index like a bad entry. (That a record travels
    // with the entries the engine's own tests see across restarts.)
    void olderAndBrokenFolderRecords()
    {
        QVERIFY(TestFiles::write(path, R"({"entries": {"A": {"fileName": "a.md",
                 "syncedModified": "2026-03-14T09:26:53Z",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba));
        const CloudSyncIndex old = CloudSyncIndex::load(path, files);
        QCOMPARE(old.size(), 1);
        QCOMPARE(old.entry(u"A"_s)->contentHash, std::nullopt);
        QCOMPARE(old.folder(), std::nullopt);

        QVERIFY(TestFiles::write(path, R"({"folder": {"path": "/home/me/Sync/Pondrift"},
                 "entries": {"A": {"fileName": "a.md", "syncedModified": "2026-03-14T09:26:53Z",
                 "fileModified": "2026-03-14T09:26:53Z"}}})"_ba));
        QVERIFY(CloudSyncIndex::load(path, files).isEmpty());
        QCOMPARE(CloudSyncIndex::load(path, files).folder(), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestSyncIndex)
#include "tst_syncindex.moc"
