#include "surfaces/Library.h"

#include "exchange/NoteDocument.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "platform/Files.h"
#include "platform/Log.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Library::Library(NoteStore& notes, Files& files, QString trashFolder, ViewFactory makeView)
    : notes(notes)
    , files(files)
    , trashFolder(std::move(trashFolder))
    , makeView(std::move(makeView))
{
}

Library::~Library() { delete window; }

void Library::show(LibraryMode mode)
{
    setMode(mode);
    if (!window && makeView)
        window = makeView(*this);
    if (window)
        window->present();
}

void Library::setMode(LibraryMode mode)
{
    if (mode == current)
        return;
    current = mode;
    Q_EMIT modeChanged();
}

void Library::setQuery(const QString& query)
{
    if (query == search)
        return;
    search = query;
    // Without a search the lowered texts are only memory.
    if (normalized(search).isEmpty())
        searchable.clear();
    Q_EMIT queryChanged();
}

void Library::select(const std::optional<QString>& id)
{
    if (id == selected)
        return;
    selected = id;
    Q_EMIT selectionChanged();
}

QString Library::normalized(const QString& query)
{
    qsizetype from = 0;
    qsizetype to = query.size();
    const auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (from < to && blank(query[from]))
        ++from;
    while (to > from && blank(query[to - 1]))
        --to;
    return query.mid(from, to - from).toLower();
}

bool Library::matchesNormalized(const Note& note, const QString& q)
{
    if (q.isEmpty())
        return true;
    // Case-insensitive search folds more than toLower does (ß, final sigma), so both sides
    // are lowered the same way instead.
    return NoteText::displayTitle(note).toLower().contains(q) || note.body.toLower().contains(q);
}

bool Library::matches(const Note& note, const QString& query)
{
    return matchesNormalized(note, normalized(query));
}

QList<Note> Library::filtered() const
{
    if (current == LibraryMode::recentlyDeleted)
        return {};
    const QList<Note> source = current == LibraryMode::all ? notes.active() : notes.archived();
    const QString q = normalized(search);
    if (q.isEmpty())
        return source;
    QList<Note> result;
    for (const Note& note : source) {
        const Lowered& text = lowered(note);
        if (text.title.contains(q) || text.body.contains(q))
            result.append(note);
    }
    return result;
}

// Lowering ten megabytes of notes on every keystroke costs more than a frame, so each note's
// lowered texts are kept while a search goes on, and made again only for a note whose text
// changed. The originals are kept beside them as shared copies, which cost nothing.
const Library::Lowered& Library::lowered(const Note& note) const
{
    Lowered& entry = searchable[note.id];
    const auto same = [](const QString& a, const QString& b) {
        return a.size() == b.size() && (a.constData() == b.constData() || a == b);
    };
    if (!same(entry.sourceBody, note.body) || entry.sourceTitle != note.title) {
        entry.sourceBody = note.body;
        entry.sourceTitle = note.title;
        entry.title = NoteText::displayTitle(note).toLower();
        entry.body = note.body.toLower();
    }
    return entry;
}

// "Title (deleted 2026-01-02-030405).md" names its note "Title".
QString Library::trashTitle(const QString& name)
{
    QString stem = name.endsWith(u".md"_s) ? name.chopped(3) : name;
    if (const qsizetype at = stem.lastIndexOf(u" (deleted "_s); at > 0)
        stem.truncate(at);
    return stem;
}

std::optional<Note> Library::readTrash(const QString& path) const
{
    QByteArray bytes;
    if (const Files::Result read = files.read(path, bytes); !read) {
        Log::line(u"cannot read a deleted note"_s, path + u": "_s + read.description());
        return std::nullopt;
    }
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        Log::line(u"cannot read a deleted note that is not UTF-8"_s, path);
        return std::nullopt;
    }
    const QString name = path.mid(path.lastIndexOf(u'/') + 1);
    return NoteDocument::parse(text, trashTitle(name)).note;
}

QList<Library::TrashEntry> Library::trash() const
{
    QList<TrashEntry> entries;
    const auto listed = files.list(trashFolder, true);
    if (!listed)
        return entries;
    const QString q = normalized(search);
    for (const Files::Entry& entry : *listed) {
        if (entry.kind != Files::Kind::File || !entry.name.endsWith(u".md"_s))
            continue;
        const QString path = trashFolder + u'/' + entry.name;
        const std::optional<Note> note = readTrash(path);
        const Note shown = note.value_or(Note{});
        if (!q.isEmpty()
            && !(note ? matchesNormalized(shown, q) : entry.name.toLower().contains(q)))
            continue;
        entries.append({entry.name, path, entry.modified,
                        note ? NoteText::displayTitle(shown) : trashTitle(entry.name), shown.body,
                        note ? NoteText::preview(shown) : QString()});
    }
    std::stable_sort(entries.begin(), entries.end(), [](const TrashEntry& a, const TrashEntry& b) {
        return a.deleted.seconds != b.deleted.seconds ? a.deleted.seconds > b.deleted.seconds
                                                      : a.name < b.name;
    });
    return entries;
}

Library::RestoreResult Library::restore(const TrashEntry& entry)
{
    const std::optional<Note> read = readTrash(entry.path);
    if (!read)
        return RestoreResult::unreadable;
    Note note = *read;
    // Back where the person will look for it, whatever it was when it went.
    note.archived = false;
    QString restoredID;
    if (const QString earlier = unsavedRestores.value(entry.path);
        !earlier.isEmpty() && notes.note(earlier)) {
        // A restore tried again after the disk refused the note: the note is back already,
        // waiting to be saved. Bringing it in again would make a second copy.
        if (!notes.flush(earlier))
            return RestoreResult::notStored;
        restoredID = earlier;
    } else {
        const qsizetype before = notes.notes().size();
        const bool saved = notes.ingest({note}) == 1;
        // A note the store refused outright (a colour it does not know) is not there at all.
        if (notes.notes().size() == before)
            return RestoreResult::notStored;
        restoredID = notes.notes().constLast().id;
        if (!saved) {
            unsavedRestores.insert(entry.path, restoredID);
            return RestoreResult::notStored;
        }
    }
    unsavedRestores.remove(entry.path);
    if (const Files::Result removed = files.remove(entry.path); !removed)
        Log::line(u"restored a deleted note but cannot remove its document"_s,
                  entry.path + u": "_s + removed.description());
    Q_EMIT trashChanged();
    select(restoredID);
    return RestoreResult::restored;
}
