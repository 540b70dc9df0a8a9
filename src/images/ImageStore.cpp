#include "images/ImageStore.h"

#include "platform/Files.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QUuid>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int longestSide = 2048;
constexpr int longestExtension = 10;

bool isAllowedExtension(const QString& ext)
{
    const QList<uint> scalars = ext.toUcs4();
    if (scalars.isEmpty() || scalars.size() > longestExtension)
        return false;
    return std::all_of(scalars.cbegin(), scalars.cend(),
                       [](uint u) { return QChar::isLetterOrNumber(u); });
}

// The id a file name stands for: the name up to its last dot, when that is a valid id.
std::optional<QString> idOfFileName(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const QString stem = dot < 0 ? name : name.first(dot);
    if (!ImageTokens::isValidID(stem))
        return std::nullopt;
    return stem;
}

} // namespace

ImageStore::ImageStore(QString directory, Files& files)
    : folder(std::move(directory))
    , files(files)
{
}

std::optional<QString> ImageStore::save(const QByteArray& data, const QString& ext)
{
    const QString lowered = ext.toLower();
    if (data.isEmpty() || !isAllowedExtension(lowered))
        return std::nullopt;
    // A failure to make the folder shows as the write's own failure.
    files.makeFolder(folder, true, Files::Access::Private);
    const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    if (!files.write(folder + u'/' + id + u'.' + lowered, data, Files::Access::Private))
        return std::nullopt;
    return id;
}

std::optional<QString> ImageStore::save(const QImage& image)
{
    if (image.isNull())
        return std::nullopt;
    QImage scaled = image;
    const QSizeF points = image.deviceIndependentSize();
    const double longest = std::max(points.width(), points.height());
    if (longest > longestSide) {
        const double factor = longestSide / longest;
        const QSize target(std::max(1, qRound(points.width() * factor)),
                           std::max(1, qRound(points.height() * factor)));
        scaled = image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        scaled.setDevicePixelRatio(1.0);
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    if (!writer.write(scaled) || png.isEmpty())
        return std::nullopt;
    return save(png, u"png"_s);
}

std::optional<QString> ImageStore::filePath(const QString& id)
{
    if (!ImageTokens::isValidID(id))
        return std::nullopt;
    const QString png = folder + u'/' + id + u".png"_s;
    if (const auto entry = files.stat(png); entry && entry->kind == Files::Kind::File)
        return png;
    const auto entries = files.list(folder, false);
    if (!entries)
        return std::nullopt;
    // The first by name among "id.ext" files, so the answer does not depend on the listing.
    std::optional<QString> first;
    for (const Files::Entry& entry : *entries) {
        if (entry.kind != Files::Kind::File || entry.name.size() <= id.size() + 1
            || !entry.name.startsWith(id) || entry.name.at(id.size()) != u'.'
            || QStringView(entry.name).sliced(id.size() + 1).contains(u'.'))
            continue;
        if (!first || entry.name < *first)
            first = entry.name;
    }
    if (!first)
        return std::nullopt;
    return folder + u'/' + *first;
}

std::optional<QImage> ImageStore::image(const QString& id)
{
    if (const QImage* cached = cache.object(id))
        return *cached;
    const std::optional<QByteArray> bytes = data(id);
    if (!bytes)
        return std::nullopt;
    QBuffer buffer;
    buffer.setData(*bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    QImage decoded = reader.read();
    if (decoded.isNull())
        return std::nullopt;
    const qsizetype kib = std::max<qsizetype>(1, decoded.sizeInBytes() / 1024);
    cache.insert(id, new QImage(decoded), kib);
    return decoded;
}

std::optional<QByteArray> ImageStore::data(const QString& id)
{
    const std::optional<QString> path = filePath(id);
    if (!path)
        return std::nullopt;
    QByteArray bytes;
    if (!files.read(*path, bytes))
        return std::nullopt;
    return bytes;
}

void ImageStore::deleteImages(const QStringList& ids)
{
    for (const QString& id : ids) {
        cache.remove(id);
        if (const std::optional<QString> path = filePath(id))
            files.remove(*path);
    }
}

QStringList ImageStore::allIDs()
{
    QStringList ids;
    if (const auto entries = files.list(folder, false)) {
        for (const Files::Entry& entry : *entries) {
            if (entry.kind != Files::Kind::File)
                continue;
            if (const auto id = idOfFileName(entry.name))
                ids.append(*id);
        }
    }
    ids.sort();
    return ids;
}
