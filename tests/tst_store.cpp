#include "images/ImageStore.h"
#include "notes/Crypto.h"
#include "notes/Paths.h"
#include "notes/Store.h"
#include "platform/Log.h"
#include "platform/qt/QtFiles.h"
#include "support/FaultyFiles.h"
#include "support/TestFiles.h"
#include "sync/CloudSyncIndex.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <openssl/evp.h>
#include <sqlite3.h>

#include <csignal>
#include <functional>
#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The test's own connection, for what the store must not be trusted to show about itself.
class RawDb final {
public:
    explicit RawDb(const QString& path) { sqlite3_open(path.toUtf8().constData(), &db); }
    ~RawDb() { sqlite3_close_v2(db); }
    RawDb(const RawDb&) = delete;
    RawDb& operator=(const RawDb&) = delete;

    bool exec(const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == 0; }
    // A NULL column reads as a null variant.
    QVariant value(const char* column, const QString& id)
    {
        const QByteArray sql = "SELECT " + QByteArray(column) + " FROM notes WHERE id=?";
        sqlite3_stmt* s = prepare(sql.constData(), id, 1);
        QVariant result;
        if (sqlite3_step(s) == SQLITE_ROW && sqlite3_column_type(s, 0) != SQLITE_NULL)
            result = QByteArray(static_cast<const char*>(sqlite3_column_blob(s, 0)),
                                sqlite3_column_bytes(s, 0));
        sqlite3_finalize(s);
        return result;
    }
    void setBody(const QString& id, const QByteArray& bytes)
    {
        sqlite3_stmt* s = prepare("UPDATE notes SET body=? WHERE id=?", id, 2);
        sqlite3_bind_blob(s, 1, bytes.constData(), int(bytes.size()), SQLITE_TRANSIENT);
        QCOMPARE(sqlite3_step(s), SQLITE_DONE);
        sqlite3_finalize(s);
    }
    int count()
    {
        sqlite3_stmt* s = prepare("SELECT count(*) FROM notes", {}, 0);
        const int n = sqlite3_step(s) == SQLITE_ROW ? sqlite3_column_int(s, 0) : -1;
        sqlite3_finalize(s);
        return n;
    }

private:
    sqlite3_stmt* prepare(const char* sql, const QString& id, int idAt)
    {
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db, sql, -1, &s, nullptr);
        if (idAt)
            sqlite3_bind_text(s, idAt, id.toUtf8().constData(), -1, SQLITE_TRANSIENT);
        return s;
    }
    sqlite3* db = nullptr;
};

// AES-256-GCM under the all-zero key straight through OpenSSL: seals bytes that are not text.
QByteArray gcmSeal(const QByteArray& nonce, const QByteArray& plain)
{
    const QByteArray key(32, '\0');
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    QByteArray out(plain.size() + 16, Qt::Uninitialized);
    auto* o = reinterpret_cast<unsigned char*>(out.data());
    int n = 0;
    EVP_EncryptInit_ex(ctx, EVP_aes_256_gcm(), nullptr,
                       reinterpret_cast<const unsigned char*>(key.constData()),
                       reinterpret_cast<const unsigned char*>(nonce.constData()));
    EVP_EncryptUpdate(ctx, o, &n, reinterpret_cast<const unsigned char*>(plain.constData()),
                      int(plain.size()));
    EVP_EncryptFinal_ex(ctx, o + n, &n);
    EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_GET_TAG, 16, o + plain.size());
    EVP_CIPHER_CTX_free(ctx);
    return nonce + out;
}

// What `call` threw: a PersistenceError's kind, "file error", or "none".
QString errorOf(const std::function<void()>& call, QString* message = nullptr)
{
    try {
        call();
    } catch (const PersistenceError& e) {
        if (message)
            *message = e.description();
        static const QStringList names{u"database"_s, u"invalidKey"_s, u"missingKey"_s,
                                       u"corruptBody"_s, u"invalidColor"_s};
        return names.at(static_cast<int>(e.kind));
    } catch (const FileSystemError& e) {
        if (message)
            *message = e.description();
        return u"file error"_s;
    }
    return u"none"_s;
}

