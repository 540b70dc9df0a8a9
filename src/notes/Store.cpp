#include "notes/Store.h"

#include "platform/Files.h"
#include "platform/Log.h"

#include <QByteArrayView>
#include <QFileInfo>
#include <QSet>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char* createTable = "CREATE TABLE IF NOT EXISTS notes (\n"
                                    "  id TEXT PRIMARY KEY,\n"
                                    "  title TEXT NOT NULL DEFAULT '',\n"
                                    "  body BLOB NOT NULL,\n"
                                    "  color INTEGER NOT NULL DEFAULT 0,\n"
                                    "  created REAL NOT NULL,\n"
                                    "  modified REAL NOT NULL,\n"
                                    "  archived INTEGER NOT NULL DEFAULT 0,\n"
                                    "  sort_order REAL NOT NULL DEFAULT 0,\n"
                                    "  pinned INTEGER NOT NULL DEFAULT 0,\n"
                                    "  text_direction TEXT NOT NULL DEFAULT 'automatic'\n"
                                    ");";

constexpr const char* createIndex =
    "CREATE INDEX IF NOT EXISTS idx_notes_archived ON notes(archived, sort_order);";

constexpr const char* selectAll =
    "SELECT id,title,body,color,created,modified,archived,sort_order,pinned,text_direction "
    "FROM notes ORDER BY sort_order ASC;";

constexpr const char* upsertOne =
    "INSERT INTO notes "
    "(id,title,body,color,created,modified,archived,sort_order,pinned,text_direction)\n"
    "VALUES (?,?,?,?,?,?,?,?,?,?)\n"
    "ON CONFLICT(id) DO UPDATE SET\n"
    "  title=excluded.title, body=excluded.body, color=excluded.color,\n"
    "  modified=excluded.modified, archived=excluded.archived,\n"
    "  sort_order=excluded.sort_order, pinned=excluded.pinned,\n"
    "  text_direction=excluded.text_direction;";

constexpr const char* deleteOne = "DELETE FROM notes WHERE id=?;";

// The number of colours in the palette; a stored colour indexes it.
constexpr qint64 paletteSize = 8;

// A prepared statement that is finalized however the scope is left.
class Statement final {
public:
    Statement(sqlite3* db, const char* sql)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &handle, nullptr) != SQLITE_OK) {
            sqlite3_finalize(handle);
            handle = nullptr;
        }
    }
    ~Statement() { sqlite3_finalize(handle); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    explicit operator bool() const { return handle != nullptr; }
    sqlite3_stmt* get() const { return handle; }

private:
    sqlite3_stmt* handle = nullptr;
};

QString columnText(sqlite3_stmt* s, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(s, column));
    return QString::fromUtf8(text, sqlite3_column_bytes(s, column));
}

// Compared in place: every row has a direction, and a launch should not make a string of it
// only to throw it away. The stored values are ASCII, so no other bytes can match one.
NoteTextDirection columnDirection(sqlite3_stmt* s, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(s, column));
    const QLatin1StringView raw(text, sqlite3_column_bytes(s, column));
    for (NoteTextDirection direction : TextDirection::all) {
        if (raw == TextDirection::rawValue(direction))
            return direction;
    }
    return NoteTextDirection::Automatic;
}

bool bindText(sqlite3_stmt* s, int index, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return sqlite3_bind_text(s, index, utf8.constData(), static_cast<int>(utf8.size()),
                             SQLITE_TRANSIENT)
           == SQLITE_OK;
}

} // namespace

Store::Store(QString dbPath, QString keyPath, Files& files)
    : dbPath(std::move(dbPath))
    , files(files)
{
    try {
        open(keyPath);
    } catch (...) {
        failure = std::current_exception();
    }
}

Store::~Store()
{
    if (db)
        sqlite3_close_v2(db);
}

void Store::open(const QString& keyPath)
{
    // SQLite would make a missing database as the umask allows, and it gives the -wal and
    // -shm files the database's own permissions: made private here first, all three are the
    // owner's alone, in a folder of the owner's alone. A failure here is left for SQLite's
    // open to report in its own words.
    if (!files.stat(dbPath)) {
        files.makeFolder(QFileInfo(dbPath).path(), true, Files::Access::Private);
        files.create(dbPath, {});
    }
    const int rc = sqlite3_open_v2(
        dbPath.toUtf8().constData(), &db,
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        failure = std::make_exception_ptr(databaseError(rc));
        return;
    }
    // A failed step does not stop the next: the last failure is the one reported, and the
    // probe below decides whether the store is usable at all.
    exec("PRAGMA journal_mode=WAL;");
    exec("PRAGMA synchronous=NORMAL;");
    exec(createTable);
    exec(createIndex);
    migrateColumns();
    probe(keyPath);
}

