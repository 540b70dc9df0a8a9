#include "exchange/StickyArchive.h"
#include "exchange/Transfer.h"
#include "exchange/TransferPrompts.h"
#include "l10n/L10n.h"
#include "support/TestFiles.h"
#include "support/TestLibrary.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

class AnsweringPrompts final : public TransferPrompts {
public:
    QString folder;
    QString saveFile;
    QStringList openFiles;
    int cancelAfter = -1;

    QStringList alerts; // "title: text"
    QStringList revealed;

    std::optional<QString> chooseFolder(const QString&, const QString&) override { return folder; }
    std::optional<QString> chooseSaveFile(const QString&) override { return saveFile; }
    QStringList chooseFiles(const QString&) override { return openFiles; }
    void alert(Alert, const QString& title, const QString& text) override
    {
        alerts << title + u": "_s + text;
    }
    void reveal(const QStringList& paths) override { revealed << paths; }
    void startProgress(int) override { done = 0; }
    bool advance() override { return ++done != cancelAfter; }
    void finishProgress() override {}

private:
    int done = 0;
};

struct Rig {
    TestLibrary lib;
    QTemporaryDir out;
    AnsweringPrompts prompts;
    Transfer transfer{lib.open(), lib.images, lib.files, lib.clock, prompts};

    QString outPath(const QString& name) const { return QDir(out.path()).filePath(name); }
    QStringList outNames() const { return QDir(out.path()).entryList(QDir::Files | QDir::Hidden); }
    Note add(const QString& title, const QString& body = u"text"_s)
    {
        return lib.notes->create(body, title);
    }
    QList<Note> add(const QStringList& titles)
    {
        QList<Note> made;
        for (const QString& title : titles)
            made << add(title);
        return made;
    }
    void import(const QString& name, const QByteArray& bytes)
    {
        QVERIFY(TestFiles::write(outPath(name), bytes));
        prompts.openFiles = {outPath(name)};
        transfer.importFiles();
    }
};

Note kept(Note note)
{
    note.id.clear();
    note.order = 0;
    note.created.seconds = std::floor(note.created.seconds);
    note.modified.seconds = std::floor(note.modified.seconds);
    return note;
}

QByteArray archiveOf(const QList<Note>& notes, const QMap<QString, QByteArray>& images = {})
{
    StickyArchive archive;
    for (const Note& note : notes)
        archive.notes << StickyNote::from(note);
    archive.images = images;
    return archive.encode();
}

const QByteArray png("\x89PNG\r\n\x1a\npixels", 14);

} // namespace

