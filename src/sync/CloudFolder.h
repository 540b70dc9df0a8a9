#pragma once

#include "notes/Note.h"
#include "sync/SyncFolderGateway.h"

#include <QSet>
#include <QString>

#include <functional>
#include <optional>

// The synced folder on disk: where it is, how a note's file is named, how cloud placeholders
// are seen through, and atomic reads and writes. The folder is "Pondrift" under a sync root
// that another program (Nextcloud, Syncthing, Dropbox, iCloud Drive) carries between
// machines. Main thread only.
class CloudFolder final : public SyncFolderGateway {
public:
    static QString folderName() { return QStringLiteral("Pondrift"); }
    static QString fileExtension() { return QStringLiteral("md"); }
    static QString conflictsName() { return QStringLiteral("Conflicts"); }

    // The root as the settings give it; when unset, the first of the usual sync clients'
    // folders in the home folder that exists, else the home folder itself.
    static QString defaultRoot();

    // The folder is root + "/Pondrift"; root is asked for on every use, so a changed
    // setting takes effect at the next pass.
    explicit CloudFolder(std::function<QString()> root,
                         std::function<Date()> clock = &Date::now);
    explicit CloudFolder(const QString& root);

    QString root() const { return rootPath(); }
    QString path() const;

    // The name a note's document gets: its title made safe for every file system, or
    // "note-" and the start of its id, with "-2", "-3"... until the lower-cased name is not
    // in `claimed` (lower-cased names already taken).
    static QString fileName(const Note& note, const QSet<QString>& claimed);
    // "Plans.md" at a date gives "Plans (conflict 2026-03-14-092653).md", local time.
    static QString conflictName(const QString& name, Date at);

    struct Resolved {
        QString name;
        bool downloaded = true;
        friend bool operator==(const Resolved&, const Resolved&) = default;
    };
    // A document's name from a directory entry: ".X.md.icloud" is the placeholder of an
    // undownloaded "X.md"; other dot files and anything not ending in ".md" are not ours.
    static std::optional<Resolved> resolvedName(const QString& entry);
    // Document names in the folder, sorted ascending.
    QStringList documentNames();

    bool isAvailable() const override;
    Ensured ensure() override;
    FolderScan scan() override;
    std::optional<QString> read(const QString& name) override;
    std::optional<Date> modificationDate(const QString& name) override;
    bool write(const QString& text, const QString& name) override;
    bool remove(const QString& name) override;
    bool writeConflict(const QString& text, const QString& name) override;

private:
    QString rootPath() const;
    QString filePath(const QString& name) const;
    bool writeFile(const QString& text, const QString& path, const QString& name);
    // Files are always downloaded on this platform; the hook stays for drives with
    // placeholders.
    static bool ensureDownloaded(const QString&) { return true; }

    std::function<QString()> rootProvider;
    std::function<Date()> clock;
    // The size of the last scan, so the next one reserves its table once.
    qsizetype lastScanSize = 0;
};
