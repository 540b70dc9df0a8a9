#pragma once

#include "notes/Crypto.h"
#include "notes/Note.h"

#include <QList>
#include <QString>

#include <exception>
#include <memory>

class Files;
struct sqlite3;

// The one SQLite connection to the note database: all notes are read at once, written one at
// a time, each write committing by itself. Only the body goes through the cipher.
//
// Construction never throws: a database that cannot be opened or set up leaves the store
// failed, and every call then throws that failure without touching the file. A load that
// fails (one row that does not open is enough) fails the store the same way for the rest of
// the process, so that nothing is ever written over rows it could not read. Rows are never
// rewritten or removed because they could not be read.
//
// Throws PersistenceError, or FileSystemError for a key file that cannot be read or made.
// Database messages name the file, then give SQLite's own text. Main thread only.
class Store final {
public:
    // The key file is read and made through files, which must outlive the store.
    Store(QString dbPath, QString keyPath, Files& files);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    // Every note, active and archived, by sort order ascending.
    QList<Note> load();
    // Inserts the note, or updates every field but `created` of the stored one. A colour
    // outside the palette throws InvalidColor and writes nothing.
    void upsert(const Note& note);
    // Removes the row; an unknown id is no error.
    void deleteNote(const QString& id);

private:
    void open(const QString& keyPath);
    void migrateColumns();
    void probe(const QString& keyPath);
    // Runs one statement without result; a failure with a message becomes the failure.
    bool exec(const char* sql);
    PersistenceError databaseError(int resultCode = 0) const;
    void throwIfFailed() const;
    QList<Note> read();

    QString dbPath;
    Files& files;
    sqlite3* db = nullptr;
    std::unique_ptr<Crypto> cipher;
    // The sticky failure; kept as it was thrown, PersistenceError or FileSystemError.
    std::exception_ptr failure;
};
