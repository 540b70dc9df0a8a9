#pragma once

#include "sync/SyncFolderGateway.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class Files;

// The synced folder on disk: "Pondrift" under a sync root that another program (Nextcloud,
// Syncthing, Dropbox) carries between machines, placeholders of undownloaded documents seen
// through, and whole-file reads and writes through Files. Main thread only.
class CloudFolder final : public SyncFolderGateway {
public:
    // The file inside the folder that holds its identity; never a document.
    static inline const QString markerName = QStringLiteral(".pondrift-sync");

    // root is asked for again whenever availability is checked, which every pass begins
    // with, so a changed setting takes effect at the next pass; in between, every file of the
    // pass uses the answer it gave. An empty root is never available. files must outlive the
    // folder; clock dates the conflict copies.
    CloudFolder(std::function<QString()> root, Files& files,
                std::function<Date()> clock = &Date::now);
    CloudFolder(const QString& root, Files& files);

    QString root() const;
    QString path() const;
    // Document names in the folder, sorted ascending.
    QStringList documentNames();

    bool isAvailable() const override;
    Ensured ensure() override;
    FolderScan scan() override;
    Identity identity() override;
    std::optional<QString> mark() override;
    std::optional<QString> read(const QString& name) override;
    std::optional<FileStamp> fileStamp(const QString& name) override;
    bool write(const QString& text, const QString& name) override;
    bool remove(const QString& name) override;
    bool writeConflict(const QString& text, const QString& name) override;

private:
    QString filePath(const QString& name) const;
    bool writeFile(const QString& text, const QString& path, const QString& name);

    std::function<QString()> rootProvider;
    mutable std::optional<QString> askedRoot;
    Files& files;
    std::function<Date()> clock;
};
