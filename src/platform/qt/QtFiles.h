#pragma once

#include "platform/Files.h"

// The local disk through POSIX calls, which Linux and macOS share. A write goes to a fresh
// file beside its target, reaches the disk, and is renamed over the target, so a crash or a
// full disk leaves the old file whole.
class QtFiles final : public Files {
public:
    // Where the file system cannot make unnamed files, new data waits under a hidden name
    // instead; the second way can be asked for, so that tests cover it too.
    enum class Staging { Unnamed, Named };
    explicit QtFiles(Staging staging = Staging::Unnamed)
        : staging(staging)
    {
    }

    Result read(const QString& path, QByteArray& into, qint64 limit = -1) override;
    Result write(const QString& path, const QByteArray& data,
                 Access access = Access::Shared) override;
    Result create(const QString& path, const QByteArray& data,
                  Access access = Access::Private) override;
    Result remove(const QString& path) override;
    Result makeFolder(const QString& path, bool withParents,
                      Access access = Access::Shared) override;
    Result syncFolder(const QString& path) override;
    std::optional<Entry> stat(const QString& path) override;
    std::optional<Entry> lstat(const QString& path) override;
    std::optional<QList<Entry>> list(const QString& folder, bool withDates = true) override;

private:
    Staging staging;
};
