#pragma once

#include "exchange/TransferPrompts.h"

#include <QPointer>

class Desktop;
class QProgressDialog;

// The choosers, alerts and progress of export and import as Qt's own dialogs. The progress
// dialog shows only when a run takes long enough to be worth watching.
class QtTransferPrompts final : public TransferPrompts {
public:
    // desktop opens the folder of revealed files; it must outlive the prompts.
    explicit QtTransferPrompts(Desktop& desktop);
    ~QtTransferPrompts() override;

    std::optional<QString> chooseFolder(const QString& prompt, const QString& message) override;
    std::optional<QString> chooseSaveFile(const QString& proposedName) override;
    QStringList chooseFiles(const QString& message) override;
    void alert(Alert style, const QString& title, const QString& text) override;
    void reveal(const QStringList& paths) override;
    void startProgress(int count) override;
    bool advance() override;
    void finishProgress() override;

private:
    Desktop& desktop;
    QPointer<QProgressDialog> progress;
    int done = 0;
};