void Store::migrateColumns()
{
    QSet<QByteArray> columns;
    {
        Statement info(db, "PRAGMA table_info(notes);");
        while (info && sqlite3_step(info.get()) == SQLITE_ROW)
            columns.insert(reinterpret_cast<const char*>(sqlite3_column_text(info.get(), 1)));
    }
    // Only a change that happened is logged; a database that cannot be read has already
    // recorded its failure.
    if (!columns.contains("pinned")
        && exec("ALTER TABLE notes ADD COLUMN pinned INTEGER NOT NULL DEFAULT 0;"))
        Log::line(u"migrated notes table"_s, u"added pinned"_s);
    if (!columns.contains("text_direction")
        && exec("ALTER TABLE notes ADD COLUMN text_direction TEXT NOT NULL DEFAULT 'automatic';"))
        Log::line(u"migrated notes table"_s, u"added text direction"_s);
}

void Store::probe(const QString& keyPath)
{
    Statement any(db, "SELECT 1 FROM notes LIMIT 1");
    if (!any) {
        failure = std::make_exception_ptr(databaseError());
        return;
    }
    const int rc = sqlite3_step(any.get());
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        failure = std::make_exception_ptr(databaseError(rc));
        return;
    }
    // A key may only be made for an empty table: rows sealed under a key that is gone must
    // stay unreadable rather than be joined by rows under a new one.
    cipher = std::make_unique<Crypto>(keyPath, rc == SQLITE_DONE, files);
}

bool Store::exec(const char* sql)
{
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    if (rc != SQLITE_OK && message)
        failure = std::make_exception_ptr(
            PersistenceError::database(dbPath + u": "_s + QString::fromUtf8(message)));
    sqlite3_free(message);
    return rc == SQLITE_OK;
}

PersistenceError Store::databaseError(int resultCode) const
{
    QString text;
    if (db)
        text = QString::fromUtf8(sqlite3_errmsg(db));
    if (text.isEmpty() && resultCode != 0)
        text = QString::fromUtf8(sqlite3_errstr(resultCode));
    if (text.isEmpty())
        text = u"SQLite error"_s;
    return PersistenceError::database(dbPath + u": "_s + text);
}

void Store::throwIfFailed() const
{
    if (failure)
        std::rethrow_exception(failure);
    // Without a failure there is always a cipher; this only guards the impossible.
    if (!cipher)
        throw PersistenceError::database(dbPath + u": not open"_s);
}

QList<Note> Store::load()
{
    throwIfFailed();
    try {
        return read();
    } catch (...) {
        failure = std::current_exception();
        throw;
    }
}

QList<Note> Store::read()
{
    Statement select(db, selectAll);
    if (!select)
        throw databaseError();
    sqlite3_stmt* s = select.get();

    QList<Note> notes;
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
        // The pointer first, then its size: that is the order SQLite keeps them valid in.
        const void* sealed = sqlite3_column_blob(s, 2);
        if (!sealed)
            throw PersistenceError(PersistenceError::Kind::CorruptBody);
        const int sealedSize = sqlite3_column_bytes(s, 2);
        QString body = cipher->open(QByteArrayView(static_cast<const char*>(sealed), sealedSize));

        notes.emplaceBack(columnText(s, 0), columnText(s, 1), std::move(body),
                          sqlite3_column_int64(s, 3), Date{sqlite3_column_double(s, 4)},
                          Date{sqlite3_column_double(s, 5)}, sqlite3_column_int64(s, 6) != 0,
                          sqlite3_column_int64(s, 8) != 0, columnDirection(s, 9),
                          sqlite3_column_double(s, 7));
    }
    if (rc != SQLITE_DONE)
        throw databaseError(rc);
    return notes;
}

void Store::upsert(const Note& note)
{
    throwIfFailed();
    if (note.color < 0 || note.color >= paletteSize)
        throw PersistenceError(PersistenceError::Kind::InvalidColor);

    Statement insert(db, upsertOne);
    if (!insert)
        throw databaseError();
    sqlite3_stmt* s = insert.get();
    const QByteArray sealed = cipher->seal(note.body);

    const bool bound = bindText(s, 1, note.id) && bindText(s, 2, note.title)
                       && sqlite3_bind_blob(s, 3, sealed.constData(),
                                            static_cast<int>(sealed.size()), SQLITE_TRANSIENT)
                              == SQLITE_OK
                       && sqlite3_bind_int64(s, 4, note.color) == SQLITE_OK
                       && sqlite3_bind_double(s, 5, note.created.seconds) == SQLITE_OK
                       && sqlite3_bind_double(s, 6, note.modified.seconds) == SQLITE_OK
                       && sqlite3_bind_int(s, 7, note.archived ? 1 : 0) == SQLITE_OK
                       && sqlite3_bind_double(s, 8, note.order) == SQLITE_OK
                       && sqlite3_bind_int(s, 9, note.pinned ? 1 : 0) == SQLITE_OK
                       && bindText(s, 10, TextDirection::rawValue(note.textDirection));
    if (!bound)
        throw databaseError();
    const int rc = sqlite3_step(s);
    if (rc != SQLITE_DONE)
        throw databaseError(rc);
}

void Store::deleteNote(const QString& id)
{
    throwIfFailed();
    Statement remove(db, deleteOne);
    if (!remove)
        throw databaseError();
    if (!bindText(remove.get(), 1, id))
        throw databaseError();
    const int rc = sqlite3_step(remove.get());
    if (rc != SQLITE_DONE)
        throw databaseError(rc);
}
