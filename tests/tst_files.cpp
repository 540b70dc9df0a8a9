#include "platform/qt/QtFiles.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

Q_DECLARE_METATYPE(QtFiles::Staging)

// The disk as the program writes it: whole files or nothing, a creation that never replaces,
// both with unnamed files and with the hidden names some file systems need instead.
class TestFiles_ : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesAreWholeAndLeaveNothingBehind_data()
    {
        QTest::addColumn<QtFiles::Staging>("staging");
        QTest::newRow("unnamed files") << QtFiles::Staging::Unnamed;
        QTest::newRow("hidden names") << QtFiles::Staging::Named;
    }
    void writesAreWholeAndLeaveNothingBehind()
    {
        QFETCH(QtFiles::Staging, staging);
        QtFiles files(staging);
        QTemporaryDir dir;
        const QString note = dir.filePath(u"note.md"_s);
        QVERIFY(files.write(note, "first"));
        QCOMPARE(::chmod(QFile::encodeName(note).constData(), 0640), 0);
        QVERIFY(files.write(note, "second"));
        QCOMPARE(TestFiles::read(note), QByteArray("second"));
        QCOMPARE(TestFiles::permissions(note), 0640);

        const QString key = dir.filePath(u"note.key"_s);
        QVERIFY(files.create(key, "key"));
        QCOMPARE(files.create(key, "other").error, EEXIST);
        QCOMPARE(TestFiles::read(key), QByteArray("key"));

        // Another program may give a file a name at the limit of 255 bytes; its new data
        // still needs a name of its own beside it until it takes the file's place.
        const QString longest = dir.filePath(QString(125, QChar(0xE9)) + u"xx.md"_s);
        QCOMPARE(QFile::encodeName(QFileInfo(longest).fileName()).size(), 255);
        QVERIFY(TestFiles::write(longest, "theirs"));
        QVERIFY(files.write(longest, "ours"));
        QCOMPARE(TestFiles::read(longest), QByteArray("ours"));
        QVERIFY(QFile::remove(longest));

        QVERIFY(QDir().mkdir(dir.filePath(u"folder.md"_s)));
        QVERIFY(!files.write(dir.filePath(u"folder.md"_s), "x"));
        QCOMPARE(files.write(dir.filePath(u"gone/note.md"_s), "x").error, ENOENT);
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 (QStringList{u"folder.md"_s, u"note.key"_s, u"note.md"_s}));
    }

    // What the program keeps for itself no other account may read, whatever the umask says,
    // even one that takes from the owner; what it shares follows the umask.
    void accessWhateverTheUmask_data()
    {
        QTest::addColumn<QtFiles::Staging>("staging");
        QTest::addColumn<int>("umask");
        for (const int mask : {022, 0, 0277}) {
            QTest::addRow("umask %03o, unnamed files", mask) << QtFiles::Staging::Unnamed << mask;
            QTest::addRow("umask %03o, hidden names", mask) << QtFiles::Staging::Named << mask;
        }
    }
    void accessWhateverTheUmask()
    {
        QFETCH(QtFiles::Staging, staging);
        QFETCH(int, umask);
        QtFiles files(staging);
        QTemporaryDir dir;
        const TestFiles::Umask mask(umask);
        const auto path = [&](const char* name) { return dir.filePath(QString::fromUtf8(name)); };
        using Access = Files::Access;

        QVERIFY(files.makeFolder(path("data/Images"), true, Access::Private));
        QCOMPARE(TestFiles::permissions(path("data")), 0700);
        QCOMPARE(TestFiles::permissions(path("data/Images")), 0700);
        QVERIFY(files.write(path("data/Images/A.png"), "picture", Access::Private));
        QCOMPARE(TestFiles::permissions(path("data/Images/A.png")), 0600);
        QVERIFY(files.create(path("data/note.key"), "key"));
        QCOMPARE(TestFiles::permissions(path("data/note.key")), 0600);
        // A private file that an older build left readable ends private.
        QVERIFY(TestFiles::write(path("data/index.json"), "{}"));
        QCOMPARE(::chmod(QFile::encodeName(path("data/index.json")).constData(), 0644), 0);
        QVERIFY(files.write(path("data/index.json"), "{ }", Access::Private));
        QCOMPARE(TestFiles::permissions(path("data/index.json")), 0600);

        QVERIFY(files.makeFolder(path("sync/Pondrift"), true));
        QCOMPARE(TestFiles::permissions(path("sync/Pondrift")), 0777 & ~umask);
        QVERIFY(files.write(path("sync/Pondrift/Note.md"), "text"));
        QCOMPARE(TestFiles::permissions(path("sync/Pondrift/Note.md")), 0666 & ~umask);
    }

    // Links are told apart from what they lead to, in a listing and by lstat, so that a
    // caller can leave another program's link alone; stat still follows them.
    void linksAreToldApartFromWhatTheyLeadTo()
    {
        QTemporaryDir dir;
        QtFiles files;
        QVERIFY(TestFiles::write(dir.filePath(u"file"_s), "data"));
        QVERIFY(QFile::link(dir.filePath(u"file"_s), dir.filePath(u"link"_s)));
        QVERIFY(QFile::link(dir.filePath(u"nowhere"_s), dir.filePath(u"dangling"_s)));
        // A link that leads to itself cannot be followed, yet it is there.
        QVERIFY(QFile::link(dir.filePath(u"loop"_s), dir.filePath(u"loop"_s)));
        QCOMPARE(::mkfifo(QFile::encodeName(dir.filePath(u"pipe"_s)).constData(), 0600), 0);
        QVERIFY(QDir().mkpath(dir.filePath(u"folder"_s)));
        const QMap<QString, std::pair<Files::Kind, bool>> expected{
            {u"file"_s, {Files::Kind::File, false}},     {u"link"_s, {Files::Kind::File, true}},
            {u"dangling"_s, {Files::Kind::Other, true}}, {u"pipe"_s, {Files::Kind::Other, false}},
            {u"folder"_s, {Files::Kind::Folder, false}}, {u"loop"_s, {Files::Kind::Other, true}},
        };
        for (const bool withDates : {true, false}) {
            const auto listed = files.list(dir.path(), withDates);
            QVERIFY(listed);
            QMap<QString, std::pair<Files::Kind, bool>> seen;
            for (const Files::Entry& entry : *listed)
                seen.insert(entry.name, {entry.kind, entry.link});
            QCOMPARE(seen, expected);
        }
        for (const QString& name : {u"link"_s, u"dangling"_s}) {
            const auto entry = files.lstat(dir.filePath(name));
            QVERIFY(entry && entry->link && entry->kind == Files::Kind::Other);
        }
        const auto followed = files.stat(dir.filePath(u"link"_s));
        QVERIFY(followed && !followed->link && followed->kind == Files::Kind::File);
        const auto plain = files.lstat(dir.filePath(u"file"_s));
        QVERIFY(plain && !plain->link && plain->kind == Files::Kind::File);
        QCOMPARE(files.lstat(dir.filePath(u"missing"_s)), std::nullopt);
    }

    void aFolderSyncReportsWhatItCouldNotReach()
    {
        QtFiles files;
        QTemporaryDir dir;
        QVERIFY(files.syncFolder(dir.path()));
        QCOMPARE(files.syncFolder(dir.filePath(u"gone"_s)).error, ENOENT);
        QVERIFY(TestFiles::write(dir.filePath(u"plain"_s), "x"));
        QCOMPARE(files.syncFolder(dir.filePath(u"plain"_s)).error, ENOTDIR);
    }
};

QTEST_GUILESS_MAIN(TestFiles_)
#include "tst_files.moc"
