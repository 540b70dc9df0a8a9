#include "sync/CloudFolder.h"

#include "app/Settings.h"
#include "notes/Fmt.h"
#include "notes/NoteText.h"
#include "platform/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStringDecoder>
#include <QTextBoundaryFinder>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString emDash = u" \u2014 "_s;
constexpr QStringView placeholderSuffix = u".icloud";
constexpr int stemLimit = 80;

Date dateOf(const struct stat& st)
{
    // Full precision of the file time, computed the same way every time so that an
    // unchanged file compares equal to what was recorded.
    return Date{static_cast<double>(st.st_mtim.tv_sec)
                + static_cast<double>(st.st_mtim.tv_nsec) / 1e9};
}

QString errnoText(int code) { return QString::fromLocal8Bit(std::strerror(code)); }

// The first `limit` user-perceived characters.
QString leftCharacters(const QString& text, int limit)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    qsizetype position = 0;
    while (count < limit) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0)
            return text;
        position = next;
        ++count;
    }
    return text.left(position);
}

} // namespace

QString CloudFolder::defaultRoot()
{
    const QString chosen = Settings::cloudSyncRoot();
    if (!chosen.isEmpty())
        return chosen;
    const QString home = QDir::homePath();
    for (const QString& client : {u"Nextcloud"_s, u"ownCloud"_s, u"Dropbox"_s, u"Sync"_s}) {
        const QString candidate = home + u'/' + client;
        if (QFileInfo(candidate).isDir())
            return candidate;
    }
    return home;
}

CloudFolder::CloudFolder(std::function<QString()> root, std::function<Date()> clock)
    : rootProvider(std::move(root))
    , clock(std::move(clock))
{
}

CloudFolder::CloudFolder(const QString& root)
    : CloudFolder([root] { return root; })
{
}

QString CloudFolder::rootPath() const { return rootProvider(); }

QString CloudFolder::path() const { return rootPath() + u'/' + folderName(); }

QString CloudFolder::filePath(const QString& name) const { return path() + u'/' + name; }

QString CloudFolder::fileName(const Note& note, const QSet<QString>& claimed)
{
    QString stem =
        NoteText::hasCustomTitle(note) ? note.title : NoteText::derivedTitle(note.body);
    // Characters some file system or sync client refuses, and line breaks.
    static const QString unsafe = u"/\\:*?\"<>|\n\r\t"_s;
    for (QChar& c : stem) {
        if (unsafe.contains(c))
            c = u'-';
    }
    static const QRegularExpression dashes(u"-{2,}"_s);
    stem.replace(dashes, u"-"_s);
    stem = stem.trimmed();
    qsizetype from = 0;
    qsizetype to = stem.size();
    while (from < to && stem[from] == u'-')
        ++from;
    while (to > from && stem[to - 1] == u'-')
        --to;
    stem = leftCharacters(stem.sliced(from, to - from), stemLimit);
    // A leading dot would hide the file, and a placeholder would look like one.
    if (stem.isEmpty() || stem.startsWith(u'.'))
        stem = u"note-"_s + note.id.left(8);

    const QString extension = u'.' + fileExtension();
    QString candidate = stem + extension;
    for (int n = 2; claimed.contains(candidate.toLower()); ++n)
        candidate = stem + u'-' + QString::number(n) + extension;
    return candidate;
}

QString CloudFolder::conflictName(const QString& name, Date at)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const QString stem = dot > 0 ? name.left(dot) : name;
    return stem + u" (conflict "_s + Fmt::fileStamp(at) + u")."_s + fileExtension();
}

std::optional<CloudFolder::Resolved> CloudFolder::resolvedName(const QString& entry)
{
    // Called for every entry of every scan: no allocation on the way.
    static const QString md = u".md"_s;
    if (entry.startsWith(u'.')) {
        if (!entry.endsWith(placeholderSuffix))
            return std::nullopt;
        const QStringView name =
            QStringView(entry).sliced(1, entry.size() - 1 - placeholderSuffix.size());
        if (!name.endsWith(md, Qt::CaseInsensitive))
            return std::nullopt;
        return Resolved{name.toString(), false};
    }
    if (entry.endsWith(md, Qt::CaseInsensitive))
        return Resolved{entry, true};
    return std::nullopt;
}

QStringList CloudFolder::documentNames()
{
    QStringList names;
    const FolderScan found = scan();
    for (auto it = found.documents.cbegin(); it != found.documents.cend(); ++it)
        names.append(it.key());
    names.sort();
    return names;
}

bool CloudFolder::isAvailable() const
{
    const QString root = rootPath();
    return !root.isEmpty() && QFileInfo(root).isDir();
}

