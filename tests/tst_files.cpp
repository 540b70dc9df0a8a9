#include "platform/qt/QtFiles.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

Q_DECLARE_METATYPE(QtFiles::Staging)

namespace {

mode_t modeOf(const QString& path)
{
    struct stat st {};
    ::stat(QFile::encodeName(path).constData(), &st);
    return st.st_mode & 0777;
}

} // namespace

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
        QCOMPARE(modeOf(note), 0640u);

        const QString key = dir.filePath(u"note.key"_s);
        QVERIFY(files.create(key, "key"));
        QCOMPARE(files.create(key, "other").error, EEXIST);
        QCOMPARE(TestFiles::read(key), QByteArray("key"));
        QCOMPARE(modeOf(key), 0600u);

        QVERIFY(QDir().mkdir(dir.filePath(u"folder.md"_s)));
        QVERIFY(!files.write(dir.filePath(u"folder.md"_s), "x"));
        QCOMPARE(files.write(dir.filePath(u"gone/note.md"_s), "x").error, ENOENT);
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 (QStringList{u"folder.md"_s, u"note.key"_s, u"note.md"_s}));
    }
};

QTEST_GUILESS_MAIN(TestFiles_)
#include "tst_files.moc"
