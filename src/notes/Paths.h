#pragma once

#include <QString>

// Where every local file of the program lives: one folder and the names in it. Classes take
// their paths in their constructors; only the program's wiring asks for the user's folder, so
// tests never come near it.
struct Paths {
    QString support;

    QString db() const { return support + QStringLiteral("/notes.db"); }
    QString key() const { return support + QStringLiteral("/note.key"); }
    QString images() const { return support + QStringLiteral("/Images"); }
    // The sync's memory of the folder.
    QString syncIndex() const { return support + QStringLiteral("/cloud-index.json"); }
    // The last text of notes that the sync deleted here, as documents, for a month.
    QString trash() const { return support + QStringLiteral("/Trash"); }

    // The per-user data folder plus "Pondrift". Only named here: the first store that writes
    // in it (the database, the pictures, the sync index) makes it, private, so that other
    // accounts on the machine can read none of it, and reports a failure as its own.
    static Paths user();
};