// While it lives, every write to a regular file fails as it would on a full disk.
class FullDisk final {
public:
    FullDisk()
    {
        previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &previous);
        rlimit none = previous;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &previous);
        std::signal(SIGXFSZ, previousHandler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit previous{};
    void (*previousHandler)(int) = nullptr;
};

Note sample(const QString& id, const QString& body, double order = 0)
{
    return Note(id, u"title "_s + id, body, 3, Date{1700000000.25}, Date{1700000100.5}, false, true,
                NoteTextDirection::RightToLeft, order);
}

} // namespace

class TestStore : public QObject {
    Q_OBJECT

    QtFiles files;
    std::optional<QTemporaryDir> tmp;
    QString dbPath() const { return tmp->filePath(u"notes.db"_s); }
    QString keyPath() const { return tmp->filePath(u"note.key"_s); }
    bool noTempKeys() const
    {
        return QDir(tmp->path())
            .entryList({u".note.key.*"_s}, QDir::Files | QDir::Hidden)
            .isEmpty();
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        tmp.emplace();
        QVERIFY(tmp->isValid());
    }

    // Test case 14 of McGrew and Viega's GCM paper fixes the nonce|ciphertext|tag layout; a tag
    // that verifies over bytes that are not UTF-8 must still be refused.
    void sealedBytesOpenToTextOrAreRefused_data()
    {
        QTest::addColumn<QByteArray>("sealed");
        QTest::addColumn<QString>("text"); // null when refused
        const QByteArray nonce = QByteArray::fromHex("000102030405060708090a0b");
        QTest::newRow("sixteen NUL characters")
            << QByteArray(12, '\0')
                   + QByteArray::fromHex("cea7403d4d606b6e074ec5d3baf39d18"
                                         "d0d1c8a799996bf0265b98b5d48ab919")
            << QString(16, QChar(0));
        QTest::newRow("a character cut short at the end") << gcmSeal(nonce, "caf\xc3") << QString();
    }
    void sealedBytesOpenToTextOrAreRefused()
    {
        QFETCH(QByteArray, sealed);
        QFETCH(QString, text);
        TestFiles::write(keyPath(), QByteArray(32, '\0'));
        Crypto crypto(keyPath(), false, files);
        if (text.isNull())
            QCOMPARE(errorOf([&] { crypto.open(sealed); }), u"corruptBody"_s);
        else
            QCOMPARE(crypto.open(sealed), text);
    }

