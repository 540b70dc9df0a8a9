#pragma once

#include "exchange/TransferFormat.h"

#include <QString>
#include <QStringList>

// Export and import as the windows that offer them see it: each call runs the whole
// interaction (choosers, progress, alerts), so a menu entry only names what it means.
class Transfers {
public:
    virtual ~Transfers() = default;
    // The notes are given by id, in the order the person sees them.
    virtual void exportNotes(TransferFormat format, const QStringList& noteIDs) = 0;
    virtual void importFiles() = 0;
};
