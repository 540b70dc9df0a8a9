#pragma once

#include "notes/ImageTokens.h"

#include <QByteArray>
#include <QCache>
#include <QImage>
#include <QString>
#include <QStringList>

#include <optional>

class Files;

// The pictures of notes: one flat folder of files named by id, and a cache of decoded
// images. It never throws and never shows anything: every failure is an absent result. The
// token syntax that points at these files is ImageTokens'. Main thread only.
class ImageStore final : public ImageFiles {
public:
    // The folder is made, with its parents, on the first write. files must outlive the store.
    ImageStore(QString directory, Files& files);

    const QString& directory() const { return folder; }

    // Stores the bytes as they are under a new id, written whole as id.ext. Refused when
    // the data is empty, or ext (lower-cased) is empty, longer than ten characters, or holds
    // anything but letters and digits.
    std::optional<QString> save(const QByteArray& data, const QString& ext);
    // Scales the image down to 2048 on its longest side (a side of exactly 2048 stays) and
    // stores it as PNG.
    std::optional<QString> save(const QImage& image);

    // The decoded image, cached by id. A miss is never cached, so a file that arrives later
    // (by sync) shows up on the next ask.
    std::optional<QImage> image(const QString& id);
    // The file's bytes.
    std::optional<QByteArray> data(const QString& id);
    // The file of the id; a PNG wins over any other extension.
    std::optional<QString> filePath(const QString& id);

    // Removes the files and their cached images; errors are ignored.
    void deleteImages(const QStringList& ids) override;
    // The ids of all files in the folder, sorted; an unreadable folder gives none.
    QStringList allIDs() override;

private:
    QString folder;
    Files& files;
    // In KiB of decoded pixels: far above what a screenful of notes shows, since Qt's cache
    // has no eviction under memory pressure of its own.
    QCache<QString, QImage> cache{256 * 1024};
};
