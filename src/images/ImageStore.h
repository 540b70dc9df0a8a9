#pragma once

#include "notes/ImageTokens.h"

#include <QByteArray>
#include <QCache>
#include <QHash>
#include <QImage>
#include <QSet>
#include <QSize>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class Files;

// The pictures of notes: one flat folder of files named by id, and a cache of pictures decoded
// at the size they show. It never throws and never shows anything: every failure is an
// absent result. The token syntax that points at these files is ImageTokens'. Main thread
// only.
//
// Files keep the size they came in (a phone's photo is 12 megapixels, 46 MiB decoded), so
// nothing on the way to the screen decodes a whole picture: its size comes from the file's
// header, and what is painted is decoded scaled to what the note shows.
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

    // The picture's size in pixels as it shows (its EXIF orientation applied), read from the
    // file's header alone and remembered. A miss is never remembered, so a file that arrives
    // later (by sync) shows up on the next ask.
    std::optional<QSize> pixelSize(const QString& id);
    // The picture decoded for the screen, covering `paintSize` device pixels: as wide as that
    // rounded up to a step of 64, never wider than the picture, in its own aspect. Cached by
    // id and decoded size and shared by every caller, so views of one picture at one width
    // hold one image, and a resize decodes again only when it crosses a step. Null when
    // there is no file or it cannot be decoded.
    QImage displayImage(const QString& id, QSize paintSize);
    // The whole picture, decoded on every call and never cached: for the few who need every
    // pixel. The editor asks for displayImage.
    std::optional<QImage> image(const QString& id);
    // The file's bytes.
    std::optional<QByteArray> data(const QString& id);
    // The file of the id; a PNG wins over any other extension.
    std::optional<QString> filePath(const QString& id);

    // Removes the files and their cached images; errors are ignored.
    void deleteImages(const QStringList& ids) override;
    // The ids of all files in the folder, sorted; an unreadable folder gives none.
    QStringList allIDs() override;

    // The decoded bytes the display cache holds.
    qint64 displayCacheBytes() const { return qint64(cache.totalCost()) * 1024; }
    // Told of every decode, with the decoded size (tests and benchmarks count them).
    std::function<void(const QString& id, QSize decoded)> onDecode;

private:
    std::optional<QImage> decode(const QString& id, std::optional<QSize> scaledTo);

    QString folder;
    Files& files;
    QHash<QString, QSize> pixelSizes;
    // Remembered so that a broken file is not decoded again (and warned about) on every
    // paint, until it is deleted.
    QSet<QString> undecodable;
    // In KiB of decoded pixels. Twenty photos at the width of a note on a display of scale 2
    // take about 53 MiB; Qt's cache has no eviction under memory pressure of its own.
    QCache<QString, QImage> cache{128 * 1024};
};
