#pragma once

#include "notes/Paths.h"

#include <QString>

class FolderChooser;
class Files;

// Notes of an install outside a sandbox, brought into the sandbox's own data folder. A
// Flatpak build keeps its data under ~/.var/app, and cannot read the folder that builds
// outside one used unless the person grants it; the grant is their choice of that folder.
// Runs before the database is opened, because it may fill the data folder. Main thread only.
namespace Migration {

struct Environment {
    // The sandbox's application id; empty outside a sandbox, where nothing is migrated.
    QString sandboxId;
    // Where builds outside a sandbox keep their data.
    QString legacyFolder;

    // This process's own: FLATPAK_ID, and the host's data folder plus "Pondrift".
    static Environment current();
};

// Inside a sandbox, with no database in data and one in the legacy folder.
bool needed(const Environment& environment, const Paths& data, Files& files);

// When needed, asks for the old folder (opening at the legacy one) and copies the database,
// its journal files and the key into data, each replacing what is there. Cancelled, or a
// folder holding none of them, copies nothing. Every file operation is best effort and
// silent: a database that came without its key shows as such when the notes open.
void runIfNeeded(const Environment& environment, const Paths& data, Files& files,
                 FolderChooser& chooser);

} // namespace Migration
