#pragma once

#include "sync/MassDeletePrompt.h"

#include <QPointer>

class QMessageBox;
class QWidget;

// Asks the user, in a window of its own that does not block the sync, whether notes whose
// documents vanished should be deleted here too or written back. Closing the window counts
// as restoring: nothing is lost by it.
class MassDeleteDialog final : public MassDeletePrompt {
public:
    explicit MassDeleteDialog(QWidget* parent = nullptr);
    ~MassDeleteDialog() override;

    void ask(int count, std::function<void(Answer)> answer) override;

private:
    QWidget* parent;
    QPointer<QMessageBox> box;
};
