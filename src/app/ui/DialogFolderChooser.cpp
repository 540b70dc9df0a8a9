#include "app/ui/DialogFolderChooser.h"

#include <QFileDialog>

std::optional<QString> DialogFolderChooser::chooseFolder(const QString& startIn,
                                                         const QString& prompt,
                                                         const QString& accept)
{
    // No parent: this comes before the program has any window. The dialog has no room for
    // a message of its own, so the prompt is its title.
    QFileDialog dialog(nullptr, prompt, startIn);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, accept);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}
