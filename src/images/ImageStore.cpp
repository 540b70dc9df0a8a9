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
// Enough of a file for its header: JPEG's EXIF and colour profile come before its size.
constexpr qint64 headerBytes = 256 * 1024;
// Decoded widths come in steps, so that a resize or a drag does not decode at every pixel.
constexpr int widthStep = 64;

// Qt refuses to allocate more than 128 MiB for a decode, which a photo above 33 megapixels
// needs at full size. Our decodes are scaled: JPEG and PNG then allocate little more than the
// result, whatever the picture's size; formats without a scaled decode (BMP, PPM) allocate
// the whole picture first. 512 MiB lets those through up to 128 megapixels at four bytes a
// pixel, above any camera's, and still refuses a small file that claims a giant picture. The
// limit is global in Qt: it is raised around our own decodes only, on the main thread.
constexpr int allocationLimitMiB = 512;

class RaisedAllocationLimit {
public:
    RaisedAllocationLimit()
        : previous(QImageReader::allocationLimit())
    {
        if (previous > 0 && previous < allocationLimitMiB)
            QImageReader::setAllocationLimit(allocationLimitMiB);
    }
    ~RaisedAllocationLimit() { QImageReader::setAllocationLimit(previous); }
    RaisedAllocationLimit(const RaisedAllocationLimit&) = delete;
    RaisedAllocationLimit& operator=(const RaisedAllocationLimit&) = delete;

private:
    const int previous;
};

bool turnsSideways(const QImageReader& reader)
{
    return reader.transformation() & QImageIOHandler::TransformationRotate90;
}

QString cacheKey(const QString& id, QSize size)
{
    return id + u'@' + QString::number(size.width()) + u'x' + QString::number(size.height());
}

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

std::optional<QSize> ImageStore::pixelSize(const QString& id)
{
    if (const auto it = pixelSizes.constFind(id); it != pixelSizes.cend())
        return *it;
    const std::optional<QString> path = filePath(id);
    if (!path)
        return std::nullopt;
    const auto sizeIn = [](QByteArray bytes) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer);
        QSize size = reader.size();
        if (size.isValid() && turnsSideways(reader))
            size.transpose();
        return size;
    };
    QByteArray bytes;
    if (!files.read(*path, bytes, headerBytes))
        return std::nullopt;
    QSize size = sizeIn(bytes);
    // A header that runs on past the first part of the file.
    if (!size.isValid() && bytes.size() >= headerBytes && files.read(*path, bytes))
        size = sizeIn(bytes);
    if (size.isEmpty())
        return std::nullopt;
    pixelSizes.insert(id, size);
    return size;
}

QImage ImageStore::displayImage(const QString& id, QSize paintSize)
{
    if (paintSize.isEmpty() || undecodable.contains(id))
        return {};
    const std::optional<QSize> full = pixelSize(id);
    if (!full)
        return {};
    const int width =
        std::min(full->width(), (paintSize.width() + widthStep - 1) / widthStep * widthStep);
    const QSize size(width, std::max(1, qRound(double(full->height()) * width / full->width())));
    const QString key = cacheKey(id, size);
    if (const QImage* cached = cache.object(key))
        return *cached;
    const std::optional<QImage> decoded = decode(id, size);
    if (!decoded) {
        undecodable.insert(id);
        return {};
    }
    cache.insert(key, new QImage(*decoded), std::max<qsizetype>(1, decoded->sizeInBytes() / 1024));
    return *decoded;
}

std::optional<QImage> ImageStore::image(const QString& id) { return decode(id, std::nullopt); }

std::optional<QImage> ImageStore::decode(const QString& id, std::optional<QSize> scaledTo)
{
    const std::optional<QByteArray> bytes = data(id);
    if (!bytes)
        return std::nullopt;
    QBuffer buffer;
    buffer.setData(*bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    if (scaledTo) {
        // The reader scales before it turns the picture upright.
        reader.setScaledSize(turnsSideways(reader) ? scaledTo->transposed() : *scaledTo);
    }
    const RaisedAllocationLimit limit;
    QImage decoded = reader.read();
    if (decoded.isNull())
        return std::nullopt;
    if (onDecode)
        onDecode(id, decoded.size());
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
        const QString prefix = id + u'@';
        const QStringList keys = cache.keys();
        for (const QString& key : keys) {
            if (key.startsWith(prefix))
                cache.remove(key);
        }
        pixelSizes.remove(id);
        undecodable.remove(id);
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
