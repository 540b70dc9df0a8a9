#include "sync/ui/MassDeleteDialog.h"

#include "l10n/L10n.h"

#include <QMessageBox>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

MassDeleteDialog::MassDeleteDialog(QWidget* parent)
    : parent(parent)
{
}

MassDeleteDialog::~MassDeleteDialog() { delete box.data(); }

void MassDeleteDialog::ask(int count, std::function<void(Answer)> answer)
{
    delete box.data();
    box = new QMessageBox(QMessageBox::Warning, L10n::text(u"sync.mass_delete.title"_s),
                          L10n::plural(u"sync.mass_delete.body"_s, count), QMessageBox::NoButton,
                          parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QPushButton* remove =
        box->addButton(L10n::text(u"sync.mass_delete.delete"_s), QMessageBox::DestructiveRole);
    QPushButton* restore =
        box->addButton(L10n::text(u"sync.mass_delete.restore"_s), QMessageBox::AcceptRole);
    box->setDefaultButton(restore);
    box->setEscapeButton(restore);
    QObject::connect(box, &QMessageBox::finished, box,
                     [b = box.data(), remove, answer = std::move(answer)](int) {
                         answer(b->clickedButton() == remove ? Answer::DeleteHere
                                                             : Answer::RestoreToFolder);
                     });
    box->open();
}
