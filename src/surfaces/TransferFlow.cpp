#include "surfaces/TransferFlow.h"

#include "notes/NoteStore.h"

TransferFlow::TransferFlow(NoteStore& notes, ImageStore& images, Files& files, Scheduler& clock,
                           TransferPrompts& prompts)
    : notes(notes)
    , transfer(notes, images, files, clock, prompts)
{
}

void TransferFlow::exportNotes(TransferFormat format, const QStringList& noteIDs)
{
    QList<Note> chosen;
    chosen.reserve(noteIDs.size());
    for (const QString& id : noteIDs) {
        if (const std::optional<Note> note = notes.note(id))
            chosen.append(*note);
    }
    transfer.exportNotes(format, chosen);
}

void TransferFlow::importFiles() { transfer.importFiles(); }
