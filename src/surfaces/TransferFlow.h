#pragma once

#include "exchange/Transfer.h"
#include "surfaces/Transfers.h"

class NoteStore;

// Export and import for the windows and menus: notes named by id are looked up in the store,
// in the order given; an id no longer there (a note deleted meanwhile) is left out.
class TransferFlow final : public Transfers {
public:
    // Every collaborator must outlive the flow.
    TransferFlow(NoteStore& notes, ImageStore& images, Files& files, Scheduler& clock,
                 TransferPrompts& prompts);

    void exportNotes(TransferFormat format, const QStringList& noteIDs) override;
    void importFiles() override;

private:
    NoteStore& notes;
    Transfer transfer;
};
