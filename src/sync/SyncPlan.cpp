#include "sync/SyncPlan.h"

#include "exchange/NoteDocument.h"
#include "sync/ClientConflicts.h"

#include <QCryptographicHash>
#include <QHash>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace SyncPlan {

Action Action::push(QString noteID, std::optional<QString> existingFileName)
{
    Action a;
    a.kind = Kind::Push;
    a.noteID = std::move(noteID);
    a.existingFileName = std::move(existingFileName);
    return a;
}

Action Action::pull(QString fileName)
{
    Action a;
    a.kind = Kind::Pull;
    a.fileName = std::move(fileName);
    return a;
}

Action Action::reindex(QString noteID, QString fileName)
{
    Action a;
    a.kind = Kind::Reindex;
    a.noteID = std::move(noteID);
    a.fileName = std::move(fileName);
    return a;
}

Action Action::adopt(QString fileName)
{
    Action a;
    a.kind = Kind::Adopt;
    a.fileName = std::move(fileName);
    return a;
}

Action Action::deleteLocal(QString noteID)
{
    Action a;
    a.kind = Kind::DeleteLocal;
    a.noteID = std::move(noteID);
    return a;
}

Action Action::deleteRemote(QString fileName)
{
    Action a;
    a.kind = Kind::DeleteRemote;
    a.fileName = std::move(fileName);
    return a;
}

Action Action::conflict(QString noteID, QString fileName, bool localWins)
{
    Action a;
    a.kind = Kind::Conflict;
    a.noteID = std::move(noteID);
    a.fileName = std::move(fileName);
    a.localWins = localWins;
    return a;
}

Action Action::discard(QString fileName)
{
    Action a;
    a.kind = Kind::Discard;
    a.fileName = std::move(fileName);
    return a;
}

QString Action::toString() const
{
    switch (kind) {
    case Kind::Push:
        return u"push(%1, %2)"_s.arg(noteID, existingFileName.value_or(u"-"_s));
    case Kind::Pull:
        return u"pull(%1)"_s.arg(fileName);
    case Kind::Reindex:
        return u"reindex(%1, %2)"_s.arg(noteID, fileName);
    case Kind::Adopt:
        return u"adopt(%1)"_s.arg(fileName);
    case Kind::DeleteLocal:
        return u"deleteLocal(%1)"_s.arg(noteID);
    case Kind::DeleteRemote:
        return u"deleteRemote(%1)"_s.arg(fileName);
    case Kind::Conflict:
        return u"conflict(%1, %2, %3)"_s.arg(noteID, fileName,
                                             localWins ? u"local"_s : u"remote"_s);
    case Kind::Discard:
        return u"discard(%1)"_s.arg(fileName);
    }
    return {};
}

QByteArray contentHash(const Note& note)
{
    Note undated = note;
    undated.created = Date{};
    undated.modified = Date{};
    return QCryptographicHash::hash(NoteDocument::render(undated).toUtf8(),
                                    QCryptographicHash::Sha256);
}

QString canonical(const QString& text) { return canonicalText(text); }

std::optional<Note> headerMerge(const Note& local, const Note& remote, const QByteArray& synced)
{
    using Take = void (*)(Note&, const Note&);
    const std::array<Take, 6> values{
        [](Note& n, const Note& from) { n.title = from.title; },
        [](Note& n, const Note& from) { n.color = from.color; },
        [](Note& n, const Note& from) { n.archived = from.archived; },
        [](Note& n, const Note& from) { n.pinned = from.pinned; },
        [](Note& n, const Note& from) { n.textDirection = from.textDirection; },
        [](Note& n, const Note& from) { n.order = from.order; },
    };
    // Only values that change the document count: a title the document does not write, say,
    // differs between the sides without either having changed it.
    const QByteArray here = contentHash(local);
    QList<Take> differing;
    for (Take take : values) {
        Note probe = local;
        take(probe, remote);
        if (contentHash(probe) != here)
            differing.append(take);
    }
    // The synced note had, for each differing value, one side's: the other side changed it.
    // Each mix is tried with either side's spelling of the text.
    for (const QString* body : {&local.body, &remote.body}) {
        for (quint32 mix = 0; mix < (1u << differing.size()); ++mix) {
            Note before = local;
            before.body = *body;
            for (qsizetype i = 0; i < differing.size(); ++i) {
                if (mix & (1u << i))
                    differing[i](before, remote);
            }
            if (contentHash(before) != synced)
                continue;
            Note merged = local;
            for (qsizetype i = 0; i < differing.size(); ++i) {
                if (!(mix & (1u << i)))
                    differing[i](merged, remote);
            }
            return merged;
        }
    }
    return std::nullopt;
}

