#pragma once

#include "notes/Note.h"

#include <QSet>
#include <QString>

#include <optional>

// How the documents in the synced folder are named: the sync engine and the folder both
// follow these rules. All but discoveredRoot are pure over strings.
namespace DocumentNames {

inline const QString folder = QStringLiteral("Pondrift");
inline const QString extension = QStringLiteral("md");
inline const QString conflictsFolder = QStringLiteral("Conflicts");

// The name a note's document gets: its title made safe for every file system, or "note-" and
// the start of its id, with "-2", "-3"... until the lower-cased name is not in `claimed`
// (lower-cased names already taken).
QString fileName(const Note& note, const QSet<QString>& claimed);
// "Plans.md" at a date gives "Plans (conflict 2026-03-14-092653).md", local time.
QString conflictName(const QString& name, Date at);

struct Resolved {
    QString name;
    // False for the placeholder of a document not downloaded yet.
    bool downloaded = true;
    friend bool operator==(const Resolved&, const Resolved&) = default;
};
// A document's name from a directory entry: ".X.md.icloud" is the placeholder of an
// undownloaded "X.md"; other dot files and anything not ending in ".md" are not ours.
std::optional<Resolved> resolvedName(const QString& entry);

// The first of the usual sync clients' folders in home that exists (Nextcloud, ownCloud,
// Dropbox, Syncthing's "Sync"), else home itself.
QString discoveredRoot(const QString& home);

} // namespace DocumentNames
