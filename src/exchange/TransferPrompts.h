#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What an export or import asks the person and tells them: the choosers, the alerts, the
// file manager and the progress of a long run. Tests give the answers.
class TransferPrompts {
public:
    enum class Alert { Informational, Warning };

    virtual ~TransferPrompts() = default;

    // A folder to write into (one that may be made there and then); absent when cancelled.
    virtual std::optional<QString> chooseFolder(const QString& prompt, const QString& message) = 0;
    // Where one file goes, proposing the name; absent when cancelled.
    virtual std::optional<QString> chooseSaveFile(const QString& proposedName) = 0;
    // The files to read, several at once; none when cancelled.
    virtual QStringList chooseFiles(const QString& message) = 0;
    virtual void alert(Alert style, const QString& title, const QString& text) = 0;
    // Shows the written files in the file manager.
    virtual void reveal(const QStringList& paths) = 0;

    // A run over `count` files. advance is called after each one is done, and answers false
    // once the person has cancelled: the run stops there, before the next file. finish ends
    // the run however it ended.
    virtual void startProgress(int count) = 0;
    virtual bool advance() = 0;
    virtual void finishProgress() = 0;

protected:
    TransferPrompts() = default;
    TransferPrompts(const TransferPrompts&) = delete;
    TransferPrompts& operator=(const TransferPrompts&) = delete;
};
