#include "images/ImageStore.h"

#include "notes/Paths.h"

#include <QBuffer>
#include <QCache>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QMutex>
#include <QSaveFile>
#include <QUuid>
#include <algorithm>
#include <charconv>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace ImageStore {

QString token(const QString& id, std::optional<double> width)
{
    const QString target = u"](%1://%2)"_s.arg(scheme, id);
    if (!width || !(*width > 0) || !std::isfinite(*width))
        return u"![image"_s + target;
    const double w = *width;
    if (w == std::floor(w))
        return u"![image|"_s + QString::number(w, 'f', 0) + target;
    // "%.1f" as C prints it: exact ties go to the even digit (240.25 gives 240.2), which Qt's
    // own formatting does not do. to_chars is that format without the process's locale.
    char buffer[64];
    const auto written =
        std::to_chars(buffer, buffer + sizeof buffer, w, std::chars_format::fixed, 1);
    return u"![image|"_s + QString::fromLatin1(buffer, written.ptr - buffer) + target;
}

const QRegularExpression& tokenExpression()
{
    static const QRegularExpression expression(uR"(!\[image(?:\|([0-9]+(?:\.[0-9]+)?))?\]\()"_s +
                                               scheme + uR"(://([A-Za-z0-9-]+)\))"_s);
    return expression;
}

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isIDCharacter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9') ||
           u == u'-';
}

// Matches the token expression at position start, by hand: every body is scanned at launch
// and on each edit, and the expression engine costs several times more per token. Answers
// the end of the token, or -1. The test suite holds the two to the same answers.
qsizetype matchToken(QStringView text, qsizetype start, TextRange& widthText, TextRange& idText)
{
    static constexpr QStringView opening = u"![image";
    static const QString linkStart = u"]("_s + scheme + u"://"_s;
    qsizetype i = start + opening.size();
    const qsizetype size = text.size();
    widthText = TextRange{};
    if (i < size && text[i] == u'|') {
        const qsizetype digits = ++i;
        while (i < size && isDigit(text[i]))
            ++i;
        if (i == digits)
            return -1;
        if (i < size && text[i] == u'.') {
            const qsizetype fraction = ++i;
            while (i < size && isDigit(text[i]))
                ++i;
            if (i == fraction)
                return -1;
        }
        widthText = TextRange{digits, i - digits};
    }
    if (!text.sliced(i).startsWith(linkStart))
        return -1;
    i += linkStart.size();
    const qsizetype id = i;
    while (i < size && isIDCharacter(text[i]))
        ++i;
    if (i == id || i >= size || text[i] != u')')
        return -1;
    idText = TextRange{id, i - id};
    return i + 1;
}

} // namespace

QList<ImageToken> tokens(const QString& text)
{
    static constexpr QStringView opening = u"![image";
    QList<ImageToken> found;
    qsizetype from = 0;
    while ((from = text.indexOf(opening, from)) >= 0) {
        TextRange widthText;
        TextRange idText;
        const qsizetype end = matchToken(text, from, widthText, idText);
        if (end < 0) {
            ++from;
            continue;
        }
        ImageToken token;
        token.id = text.sliced(idText.location, idText.length);
        if (widthText.isValid()) {
            bool ok = false;
            const double w =
                QStringView(text).sliced(widthText.location, widthText.length).toDouble(&ok);
            if (ok && std::isfinite(w))
                token.width = w;
        }
        token.range = TextRange{from, end - from};
        found.append(std::move(token));
        from = end;
    }
    return found;
}

QStringList referencedIDs(const QString& text)
{
    QStringList ids;
    for (const ImageToken& token : tokens(text))
        ids.append(token.id);
    return ids;
}

bool isValidID(QStringView id)
{
    return !id.isEmpty() && std::all_of(id.begin(), id.end(), isIDCharacter);
}