QByteArray textKey(const QString& body)
{
    return QCryptographicHash::hash(body.toUtf8(), QCryptographicHash::Sha256);
}

bool scalarLess(QStringView a, QStringView b)
{
    const qsizetype n = std::min(a.size(), b.size());
    for (qsizetype i = 0; i < n; ++i) {
        char16_t x = a[i].unicode();
        char16_t y = b[i].unicode();
        if (x == y)
            continue;
        // UTF-16 order equals scalar order except that surrogates (astral scalars) must sort
        // after U+E000..U+FFFF: lift surrogates above, lower the rest beneath them.
        const auto fix = [](char16_t u) -> int {
            if (u >= 0xD800 && u <= 0xDFFF)
                return u + 0x2000;
            if (u >= 0xE000)
                return u - 0x800;
            return u;
        };
        return fix(x) < fix(y);
    }
    return a.size() < b.size();
}

bool textLess(const QString& a, const QString& b) { return scalarLess(canonical(a), canonical(b)); }

namespace {

// Names sorted by canonical scalar order; each name normalised once.
QStringList sortedNames(const QStringList& names)
{
    QList<std::pair<QString, qsizetype>> keyed;
    keyed.reserve(names.size());
    for (qsizetype i = 0; i < names.size(); ++i)
        keyed.append({canonical(names[i]), i});
    std::sort(keyed.begin(), keyed.end(), [](const auto& x, const auto& y) {
        if (x.first == y.first)
            return x.second < y.second;
        return scalarLess(x.first, y.first);
    });
    QStringList out;
    out.reserve(names.size());
    for (const auto& [key, i] : keyed)
        out.append(names[i]);
    return out;
}

// Later effective date counts as newer; among equal dates the greater file name.
bool isNewer(const RemoteFile& a, const RemoteFile& b)
{
    const Date ea = a.effectiveModified();
    const Date eb = b.effectiveModified();
    if (ea != eb)
        return ea > eb;
    return scalarLess(canonical(b.fileName), canonical(a.fileName));
}

} // namespace

