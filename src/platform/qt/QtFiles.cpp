#include "platform/qt/QtFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// errno after a failed call, or EIO when the call failed without setting it (a short write).
int lastError() { return errno != 0 ? errno : EIO; }

Files::Entry entryOf(const QString& name, const struct stat& st)
{
    Files::Entry entry;
    entry.name = name;
    entry.kind = S_ISREG(st.st_mode)   ? Files::Kind::File
                 : S_ISDIR(st.st_mode) ? Files::Kind::Folder
                                       : Files::Kind::Other;
    // Full precision of the file time, computed the same way every time, so that an unchanged
    // file compares equal to what was recorded of it.
    entry.modified = Date{static_cast<double>(st.st_mtim.tv_sec)
                          + static_cast<double>(st.st_mtim.tv_nsec) / 1e9};
    entry.changed = Date{static_cast<double>(st.st_ctim.tv_sec)
                         + static_cast<double>(st.st_ctim.tv_nsec) / 1e9};
    entry.size = st.st_size;
    entry.link = S_ISLNK(st.st_mode);
    return entry;
}

int writeAll(int fd, const QByteArray& data)
{
    qsizetype done = 0;
    while (done < data.size()) {
        errno = 0;
        const ssize_t n =
            ::write(fd, data.constData() + done, static_cast<size_t>(data.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return lastError();
        done += n;
    }
    return 0;
}

// A hidden name beside the target that no other file has.
// A hidden name beside the target for its new data. The target's own name may already be
// near the file system's limit of 255 bytes, so only as much of it is kept as leaves room for
// the dot in front and the random tail; the name is only ever seen by a crash's leftovers.
QByteArray nameBeside(const QString& target)
{
    const QFileInfo info(target);
    const QByteArray tail = '.' + QUuid::createUuid().toString(QUuid::Id128).left(12).toLatin1();
    QByteArray name = QFile::encodeName(info.fileName());
    const qsizetype room = 255 - 1 - tail.size();
    if (name.size() > room) {
        name.truncate(room);
        // Whole characters only, so that the name stays valid text.
        while (!name.isEmpty() && (uchar(name.back()) & 0xC0) == 0x80)
            name.chop(1);
        if (!name.isEmpty() && uchar(name.back()) >= 0xC0)
            name.chop(1);
    }
    return QFile::encodeName(info.path()) + "/." + name + tail;
}

// New data for a target, on the disk in a file of its own before it takes the target's name:
// an unnamed file where the file system can make one, which leaves nothing behind if the
// process dies, else a file under a hidden name beside the target. Whatever is not published
// is removed when this goes.
class Staged final {
public:
    Staged(const QString& target, bool unnamed)
        : unnamed(unnamed)
        , path(target)
        , target(QFile::encodeName(target))
        , folder(QFile::encodeName(QFileInfo(target).path()))
    {
    }
    ~Staged()
    {
        if (fd >= 0)
            ::close(fd);
        if (named)
            ::unlink(hidden.constData());
    }
    Staged(const Staged&) = delete;
    Staged& operator=(const Staged&) = delete;

    // The data written and flushed; an errno on failure.
    int stage(const QByteArray& data, mode_t mode)
    {
        if (unnamed)
            fd = ::open(folder.constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
        if (!unnamed || (fd < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL))) {
            hidden = nameBeside(path);
            fd = ::open(hidden.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            named = fd >= 0;
        }
        if (fd < 0)
            return lastError();
        if (const int error = writeAll(fd, data))
            return error;
        errno = 0;
        return ::fdatasync(fd) == 0 ? 0 : lastError();
    }

    int setMode(mode_t mode) { return ::fchmod(fd, mode) == 0 ? 0 : lastError(); }

    // Gives the data the target's name: replacing a file that is there, or failing with
    // EEXIST when one is.
    int publish(bool replacing)
    {
        if (!named) {
            const QByteArray self = "/proc/self/fd/" + QByteArray::number(fd);
            if (::linkat(AT_FDCWD, self.constData(), AT_FDCWD, target.constData(),
                         AT_SYMLINK_FOLLOW)
                == 0)
                return 0;
            if (errno != EEXIST || !replacing)
                return errno;
            // A rename is the one step that replaces a file whole; it needs a name to move.
            hidden = nameBeside(path);
            if (::linkat(AT_FDCWD, self.constData(), AT_FDCWD, hidden.constData(),
                         AT_SYMLINK_FOLLOW)
                != 0)
                return errno;
            named = true;
        }
        if (!replacing)
            return ::link(hidden.constData(), target.constData()) == 0 ? 0 : errno;
        if (::rename(hidden.constData(), target.constData()) != 0)
            return errno;
        named = false;
        return 0;
    }

private:
    const bool unnamed;
    const QString path;
    const QByteArray target;
    const QByteArray folder;
    QByteArray hidden;
    int fd = -1;
    bool named = false;
};

} // namespace

Files::Result QtFiles::read(const QString& path, QByteArray& into, qint64 limit)
{
    into.clear();
    const QByteArray native = QFile::encodeName(path);
    const int fd = ::open(native.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {errno};
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        ::close(fd);
        return {EISDIR};
    }
    constexpr qint64 chunk = 64 * 1024;
    const qint64 wanted = limit >= 0 ? limit : std::max<qint64>(st.st_size, 0);
    into.reserve(static_cast<qsizetype>(std::min<qint64>(wanted, 64 * 1024 * 1024)) + 1);
    int error = 0;
    while (limit < 0 || into.size() < limit) {
        const qint64 room = limit < 0 ? chunk : std::min(chunk, limit - into.size());
        const qsizetype at = into.size();
        into.resize(at + static_cast<qsizetype>(room));
        const ssize_t n = ::read(fd, into.data() + at, static_cast<size_t>(room));
        if (n < 0 && errno == EINTR) {
            into.resize(at);
            continue;
        }
        into.resize(at + std::max<qsizetype>(n, 0));
        if (n < 0) {
            error = errno;
            break;
        }
        if (n == 0)
            break;
    }
    ::close(fd);
    if (error != 0)
        into.clear();
    return {error};
}

Files::Result QtFiles::write(const QString& path, const QByteArray& data, Access access)
{
    // A new shared file gets the umask's permissions and a replaced one keeps its own. A
    // private file is the owner's from the start, hidden name and all, and set so again once
    // written, since the umask may have taken from the owner too.
    std::optional<mode_t> mode;
    struct stat st {};
    if (access == Access::Private)
        mode = 0600;
    else if (::stat(QFile::encodeName(path).constData(), &st) == 0)
        mode = st.st_mode & 07777;
    Staged staged(path, staging == Staging::Unnamed);
    if (const int error = staged.stage(data, mode.value_or(0666)))
        return {error};
    if (mode) {
        if (const int error = staged.setMode(*mode))
            return {error};
    }
    return {staged.publish(true)};
}

Files::Result QtFiles::create(const QString& path, const QByteArray& data, Access access)
{
    Staged staged(path, staging == Staging::Unnamed);
    const bool owned = access == Access::Private;
    if (const int error = staged.stage(data, owned ? 0600 : 0666))
        return {error};
    if (const int error = owned ? staged.setMode(0600) : 0)
        return {error};
    return {staged.publish(false)};
}

Files::Result QtFiles::remove(const QString& path)
{
    return {::unlink(QFile::encodeName(path).constData()) == 0 ? 0 : errno};
}

Files::Result QtFiles::makeFolder(const QString& path, bool withParents, Access access)
{
    if (withParents) {
        const QString parent = QFileInfo(path).path();
        if (parent != path && !QFileInfo(parent).isDir()) {
            if (const Result made = makeFolder(parent, true, access); !made)
                return made;
        }
    }
    const QByteArray native = QFile::encodeName(path);
    const mode_t mode = access == Access::Private ? 0700 : 0777;
    if (::mkdir(native.constData(), mode) == 0) {
        // The umask may have taken from the owner what a private folder needs.
        if (access == Access::Private && ::chmod(native.constData(), mode) != 0)
            return {errno};
        return Result::ok();
    }
    const int error = errno;
    struct stat st {};
    if (error == EEXIST)
        return {::stat(native.constData(), &st) == 0 && S_ISDIR(st.st_mode) ? 0 : ENOTDIR};
    return {error};
}

Files::Result QtFiles::syncFolder(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return {errno};
    int error = 0;
    // EINVAL: a file system that cannot sync a folder, which has nothing to put on the disk.
    if (::fsync(fd) != 0 && errno != EINVAL)
        error = lastError();
    ::close(fd);
    return {error};
}

std::optional<Files::Entry> QtFiles::stat(const QString& path)
{
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return std::nullopt;
    return entryOf(QFileInfo(path).fileName(), st);
}

std::optional<Files::Entry> QtFiles::lstat(const QString& path)
{
    struct stat st {};
    if (::lstat(QFile::encodeName(path).constData(), &st) != 0)
        return std::nullopt;
    return entryOf(QFileInfo(path).fileName(), st);
}

std::optional<QList<Files::Entry>> QtFiles::list(const QString& folder, bool withDates)
{
    DIR* dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir)
        return std::nullopt;
    const int fd = ::dirfd(dir);
    QList<Entry> entries;
    // readdir says "no more" and "failed" alike, apart from errno: a listing cut short must
    // not read as a folder whose other files were deleted.
    errno = 0;
    while (const dirent* found = ::readdir(dir)) {
        const char* name = found->d_name;
        if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
            continue;
        if (!withDates && (found->d_type == DT_REG || found->d_type == DT_DIR)) {
            Entry entry;
            entry.name = QFile::decodeName(name);
            entry.kind = found->d_type == DT_REG ? Kind::File : Kind::Folder;
            entries.append(std::move(entry));
            errno = 0;
            continue;
        }
        // Most file systems say in the listing what is a link; the rest are asked.
        bool link = found->d_type == DT_LNK;
        struct stat st {};
        if (found->d_type == DT_UNKNOWN && ::fstatat(fd, name, &st, AT_SYMLINK_NOFOLLOW) == 0)
            link = S_ISLNK(st.st_mode);
        if (::fstatat(fd, name, &st, 0) != 0) {
            // One that vanished since the listing is no entry. A dangling link, a loop of
            // links or an entry that cannot be looked at still exists: it is listed as
            // something other than a file, which keeps whatever it stands for.
            const bool vanished = errno == ENOENT;
            struct stat own {};
            const bool present = ::fstatat(fd, name, &own, AT_SYMLINK_NOFOLLOW) == 0;
            if (vanished && !present) {
                errno = 0;
                continue;
            }
            Entry entry;
            entry.name = QFile::decodeName(name);
            entry.kind = Kind::Other;
            entry.link = link || (present && S_ISLNK(own.st_mode));
            entries.append(std::move(entry));
            errno = 0;
            continue;
        }
        Entry entry = entryOf(QFile::decodeName(name), st);
        entry.link = entry.link || link;
        entries.append(std::move(entry));
        errno = 0;
    }
    const int failure = errno;
    ::closedir(dir);
    if (failure != 0)
        return std::nullopt;
    return entries;
}
