#include "exchange/NoteDocument.h"
#include "support/FaultyFiles.h"
#include "support/NoteBuilder.h"
#include "support/TestFiles.h"
#include "sync/LocalTrash.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// The last text of a note the sync deletes here, kept where a person can find it.
class TestLocalTrash : public QObject {
    Q_OBJECT

    static QStringList kept(const QString& folder)
    {
        return QDir(folder).entryList({u"*.md"_s}, QDir::Files, QDir::Name);
    }

private Q_SLOTS:
    // Two deletions of one title in the same second are two documents, each reading back as
    // the note it was.
    void aDeletedNoteReadsBackFromTheTrash()
    {
        QTemporaryDir dir;
        FaultyFiles files;
        LocalTrash trash(dir.filePath(u"Trash"_s), files);
        const Date at{1'760'000'000.0};
        const Note first = aNote().id(u"A1"_s).title(u"Plans"_s).body(u"- call Ana"_s).build();
        const Note second = aNote().id(u"B2"_s).title(u"Plans"_s).body(u"- buy 书"_s).build();
        QVERIFY(trash.keep(first, at));
        QVERIFY(trash.keep(second, at));
        const QStringList names = kept(trash.folder());
        QCOMPARE(names.size(), 2);
        QVERIFY(names.first().startsWith(u"Plans (deleted "_s));
        QStringList bodies;
        for (const QString& name : names) {
            const auto parsed = NoteDocument::parse(
                QString::fromUtf8(TestFiles::read(trash.folder() + u'/' + name)), name);
            QVERIFY(parsed.hasIdentity);
            bodies << parsed.note.body;
        }
        bodies.sort();
        QCOMPARE(bodies, (QStringList{u"- buy 书"_s, u"- call Ana"_s}));
        QCOMPARE(QFileInfo(trash.folder()).permissions() & QFileDevice::ReadOther,
                 QFileDevice::Permissions());
    }

    void theTrashKeepsAMonth_data()
    {
        QTest::addColumn<double>("daysLater");
        QTest::addColumn<bool>("stillThere");
        QTest::newRow("29 days") << 29.0 << true;
        QTest::newRow("31 days") << 31.0 << false;
    }
    void theTrashKeepsAMonth()
    {
        QFETCH(double, daysLater);
        QFETCH(bool, stillThere);
        QTemporaryDir dir;
        FaultyFiles files;
        LocalTrash trash(dir.filePath(u"Trash"_s), files);
        const Date now{QDateTime::currentSecsSinceEpoch() * 1.0};
        QVERIFY(trash.keep(aNote().title(u"Old"_s).build(), now));
        // Another program's file in the folder is not the trash's to remove.
        QVERIFY(TestFiles::write(trash.folder() + u"/readme.txt"_s, "mine"));
        trash.prune(Date{now.seconds + daysLater * 24 * 3600});
        QCOMPARE(kept(trash.folder()).size(), stillThere ? 1 : 0);
        QVERIFY(QFile::exists(trash.folder() + u"/readme.txt"_s));
    }
};

QTEST_GUILESS_MAIN(TestLocalTrash)
#include "tst_localtrash.moc"
