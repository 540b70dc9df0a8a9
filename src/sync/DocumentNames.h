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

// The name a note's document gets: its title made safe for every file system and cut to at most
// 80 characters and 200 UTF-8 bytes, or "note-" and the start of its id, with "-2", "-3"...
// until the lower-cased name is not in `claimed` (lower-cased names already taken). The
// bytes leave room for a conflict copy's suffix and number and for the atomic write's
// temporary name within the 255 bytes file systems allow.
QString fileName(const Note& note, const QSet<QString>& claimed);
// "Plans.md" at a date gives "Plans (conflict 2026-03-14-092653).md", local time; a stem
// longer than 200 UTF-8 bytes (a name another program gave) is cut to fit.
QString conflictName(const QString& name, Date at);

struct Resolved {
    QString name;
    // False for the placeholder of a document not downloaded yet.
    bool downloaded = true;
    friend bool operator==(const Resolved&, const Resolved&) = default;
};
// A document's name from a directory entry: ".X.md.icloud", "X.md.nextcloud" and
// "X.md.owncloud" are placeholders of an undownloaded "X.md"; other dot files, anything not
// ending in ".md" and names with nothing before the ".md" are not ours.
std::optional<Resolved> resolvedName(const QString& entry);

// The first of the usual sync clients' folders in home that exists (Nextcloud, ownCloud,
// Dropbox, Syncthing's "Sync"), else home itself.
QString discoveredRoot(const QString& home);

} // namespace DocumentNames
