#include "platform/Log.h"
#include "platform/qt/QtFiles.h"
#include "support/NoteBuilder.h"
#include "support/TestFiles.h"
#include "sync/CloudFolder.h"
#include "sync/DocumentNames.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

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
        QTest::addColumn<QString>("name"); // with "ideas.md", "plans.md" and "plans-2.md" taken
        QTest::newRow("slash and colon become dashes, the blank stays")
            << u"a/b: c"_s << QString() << u"a-b- c.md"_s;
        QTest::newRow("only unsafe characters give the id stem")
            << u"///"_s << QString() << u"note-ABCDEF12.md"_s;
        QTest::newRow("a leading dot would hide the file")
            << u".hidden"_s << QString() << u"note-ABCDEF12.md"_s;
        QTest::newRow("without a custom title the body names the file")
            << u"   "_s << u"\n# Groceries\nmilk"_s << u"Groceries.md"_s;
        QTest::newRow("runs of dashes shrink to one and outer dashes go")
            << u"--a**b--"_s << QString() << u"a-b.md"_s;
        QTest::newRow("a taken name takes -2") << u"Ideas"_s << QString() << u"Ideas-2.md"_s;
        QTest::newRow("a taken name counts on past every taken number")
            << u"Plans"_s << QString() << u"Plans-3.md"_s;
        QTest::newRow("the 80th character may be a dash")
            << QString(79, u'x') + u"/yyy"_s << QString() << QString(79, u'x') + u"-.md"_s;
        QTest::newRow("80 user-perceived characters, not code units")
            << u"\u00e9"_s.repeated(100) << QString() << u"\u00e9"_s.repeated(80) + u".md"_s;
        QTest::newRow("200 bytes at most: 70 emoji keep 50")
            << u"\U0001F600"_s.repeated(70) << QString() << u"\U0001F600"_s.repeated(50) + u".md"_s;
        // Each family is 18 bytes: eleven fill the 200 with "ab" exactly.
        QTest::newRow("cut between characters, never inside one")
            << u"ab"_s + u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s.repeated(20) << QString()
            << u"ab"_s + u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s.repeated(11) + u".md"_s;
    }
    void fileNames()
    {
        QFETCH(QString, title);
        QFETCH(QString, body);
        QFETCH(QString, name);
        const Note note =
            aNote().id(u"ABCDEF12-3456-7890-ABCD-EF1234567890"_s).title(title).body(body);
        QCOMPARE(DocumentNames::fileName(note, {u"ideas.md"_s, u"plans.md"_s, u"plans-2.md"_s}),
                 name);
    }

    // Every name the sync makes, a conflict copy's with its number included, leaves room for
    // the atomic write's temporary name ("." + name + "." + 12 characters) in 255 bytes, and
    // is whole UTF-8.
    void namesTooLongForTheFileSystem_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("document"); // a name another program gave, or empty
        QTest::newRow("astral letters under combining marks")
            << u"\U0001D400"_s + u"\u0301"_s.repeated(150) + u"\U0001D400"_s.repeated(10)
            << QString();
        QTest::newRow("a 250-byte name from another program")
            << u"x"_s << u"\u4e2d"_s.repeated(82) + u"ab.md"_s;
    }
    void namesTooLongForTheFileSystem()
    {
        QFETCH(QString, title);
        QFETCH(QString, document);
        const Note note = aNote().title(title);
        const QString name = document.isEmpty() ? DocumentNames::fileName(note, {}) : document;
        const Date at = Date::fromDateTime(QDateTime(QDate(2026, 3, 14), QTime(9, 26, 53)));
        const QString conflict = DocumentNames::conflictName(name, at);
        const QString numbered = conflict.chopped(3) + u" 99999.md"_s;
        for (const QString& made : {document.isEmpty() ? name : QString(u"x.md"_s), numbered}) {
            const QByteArray bytes = made.toUtf8();
            QVERIFY2(bytes.size() + 14 <= 255, qPrintable(made));
            QCOMPARE(QString::fromUtf8(bytes), made);
            QVERIFY(!made.contains(QChar(QChar::ReplacementCharacter)));
        }
        QVERIFY(conflict.endsWith(u" (conflict 2026-03-14-092653).md"_s));
    }

    // Placeholders stand for documents; names a document cannot have are not ours, and none
    // of them trips anything.
    void resolvedNames_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("name"); // empty: not a document
        QTest::addColumn<bool>("downloaded");
        QTest::newRow("a document") << u"Plans.md"_s << u"Plans.md"_s << true;
        QTest::newRow("any letter case") << u"notes.MD"_s << u"notes.MD"_s << true;
        QTest::newRow("iCloud's placeholder") << u".Plans.md.icloud"_s << u"Plans.md"_s << false;
        QTest::newRow("Nextcloud's virtual file")
            << u"Plans.md.nextcloud"_s << u"Plans.md"_s << false;
        QTest::newRow("ownCloud's virtual file")
            << u"Plans.md.owncloud"_s << u"Plans.md"_s << false;
        // Placeholders of other kinds of file, hidden documents, and names that are all suffix.
        for (const char* entry : {".Plans.txt.icloud", "Plans.txt.nextcloud", ".icloud", "..icloud",
                                  ".md.icloud", "..md.icloud", "...md.icloud", ".md.nextcloud",
                                  "md.nextcloud", ".nextcloud", ".md.owncloud", ".md", ".Plans.md"})
            QTest::newRow(entry) << QString::fromUtf8(entry) << QString() << false;
    }
    void resolvedNames()
    {
        QFETCH(QString, entry);
        QFETCH(QString, name);
        QFETCH(bool, downloaded);
        const auto resolved = DocumentNames::resolvedName(entry);
        if (name.isEmpty())
            QCOMPARE(resolved, std::nullopt);
        else
            QCOMPARE(resolved, (DocumentNames::Resolved{name, downloaded}));
    }

    void scanSeesDocumentsAndPlaceholdersOnly()
    {
        QTemporaryDir root;
        CloudFolder folder(root.path(), files);
        folder.ensure();
        const QString dir = folder.path();
        // Dot files are hidden, and only ".md" names are documents, in any letter case; a
        // placeholder stands for its document until the download lands beside it.
        for (const QString& name :
             {u"b.md"_s, u".c.md.icloud"_s, u".d.txt.icloud"_s, u"c.txt"_s, u".e.md"_s, u"E.MD"_s,
              u"Conflicts/x.md"_s, u"a.md"_s, u".a.md.icloud"_s})
            QVERIFY(TestFiles::write(dir + u'/' + name, "a"));
        QVERIFY(QDir().mkpath(dir + u"/folder.md"_s));
        QCOMPARE(folder.scan().unresolved, (QSet<QString>{u"c.md"_s, u"folder.md"_s}));
        QCOMPARE(folder.documentNames(), (QStringList{u"E.MD"_s, u"a.md"_s, u"b.md"_s}));
        // The date keeps the file system's fractions.
        const QDateTime exact = QFileInfo(dir + u"/a.md"_s).lastModified();
        QCOMPARE(static_cast<qint64>(folder.fileStamp(u"a.md"_s)->modified.seconds * 1000),
                 exact.toMSecsSinceEpoch());
    }

    // What another program put under a document's name is never read as a document, written
    // through, replaced or deleted: the file a link leads to stays byte for byte, the link
    // stays a link.
    void otherProgramsEntriesAreLeftAlone_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("a link to a file outside the folder") << u"link"_s;
        QTest::newRow("a link leading nowhere") << u"dangling"_s;
        QTest::newRow("a pipe") << u"pipe"_s;
        QTest::newRow("a folder") << u"folder"_s;
    }
    void otherProgramsEntriesAreLeftAlone()
    {
        QFETCH(QString, kind);
        QTemporaryDir root;
        QTemporaryDir outside;
        CloudFolder folder(root.path(), files);
        folder.ensure();
        const QString entry = folder.path() + u"/Theirs.md"_s;
        const QString target = outside.filePath(u"theirs.md"_s);
        const QByteArray bytes = "---\nid: THEIRS\n---\n\ntheir text\n";
        QVERIFY(TestFiles::write(target, bytes));
        if (kind == u"link"_s)
            QVERIFY(QFile::link(target, entry));
        else if (kind == u"dangling"_s)
            QVERIFY(QFile::link(outside.filePath(u"nowhere.md"_s), entry));
        else if (kind == u"pipe"_s)
            QCOMPARE(::mkfifo(QFile::encodeName(entry).constData(), 0600), 0);
        else
            QVERIFY(QDir().mkpath(entry));
        QStringList log;
        Log::Capture capture([&](const QString& l) { log << l; });

        const FolderScan scan = folder.scan();
        QCOMPARE(scan.unresolved, QSet<QString>{u"Theirs.md"_s});
        QVERIFY(scan.documents.isEmpty());
        QVERIFY(!folder.write(u"ours"_s, u"Theirs.md"_s));
        QVERIFY(!folder.remove(u"Theirs.md"_s));

        QCOMPARE(TestFiles::read(target), bytes);
        QCOMPARE(QDir(outside.path()).entryList(QDir::Files), QStringList{u"theirs.md"_s});
        const QFileInfo after(entry);
        QCOMPARE(after.isSymLink(), kind == u"link"_s || kind == u"dangling"_s);
        QCOMPARE(after.isDir(), kind == u"folder"_s);
        QCOMPARE(log.size(), 2);
        QVERIFY2(log[0].startsWith(u"Pondrift cloud: write Theirs.md \u2014 "_s),
                 qPrintable(log[0]));
        QVERIFY2(log[1].startsWith(u"Pondrift cloud: delete Theirs.md \u2014 "_s),
                 qPrintable(log[1]));
    }

    // A conflicts folder that is a link to a folder elsewhere gets no copies, and a link
    // under a copy's name keeps it.
    void conflictCopiesAreNotWrittenThroughLinks()
    {
        QTemporaryDir root;
        QTemporaryDir outside;
        const Date at = Date::fromDateTime(QDateTime(QDate(2026, 3, 14), QTime(9, 26, 53)));
        CloudFolder folder([&] { return root.path(); }, files, [at] { return at; });
        folder.ensure();
        QVERIFY(QFile::link(outside.path(), folder.path() + u"/Conflicts"_s));
        QVERIFY(!folder.writeConflict(u"copy"_s, u"Plans.md"_s));
        QCOMPARE(QDir(outside.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList{});

        QVERIFY(QFile::remove(folder.path() + u"/Conflicts"_s));
        QVERIFY(QDir().mkpath(folder.path() + u"/Conflicts"_s));
        const QString taken = folder.path() + u"/Conflicts/Plans (conflict 2026-03-14-092653).md"_s;
        QVERIFY(QFile::link(outside.filePath(u"nowhere.md"_s), taken));
        QVERIFY(folder.writeConflict(u"copy"_s, u"Plans.md"_s));
        QVERIFY(QFileInfo(taken).isSymLink());
        QVERIFY(!QFile::exists(outside.filePath(u"nowhere.md"_s)));
        QCOMPARE(TestFiles::read(folder.path()
                                 + u"/Conflicts/Plans (conflict 2026-03-14-092653) 2.md"_s),
                 "copy"_ba);
    }

    void failuresLogAndAnswerFalse()
    {
        QTemporaryDir root;
        CloudFolder folder(root.path(), files);
        folder.ensure();
        QStringList log;
        Log::Capture capture([&](const QString& l) { log << l; });
        QVERIFY(!folder.remove(u"gone.md"_s));
        QVERIFY(TestFiles::write(folder.path() + u"/Conflicts"_s, "a file, not a folder"));
        QVERIFY(!folder.writeConflict(u"x"_s, u"a.md"_s));
        QCOMPARE(folder.read(u"missing.md"_s), std::nullopt);
        QVERIFY(
            TestFiles::write(root.filePath(u"clash/Pondrift"_s), "a file named like the folder"));
        QCOMPARE(CloudFolder(root.filePath(u"clash"_s), files).ensure(),
                 SyncFolderGateway::Ensured::Unavailable);
        const QStringList lines{u"delete gone.md"_s, u"cannot create the conflicts folder"_s,
                                u"read missing.md"_s,
                                u"cannot create "_s + root.filePath(u"clash/Pondrift"_s)};
        QCOMPARE(log.size(), lines.size());
        for (qsizetype i = 0; i < lines.size(); ++i)
            QVERIFY2(log[i].startsWith(u"Pondrift cloud: "_s + lines[i] + u" \u2014 "_s),
                     qPrintable(log[i]));
    }

    void aChangedRootTakesEffectAtTheNextPass()
    {
        QTemporaryDir first;
        QTemporaryDir second;
        QString chosen = first.path();
        CloudFolder folder([&] { return chosen; }, files);
        QVERIFY(folder.isAvailable());
        chosen = second.path();
        QVERIFY2(folder.path().startsWith(first.path()), "a pass keeps the root it began with");
        QCOMPARE(folder.ensure(), SyncFolderGateway::Ensured::Created);
        QVERIFY(folder.write(u"x"_s, u"a.md"_s));
        QVERIFY(QFile::exists(second.filePath(u"Pondrift/a.md"_s)));
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
