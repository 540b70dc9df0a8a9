#include "notes/ui/StorageErrorDialog.h"

#include "l10n/L10n.h"
#include "notes/Note.h"

#include <QApplication>
#include <QMessageBox>

using namespace Qt::Literals::StringLiterals;

std::unique_ptr<QMessageBox> StorageErrorDialog::build(const QString& description,
                                                       const QString& advice)
{
    const QString title = L10n::text(u"storage.error_title"_s);
    auto box = std::make_unique<QMessageBox>(QMessageBox::Warning, title, title, QMessageBox::Ok);
    box->setInformativeText(description + u"\n\n"_s + advice);
    return box;
}

void StorageErrorDialog::show(const LocalizedError& error)
{
    // The error may not outlive this call, and the caller may be in the middle of a change:
    // the alert runs later, from the event loop, with the text taken now.
    const QString description = error.description();
    const QString advice = error.advice();
    QMetaObject::invokeMethod(
        qApp,
        [description, advice] {
            const std::unique_ptr<QMessageBox> box = build(description, advice);
            box->setWindowFlag(Qt::WindowStaysOnTopHint);
            box->show();
            box->raise();
            box->activateWindow();
            box->exec();
        },
        Qt::QueuedConnection);
}
