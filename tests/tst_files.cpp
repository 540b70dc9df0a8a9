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
        QCOMPARE(TestFiles::permissions(key), 0600);

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
