#include "sync/DocumentNames.h"

#include "notes/Fmt.h"
#include "notes/NoteText.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTextBoundaryFinder>

using namespace Qt::Literals::StringLiterals;

namespace DocumentNames {
namespace {

constexpr QStringView placeholderSuffix = u".icloud";
constexpr int stemLimit = 80;

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
    stem = leftCharacters(stem.sliced(from, to - from), stemLimit);
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
    const QString stem = dot > 0 ? name.left(dot) : name;
    return stem + u" (conflict "_s + Fmt::fileStamp(at) + u")."_s + extension;
}

std::optional<Resolved> resolvedName(const QString& entry)
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