namespace {

constexpr int longestSide = 2048;
constexpr int longestExtension = 10;
// The cache counts in KiB of decoded pixels. Qt's cache has no memory-pressure eviction of
// its own, so it gets a ceiling instead: far above what a screenful of notes shows.
constexpr int cacheCeilingKiB = 256 * 1024;

// Sync and transfer may reach the store off the main thread; the folder and the cache are
// the only shared state.
struct Shared {
    QMutex mutex;
    QString directory;
    QCache<QString, QImage> cache{cacheCeilingKiB};
};

Shared& shared()
{
    static Shared instance;
    return instance;
}

QString currentDirectory()
{
    Shared& state = shared();
    QMutexLocker lock(&state.mutex);
    if (state.directory.isEmpty())
        state.directory = Paths::support() + u"/Images"_s;
    return state.directory;
}

// The folder, made with its parents when it is missing. A failure is ignored: the write that
// needs the folder fails on its own.
QString preparedDirectory()
{
    const QString folder = currentDirectory();
    QDir().mkpath(folder);
    return folder;
}

bool isAllowedExtension(const QString& ext)
{
    const QList<uint> scalars = ext.toUcs4();
    if (scalars.isEmpty() || scalars.size() > longestExtension)
        return false;
    return std::all_of(scalars.cbegin(), scalars.cend(),
                       [](uint u) { return QChar::isLetterOrNumber(u); });
}

} // namespace

void setDirectory(const QString& path)
{
    Shared& state = shared();
    QMutexLocker lock(&state.mutex);
    state.directory = path;
    state.cache.clear();
}

QString directory()
{
    return currentDirectory();
}

std::optional<QString> save(const QByteArray& data, const QString& ext)
{
    const QString lowered = ext.toLower();
    if (data.isEmpty() || !isAllowedExtension(lowered))
        return std::nullopt;
    const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    QSaveFile file(preparedDirectory() + u'/' + id + u'.' + lowered);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit())
        return std::nullopt;
    return id;
}

std::optional<QString> save(const QImage& image)
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

std::optional<QString> filePath(const QString& id)
{
    if (!isValidID(id))
        return std::nullopt;
    const QString folder = currentDirectory();
    const QString png = folder + u'/' + id + u".png"_s;
    if (QFileInfo::exists(png))
        return png;
    QDir dir(folder);
    if (!dir.exists())
        return std::nullopt;
    // The id holds only letters, digits and hyphens, so it is safe inside a wildcard.
    const QStringList names =
        dir.entryList({id + u".*"_s}, QDir::Files | QDir::Hidden | QDir::CaseSensitive, QDir::Name);
    for (const QString& name : names) {
        if (!QStringView(name).sliced(id.size() + 1).contains(u'.'))
            return dir.filePath(name);
    }
    return std::nullopt;
}

std::optional<QImage> image(const QString& id)
{
    Shared& state = shared();
    {
        QMutexLocker lock(&state.mutex);
        if (const QImage* cached = state.cache.object(id))
            return *cached;
    }
    const std::optional<QString> path = filePath(id);
    if (!path)
        return std::nullopt;
    QImageReader reader(*path);
    reader.setAutoTransform(true);
    QImage decoded = reader.read();
    if (decoded.isNull())
        return std::nullopt;
    const qsizetype kib = std::max<qsizetype>(1, decoded.sizeInBytes() / 1024);
    QMutexLocker lock(&state.mutex);
    state.cache.insert(id, new QImage(decoded), kib);
    return decoded;
}

std::optional<QByteArray> data(const QString& id)
{
    const std::optional<QString> path = filePath(id);
    if (!path)
        return std::nullopt;
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

void deleteImages(const QStringList& ids)
{
    Shared& state = shared();
    for (const QString& id : ids) {
        {
            QMutexLocker lock(&state.mutex);
            state.cache.remove(id);
        }
        if (const std::optional<QString> path = filePath(id))
            QFile::remove(*path);
    }
}

QStringList allIDs()
{
    // The iterator takes the file type from the directory entry itself; a sorted listing
    // would look at every file first.
    QStringList ids;
    QDirIterator it(currentDirectory(), QDir::Files | QDir::Hidden);
    while (it.hasNext()) {
        const QString name = it.nextFileInfo().fileName();
        const qsizetype dot = name.lastIndexOf(u'.');
        const QString stem = dot < 0 ? name : name.first(dot);
        if (isValidID(stem))
            ids.append(stem);
    }
    ids.sort();
    return ids;
}

} // namespace ImageStore
