#include "notes/ui/StorageErrorDialog.h"

#include "l10n/L10n.h"
#include "notes/Note.h"

#include <QApplication>
#include <QMessageBox>

using namespace Qt::Literals::StringLiterals;

std::unique_ptr<QMessageBox> StorageErrorDialog::build(const QString& description)
{
    const QString title = L10n::text(u"storage.error_title"_s);
    auto box = std::make_unique<QMessageBox>(QMessageBox::Warning, title, title, QMessageBox::Ok);
    box->setInformativeText(description + u"\n\n"_s + L10n::text(u"storage.error_help"_s));
    return box;
}

void StorageErrorDialog::show(const LocalizedError& error)
{
    // The error may not outlive this call, and the caller may be in the middle of a change:
    // the alert runs later, from the event loop, with the text taken now.
    const QString description = error.description();
    QMetaObject::invokeMethod(
        qApp,
        [description] {
            const std::unique_ptr<QMessageBox> box = build(description);
            box->setWindowFlag(Qt::WindowStaysOnTopHint);
            box->show();
            box->raise();
            box->activateWindow();
            box->exec();
        },
        Qt::QueuedConnection);
}
