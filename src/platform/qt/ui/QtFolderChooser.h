#pragma once

#include "platform/FolderChooser.h"

// Qt's folder dialog; in a Flatpak, Qt hands it to the desktop's file chooser portal, whose
// answer is what grants the sandbox the folder.
class QtFolderChooser final : public FolderChooser {
public:
    std::optional<QString> chooseFolder(const QString& startIn, const QString& prompt,
                                        const QString& accept) override;
};
