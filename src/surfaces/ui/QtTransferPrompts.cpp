#include "surfaces/ui/QtTransferPrompts.h"

#include "platform/Desktop.h"
#include "platform/qt/ui/QtFolderChooser.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QProgressDialog>
#include <QUrl>

namespace {

// A run shorter than this finishes before any progress shows.
constexpr int progressDelayMs = 600;

} // namespace

QtTransferPrompts::QtTransferPrompts(Desktop& desktop)
    : desktop(desktop)
{
}

QtTransferPrompts::~QtTransferPrompts() { delete progress; }

std::optional<QString> QtTransferPrompts::chooseFolder(const QString& prompt,
                                                       const QString& message)
{
    return QtFolderChooser().chooseFolder(QDir::homePath(), message, prompt);
}

std::optional<QString> QtTransferPrompts::chooseSaveFile(const QString& proposedName)
{
    QFileDialog dialog(nullptr, {}, QDir::homePath());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(QFileInfo(proposedName).suffix());
    dialog.selectFile(proposedName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

QStringList QtTransferPrompts::chooseFiles(const QString& message)
{
    QFileDialog dialog(nullptr, message, QDir::homePath());
    dialog.setFileMode(QFileDialog::ExistingFiles);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedFiles();
}

void QtTransferPrompts::alert(Alert style, const QString& title, const QString& text)
{
    QMessageBox box(style == Alert::Warning ? QMessageBox::Warning : QMessageBox::Information,
                    title, text, QMessageBox::Ok);
    box.exec();
}

// Without a file manager that selects files on request, their folder is the next best.
void QtTransferPrompts::reveal(const QStringList& paths)
{
    if (!paths.isEmpty())
        desktop.openUrl(QUrl::fromLocalFile(QFileInfo(paths.constFirst()).absolutePath()));
}

void QtTransferPrompts::startProgress(int count)
{
    delete progress;
    done = 0;
    // Made bare, it keeps its own Cancel button, in the words of Qt's translations.
    progress = new QProgressDialog();
    progress->setRange(0, count);
    progress->setWindowModality(Qt::ApplicationModal);
    progress->setMinimumDuration(progressDelayMs);
    progress->setAutoClose(false);
    progress->setAutoReset(false);
    progress->setValue(0);
}

bool QtTransferPrompts::advance()
{
    if (!progress)
        return true;
    // Modal, so setting the value lets the dialog show and take the click on Cancel.
    progress->setValue(++done);
    return !progress->wasCanceled();
}

void QtTransferPrompts::finishProgress()
{
    delete progress;
    done = 0;
}
