#include "exchange/TransferText.h"

#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "notes/NoteColor.h"
#include "notes/NoteText.h"
#include "notes/Tasks.h"

#include <QFileInfo>
#include <QStringList>
#include <QTextBoundaryFinder>

using namespace Qt::Literals::StringLiterals;

namespace {

// What file systems, sync clients and other desktops refuse or take for something else in a
// name.
bool refusedInName(QChar c)
{
    static const QString refused = u"/\\:*?\"<>|\n\r\t"_s;
    return refused.contains(c);
}

// The grapheme boundaries of the text, its start and end included.
QList<qsizetype> graphemeEnds(const QString& text)
{
    QList<qsizetype> ends;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype at = finder.toNextBoundary(); at != -1; at = finder.toNextBoundary())
        ends.append(at);
    return ends;
}

} // namespace

namespace TransferText {

QString safeName(const Note& note)
{
    const QString title = NoteText::displayTitle(note);
    QString name;
    name.reserve(title.size());
    // A run of refused characters is one dash: "a // b" is "a - b", a title of slashes "-".
    bool inRun = false;
    for (const QChar c : title) {
        if (!refusedInName(c))
            name.append(c);
        else if (!inRun)
            name.append(u'-');
        inRun = refusedInName(c);
    }
    name = name.trimmed();
    const QList<qsizetype> ends = graphemeEnds(name);
    if (ends.size() > nameLimit)
        name.truncate(ends.at(nameLimit - 1));
    if (name.isEmpty())
        return L10n::format(u"export.default_note_name"_s, {note.id.left(8)});
    return name;
}

QString candidate(const QString& name, const QString& ext, int n)
{
    const QString suffix = (n > 1 ? u"-"_s + QString::number(n) : QString()) + u'.' + ext;
    QString kept = name;
    const auto fits = [&] { return (kept + suffix).toUtf8().size() <= fileNameBytes; };
    QList<qsizetype> ends = graphemeEnds(kept);
    while (!fits() && ends.size() > 1) {
        ends.removeLast();
        kept.truncate(ends.last());
    }
    // One character too long for a name by itself (a base letter under hundreds of marks):
    // whole code points then.
    while (!fits() && !kept.isEmpty())
        kept.chop(kept.size() > 1 && kept.back().isLowSurrogate() ? 2 : 1);
    return kept + suffix;
}

QString nameKey(const QString& fileName) { return canonicalText(fileName).toLower(); }

QString markdownBody(const Note& note)
{
    const QString text = Tasks::toMarkdown(note.body);
    const qsizetype end = text.indexOf(u'\n');
    const QString line = end < 0 ? text : text.left(end);
    const QStringView first = Tasks::trimmedBlanksAndTabs(line);
    if (first.isEmpty() || first.startsWith(u'#') || first.startsWith(u"- [")
        || NoteText::isImageTokenLine(line))
        return text;
    return u"# "_s + first.toString() + (end < 0 ? QString() : text.mid(end));
}

QString singleDocument(const QList<Note>& notes, Date now)
{
    static const QString separator = u"\n\n---\n\n"_s;
    QStringList blocks;
    blocks.reserve(notes.size());
    for (const Note& note : notes) {
        const QString metadata = L10n::format(
            u"export.metadata"_s,
            {NoteText::palette(note).localizedName(), Fmt::stamp(note.created),
             Fmt::stamp(note.modified),
             note.archived ? L10n::text(u"export.metadata_archived_suffix"_s) : QString()});
        blocks.append(u"## "_s + NoteText::displayTitle(note) + u"\n<!-- "_s + metadata
                      + u" -->\n\n"_s + Tasks::toMarkdown(note.body));
    }
    return u"# "_s + L10n::text(u"export.document_title"_s) + u"\n\n"_s
           + L10n::plural(u"notes.count"_s, static_cast<int>(notes.size())) + u" · "_s
           + Fmt::stamp(now) + separator + blocks.join(separator);
}

Note noteFromText(const QString& fileName, const QString& text)
{
    Note note;
    note.body = Tasks::fromMarkdown(text);
    if (NoteText::derivedTitle(note.body).isEmpty())
        note.title = QFileInfo(fileName).completeBaseName();
    // Seeded alike in every run, so the same file comes in with the same colour.
    const size_t palette = NoteColor::all().size();
    note.color = static_cast<qint64>(qHash(fileName, 0) % palette);
    return note;
}

} // namespace TransferText
