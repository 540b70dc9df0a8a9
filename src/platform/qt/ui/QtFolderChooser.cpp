#include "platform/qt/ui/QtFolderChooser.h"

#include <QFileDialog>

std::optional<QString> QtFolderChooser::chooseFolder(const QString& startIn, const QString& prompt,
                                                     const QString& accept)
{
    // No parent: a chooser may be asked for before the program has any window. The dialog
    // has no room for a message of its own, so the prompt is its title.
    QFileDialog dialog(nullptr, prompt, startIn);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, accept);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}
