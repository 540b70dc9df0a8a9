#pragma once

#include "notes/Note.h"
#include "platform/Date.h"

#include <QString>

class Files;

// Where the last text of a note goes before the sync deletes it here because its document
// vanished or another machine deleted it: a Markdown document in a folder of the program's
// own, named by title and time, kept for thirty days. It never travels through the sync
// folder, so a deletion that nobody meant can be undone by hand on every machine.
class LocalTrash final {
public:
    static constexpr double keptFor = 30 * 24 * 3600.0;

    // folder need not exist yet; files must outlive the trash.
    LocalTrash(QString folder, Files& files);

    // Writes the note as a document. False (and logged, with the cause) when it could not be
    // written: the caller must not delete the note then.
    bool keep(const Note& note, Date at);
    // Removes the documents kept for longer than keptFor.
    void prune(Date now);

    const QString& folder() const { return where; }

private:
    QString where;
    Files& files;
};
