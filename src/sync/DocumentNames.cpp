#include "sync/DocumentNames.h"

#include "notes/Fmt.h"
#include "notes/NoteText.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace DocumentNames {
namespace {

// iCloud hides the placeholder of an undownloaded "X.md" as ".X.md.icloud"; the virtual files
// of Nextcloud's and ownCloud's desktop clients sit beside it as "X.md.nextcloud" and
// "X.md.owncloud".
constexpr QStringView hiddenPlaceholderSuffix = u".icloud";
constexpr QStringView visiblePlaceholderSuffixes[] = {u".nextcloud", u".owncloud"};
constexpr QStringView documentSuffix = u".md";

// File systems cap a name at 255 bytes, and the atomic write parks the data under
// "." + name + "." + 12 characters before renaming it over the name. A conflict copy adds
// " (conflict yyyy-MM-dd-HHmmss)" (29 bytes), a number (" 12345") and ".md" to the stem:
// 200 + 29 + 6 + 3 + 14 leaves a few bytes to spare.
constexpr qsizetype stemBytes = 200;
// Beyond this a name is no easier to read, whatever the script.
constexpr int stemCharacters = 80;

// UTF-8 length of UTF-16 text: a surrogate pair is one four-byte scalar.
qsizetype utf8Length(QStringView text)
{
    qsizetype bytes = 0;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u < 0x80)
            bytes += 1;
        else if (u < 0x800)
            bytes += 2;
        else if (QChar::isHighSurrogate(u))
            bytes += 4;
        else if (!QChar::isLowSurrogate(u))
            bytes += 3;
    }
    return bytes;
}

// Where the longest start of `text` that fits in `bytes` ends, cut between code points and
// never inside a surrogate pair.
qsizetype fittingCodePoints(QStringView text, qsizetype bytes)
{
    qsizetype position = 0;
    while (position < text.size()) {
        const qsizetype width =
            text[position].isHighSurrogate() && position + 1 < text.size() ? 2 : 1;
        bytes -= utf8Length(text.sliced(position, width));
        if (bytes < 0)
            break;
        position += width;
    }
    return position;
}

// The longest start of `text` of at most `characters` user-perceived characters and `bytes`
// UTF-8 bytes, cut between characters. A single character longer than the bytes allowed (a
// letter under hundreds of combining marks) is cut between its code points instead.
QString leftFitting(const QString& text, int characters, qsizetype bytes)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype position = 0;
    for (int count = 0; count < characters; ++count) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0)
            break;
        const qsizetype size = utf8Length(QStringView(text).sliced(position, next - position));
        if (size > bytes) {
            if (position == 0)
                position = fittingCodePoints(text, bytes);
            break;
        }
        bytes -= size;
        position = next;
    }
    return text.left(position);
}

} // namespace

QString fileName(const Note& note, const QSet<QString>& claimed)
{
    QString stem = NoteText::hasCustomTitle(note) ? note.title : NoteText::derivedTitle(note.body);
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
    stem = leftFitting(stem.sliced(from, to - from), stemCharacters, stemBytes);
    // A leading dot would hide the file, and a placeholder would look like one.
    if (stem.isEmpty() || stem.startsWith(u'.'))
        stem = u"note-"_s + note.id.left(8);

    const QString dotted = u'.' + extension;
    QString candidate = stem + dotted;
    for (int n = 2; claimed.contains(candidate.toLower()); ++n)
        candidate = stem + u'-' + QString::number(n) + dotted;
    return candidate;
}

QString conflictName(const QString& name, Date at)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    // Another program may have named the document longer than a copy's name can grow.
    const QString stem =
        leftFitting(dot > 0 ? name.left(dot) : name, std::numeric_limits<int>::max(), stemBytes);
    return stem + u" (conflict "_s + Fmt::fileStamp(at) + u")."_s + extension;
}

std::optional<Resolved> resolvedName(const QString& entry)
{
    // Called for every entry of every scan: no allocation until the answer.
    QStringView name(entry);
    bool downloaded = true;
    if (name.startsWith(u'.')) {
        // Shorter than "." + "X.md" + ".icloud" is a name no document can have.
        if (!name.endsWith(hiddenPlaceholderSuffix)
            || name.size() <= hiddenPlaceholderSuffix.size() + 1)
            return std::nullopt;
        name = name.sliced(1).chopped(hiddenPlaceholderSuffix.size());
        downloaded = false;
    } else {
        for (const QStringView suffix : visiblePlaceholderSuffixes) {
            if (name.endsWith(suffix)) {
                name.chop(suffix.size());
                downloaded = false;
                break;
            }
        }
    }
    // A document has a name before its extension, and one that starts with a dot would be
    // hidden.
    if (name.size() <= documentSuffix.size() || name.startsWith(u'.')
        || !name.endsWith(documentSuffix, Qt::CaseInsensitive))
        return std::nullopt;
    return Resolved{name.toString(), downloaded};
}

QString discoveredRoot(const QString& home)
{
    for (const QString& client : {u"Nextcloud"_s, u"ownCloud"_s, u"Dropbox"_s, u"Sync"_s}) {
        const QString candidate = home + u'/' + client;
        if (QFileInfo(candidate).isDir())
            return candidate;
    }
    return home;
}

} // namespace DocumentNames
