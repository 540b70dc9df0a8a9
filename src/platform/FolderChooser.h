#pragma once

#include <QString>

#include <optional>

// Asks the person for a folder, blocking until they answer. In a sandbox the answer is also
// the grant: the chosen folder becomes readable through the path given back.
class FolderChooser {
public:
    virtual ~FolderChooser() = default;

    // startIn: where the chooser opens. prompt and accept: its message and its button, already
    // localised. Absent when cancelled.
    virtual std::optional<QString> chooseFolder(const QString& startIn, const QString& prompt,
                                                const QString& accept) = 0;

protected:
    FolderChooser() = default;
    FolderChooser(const FolderChooser&) = delete;
    FolderChooser& operator=(const FolderChooser&) = delete;
};
