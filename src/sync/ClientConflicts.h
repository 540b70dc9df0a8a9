#pragma once

#include <QString>

#include <optional>

// The copies sync clients make when a file changed on two machines before they met. Each
// client names its copy after the original, so the copy tells which document it stands
// beside. Pure over names.
namespace ClientConflicts {

// The name of the document a client's conflict copy was made from, or nothing for a name
// that is not such a copy. Recognised, with any extension:
//   Syncthing            "Plans.sync-conflict-20260314-092653-ABCDEFG.md"
//   Nextcloud, ownCloud  "Plans (conflicted copy 2026-03-14 092653).md"
//   ownCloud before 2.5  "Plans_conflict-20260314-092653.md"
//   Dropbox              "Plans (Ana's conflicted copy 2026-03-14).md", also with " (1)"
// The original's name is what stood before the client's mark, with the copy's extension.
std::optional<QString> originalName(const QString& name);

} // namespace ClientConflicts
