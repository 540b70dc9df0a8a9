#include "platform/Log.h"
#include "platform/qt/QtFiles.h"
#include "support/NoteBuilder.h"
#include "support/TestFiles.h"
#include "sync/CloudFolder.h"
#include "sync/DocumentNames.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

Note titled(const QString& title, const QString& body = {})
{
    return aNote().id(u"ABCDEF12-3456-7890-ABCD-EF1234567890"_s).title(title).body(body);
}

} // namespace

// The folder on disk: names, placeholders, and what each operation does when the disk says no.
class TestCloudFolder : public QObject {
    Q_OBJECT

    QtFiles files;

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void fileNames_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QStringList>("claimed");
        QTest::addColumn<QString>("name");
        QTest::newRow("slash and colon become dashes, the blank stays")
            << u"a/b: c"_s << QString() << QStringList{} << u"a-b- c.md"_s;
        QTest::newRow("only unsafe characters give the id stem")
            << u"///"_s << QString() << QStringList{} << u"note-ABCDEF12.md"_s;
        QTest::newRow("a blank title and an empty body give the id stem")
            << u"   "_s << QString() << QStringList{} << u"note-ABCDEF12.md"_s;
        QTest::newRow("a leading dot would hide the file")
            << u".hidden"_s << QString() << QStringList{} << u"note-ABCDEF12.md"_s;
        QTest::newRow("without a custom title the body names the file")
            << QString() << u"\n# Groceries\nmilk"_s << QStringList{} << u"Groceries.md"_s;
        QTest::newRow("runs of dashes shrink to one and outer dashes go")
            << u"--a**b--"_s << QString() << QStringList{} << u"a-b.md"_s;
        QTest::newRow("a taken name gets -2")
            << u"Plans"_s << QString() << QStringList{u"plans.md"_s} << u"Plans-2.md"_s;
        QTest::newRow("and -3 when -2 is taken too")
            << u"Plans"_s << QString() << QStringList{u"plans.md"_s, u"plans-2.md"_s}
            << u"Plans-3.md"_s;
        QTest::newRow("the 80th character may be a dash")
            << QString(79, u'x') + u"/yyy"_s << QString() << QStringList{}
            << QString(79, u'x') + u"-.md"_s;
        QTest::newRow("80 user-perceived characters, not code units")
            << QString(100, QChar(0xD83D)).replace(QString(1, QChar(0xD83D)), u"\U0001F600"_s)
            << QString() << QStringList{} << QString() + u"\U0001F600"_s.repeated(80) + u".md"_s;
    }
    void fileNames()
    {
        QFETCH(QString, title);
        QFETCH(QString, body);
        QFETCH(QStringList, claimed);
        QFETCH(QString, name);
        const QSet<QString> taken(claimed.begin(), claimed.end());
        QCOMPARE(DocumentNames::fileName(titled(title, body), taken), name);
    }

    void resolvedNames_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("downloaded");
        QTest::newRow("a placeholder") << u".Plans.md.icloud"_s << u"Plans.md"_s << false;
        QTest::newRow("a placeholder of another type") << u".Plans.txt.icloud"_s << QString()
                                                       << false;
        QTest::newRow("upper-case extension") << u"notes.MD"_s << u"notes.MD"_s << true;
        QTest::newRow("a dot file") << u".notes.md"_s << QString() << false;
        QTest::newRow("not a document") << u"notes.txt"_s << QString() << false;
        QTest::newRow("the conflicts folder") << u"Conflicts"_s << QString() << false;
    }
    void resolvedNames()
    {
        QFETCH(QString, entry);
        QFETCH(QString, name);
        QFETCH(bool, downloaded);
        const auto resolved = DocumentNames::resolvedName(entry);
        QCOMPARE(resolved.has_value(), !name.isEmpty());
        if (resolved)
            QCOMPARE(*resolved, (DocumentNames::Resolved{name, downloaded}));
    }

    void conflictNameCarriesTheLocalStamp()
    {
        const QDateTime local(QDate(2026, 3, 14), QTime(9, 26, 53));
        QCOMPARE(DocumentNames::conflictName(u"Plans.md"_s, Date::fromDateTime(local)),
                 u"Plans (conflict 2026-03-14-092653).md"_s);
    }

    void scanSeesDocumentsAndPlaceholders()
    {
        QTemporaryDir root;
        CloudFolder folder(root.path(), files);
        QCOMPARE(folder.ensure(), SyncFolderGateway::Ensured::Created);
        QCOMPARE(folder.ensure(), SyncFolderGateway::Ensured::Existed);
        const QString dir = folder.path();
        TestFiles::write(dir + u"/a.md"_s, "a");
        TestFiles::write(dir + u"/.b.md.icloud"_s, "");
        TestFiles::write(dir + u"/c.txt"_s, "c");
        TestFiles::write(dir + u"/latin.md"_s, "\xe9t\xe9");
        QVERIFY(QDir().mkpath(dir + u"/folder.md"_s));
        QVERIFY(QDir().mkpath(dir + u"/Conflicts"_s));
        TestFiles::write(dir + u"/Conflicts/x.md"_s, "x");
        const FolderScan scan = folder.scan();
        QCOMPARE(QSet<QString>(scan.documents.keyBegin(), scan.documents.keyEnd()),
                 (QSet<QString>{u"a.md"_s, u"latin.md"_s}));
        QCOMPARE(scan.unresolved, (QSet<QString>{u"b.md"_s, u"folder.md"_s}));
        QCOMPARE(folder.documentNames(), (QStringList{u"a.md"_s, u"latin.md"_s}));
        QCOMPARE(folder.read(u"a.md"_s), u"a"_s);
        QCOMPARE(folder.read(u"latin.md"_s), std::nullopt);
        // The date keeps the file system's fractions.
        const QDateTime exact = QFileInfo(dir + u"/a.md"_s).lastModified();
        QCOMPARE(qint64(folder.modificationDate(u"a.md"_s)->seconds * 1000),
                 exact.toMSecsSinceEpoch());
    }

    void failuresLogAndAnswerFalse()
    {
        QTemporaryDir root;
        CloudFolder folder(root.path(), files);
        QVERIFY(folder.ensure() == SyncFolderGateway::Ensured::Created);
        QStringList log;
        Log::Capture capture([&](const QString& l) { log << l; });
        QVERIFY(QDir().mkpath(folder.path() + u"/Busy.md"_s));
        QVERIFY(!folder.write(u"x"_s, u"Busy.md"_s));
        QVERIFY(log.last().startsWith(u"Pondrift cloud: write Busy.md \u2014 "_s));
        QVERIFY(!folder.remove(u"gone.md"_s));
        QVERIFY(log.last().startsWith(u"Pondrift cloud: delete gone.md \u2014 "_s));
        TestFiles::write(folder.path() + u"/Conflicts"_s, "a file where the folder should be");
        QVERIFY(!folder.writeConflict(u"x"_s, u"a.md"_s));
        QVERIFY(log.last().startsWith(u"Pondrift cloud: cannot create the conflicts folder \u2014 "_s));
        QCOMPARE(folder.read(u"missing.md"_s), std::nullopt);
        QVERIFY(log.last().startsWith(u"Pondrift cloud: read missing.md \u2014 "_s));

        CloudFolder blocked(root.filePath(u"file"_s), files);
        TestFiles::write(root.filePath(u"file"_s), "not a directory");
        QVERIFY(!blocked.isAvailable());
        QCOMPARE(blocked.ensure(), SyncFolderGateway::Ensured::Unavailable);
        QVERIFY(QDir().mkpath(root.filePath(u"root2"_s)));
        TestFiles::write(root.filePath(u"root2/Pondrift"_s), "a file named like the folder");
        CloudFolder clash(root.filePath(u"root2"_s), files);
        QCOMPARE(clash.ensure(), SyncFolderGateway::Ensured::Unavailable);
        QVERIFY(log.last().startsWith(u"Pondrift cloud: cannot create "_s));
    }

    void conflictCopiesNeverReplaceEachOther()
    {
        QTemporaryDir root;
        CloudFolder folder([&] { return root.path(); }, files, [] { return Date{1773480413.0}; });
        folder.ensure();
        QVERIFY(folder.writeConflict(u"one"_s, u"Plans.md"_s));
        QVERIFY(folder.writeConflict(u"two"_s, u"Plans.md"_s));
        QCOMPARE(QDir(folder.path() + u"/Conflicts"_s).entryList(QDir::Files).size(), 2);
    }

    void rootFallsBackThroughTheUsualClients()
    {
        QTemporaryDir home;
        QCOMPARE(DocumentNames::discoveredRoot(home.path()), home.path());
        QVERIFY(QDir().mkpath(home.filePath(u"Sync"_s)));
        QCOMPARE(DocumentNames::discoveredRoot(home.path()), home.filePath(u"Sync"_s));
        QVERIFY(QDir().mkpath(home.filePath(u"Dropbox"_s)));
        QCOMPARE(DocumentNames::discoveredRoot(home.path()), home.filePath(u"Dropbox"_s));
    }
};

QTEST_GUILESS_MAIN(TestCloudFolder)
#include "tst_cloudfolder.moc"
