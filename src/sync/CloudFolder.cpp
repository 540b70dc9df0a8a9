#include "sync/CloudFolder.h"

#include "platform/Files.h"
#include "platform/Log.h"
#include "sync/DocumentNames.h"

#include <QDir>
#include <QStringDecoder>
#include <QUuid>

#include <cerrno>

using namespace Qt::Literals::StringLiterals;

namespace {

FileStamp stampOf(const Files::Entry& entry) { return {entry.modified, entry.size, entry.changed}; }

// Why the sync must leave what is at the path alone, if it must: another program's link,
// pipe or folder under a document's name. A write would put a file in place of the link (or
// change a file outside the folder through it), a removal would take the link away.
std::optional<QString> notOurs(Files& files, const QString& path)
{
    const auto entry = files.lstat(path);
    if (!entry || entry->kind == Files::Kind::File)
        return std::nullopt;
    if (entry->link)
        return u"a symbolic link is there; it is left to the program that made it"_s;
    return u"something other than a file is there; it is left to the program that made it"_s;
}

} // namespace

CloudFolder::CloudFolder(std::function<QString()> root, Files& files, std::function<Date()> clock)
    : rootProvider(std::move(root))
    , files(files)
    , clock(std::move(clock))
{
}

CloudFolder::CloudFolder(const QString& root, Files& files)
    : CloudFolder([root] { return root; }, files)
{
}

QString CloudFolder::path() const { return root() + u'/' + DocumentNames::folder; }

QString CloudFolder::filePath(const QString& name) const { return path() + u'/' + name; }

QStringList CloudFolder::documentNames()
{
    QStringList names;
    const FolderScan found = scan();
    for (auto it = found.documents.cbegin(); it != found.documents.cend(); ++it)
        names.append(it.key());
    names.sort();
    return names;
}

QString CloudFolder::root() const
{
    if (!askedRoot)
        askedRoot = rootProvider();
    return *askedRoot;
}

bool CloudFolder::isAvailable() const
{
    askedRoot = rootProvider();
    const QString rootPath = *askedRoot;
    if (rootPath.isEmpty())
        return false;
    const auto entry = files.stat(rootPath);
    return entry && entry->kind == Files::Kind::Folder;
}

SyncFolderGateway::Ensured CloudFolder::ensure()
{
    if (!isAvailable())
        return Ensured::Unavailable;
    const QString folder = path();
    if (const auto entry = files.stat(folder); entry && entry->kind == Files::Kind::Folder)
        return Ensured::Existed;
    // Without parents: a root that vanishes in between is not made again.
    if (const Files::Result made = files.makeFolder(folder, false); !made) {
        Log::cloud(u"cannot create "_s + folder, made.description());
        return Ensured::Unavailable;
    }
    return Ensured::Created;
}

FolderScan CloudFolder::scan()
{
    FolderScan result;
    const auto entries = files.list(path());
    if (!entries) {
        result.complete = false;
        return result;
    }
    result.documents.reserve(entries->size());
    for (const Files::Entry& entry : *entries) {
        if (entry.name == markerName)
            continue;
        const auto resolved = DocumentNames::resolvedName(entry.name);
        if (!resolved)
            continue;
        // A placeholder only protects its note until the download lands. A folder, a pipe or
        // a link wearing a document's name exists, but is not a document of ours: reading
        // a pipe would block, and a link leads out of the folder.
        if (!resolved->downloaded || entry.link || entry.kind != Files::Kind::File)
            result.unresolved.insert(resolved->name);
        else
            result.documents.insert(resolved->name, stampOf(entry));
    }
    // A placeholder and its downloaded file can briefly stand side by side: the file counts.
    for (auto it = result.documents.cbegin(); it != result.documents.cend(); ++it)
        result.unresolved.remove(it.key());
    return result;
}

SyncFolderGateway::Identity CloudFolder::identity()
{
    Identity identity{QDir::cleanPath(path()), std::nullopt};
    QByteArray data;
    // Far more than an identity takes: anything longer is not our marker.
    constexpr qint64 longest = 256;
    if (const Files::Result read = files.read(filePath(markerName), data, longest + 1); !read) {
        if (read.error != ENOENT) {
            Log::cloud(u"cannot read the folder's marker "_s + markerName, read.description());
            identity.readable = false;
        }
        return identity;
    }
    // Anything else in its place is an identity no index holds, which gives a first sync.
    const QString id = QString::fromUtf8(data).trimmed();
    identity.id = id.isEmpty() || data.size() > longest ? u"-"_s : id;
    return identity;
}

std::optional<QString> CloudFolder::mark()
{
    const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (const Files::Result written =
            files.write(filePath(markerName), (id + u'\n').toUtf8(), Files::Access::Private);
        !written) {
        Log::cloud(u"cannot write the folder's marker "_s + markerName, written.description());
        return std::nullopt;
    }
    return id;
}

std::optional<QString> CloudFolder::read(const QString& name)
{
    QByteArray data;
    if (const Files::Result read = files.read(filePath(name), data); !read) {
        Log::cloud(u"read "_s + name, read.description());
        return std::nullopt;
    }
    // Strict: a file that is not UTF-8 is not a document of ours, and is left alone.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(data);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

std::optional<FileStamp> CloudFolder::fileStamp(const QString& name)
{
    if (const auto entry = files.stat(filePath(name)))
        return stampOf(*entry);
    return std::nullopt;
}

bool CloudFolder::writeFile(const QString& text, const QString& target, const QString& name)
{
    if (const Files::Result written = files.write(target, text.toUtf8()); !written) {
        Log::cloud(u"write "_s + name, written.description());
        return false;
    }
    return true;
}

bool CloudFolder::write(const QString& text, const QString& name)
{
    const QString target = filePath(name);
    if (const auto why = notOurs(files, target)) {
        Log::cloud(u"write "_s + name, *why);
        return false;
    }
    return writeFile(text, target, name);
}

bool CloudFolder::remove(const QString& name)
{
    const QString target = filePath(name);
    if (const auto why = notOurs(files, target)) {
        Log::cloud(u"delete "_s + name, *why);
        return false;
    }
    if (const Files::Result removed = files.remove(target); !removed) {
        Log::cloud(u"delete "_s + name, removed.description());
        return false;
    }
    return true;
}

bool CloudFolder::writeConflict(const QString& text, const QString& name)
{
    const QString folder = path() + u'/' + DocumentNames::conflictsFolder;
    if (const auto entry = files.lstat(folder); entry && entry->link) {
        Log::cloud(u"cannot create the conflicts folder"_s,
                   u"a symbolic link is there; it is left to the program that made it"_s);
        return false;
    }
    if (const Files::Result made = files.makeFolder(folder, false); !made) {
        Log::cloud(u"cannot create the conflicts folder"_s, made.description());
        return false;
    }
    // Two conflicts on one name within a second would share a name; the second copy takes
    // a number rather than replace the first.
    QString copy = DocumentNames::conflictName(name, clock());
    const QString stem = copy.chopped(DocumentNames::extension.size() + 1);
    // Whatever is there, a link that leads nowhere too, keeps its name.
    for (int n = 2; files.lstat(folder + u'/' + copy); ++n)
        copy = stem + u' ' + QString::number(n) + u'.' + DocumentNames::extension;
    return writeFile(text, folder + u'/' + copy, copy);
}