class TestTransfer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        L10n::install(AppLanguage::English);
    }

    void perNoteFileNames_data()
    {
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QStringList>("there");
        QTest::addColumn<QStringList>("expected");
        const QString emoji = u"😀"_s;
        QTest::newRow("two notes with one title")
            << QStringList{u"Title"_s, u"Title"_s} << QStringList{}
            << QStringList{u"Title-2.md"_s, u"Title.md"_s};
        QTest::newRow("a title.md already there, in another case")
            << QStringList{u"Title"_s, u"Title"_s} << QStringList{u"title.md"_s}
            << QStringList{u"Title-2.md"_s, u"Title-3.md"_s, u"title.md"_s};
        QTest::newRow("a title of slashes")
            << QStringList{u"///"_s} << QStringList{} << QStringList{u"-.md"_s};
        QTest::newRow("an empty title takes the shown one")
            << QStringList{QString()} << QStringList{} << QStringList{u"text.md"_s};
        // 80 four-byte characters are 320 bytes; a name may have 255.
        QTest::newRow("a title longer than a file name may be")
            << QStringList{emoji.repeated(100), emoji.repeated(100)} << QStringList{}
            << QStringList{emoji.repeated(62) + u"-2.md"_s, emoji.repeated(63) + u".md"_s};
    }
    void perNoteFileNames()
    {
        QFETCH(QStringList, titles);
        QFETCH(QStringList, there);
        QFETCH(QStringList, expected);
        Rig rig;
        for (const QString& name : there)
            QVERIFY(TestFiles::write(rig.outPath(name), "theirs"));
        rig.prompts.folder = rig.out.path();
        rig.transfer.exportNotes(TransferFormat::markdown, rig.add(titles));
        QCOMPARE(rig.outNames(), expected);
        QCOMPARE(rig.prompts.alerts, QStringList{});
        QCOMPARE(rig.prompts.revealed.size(), titles.size());
        for (const QString& name : there)
            QCOMPARE(TestFiles::read(rig.outPath(name)), "theirs");
    }

    void archiveRoundTrip_data()
    {
        QTest::addColumn<bool>("withPicture");
        QTest::addColumn<bool>("sameLibrary");
        QTest::newRow("without pictures, no images key") << false << false;
        QTest::newRow("into another library, picture ids and tokens change") << true << false;
        QTest::newRow("into the same library, the picture is already there") << true << true;
    }
    void archiveRoundTrip()
    {
        QFETCH(bool, withPicture);
        QFETCH(bool, sameLibrary);
        Rig from;
        const QString picture = from.lib.image(png);
        const QString body =
            withPicture ? u"Look\n![image|240](pondrift-img://"_s + picture + u")"_s : u"Look"_s;
        QList<Note> notes{from.add(u"Pictured"_s, body), from.add(u"Plain"_s)};
        from.lib.notes->togglePin(notes[1].id);
        from.lib.notes->setArchived(notes[1].id, true);
        notes = {*from.lib.notes->note(notes[0].id), *from.lib.notes->note(notes[1].id)};
        from.prompts.saveFile = from.outPath(u"all.stickies"_s);
        from.transfer.exportNotes(TransferFormat::stickies, notes);
        QCOMPARE(from.prompts.revealed, QStringList{from.prompts.saveFile});
        const QByteArray file = TestFiles::read(from.prompts.saveFile);
        QCOMPARE(QJsonDocument::fromJson(file).object().contains(u"images"_s), withPicture);

        Rig other;
        Rig& to = sameLibrary ? from : other;
        const int before = static_cast<int>(to.lib.stored().size());
        to.prompts.openFiles = {from.prompts.saveFile};
        to.transfer.importFiles();
        QCOMPARE(to.prompts.alerts.last(), u"Import Complete: 2 notes were added."_s);
        const QList<Note> stored = to.lib.stored();
        QCOMPARE(stored.size(), before + 2);
        for (const Note& original : notes) {
            const auto same = std::find_if(stored.cbegin(), stored.cend(), [&](const Note& n) {
                return n.title == original.title && (n.id != original.id) == sameLibrary;
            });
            QVERIFY(same != stored.cend());
            Note expected = kept(original);
            const QList<ImageToken> tokens = ImageTokens::tokens(same->body);
            if (!tokens.isEmpty()) {
                QCOMPARE(to.lib.images.data(tokens[0].id), std::make_optional(png));
                QCOMPARE(tokens[0].width, std::make_optional(240.0));
                QCOMPARE(tokens[0].id == picture, sameLibrary);
                expected.body.replace(picture, tokens[0].id);
            }
            QCOMPARE(kept(*same), expected);
        }
    }

    void importProblems_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("told");
        QTest::addColumn<int>("added");
        const Note note(u"A"_s, {}, u"![image](pondrift-img://IMG)"_s, 2, Date{1773480413},
                        Date{1773480413}, false, false, NoteTextDirection::Automatic, 0);
        Note colour99 = note;
        colour99.color = 99;
        const QString problem = u"Some Files Couldn’t Be Imported: 0 notes were added. These "
                                u"couldn’t be imported: "_s;
        QTest::newRow("an archive of version 4") << u"new.stickies"_s
                                                 << QByteArray(archiveOf({note}, {{u"IMG"_s, png}}))
                                                        .replace("\"version\": 3", "\"version\": 4")
                                                 << problem + u"new.stickies"_s << 0;
        QTest::newRow("an archive with colour 99")
            << u"odd.stickies"_s << archiveOf({colour99}, {{u"IMG"_s, png}})
            << problem + u"odd.stickies"_s << 0;
        QTest::newRow("a corrupt picture loses that picture only")
            << u"bent.stickies"_s
            << archiveOf({note}, {{u"IMG"_s, png}}).replace(png.toBase64(), "*not base64*")
            << u"Import Complete: 1 note was added."_s << 1;
        QTest::newRow("a file that is not UTF-8")
            << u"latin.txt"_s << QByteArray("caf\xe9") << problem + u"latin.txt"_s << 0;
    }
    void importProblems()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, told);
        QFETCH(int, added);
        Rig rig;
        const Note mine = rig.add(u"Mine"_s);
        const auto pictures = TestFiles::snapshot(rig.lib.images.directory());
        rig.import(name, bytes);
        QCOMPARE(rig.prompts.alerts, QStringList{told});
        const QList<Note> stored = rig.lib.stored();
        QCOMPARE(stored.size(), 1 + added);
        QCOMPARE(rig.lib.storedNote(mine.id), std::make_optional(mine));
        QCOMPARE(TestFiles::snapshot(rig.lib.images.directory()), pictures);
    }

    void exportFailures_data()
    {
        QTest::addColumn<TransferFormat>("format");
        QTest::addColumn<int>("writesBeforeTheDiskFills"); // negative: the folder refuses
        QTest::addColumn<QString>("told");
        QTest::addColumn<int>("files");
        const QString incomplete = u"Some Notes Weren’t Exported: Only %1 of 3 notes were "
                                   u"exported. The rest couldn’t be written to the folder."_s;
        QTest::newRow("a folder that refuses the files")
            << TransferFormat::markdown << -1 << incomplete.arg(0) << 0;
        QTest::newRow("a folder that refuses the archive")
            << TransferFormat::stickies << -1 << u"Export Failed: Permission denied"_s << 0;
        QTest::newRow("a disk that fills after one file")
            << TransferFormat::plainText << 1 << incomplete.arg(1) << 1;
        QTest::newRow("a disk that fills before the document")
            << TransferFormat::singleFile << 0 << u"Export Failed: No space left on device"_s << 0;
    }
    void exportFailures()
    {
        QFETCH(TransferFormat, format);
        QFETCH(int, writesBeforeTheDiskFills);
        QFETCH(QString, told);
        QFETCH(int, files);
        Rig rig;
        const QList<Note> notes = rig.add({u"One"_s, u"Two"_s, u"Three"_s});
        const QList<Note> stored = rig.lib.stored();
        rig.prompts.folder = rig.out.path();
        rig.prompts.saveFile = rig.outPath(u"all.export"_s);
        if (writesBeforeTheDiskFills < 0)
            rig.lib.files.failPathsContaining(rig.out.path());
        else
            rig.lib.files.failAfter(writesBeforeTheDiskFills);
        rig.transfer.exportNotes(format, notes);
        QCOMPARE(rig.prompts.alerts, QStringList{told});
        QCOMPARE(rig.outNames().size(), files);
        rig.lib.files.heal();
        QCOMPARE(rig.lib.stored(), stored);
    }

    void cancelHalfway_data()
    {
        QTest::addColumn<TransferFormat>("format");
        QTest::addColumn<bool>("importing");
        QTest::addColumn<int>("files");
        QTest::addColumn<QStringList>("told");
        QTest::newRow("a Markdown export keeps two files, unasked for nothing")
            << TransferFormat::markdown << false << 2 << QStringList{};
        QTest::newRow("an archive export writes nothing")
            << TransferFormat::stickies << false << 0 << QStringList{};
        QTest::newRow("an import keeps the two notes read")
            << TransferFormat::markdown << true << 0
            << QStringList{u"Import Complete: 2 notes were added."_s};
    }
    void cancelHalfway()
    {
        QFETCH(TransferFormat, format);
        QFETCH(bool, importing);
        QFETCH(int, files);
        QFETCH(QStringList, told);
        Rig rig;
        rig.prompts.cancelAfter = 2;
        if (importing) {
            for (const QString& name : {u"a.md"_s, u"b.md"_s, u"c.md"_s, u"d.md"_s}) {
                QVERIFY(TestFiles::write(rig.outPath(name), name.toUtf8()));
                rig.prompts.openFiles << rig.outPath(name);
            }
            rig.transfer.importFiles();
            QCOMPARE(rig.lib.stored().size(), 2);
        } else {
            rig.prompts.folder = rig.out.path();
            rig.prompts.saveFile = rig.outPath(u"all.stickies"_s);
            rig.transfer.exportNotes(format, rig.add({u"A"_s, u"B"_s, u"C"_s, u"D"_s}));
            QCOMPARE(rig.outNames().size(), files);
        }
        QCOMPARE(rig.prompts.alerts, told);
    }

    void importEndsAWaitingUndo()
    {
        Rig rig;
        const Note deleted = rig.add(u"A"_s, u"as it was"_s);
        Note imported = deleted;
        imported.body = u"as imported"_s;
        rig.lib.notes->deleteNote(deleted.id);
        rig.lib.clock.advance(NoteStore::undoWindow / 2);
        rig.import(u"a.stickies"_s, archiveOf({imported}));
        rig.lib.notes->undoDelete();
        const QList<Note> stored = rig.lib.open().notes();
        QCOMPARE(stored.size(), 1);
        QCOMPARE(stored[0].id, deleted.id);
        QCOMPARE(stored[0].body, u"as imported"_s);
    }
};

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
