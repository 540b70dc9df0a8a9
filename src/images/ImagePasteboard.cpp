#include "images/ImagePasteboard.h"

#include "images/ImageStore.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMimeData>
#include <QMimeDatabase>
#include <QUrl>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isImageType(const QMimeType& type)
{
    if (!type.isValid())
        return false;
    if (type.name().startsWith(u"image/"_s))
        return true;
    const QStringList ancestors = type.allAncestors();
    return std::any_of(ancestors.cbegin(), ancestors.cend(),
                       [](const QString& name) { return name.startsWith(u"image/"_s); });
}

QStringList localFiles(const QMimeData* mime)
{
    QStringList paths;
    if (!mime || !mime->hasUrls())
        return paths;
    for (const QUrl& url : mime->urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    return paths;
}

// Image bytes offered under an image type without Qt's own image format, as browsers do.
QImage offeredBitmap(const QMimeData* mime)
{
    if (mime->hasImage()) {
        const QImage image = qvariant_cast<QImage>(mime->imageData());
        if (!image.isNull())
            return image;
    }
    for (const QString& format : mime->formats()) {
        if (!format.startsWith(u"image/"_s))
            continue;
        const QImage image = QImage::fromData(mime->data(format));
        if (!image.isNull())
            return image;
    }
    return {};
}

} // namespace

namespace ImagePasteboard {

bool isImageFile(const QString& path)
{
    const QFileInfo info(path);
    if (!info.isFile())
        return false;
    // The default match takes the extension first and reads the content when the name
    // says nothing or is ambiguous.
    return isImageType(QMimeDatabase().mimeTypeForFile(info));
}

std::optional<QString> saveFile(const QString& path, ImageStore& store)
{
    if (!isImageFile(path))
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    const QString suffix = QFileInfo(path).suffix();
    return store.save(bytes, suffix.isEmpty() ? u"png"_s : suffix);
}

QStringList imageIDs(const QMimeData* mime, ImageStore& store)
{
    if (!mime)
        return {};
    QStringList ids;
    for (const QString& path : localFiles(mime)) {
        if (const std::optional<QString> id = saveFile(path, store))
            ids.append(*id);
    }
    if (!ids.isEmpty())
        return ids;
    const QImage bitmap = offeredBitmap(mime);
    if (bitmap.isNull())
        return {};
    if (const std::optional<QString> id = store.save(bitmap))
        return {*id};
    return {};
}

bool canProvideImage(const QMimeData* mime)
{
    if (!mime)
        return false;
    const QStringList files = localFiles(mime);
    if (std::any_of(files.cbegin(), files.cend(), isImageFile))
        return true;
    if (mime->hasImage())
        return true;
    const QStringList formats = mime->formats();
    return std::any_of(formats.cbegin(), formats.cend(),
                       [](const QString& format) { return format.startsWith(u"image/"_s); });
}

} // namespace ImagePasteboard
