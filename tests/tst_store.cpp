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

using Kind = PersistenceError::Kind;

// The test's own connection, for what the store must not be trusted to show about itself.
class RawDb final {
public:
    explicit RawDb(const QString& path)
    {
        sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                        nullptr);
    }
    ~RawDb() { sqlite3_close_v2(db); }
    RawDb(const RawDb&) = delete;
    RawDb& operator=(const RawDb&) = delete;

    bool exec(const char* sql)
    {
        return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }

    // Column values by id; a NULL column reads as a null variant.
    QVariant value(const char* column, const QString& id)
    {
        const QByteArray sql = "SELECT " + QByteArray(column) + " FROM notes WHERE id=?";
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db, sql.constData(), -1, &s, nullptr);
        const QByteArray key = id.toUtf8();
        sqlite3_bind_text(s, 1, key.constData(), -1, SQLITE_TRANSIENT);
        QVariant result;
        if (sqlite3_step(s) == SQLITE_ROW && sqlite3_column_type(s, 0) != SQLITE_NULL) {
            const auto* p = static_cast<const char*>(sqlite3_column_blob(s, 0));
            result = QByteArray(p, sqlite3_column_bytes(s, 0));
        }
        sqlite3_finalize(s);
        return result;
    }

    void setBody(const QString& id, const QByteArray& bytes)
    {
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db, "UPDATE notes SET body=? WHERE id=?", -1, &s, nullptr);
        sqlite3_bind_blob(s, 1, bytes.constData(), static_cast<int>(bytes.size()),
                          SQLITE_TRANSIENT);
        const QByteArray key = id.toUtf8();
        sqlite3_bind_text(s, 2, key.constData(), -1, SQLITE_TRANSIENT);
        QCOMPARE(sqlite3_step(s), SQLITE_DONE);
        sqlite3_finalize(s);
    }

    int count()
    {
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db, "SELECT count(*) FROM notes", -1, &s, nullptr);
        const int n = sqlite3_step(s) == SQLITE_ROW ? sqlite3_column_int(s, 0) : -1;
        sqlite3_finalize(s);
        return n;
    }

private:
    sqlite3* db = nullptr;
};

// AES-256-GCM straight through OpenSSL, with the nonce given: the way to seal bytes that are
// not text.
QByteArray gcmSeal(const QByteArray& key, const QByteArray& nonce, const QByteArray& plain)
{
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    QByteArray out(plain.size() + 16, Qt::Uninitialized);
    auto* o = reinterpret_cast<unsigned char*>(out.data());
    int n = 0;
    int m = 0;
    EVP_EncryptInit_ex(ctx, EVP_aes_256_gcm(), nullptr,
                       reinterpret_cast<const unsigned char*>(key.constData()),
                       reinterpret_cast<const unsigned char*>(nonce.constData()));
    EVP_EncryptUpdate(ctx, o, &n, reinterpret_cast<const unsigned char*>(plain.constData()),
                      static_cast<int>(plain.size()));
    EVP_EncryptFinal_ex(ctx, o + n, &m);
    EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_GET_TAG, 16, o + plain.size());
    EVP_CIPHER_CTX_free(ctx);
    return nonce + out;
}

// Runs `call` and names what it threw: the kind of a PersistenceError, "file error" for a
// FileSystemError, "none" when it returned. `message` receives the description.
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

// While it lives, no file of this process may grow: every write to a regular file fails as
// it would on a full disk. Nothing may print in between, since a log file would fail too.
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

    mutable QtFiles files;