SyncFolderGateway::Ensured CloudFolder::ensure()
{
    if (!isAvailable())
        return Ensured::Unavailable;
    const QString folder = path();
    if (QFileInfo(folder).isDir())
        return Ensured::Existed;
    const QByteArray native = QFile::encodeName(folder);
    if (::mkdir(native.constData(), 0755) != 0 && errno != EEXIST) {
        Log::line(u"Pondrift cloud: cannot create "_s + folder + emDash + errnoText(errno));
        return Ensured::Unavailable;
    }
    if (!QFileInfo(folder).isDir()) {
        Log::line(u"Pondrift cloud: cannot create "_s + folder + emDash + errnoText(ENOTDIR));
        return Ensured::Unavailable;
    }
    return Ensured::Created;
}

FolderScan CloudFolder::scan()
{
    FolderScan result;
    const QByteArray native = QFile::encodeName(path());
    DIR* dir = ::opendir(native.constData());
    if (!dir)
        return result;
    const int fd = ::dirfd(dir);
    result.documents.reserve(lastScanSize);
    while (const dirent* entry = ::readdir(dir)) {
        const QString raw = QFile::decodeName(entry->d_name);
        const auto resolved = resolvedName(raw);
        if (!resolved)
            continue;
        if (!resolved->downloaded) {
            // The platform would start the download here; until it lands, the name only
            // protects its note.
            result.unresolved.insert(resolved->name);
            continue;
        }
        struct stat st {};
        // A directory wearing a document's name, a dangling link or a file that vanished
        // while we looked: it exists, but cannot be read as a document.
        if (!ensureDownloaded(resolved->name) || ::fstatat(fd, entry->d_name, &st, 0) != 0
            || !S_ISREG(st.st_mode)) {
            result.unresolved.insert(resolved->name);
            continue;
        }
        result.documents.insert(resolved->name, dateOf(st));
    }
    ::closedir(dir);
    lastScanSize = result.documents.size();
    // A placeholder and its downloaded file can briefly stand side by side: the file counts.
    for (auto it = result.documents.cbegin(); it != result.documents.cend(); ++it)
        result.unresolved.remove(it.key());
    return result;
}

std::optional<QString> CloudFolder::read(const QString& name)
{
    const QString file = filePath(name);
    if (!ensureDownloaded(file))
        return std::nullopt;
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly)) {
        Log::line(u"Pondrift cloud: read "_s + name + emDash + f.errorString());
        return std::nullopt;
    }
    const QByteArray data = f.readAll();
    if (f.error() != QFileDevice::NoError) {
        Log::line(u"Pondrift cloud: read "_s + name + emDash + f.errorString());
        return std::nullopt;
    }
    // Strict: a file that is not UTF-8 is not a document of ours, and is left alone.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(data);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

std::optional<Date> CloudFolder::modificationDate(const QString& name)
{
    struct stat st {};
    if (::stat(QFile::encodeName(filePath(name)).constData(), &st) != 0)
        return std::nullopt;
    return dateOf(st);
}

bool CloudFolder::writeFile(const QString& text, const QString& target, const QString& name)
{
    QSaveFile file(target);
    const auto fail = [&] {
        Log::line(u"Pondrift cloud: write "_s + name + emDash + file.errorString());
        file.cancelWriting();
        return false;
    };
    if (QFileInfo(target).isDir()) {
        Log::line(u"Pondrift cloud: write "_s + name + emDash + errnoText(EISDIR));
        return false;
    }
    if (!file.open(QIODevice::WriteOnly))
        return fail();
    const QByteArray data = text.toUtf8();
    if (file.write(data) != data.size())
        return fail();
    if (!file.commit()) {
        Log::line(u"Pondrift cloud: write "_s + name + emDash + file.errorString());
        return false;
    }
    return true;
}

bool CloudFolder::write(const QString& text, const QString& name)
{
    return writeFile(text, filePath(name), name);
}

bool CloudFolder::remove(const QString& name)
{
    const QString file = filePath(name);
    if (::unlink(QFile::encodeName(file).constData()) != 0) {
        Log::line(u"Pondrift cloud: delete "_s + name + emDash + errnoText(errno));
        return false;
    }
    return true;
}

bool CloudFolder::writeConflict(const QString& text, const QString& name)
{
    const QString folder = path() + u'/' + conflictsName();
    if (!QFileInfo(folder).isDir()) {
        if (!QDir().mkpath(folder) || !QFileInfo(folder).isDir()) {
            Log::line(u"Pondrift cloud: cannot create the conflicts folder"_s + emDash
                      + errnoText(errno ? errno : EEXIST));
            return false;
        }
    }
    // Two conflicts on one name within a second would share a name; the second copy takes
    // a number rather than replace the first.
    QString copy = conflictName(name, clock());
    const QString stem = copy.chopped(fileExtension().size() + 1);
    for (int n = 2; QFileInfo::exists(folder + u'/' + copy); ++n)
        copy = stem + u' ' + QString::number(n) + u'.' + fileExtension();
    return writeFile(text, folder + u'/' + copy, copy);
}