QList<Action> actions(const QList<Note>& notes, const QList<RemoteFile>& remote,
                      const QSet<QString>& unresolved, const CloudSyncIndex& index,
                      const std::function<QByteArray(const Note&)>& hashOf)
{
    QSet<QString> canonicalUnresolved;
    canonicalUnresolved.reserve(unresolved.size());
    for (const QString& name : unresolved)
        canonicalUnresolved.insert(canonical(name));

    // The notes by canonical id, made only when a copy needs its note's text.
    std::optional<QHash<QString, qsizetype>> noteIndex;
    const auto noteFor = [&](const QString& id) -> const Note* {
        if (!noteIndex) {
            noteIndex.emplace();
            noteIndex->reserve(notes.size());
            for (qsizetype i = 0; i < notes.size(); ++i)
                noteIndex->insert(canonical(notes[i].id), i);
        }
        const auto found = noteIndex->constFind(canonical(id));
        return found == noteIndex->cend() ? nullptr : &notes[found.value()];
    };

    // Index entries by canonical id, since a document may spell an id in another form.
    const auto entryFor = [&index](const QString& id) -> const CloudSyncIndex::Entry* {
        if (const auto* e = index.entry(id))
            return e;
        const QString c = canonical(id);
        return c == id ? nullptr : index.entry(c);
    };

    // Documents that take part in no group, and what becomes of them.
    QSet<qsizetype> setAside;
    QStringList discards;
    QStringList orphans;
    // Copies whose text only the note here holds, by the note's canonical id: they add
    // nothing unless this pass pulls the original's other text over the note.
    QHash<QString, QStringList> copiesOfNote;
    // Copies another machine adopted already, of the text the note here holds, by the note's
    // canonical id: as copiesOfNote, but pulled as the notes they are when the note's text goes.
    QHash<QString, QList<qsizetype>> adoptedCopiesOfNote;

    // Clients' conflict copies. Only a copy read in this pass can be one that is new here;
    // the rest have been decided before.
    std::optional<QHash<QString, qsizetype>> byName;
    for (qsizetype i = 0; i < remote.size(); ++i) {
        const RemoteFile& copy = remote[i];
        if (!copy.textKey)
            continue;
        const std::optional<QString> original = ClientConflicts::originalName(copy.fileName);
        if (!original)
            continue;
        if (!byName) {
            byName.emplace();
            byName->reserve(remote.size());
            for (qsizetype j = 0; j < remote.size(); ++j)
                byName->insert(canonical(remote[j].fileName), j);
        }
        const QString originalKey = canonical(*original);
        if (canonicalUnresolved.contains(originalKey)) {
            // Nothing to compare with yet: the copy waits, and must not stand for the note.
            setAside.insert(i);
            continue;
        }
        const auto o = byName->constFind(originalKey);
        if (o == byName->cend())
            continue; // the original is gone: the copy is all there is, an ordinary document
        const RemoteFile& from = remote[o.value()];
        const bool sameIdentity =
            copy.noteID.has_value() == from.noteID.has_value()
            && (!copy.noteID || canonical(*copy.noteID) == canonical(*from.noteID));
        if (!sameIdentity) {
            // Adopted before: a note of its own now, unless it is new here and holds the text
            // the note here keeps. The other machine adopted it because its note had other
            // text; here the note keeps this text, and taking the copy in as well would hold
            // it twice.
            const Note* note = from.noteID ? noteFor(*from.noteID) : nullptr;
            if (copy.noteID && note && textKey(note->body) == *copy.textKey
                && !entryFor(*copy.noteID) && !noteFor(*copy.noteID)) {
                setAside.insert(i);
                adoptedCopiesOfNote[canonical(note->id)].append(i);
            }
            continue;
        }
        const Note* note = from.noteID ? noteFor(*from.noteID) : nullptr;
        setAside.insert(i);
        if (from.textKey && *from.textKey == *copy.textKey)
            discards.append(copy.fileName);
        else if (note && textKey(note->body) == *copy.textKey)
            copiesOfNote[canonical(note->id)].append(copy.fileName);
        else
            orphans.append(copy.fileName);
    }

    // Step 1: group the documents by canonical id, in remote order; collect orphans. Most
    // ids have one document, so only the rare second and later ones take a list.
    QHash<QString, qsizetype> firstOf;
    firstOf.reserve(remote.size());
    QHash<QString, QList<qsizetype>> moreOf;
    for (qsizetype i = 0; i < remote.size(); ++i) {
        const RemoteFile& file = remote[i];
        if (setAside.contains(i))
            continue;
        if (!file.noteID) {
            orphans.append(file.fileName);
            continue;
        }
        // One lookup: the slot holds the position plus one, so zero means "new".
        const QString id = canonical(*file.noteID);
        qsizetype& slot = firstOf[id];
        if (slot == 0)
            slot = i + 1;
        else
            moreOf[id].append(i);
    }

    // Step 2: one winner per id; the file the index tracks keeps its place.
    QHash<QString, qsizetype>& winners = firstOf;
    for (auto it = moreOf.cbegin(); it != moreOf.cend(); ++it) {
        QList<qsizetype> members{firstOf.value(it.key()) - 1};
        members.append(it.value());
        qsizetype newest = members.front();
        for (qsizetype m : members) {
            if (isNewer(remote[m], remote[newest]))
                newest = m;
        }
        qsizetype keeper = newest;
        bool keeperTracked = false;
        const auto* e = entryFor(it.key());
        if (e) {
            const QString tracked = canonical(e->fileName);
            for (qsizetype m : members) {
                if (canonical(remote[m].fileName) == tracked) {
                    keeper = m;
                    keeperTracked = true;
                    break;
                }
            }
        }
        winners.insert(it.key(), keeper + 1);
        // A copy with the text of the indexed note, or of its indexed file, is that note
        // renamed elsewhere: adopting it would make a second note that the removal of the
        // old name, on its way, then turns into the only one, under another id.
        const Note* note = e ? noteFor(it.key()) : nullptr;
        const std::optional<QByteArray> noteKey =
            note ? std::optional(textKey(note->body)) : std::nullopt;
        // A note new here under two names with one text: renamed elsewhere before the
        // removal of its old name arrived. The newest is taken in; the other waits, as the
        // second name of a note known here does.
        const bool newHere = !e && !noteFor(it.key());
        // A note deleted here takes every name of its id with it, as step 5 plans: a second
        // name adopted instead would bring the note back under another id, while its other
        // names, edited elsewhere, bring it back under its own. Text that changed elsewhere
        // goes to the trash, not into a note.
        const bool deletedHere = e && !note;
        for (qsizetype m : members) {
            if (m == keeper || deletedHere)
                continue;
            if (newHere && remote[m].textKey && remote[keeper].textKey
                && *remote[m].textKey == *remote[keeper].textKey) {
                setAside.insert(m);
                continue;
            }
            const auto& key = remote[m].textKey;
            const bool renamed = note && key
                                 && (*key == *noteKey
                                     || (keeperTracked && remote[keeper].textKey
                                         && *key == *remote[keeper].textKey));
            setAside.insert(m);
            if (!renamed)
                orphans.append(remote[m].fileName);
        }
    }

    QList<Action> result;

    // Step 4 (planned before step 3, which comes first in the result): each local note in
    // the store's order.
    QList<Action> perNote;
    QSet<QString> localIDs;
    localIDs.reserve(notes.size());
    for (const Note& note : notes) {
        const QString id = canonical(note.id);
        localIDs.insert(id);
        const auto* entry = entryFor(note.id);
        const auto w = winners.constFind(id);
        if (w == winners.cend()) {
            if (!entry)
                perNote.append(Action::push(note.id, std::nullopt));
            else if (!canonicalUnresolved.contains(canonical(entry->fileName)))
                perNote.append(Action::deleteLocal(note.id));
            continue;
        }
        const RemoteFile& r = remote[w.value() - 1];
        const bool localWins = note.modified > r.effectiveModified();
        const QByteArray here = hashOf(note);
        const bool sameContent = r.contentHash && *r.contentHash == here;
        if (!entry) {
            // First meeting: equal content needs only an entry; differing content keeps the
            // loser as a copy, whatever the dates say.
            if (sameContent)
                perNote.append(Action::reindex(note.id, r.fileName));
            else if (r.contentHash)
                perNote.append(Action::conflict(note.id, r.fileName, localWins));
            else if (note.modified == r.declaredModified)
                perNote.append(Action::reindex(note.id, r.fileName));
            else if (note.modified != r.effectiveModified())
                perNote.append(Action::conflict(note.id, r.fileName, localWins));
            continue;
        }
        const bool stampMoved = r.file != entry->file;
        bool localChanged = false;
        bool remoteChanged = false;
        if (entry->contentHash) {
            localChanged = here != *entry->contentHash;
            remoteChanged = stampMoved && r.contentHash && *r.contentHash != *entry->contentHash;
        } else if (sameContent) {
            // An entry from before hashes were kept, over content that agrees: record it.
            perNote.append(Action::reindex(note.id, r.fileName));
            continue;
        } else {
            // An entry from before hashes, over content that differs: the dates' rule once,
            // and when it sees no change where the content shows one, both sides count as
            // changed so that the loser is kept.
            localChanged = note.modified > entry->syncedModified;
            remoteChanged = stampMoved;
            if (!localChanged && !remoteChanged && r.contentHash)
                localChanged = remoteChanged = true;
        }
        // The note takes the document's text: copies adopted elsewhere of the text it had
        // are the notes that hold it now, on every machine.
        const auto textGoes = [&] {
            if (r.textKey && *r.textKey != textKey(note.body)) {
                for (qsizetype i : adoptedCopiesOfNote.take(id))
                    setAside.remove(i);
            }
        };
        if (localChanged && remoteChanged) {
            if (sameContent) {
                perNote.append(Action::reindex(note.id, r.fileName));
            } else {
                perNote.append(Action::conflict(note.id, r.fileName, localWins));
                if (!localWins)
                    textGoes();
            }
        } else if (localChanged) {
            perNote.append(Action::push(note.id, r.fileName));
        } else if (remoteChanged) {
            perNote.append(Action::pull(r.fileName));
            // The note's text goes, and a client's copy may be the only place left that
            // holds it.
            if (const auto copies = copiesOfNote.constFind(id); copies != copiesOfNote.cend())
                orphans.append(copies.value());
            copiesOfNote.remove(id);
            textGoes();
        } else if (stampMoved && r.contentHash) {
            // Touched, not changed: remember the new date so that the file is not read again.
            perNote.append(Action::reindex(note.id, r.fileName));
        }
    }

    // Step 3: orphans become notes of their own, in name order; then copies that hold
    // nothing new go.
    for (const QString& name : sortedNames(orphans))
        result.append(Action::adopt(name));
    for (const auto& copies : std::as_const(copiesOfNote))
        discards.append(copies);
    for (const auto& copies : std::as_const(adoptedCopiesOfNote)) {
        for (qsizetype i : copies)
            discards.append(remote[i].fileName);
    }
    for (const QString& name : sortedNames(discards))
        result.append(Action::discard(name));
    result.append(perNote);

    // Step 5: every document whose id has no local note, but those set aside above: a copy
    // adopted under a new id and pulled under its old one too would leave two entries
    // naming one file.
    QList<std::pair<QString, qsizetype>> unseen;
    unseen.reserve(remote.size());
    for (qsizetype i = 0; i < remote.size(); ++i) {
        if (remote[i].noteID && !setAside.contains(i)
            && !localIDs.contains(canonical(*remote[i].noteID)))
            unseen.append({canonical(remote[i].fileName), i});
    }
    std::sort(unseen.begin(), unseen.end(), [](const auto& x, const auto& y) {
        if (x.first == y.first)
            return x.second < y.second;
        return scalarLess(x.first, y.first);
    });
    for (const auto& [key, i] : unseen) {
        const RemoteFile& file = remote[i];
        if (entryFor(*file.noteID))
            result.append(Action::deleteRemote(file.fileName));
        else
            result.append(Action::pull(file.fileName));
    }
    return result;
}

} // namespace SyncPlan