    void textsSealAndOpenToThemselves_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("Chinese, an emoji, a leading BOM") << u"\uFEFFMilk ☐ 牛奶 🥛"_s;
        QTest::newRow("NUL characters inside") << QString::fromUtf16(u"a\0b", 3);
        QTest::newRow("a long body") << QString(100000, u'x');
    }
    void textsSealAndOpenToThemselves()
    {
        QFETCH(QString, text);
        Crypto crypto(keyPath(), true, files);
        const QByteArray first = crypto.seal(text);
        QVERIFY(first != crypto.seal(text));
        QCOMPARE(first.size(), 12 + text.toUtf8().size() + 16);
        // A refused body leaves the cipher able to open the next one.
        QByteArray spoiled = first;
        spoiled[spoiled.size() - 1] = static_cast<char>(spoiled.back() ^ 1);
        QCOMPARE(errorOf([&] { crypto.open(spoiled); }), u"corruptBody"_s);
        QCOMPARE(Crypto(keyPath(), false, files).open(first), text);
    }

    void keyFiles_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<bool>("allowCreation");
        QTest::addColumn<QString>("error");
        QTest::newRow("a 31-byte key file") << u"31"_s << true << u"invalidKey"_s;
        QTest::newRow("a 33-byte key file") << u"33"_s << true << u"invalidKey"_s;
        QTest::newRow("no key file where none may be made")
            << u"none"_s << false << u"missingKey"_s;
        QTest::newRow("a folder as the key file") << u"folder"_s << true << u"file error"_s;
        QTest::newRow("a missing key folder") << u"noFolder"_s << true << u"file error"_s;
        QTest::newRow("a dangling link as the key file")
            << u"dangling"_s << true << u"file error"_s;
    }
    void keyFiles()
    {
        QFETCH(QString, setup);
        QFETCH(bool, allowCreation);
        QFETCH(QString, error);
        QString path = keyPath();
        if (setup == u"folder")
            QVERIFY(QDir(tmp->path()).mkdir(u"note.key"_s));
        else if (setup == u"noFolder")
            path = tmp->filePath(u"missing/note.key"_s);
        else if (setup == u"dangling")
            QVERIFY(QFile::link(tmp->filePath(u"gone"_s), path));
        else if (setup != u"none")
            TestFiles::write(path, QByteArray(setup.toInt(), 'k'));
        const auto before = TestFiles::snapshot(tmp->path());
        Crypto crypto(path, allowCreation, files);
        for (int attempt = 0; attempt < 2; ++attempt) { // a failure is not remembered
            QString message;
            QCOMPARE(errorOf([&] { crypto.seal(u"x"_s); }, &message), error);
            QCOMPARE(errorOf([&] { crypto.open(QByteArray(40, 'b')); }), error);
            if (error == u"file error")
                QVERIFY2(message.startsWith(path + u": "_s), qPrintable(message));
        }
        QCOMPARE(TestFiles::snapshot(tmp->path()), before);
        if (setup == u"none") { // a key that appears later is used
            TestFiles::write(keyPath(), QByteArray(32, 'k'));
            QCOMPARE(crypto.open(crypto.seal(u"x"_s)), u"x"_s);
        }
    }

    void notesRoundTripAndTheKeyIsMadeOnTheFirstWrite()
    {
        Store store(dbPath(), keyPath(), files);
        QCOMPARE(store.load(), QList<Note>());
        QVERIFY(!QFileInfo::exists(keyPath()));
        const Note a = sample(u"A"_s, u"first\n☐ task"_s, 2);
        const Note b(u"B"_s, QString(), QString(), 0, Date{-5.5}, Date{0.125}, true, false,
                     NoteTextDirection::Automatic, -1.5);
        store.upsert(a);
        store.upsert(b);
        store.upsert(sample(u"C"_s, u"c"_s));
        store.deleteNote(u"C"_s);
        store.deleteNote(u"never there"_s);
        QCOMPARE(TestFiles::read(keyPath()).size(), 32);
        QCOMPARE(Store(dbPath(), keyPath(), files).load(), (QList<Note>{b, a}));
        QVERIFY(!RawDb(dbPath()).value("body", u"A"_s).toByteArray().contains("first"));
        // A second upsert replaces everything but the first created date.
        Note changed(a.id, u"new title"_s, u"two"_s, 7, Date{1.0}, Date{1800000000.75}, true, false,
                     NoteTextDirection::LeftToRight, -3.25);
        store.upsert(changed);
        changed.created = a.created;
        QCOMPARE(store.load(), (QList<Note>{changed, b}));
    }

    // Other accounts read nothing of a library, even under a umask that takes nothing.
    void aFreshLibraryIsTheOwnersAlone()
    {
        const TestFiles::Umask mask(0);
        const Paths paths{tmp->filePath(u"share/Pondrift"_s)};
        FaultyFiles files;
        Store store(paths.db(), paths.key(), files);
        store.upsert(sample(u"A"_s, u"secret"_s));
        ImageStore images(paths.images(), files);
        const auto picture = images.save(QByteArray("picture"), u"png"_s);
        QVERIFY(picture);
        CloudSyncIndex index;
        index.record(u"A"_s, u"title A.md"_s, Date{1}, Date{2});
        QVERIFY(index.save(paths.syncIndex(), files));
        QStringList wanted;
        QStringList found;
        for (const auto& [path, mode] :
             QList<std::pair<QString, int>>{{tmp->filePath(u"share"_s), 0700},
                                            {paths.support, 0700},
                                            {paths.db(), 0600},
                                            {paths.db() + u"-wal"_s, 0600},
                                            {paths.db() + u"-shm"_s, 0600},
                                            {paths.key(), 0600},
                                            {paths.images(), 0700},
                                            {*images.filePath(*picture), 0600},
                                            {paths.syncIndex(), 0600}}) {
            const QString name = path.mid(tmp->path().size() + 1) + u' ';
            wanted.append(name + QString::number(mode, 8));
            found.append(name + QString::number(TestFiles::permissions(path), 8));
        }
        QCOMPARE(found, wanted);
    }

    // A power cut must not take the key's name while a body sealed under it is stored.
    void aNewKeysNameReachesTheDiskBeforeAnyBodyIsSealed()
    {
        FaultyFiles faulty;
        Store store(dbPath(), keyPath(), faulty);
        faulty.failFolderSyncs(EIO);
        QString message;
        QCOMPARE(errorOf([&] { store.upsert(sample(u"A"_s, u"a"_s)); }, &message), u"file error"_s);
        QVERIFY2(message.startsWith(tmp->path() + u": "_s), qPrintable(message));
        QCOMPARE(store.load(), QList<Note>());
        const QByteArray key = TestFiles::read(keyPath());
        faulty.heal();
        store.upsert(sample(u"A"_s, u"a"_s));
        QCOMPARE(faulty.syncedFolders, QStringList{tmp->path()});
        QCOMPARE(TestFiles::read(keyPath()), key);
        QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{sample(u"A"_s, u"a"_s)});
    }

    void coloursOutsideThePaletteWriteNothing_data()
    {
        QTest::addColumn<qint64>("color");
        QTest::newRow("-1 is refused") << qint64{-1};
        QTest::newRow("8 is refused") << qint64{8};
        QTest::newRow("7 is the last colour") << qint64{7};
    }
    void coloursOutsideThePaletteWriteNothing()
    {
        QFETCH(qint64, color);
        Store store(dbPath(), keyPath(), files);
        const Note stored = sample(u"S"_s, u"kept"_s);
        store.upsert(stored);
        Note note = sample(u"S"_s, u"changed"_s);
        Note fresh = sample(u"F"_s, u"fresh"_s);
        note.color = fresh.color = color;
        if (color == 7) {
            store.upsert(note);
            QCOMPARE(store.load(), QList<Note>{note});
            return;
        }
        QCOMPARE(errorOf([&] { store.upsert(note); }), u"invalidColor"_s);
        QCOMPARE(errorOf([&] { store.upsert(fresh); }), u"invalidColor"_s);
        QCOMPARE(store.load(), QList<Note>{stored});
    }

    void anOldTableGainsItsNewColumnsOnce()
    {
        {
            RawDb raw(dbPath());
            QVERIFY(raw.exec(
                "CREATE TABLE notes (id TEXT PRIMARY KEY, title TEXT NOT NULL DEFAULT '',"
                " body BLOB NOT NULL, color INTEGER NOT NULL DEFAULT 0,"
                " created REAL NOT NULL, modified REAL NOT NULL,"
                " archived INTEGER NOT NULL DEFAULT 0, sort_order REAL NOT NULL DEFAULT 0);"));
            const QByteArray body = Crypto(keyPath(), true, files).seal(u"from before"_s).toHex();
            QVERIFY(raw.exec(
                "INSERT INTO notes (id,title,body,color,created,modified,archived,sort_order)"
                " VALUES ('OLD','t',X'"
                + body + "',5,10.5,20.25,1,-2)"));
        }
        QStringList lines;
        {
            Log::Capture capture([&](const QString& line) { lines.append(line); });
            const Note old(u"OLD"_s, u"t"_s, u"from before"_s, 5, Date{10.5}, Date{20.25}, true,
                           false, NoteTextDirection::Automatic, -2);
            QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{old});
            QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{old});
        }
        QCOMPARE(lines, (QStringList{u"Pondrift: migrated notes table — added pinned"_s,
                                     u"Pondrift: migrated notes table — added text direction"_s}));
        // An unknown direction, here in the wrong case, reads as automatic.
        QVERIFY(RawDb(dbPath()).exec("UPDATE notes SET text_direction='LeftToRight'"));
        QCOMPARE(Store(dbPath(), keyPath(), files).load().value(0).textDirection,
                 NoteTextDirection::Automatic);
    }

    void aFullDiskLosesNothing()
    {
        Store store(dbPath(), keyPath(), files);
        const Note kept = sample(u"KEPT"_s, u"saved before"_s, 1);
        store.upsert(kept);
        Note edited = kept;
        edited.body = u"an edit that finds no room"_s;
        QString saveError;
        QString keyError;
        const QString otherKey = tmp->filePath(u"other.key"_s);
        {
            FullDisk full; // nothing may print while it lives
            saveError = errorOf([&] { store.upsert(edited); });
            Crypto crypto(otherKey, true, files);
            keyError = errorOf([&] { crypto.seal(u"x"_s); });
        }
        QCOMPARE(saveError, u"database"_s);
        QCOMPARE(keyError, u"file error"_s);
        QVERIFY(!QFileInfo::exists(otherKey));
        QVERIFY(noTempKeys());
        QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{kept});
        store.upsert(edited); // once there is room, the edit goes through
        QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{edited});
    }

    // One body that does not open, or rows without their key, fail the load and close the
    // store for writes: each row must keep exactly the bytes it held, and no key is made.
    void unreadableRowsFailTheLoadAndStayAsTheyWere_data()
    {
        QTest::addColumn<QString>("spoil");
        QTest::addColumn<QString>("error");
        const QString corrupt = u"corruptBody"_s;
        QTest::newRow("a flipped bit in the cipher text") << u"flip"_s << corrupt;
        QTest::newRow("a body shorter than nonce and tag") << u"stub"_s << corrupt;
        QTest::newRow("a body sealed under another key") << u"other key"_s << corrupt;
        QTest::newRow("an empty body, which SQLite gives as null") << u"empty"_s << corrupt;
        QTest::newRow("rows whose key file is gone") << u"no key"_s << u"missingKey"_s;
    }
    void unreadableRowsFailTheLoadAndStayAsTheyWere()
    {
        QFETCH(QString, spoil);
        QFETCH(QString, error);
        {
            Store seed(dbPath(), keyPath(), files);
            seed.upsert(sample(u"GOOD"_s, u"fine"_s, 1));
            seed.upsert(sample(u"BAD"_s, u"a body of some length to spoil"_s, 2));
        }
        RawDb raw(dbPath());
        QByteArray body = raw.value("body", u"BAD"_s).toByteArray();
        body[20] = static_cast<char>(body[20] ^ 0x10);
        if (spoil == u"stub")
            body = body.left(27);
        else if (spoil == u"other key")
            body = Crypto(tmp->filePath(u"other.key"_s), true, files).seal(u"a body"_s);
        else if (spoil == u"empty")
            body = "";
        if (spoil == u"no key")
            QVERIFY(QFile::remove(keyPath()));
        else
            raw.setBody(u"BAD"_s, body);
        const QVariant stored = raw.value("body", u"BAD"_s);

        Store store(dbPath(), keyPath(), files);
        QCOMPARE(errorOf([&] { store.load(); }), error);
        QCOMPARE(errorOf([&] { store.upsert(sample(u"NEW"_s, u"x"_s)); }), error);
        QCOMPARE(errorOf([&] { store.upsert(sample(u"BAD"_s, u"x"_s)); }), error);
        QCOMPARE(errorOf([&] { store.deleteNote(u"BAD"_s); }), error);
        QCOMPARE(raw.value("body", u"BAD"_s), stored);
        QCOMPARE(raw.count(), 2);
        QCOMPARE(QFileInfo::exists(keyPath()), spoil != u"no key"_s);
        QVERIFY(noTempKeys());
    }

    void unusableDatabasesSayWhichFileAndChangeNothing_data()
    {
        QTest::addColumn<bool>("folder");
        QTest::addColumn<QString>("sqliteText");
        QTest::newRow("a notes.db that is not a database") << false << u"file is not a database"_s;
        QTest::newRow("a folder where notes.db should be") << true << u"unable to open"_s;
    }
    void unusableDatabasesSayWhichFileAndChangeNothing()
    {
        QFETCH(bool, folder);
        QFETCH(QString, sqliteText);
        if (folder)
            QVERIFY(QDir(tmp->path()).mkdir(u"notes.db"_s));
        else
            TestFiles::write(dbPath(), QByteArray(4096, 'x'));
        const auto before = TestFiles::snapshot(tmp->path());
        QString message;
        {
            Store store(dbPath(), keyPath(), files);
            QCOMPARE(errorOf([&] { store.load(); }, &message), u"database"_s);
            QCOMPARE(errorOf([&] { store.upsert(sample(u"A"_s, u"a"_s)); }), u"database"_s);
        }
        QVERIFY2(message.startsWith(dbPath() + u": "_s), qPrintable(message));
        QVERIFY2(message.contains(sqliteText), qPrintable(message));
        QCOMPARE(TestFiles::snapshot(tmp->path()), before);
    }
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