private:
    std::optional<QTemporaryDir> tmp;
    QString dbPath() const { return tmp->filePath(u"notes.db"_s); }
    QString keyPath() const { return tmp->filePath(u"note.key"_s); }
    QStringList leftoverTempKeys() const
    {
        return QDir(tmp->path()).entryList({u".note.key.*"_s}, QDir::Files | QDir::Hidden);
    }
    // Rows written by a store that is closed again before the test looks at the files.
    void seed(const QList<Note>& notes) const
    {
        Store store(dbPath(), keyPath(), files);
        for (const Note& note : notes)
            store.upsert(note);
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        tmp.emplace();
        QVERIFY(tmp->isValid());
    }

    // Bodies sealed outside the cipher, laid out as nonce|ciphertext|tag: a published
    // AES-256-GCM vector (test case 14 of McGrew and Viega's GCM paper, no AAD) proves the
    // stored layout rather than just a round trip, and a tag that verifies over bytes that
    // are not UTF-8 (a strict, stateless decoder's cases) must still be refused.
    void sealedBytesOpenToTextOrAreRefused_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QByteArray>("sealed");
        QTest::addColumn<QString>("text"); // null when refused
        const QByteArray zero(32, '\0');
        const QByteArray nonce = QByteArray::fromHex("000102030405060708090a0b");
        QTest::newRow("sixteen NUL characters")
            << zero
            << QByteArray(12, '\0')
                   + QByteArray::fromHex("cea7403d4d606b6e074ec5d3baf39d18"
                                         "d0d1c8a799996bf0265b98b5d48ab919")
            << QString(16, QChar(0));
        QTest::newRow("a lone continuation byte")
            << zero << gcmSeal(zero, nonce, "a\x80z") << QString();
        QTest::newRow("a character cut short at the end")
            << zero << gcmSeal(zero, nonce, "caf\xc3") << QString();
    }
    void sealedBytesOpenToTextOrAreRefused()
    {
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, sealed);
        QFETCH(QString, text);
        TestFiles::write(keyPath(), key);
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
        QTest::newRow("tasks, Chinese and an emoji") << u"Milk ☐ 牛奶 🥛"_s;
        QTest::newRow("a byte order mark at the start stays") << u"\uFEFFhello"_s;
        QTest::newRow("NUL characters inside") << QString::fromUtf16(u"a\0b", 3);
        QTest::newRow("a long body") << QString(100000, u'x');
    }
    void textsSealAndOpenToThemselves()
    {
        QFETCH(QString, text);
        Crypto crypto(keyPath(), true, files);
        const QByteArray first = crypto.seal(text);
        const QByteArray second = crypto.seal(text);
        QVERIFY(first != second);
        // The published vector above fixes the layout that open reads; this fixes seal to it.
        QCOMPARE(first.size(), 12 + text.toUtf8().size() + 16);
        QCOMPARE(crypto.open(first), text);
        // A refused body leaves the cipher able to open the next one.
        QByteArray spoiled = first;
        spoiled[spoiled.size() - 1] = static_cast<char>(spoiled.back() ^ 1);
        QCOMPARE(errorOf([&] { crypto.open(spoiled); }), u"corruptBody"_s);
        QCOMPARE(crypto.open(first), text);
        Crypto reader(keyPath(), false, files);
        QCOMPARE(reader.open(second), text);
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
        QTest::newRow("a folder where the key file should be")
            << u"folder"_s << true << u"file error"_s;
        QTest::newRow("a key folder that does not exist")
            << u"noFolder"_s << true << u"file error"_s;
        QTest::newRow("a dangling link where the key file should be")
            << u"dangling"_s << true << u"file error"_s;
    }
    void keyFiles()
    {
        QFETCH(QString, setup);
        QFETCH(bool, allowCreation);
        QFETCH(QString, error);
        QString path = keyPath();
        if (setup == u"folder") {
            QVERIFY(QDir(tmp->path()).mkdir(u"note.key"_s));
        } else if (setup == u"noFolder") {
            path = tmp->filePath(u"missing/note.key"_s);
        } else if (setup == u"dangling") {
            QVERIFY(QFile::link(tmp->filePath(u"gone"_s), path));
        } else if (setup != u"none") {
            TestFiles::write(path, QByteArray(setup.toInt(), 'k'));
        }
        const auto before = TestFiles::snapshot(tmp->path());

        Crypto crypto(path, allowCreation, files);
        // Twice: a failure is not remembered, and the second try fails the same way.
        for (int attempt = 0; attempt < 2; ++attempt) {
            QString message;
            QCOMPARE(errorOf([&] { crypto.seal(u"x"_s); }, &message), error);
            QCOMPARE(errorOf([&] { crypto.open(QByteArray(40, 'b')); }), error);
            if (error == u"file error")
                QVERIFY2(message.startsWith(path + u": "_s), qPrintable(message));
        }
        QCOMPARE(TestFiles::snapshot(tmp->path()), before);
    }

    void aKeyThatAppearsLaterIsUsed()
    {
        Crypto crypto(keyPath(), false, files);
        QCOMPARE(errorOf([&] { crypto.seal(u"x"_s); }), u"missingKey"_s);
        TestFiles::write(keyPath(), QByteArray(32, 'k'));
        QCOMPARE(crypto.open(crypto.seal(u"x"_s)), u"x"_s);
    }

    void anEmptyDatabaseMakesItsKeyOnTheFirstWrite()
    {
        Store store(dbPath(), keyPath(), files);
        QCOMPARE(store.load(), QList<Note>());
        QVERIFY(!QFileInfo::exists(keyPath()));

        const Note a = sample(u"A"_s, u"first\n☐ task"_s, 2);
        Note b(u"B"_s, QString(), QString(), 0, Date{-5.5}, Date{0.125}, true, false,
               NoteTextDirection::Automatic, -1.5);
        store.upsert(a);
        store.upsert(b);
        QCOMPARE(TestFiles::read(keyPath()).size(), 32);
        QCOMPARE(store.load(), (QList<Note>{b, a}));

        Store reopened(dbPath(), keyPath(), files);
        QCOMPARE(reopened.load(), (QList<Note>{b, a}));
        RawDb raw(dbPath());
        QVERIFY(!raw.value("body", u"A"_s).toByteArray().contains("first"));
    }

    // Other accounts on the machine read nothing of a library: not the titles and dates in the
    // database or its journal files, not the key, the pictures or the sync's list of notes.
    void aFreshLibraryIsTheOwnersAloneWhateverTheUmask_data()
    {
        QTest::addColumn<int>("umask");
        QTest::newRow("the usual umask") << 022;
        QTest::newRow("a umask that takes nothing") << 0;
    }
    void aFreshLibraryIsTheOwnersAloneWhateverTheUmask()
    {
        QFETCH(int, umask);
        const TestFiles::Umask mask(umask);
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

        const QList<std::pair<QString, int>> expected{
            {tmp->filePath(u"share"_s), 0700},
            {paths.support, 0700},
            {paths.db(), 0600},
            {paths.db() + u"-wal"_s, 0600},
            {paths.db() + u"-shm"_s, 0600},
            {paths.key(), 0600},
            {paths.images(), 0700},
            {*images.filePath(*picture), 0600},
            {paths.syncIndex(), 0600},
        };
        QStringList wanted;
        QStringList found;
        for (const auto& [path, mode] : expected) {
            const QString name = path.mid(tmp->path().size() + 1) + u' ';
            wanted.append(name + QString::number(mode, 8));
            found.append(name + QString::number(TestFiles::permissions(path), 8));
        }
        QCOMPARE(found, wanted);
    }

    // A power cut after the key file is made must not take its name while a body sealed under
    // it reaches the database: no body is sealed before the key's folder is synced.
    void aNewKeysNameReachesTheDiskBeforeAnyBodyIsSealed()
    {
        FaultyFiles faulty;
        Store store(dbPath(), keyPath(), faulty);
        faulty.failFolderSyncs(EIO);
        QString message;
        QCOMPARE(errorOf([&] { store.upsert(sample(u"A"_s, u"a"_s)); }, &message), u"file error"_s);
        QVERIFY2(message.startsWith(tmp->path() + u": "_s), qPrintable(message));
        QCOMPARE(store.load(), QList<Note>());

        // The key made before stays the key; its folder is synced before it is first used.
        const QByteArray key = TestFiles::read(keyPath());
        QCOMPARE(key.size(), 32);
        faulty.heal();
        QCOMPARE(faulty.syncedFolders, QStringList());
        store.upsert(sample(u"A"_s, u"a"_s));
        QCOMPARE(faulty.syncedFolders, QStringList{tmp->path()});
        QCOMPARE(TestFiles::read(keyPath()), key);
        QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{sample(u"A"_s, u"a"_s)});
    }

    void upsertKeepsTheFirstCreatedAndReplacesTheRest()
    {
        Store store(dbPath(), keyPath(), files);
        Note note = sample(u"N"_s, u"one"_s);
        store.upsert(note);
        Note changed(note.id, u"new title"_s, u"two"_s, 7, Date{1.0}, Date{1800000000.75}, true,
                     false, NoteTextDirection::LeftToRight, -3.25);
        store.upsert(changed);
        Note expected = changed;
        expected.created = note.created;
        QCOMPARE(store.load(), QList<Note>{expected});
    }

    void coloursOutsideThePaletteWriteNothing_data()
    {
        QTest::addColumn<qint64>("color");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("-1 is refused") << qint64{-1} << false;
        QTest::newRow("8 is refused") << qint64{8} << false;
        QTest::newRow("7 is the last colour") << qint64{7} << true;
    }
    void coloursOutsideThePaletteWriteNothing()
    {
        QFETCH(qint64, color);
        QFETCH(bool, accepted);
        Store store(dbPath(), keyPath(), files);
        const Note stored = sample(u"S"_s, u"kept"_s);
        store.upsert(stored);
        Note note = sample(u"S"_s, u"changed"_s);
        note.color = color;
        Note fresh = sample(u"F"_s, u"fresh"_s);
        fresh.color = color;
        if (accepted) {
            store.upsert(note);
            QCOMPARE(store.load(), QList<Note>{note});
            return;
        }
        QCOMPARE(errorOf([&] { store.upsert(note); }), u"invalidColor"_s);
        QCOMPARE(errorOf([&] { store.upsert(fresh); }), u"invalidColor"_s);
        QCOMPARE(store.load(), QList<Note>{stored});
    }

    void deleteRemovesOneRowAndForgivesUnknownIds()
    {
        Store store(dbPath(), keyPath(), files);
        store.upsert(sample(u"A"_s, u"a"_s, 1));
        store.upsert(sample(u"B"_s, u"b"_s, 2));
        store.deleteNote(u"A"_s);
        store.deleteNote(u"never there"_s);
        QCOMPARE(store.load(), QList<Note>{sample(u"B"_s, u"b"_s, 2)});
    }

    void anUnknownTextDirectionReadsAsAutomatic()
    {
        seed({sample(u"D"_s, u"d"_s)});
        RawDb raw(dbPath());
        QVERIFY(raw.exec("UPDATE notes SET text_direction='LeftToRight'")); // the wrong case
        Store store(dbPath(), keyPath(), files);
        QCOMPARE(store.load().value(0).textDirection, NoteTextDirection::Automatic);
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
            Crypto crypto(keyPath(), true, files);
            const QByteArray body = crypto.seal(u"from before"_s).toHex();
            QVERIFY(raw.exec(
                "INSERT INTO notes (id,title,body,color,created,modified,archived,sort_order)"
                " VALUES ('OLD','t',X'"
                + body + "',5,10.5,20.25,1,-2)"));
        }
        QStringList lines;
        {
            Log::Capture capture([&](const QString& line) { lines.append(line); });
            Store store(dbPath(), keyPath(), files);
            QCOMPARE(store.load(), (QList<Note>{Note(u"OLD"_s, u"t"_s, u"from before"_s, 5,
                                                     Date{10.5}, Date{20.25}, true, false,
                                                     NoteTextDirection::Automatic, -2)}));
            Store again(dbPath(), keyPath(), files);
            QCOMPARE(again.load().size(), 1);
        }
        QCOMPARE(lines, (QStringList{u"Pondrift: migrated notes table — added pinned"_s,
                                     u"Pondrift: migrated notes table — added text direction"_s}));
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
            FullDisk full;
            saveError = errorOf([&] { store.upsert(edited); });
            Crypto crypto(otherKey, true, files);
            keyError = errorOf([&] { crypto.seal(u"x"_s); });
        }
        QCOMPARE(saveError, u"database"_s);
        QCOMPARE(keyError, u"file error"_s);
        QVERIFY(!QFileInfo::exists(otherKey));
        QVERIFY(leftoverTempKeys().isEmpty());

        QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{kept});
        // A failed write does not close the store: once there is room, the edit goes through.
        store.upsert(edited);
        QCOMPARE(Store(dbPath(), keyPath(), files).load(), QList<Note>{edited});
    }

    void rowsWithoutTheirKeyStayUnreadAndNoKeyIsMade()
    {
        seed({sample(u"A"_s, u"a"_s)});
        QVERIFY(QFile::remove(keyPath()));
        const auto before = TestFiles::snapshot(tmp->path());
        {
            Store store(dbPath(), keyPath(), files);
            QCOMPARE(errorOf([&] { store.load(); }), u"missingKey"_s);
            QCOMPARE(errorOf([&] { store.upsert(sample(u"B"_s, u"b"_s)); }), u"missingKey"_s);
            QCOMPARE(errorOf([&] { store.deleteNote(u"A"_s); }), u"missingKey"_s);
        }
        QVERIFY(!QFileInfo::exists(keyPath()));
        QVERIFY(leftoverTempKeys().isEmpty());
        RawDb raw(dbPath());
        QCOMPARE(raw.count(), 1);
        QCOMPARE(TestFiles::snapshot(tmp->path()).value(dbPath()), before.value(dbPath()));
    }

    // One body that does not open fails the whole load, and the store then refuses to write:
    // the row must still hold exactly the bytes it held.
    void unreadableBodiesFailTheLoadAndStayAsTheyWere_data()
    {
        QTest::addColumn<QString>("spoil");
        QTest::newRow("a flipped bit in the cipher text") << u"flip"_s;
        QTest::newRow("a body shorter than nonce and tag") << u"stub"_s;
        QTest::newRow("a body sealed under another key") << u"other key"_s;
        // SQLite gives no pointer for an empty blob, as for a NULL one.
        QTest::newRow("an empty body") << u"empty"_s;
    }
    void unreadableBodiesFailTheLoadAndStayAsTheyWere()
    {
        QFETCH(QString, spoil);
        seed({sample(u"GOOD"_s, u"fine"_s, 1),
              sample(u"BAD"_s, u"a body of some length to spoil"_s, 2)});
        RawDb raw(dbPath());
        QByteArray body = raw.value("body", u"BAD"_s).toByteArray();
        QByteArray spoilt = "";
        if (spoil == u"flip") {
            body[20] = static_cast<char>(body[20] ^ 0x10);
            spoilt = body;
        } else if (spoil == u"stub") {
            spoilt = body.left(27);
        } else if (spoil == u"other key") {
            Crypto other(tmp->filePath(u"other.key"_s), true, files);
            spoilt = other.seal(u"a body of some length to spoil"_s);
        }
        raw.setBody(u"BAD"_s, spoilt);
        const QVariant stored = raw.value("body", u"BAD"_s);

        Store store(dbPath(), keyPath(), files);
        QCOMPARE(errorOf([&] { store.load(); }), u"corruptBody"_s);
        // From now on the store is closed for writes too, with the same error.
        QCOMPARE(errorOf([&] { store.upsert(sample(u"BAD"_s, u"overwrite"_s)); }),
                 u"corruptBody"_s);
        QCOMPARE(errorOf([&] { store.deleteNote(u"BAD"_s); }), u"corruptBody"_s);
        QCOMPARE(errorOf([&] { store.load(); }), u"corruptBody"_s);
        QCOMPARE(raw.value("body", u"BAD"_s), stored);
        QCOMPARE(raw.count(), 2);
    }

    void unusableDatabasesSayWhichFileAndChangeNothing_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("sqliteText");
        QTest::newRow("a notes.db that is not a database")
            << u"garbage"_s << u"file is not a database"_s;
        QTest::newRow("a folder where notes.db should be") << u"folder"_s << u"unable to open"_s;
    }
    void unusableDatabasesSayWhichFileAndChangeNothing()
    {
        QFETCH(QString, setup);
        QFETCH(QString, sqliteText);
        const QString path = dbPath();
        if (setup == u"garbage")
            TestFiles::write(path, QByteArray(4096, 'x'));
        else
            QVERIFY(QDir(tmp->path()).mkdir(u"notes.db"_s));
        const auto before = TestFiles::snapshot(tmp->path());
        QString message;
        {
            Store store(path, keyPath(), files);
            QCOMPARE(errorOf([&] { store.load(); }, &message), u"database"_s);
            QCOMPARE(errorOf([&] { store.upsert(sample(u"A"_s, u"a"_s)); }), u"database"_s);
        }
        QVERIFY2(message.startsWith(path + u": "_s), qPrintable(message));
        QVERIFY2(message.contains(sqliteText), qPrintable(message));
        QCOMPARE(TestFiles::snapshot(tmp->path()), before);
    }
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
