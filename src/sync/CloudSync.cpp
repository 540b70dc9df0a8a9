#include "sync/CloudSync.h"

#include "exchange/NoteDocument.h"
#include "notes/NoteColor.h"
#include "notes/NoteStoring.h"
#include "notes/NoteText.h"
#include "notes/Tasks.h"
#include "platform/Log.h"
#include "sync/ClientConflicts.h"
#include "sync/DocumentNames.h"
#include "sync/LocalTrash.h"

#include <QUuid>

#include <cmath>

using namespace Qt::Literals::StringLiterals;
using SyncPlan::Action;

namespace {

QString withoutExtension(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.left(dot) : name;
}

// A copy for a person to read, with no front matter, so the sync never takes it up.
QString conflictDocument(const Note& note)
{
    return u"# "_s + NoteText::displayTitle(note) + u"\n\n"_s + Tasks::toMarkdown(note.body);
}

// Where a new note stands first on the deck.
double headOrder(const QList<Note>& active)
{
    if (active.isEmpty())
        return -1.0;
    double lowest = active.front().order;
    for (const Note& n : active)
        lowest = std::min(lowest, n.order);
    return lowest - 1.0;
}

// A document is anyone's text: what it declares is made into values a note can hold before
// the store sees it. A colour outside the palette wraps around as the palette reads any
// index; an order that is not a finite number would leave the deck without an order and
// every later archive unreadable, so the note keeps its place (a new one goes first); a date
// ahead of now would win every later conflict against edits made meanwhile.
Note madeSafe(Note note, const std::optional<Note>& known, const std::function<double()>& head,
              Date now)
{
    const auto colors = static_cast<qint64>(NoteColor::all().size());
    note.color = ((note.color % colors) + colors) % colors;
    if (!std::isfinite(note.order))
        note.order = known ? known->order : head();
    note.modified = std::min(note.modified, now);
    note.created = std::min(note.created, note.modified);
    return note;
}

// Pondrift's own namespace for the ids of adopted files. Never to be changed: machines running
// another version would give the same file another id.
constexpr QUuid adoptionSpace(0x2bdff3bd, 0x656f, 0x4d64, 0x92, 0x49, 0xc1, 0xee, 0x91, 0x8a, 0xa4,
                              0xe1);

// The id a file adopted as a new note gets: a name-based UUID of what the note holds, its title
// (the file's name when nothing else names it) and its text, so that machines adopting the
// same file at once write the same document instead of two notes, also when one of them saw
// the file under another name (renamed by hand before its pass): the two names are then two
// names of one note, and settle to one. `also` tells apart a file whose note here has been
// edited since: the same id would make the file a differing second document of that note.
QUuid adoptionID(const Note& note, const QString& also = {})
{
    return QUuid::createUuidV5(adoptionSpace, canonicalText(note.title) + QChar(0) + note.body
                                                  + (also.isEmpty() ? QString() : QChar(0) + also));
}

// A document under the name the index knows, whose header another tool damaged, cut short or
// wrote in a form we could not read, is still that note's document: its text is an edit of
// the note, and what the header no longer says is kept from the note as it stands here.
Note editOfKnownNote(const NoteDocument::Parsed& parsed, const QString& id,
                     const std::optional<Note>& known)
{
    Note note = known.value_or(parsed.note);
    note.id = id;
    note.body = parsed.note.body;
    const Note& said = parsed.note;
    const auto says = [&](const QString& key) { return parsed.declared.contains(key); };
    namespace Key = NoteDocument::Key;
    if (says(Key::color))
        note.color = said.color;
    if (says(Key::created))
        note.created = said.created;
    if (says(Key::modified))
        note.modified = said.modified;
    if (says(Key::archived))
        note.archived = said.archived;
    if (says(Key::pinned))
        note.pinned = said.pinned;
    if (says(Key::order))
        note.order = said.order;
    if (says(Key::direction))
        note.textDirection = said.textDirection;
    if (says(Key::title)
        || (!NoteText::hasCustomTitle(note) && NoteText::derivedTitle(note.body).isEmpty()))
        note.title = said.title;
    return note;
}

// The lines of other tools' keys in a document as it stands now, so that a rewrite keeps
// them, also after a restart: the file itself is where they are kept.
QStringList foreignHeaderOf(SyncFolderGateway& folder, const std::optional<QString>& name)
{
    if (!name)
        return {};
    const auto text = folder.read(*name);
    return text ? NoteDocument::parse(*text, *name).foreignHeader : QStringList();
}

// The note a document holds now, read afresh.
std::optional<Note> noteIn(SyncFolderGateway& folder, const QString& name)
{
    const auto text = folder.read(name);
    if (!text)
        return std::nullopt;
    return NoteDocument::parse(*text, withoutExtension(name)).note;
}

} // namespace

CloudSync::CloudSync(SyncFolderGateway& folder, NoteStoring& store, Scheduler& scheduler,
                     Files& files, QString indexPath, std::function<bool()> enabled,
                     MassDeletePrompt& prompt, double interval, QObject* parent)
    : QObject(parent)
    , folder(folder)
    , store(store)
    , scheduler(scheduler)
    , files(files)
    , enabled(std::move(enabled))
    , interval(interval)
    , indexPath(std::move(indexPath))
    , syncIndex(CloudSyncIndex::load(this->indexPath, files))
    , brake(
          prompt, [this] { return pass.has_value(); },
          [this](DeletionBrake::Answer answer, const QSet<QString>& ids) { settle(answer, ids); })
{
}

CloudSync::~CloudSync() { stop(); }

void CloudSync::reload()
{
    if (enabled())
        start();
    else
        stop();
}

void CloudSync::start()
{
    if (triggers.timer)
        return;
    triggers.watch = new QObject(this);
    store.observeNotes(triggers.watch, [this] { scheduleLocalPush(); });
    triggers.timer = scheduler.every(interval, [this] { syncNow(); });
    syncNow();
}

void CloudSync::stop()
{
    triggers.timer.reset();
    triggers.pending.reset();
    triggers.followUp.reset();
    delete triggers.watch.data();
}

void CloudSync::scheduleLocalPush()
{
    // A pass's own changes to the store must not schedule another pass.
    if (pass)
        return;
    triggers.pending = scheduler.after(debounce, [this] { syncNow(); });
}

void CloudSync::block(Blocked reason)
{
    if (reason == blockedBy)
        return;
    blockedBy = reason;
    switch (reason) {
    case Blocked::None:
        break;
    case Blocked::FolderUnavailable:
        Log::cloud(u"iCloud Drive is unavailable"_s, u"skipping this pass"_s);
        break;
    case Blocked::StoreReadOnly:
        Log::cloud(u"the notes could not be read, so none can be kept"_s,
                   u"no sync until they can"_s);
        break;
    case Blocked::FolderUnlisted:
        Log::cloud(u"cannot list "_s + DocumentNames::folder,
                   u"skipping passes until the listing succeeds"_s);
        break;
    }
    Q_EMIT blockedChanged();
}

CloudSync::Pass::Pass() = default;

bool CloudSync::syncNow()
{
    if (!enabled() || pass)
        return false;
    // A store that could not read its notes shows none: every indexed document would read
    // as a note deleted here, and whatever a pass pulled would not be kept.
    if (!store.isWritable()) {
        block(Blocked::StoreReadOnly);
        return false;
    }
    const auto ensured =
        folder.isAvailable() ? folder.ensure() : SyncFolderGateway::Ensured::Unavailable;
    if (ensured == SyncFolderGateway::Ensured::Unavailable) {
        block(Blocked::FolderUnavailable);
        return false;
    }
    FolderScan scan = folder.scan();
    // An empty scan from a failed listing is not an emptied folder; only a listing that
    // succeeded may delete anything.
    if (!scan.complete) {
        block(Blocked::FolderUnlisted);
        return false;
    }
    block(Blocked::None);
    pass.emplace();
    pass->scan = std::move(scan);

    if (ensured == SyncFolderGateway::Ensured::Created && !syncIndex.isEmpty()) {
        // The folder we remembered is gone as a whole. Reading that as "every document
        // deleted" would delete every note; start over as a first sync instead, which
        // writes the notes out again.
        Log::cloud(u"the sync folder was missing and has been made again"_s,
                   u"writing every note out afresh"_s);
        syncIndex.forgetAll();
        brake.reset();
        pass->indexChanged = true;
    }

    if (!tieIndexToFolder()) {
        pass.reset();
        return false;
    }

    const QList<Note> notes = store.notes();
    vanished.expire(scheduler.now());
    // Hashes of notes deleted since are of no more use.
    if (hashes.size() > 2 * notes.size() + 64)
        hashes.clear();

    // The planner is pure: when the notes are the very list of the last quiet pass, the
    // index has not moved and the folder looks the same, it would plan nothing again. This
    // keeps a quiet pass close to the cost of listing the folder.
    const bool sameAsLastQuietPass = lastPass.quiet && notes.isSharedWith(lastPass.notes)
                                     && syncIndex.revision() == lastPass.indexRevision
                                     && pass->scan.unresolved == lastPass.scan.unresolved
                                     && pass->scan.documents == lastPass.scan.documents;
    if (sameAsLastQuietPass)
        return finishPass({}, notes);
    const QList<SyncPlan::RemoteFile> remote = remoteFiles();

    const QList<Action> planned =
        SyncPlan::actions(notes, remote, unresolvedNames(remote), syncIndex,
                          [this](const Note& note) { return localHash(note); });
    const QList<Action> kept = hold(planned);
    for (const Action& action : kept)
        carryOut(action);
    for (const QString& twin : std::as_const(pass->twins))
        settleTwin(twin);
    // A name waiting for its rename keeps the passes looking until it is settled.
    return finishPass(kept, notes, planned.isEmpty() && renamesWaiting.isEmpty());
}

bool CloudSync::tieIndexToFolder()
{
    const SyncFolderGateway::Identity here = folder.identity();
    if (!here.readable)
        return false;
    const auto& known = syncIndex.folder();
    if (known && here.id && known->path == here.path && known->id == *here.id)
        return true;
    // Another root, a folder made again or put in its place, or an index from before folders
    // were recorded: what the index remembers is no evidence about this folder, and a
    // document it names that is missing here was never deleted. Start over as a first sync,
    // which deletes nothing.
    if (!syncIndex.isEmpty()) {
        Log::cloud(u"the sync memory belongs to another folder"_s,
                   u"syncing "_s + here.path + u" afresh, deleting nothing"_s);
        syncIndex.forgetAll();
        brake.reset();
    }
    const std::optional<QString> id = here.id ? here.id : folder.mark();
    if (!id)
        return false;
    syncIndex.tie({here.path, *id});
    pass->indexChanged = true;
    return true;
}

QList<SyncPlan::RemoteFile> CloudSync::remoteFiles()
{
    const QHash<QString, FileStamp>& documents = pass->scan.documents;
    QList<SyncPlan::RemoteFile> remote;
    remote.reserve(documents.size());
    for (auto it = documents.cbegin(); it != documents.cend(); ++it) {
        const QString& name = it.key();
        const FileStamp& stamp = it.value();
        if (const auto id = syncIndex.idForFileName(name)) {
            const auto* entry = syncIndex.entry(*id);
            if (entry->file == stamp && entry->contentHash) {
                // Unchanged since the last sync: not read.
                remote.append(
                    {name, *id, entry->syncedModified, stamp, std::nullopt, entry->contentHash});
                continue;
            }
        }
        const auto text = folder.read(name);
        if (!text)
            continue;
        auto parsed = NoteDocument::parse(*text, withoutExtension(name));
        // The index and the plan know ids in one form, whatever form the document spells.
        parsed.note.id = canonicalText(parsed.note.id);
        const std::optional<QString> knownAs =
            parsed.hasIdentity ? std::nullopt : syncIndex.idForFileName(name);
        if (knownAs)
            parsed.note = editOfKnownNote(parsed, *knownAs, store.note(*knownAs));
        pass->scanned.insert(name, parsed.note);
        if (parsed.hasIdentity || knownAs) {
            remote.append({name, parsed.note.id, parsed.note.modified, stamp,
                           SyncPlan::textKey(parsed.note.body),
                           SyncPlan::contentHash(parsed.note)});
        } else {
            remote.append({name, std::nullopt, Date::distantPast(), stamp,
                           SyncPlan::textKey(parsed.note.body), std::nullopt});
        }
    }
    return remote;
}

QSet<QString> CloudSync::unresolvedNames(const QList<SyncPlan::RemoteFile>& remote) const
{
    // A document that could not be read protects its note just as a placeholder does.
    const FolderScan& scan = pass->scan;
    QSet<QString> names = scan.unresolved;
    if (remote.size() != scan.documents.size()) {
        QSet<QString> read;
        for (const auto& file : remote)
            read.insert(file.fileName);
        for (auto it = scan.documents.cbegin(); it != scan.documents.cend(); ++it) {
            if (!read.contains(it.key()))
                names.insert(it.key());
        }
    }
    return names;
}

QList<Action> CloudSync::hold(const QList<Action>& planned)
{
    QList<Action> kept = brake.hold(planned, syncIndex.size(), [this](const QString& fileName) {
        return idOfDocument(fileName).value_or(fileName);
    });
    // Taking in a note that left the store within the undo window, and undoing later, would
    // give two records. A file this pass did not read is not pulled anyway.
    const Date now = scheduler.now();
    QSet<QString> waiting;
    kept.removeIf([&](const Action& a) {
        if (a.kind == Action::Kind::Adopt) {
            const SecondDocument second = secondDocument(a.fileName, now);
            if (second != SecondDocument::No)
                waiting.insert(a.fileName);
            if (second == SecondDocument::Settle)
                pass->twins.append(a.fileName);
            return second != SecondDocument::No;
        }
        if (a.kind != Action::Kind::Pull)
            return false;
        const auto note = pass->scanned.constFind(a.fileName);
        return note != pass->scanned.cend() && vanished.keepsOut(note->id, store, now);
    });
    // A second name with the note's own text is set aside by the plan, not adopted, while
    // the rename's removal of the old name may be on its way; when the old name came back
    // instead, it waits and is settled the same way, or each machine keeps its own name.
    for (auto it = pass->scanned.cbegin(); it != pass->scanned.cend(); ++it) {
        if (waiting.contains(it.key()) || !isLingeringName(it.key(), it->id))
            continue;
        const SecondDocument second = secondDocument(it.key(), now);
        if (second != SecondDocument::No)
            waiting.insert(it.key());
        if (second == SecondDocument::Settle)
            pass->twins.append(it.key());
    }
    renamesWaiting.removeIf([&](const auto& it) { return !waiting.contains(it.key()); });
    twinStarts.removeIf([&](const auto& it) { return !waiting.contains(it.key()); });
    return kept;
}

CloudSync::SecondDocument CloudSync::secondDocument(const QString& fileName, Date now)
{
    // A client's own copy is not a rename, and its original stays.
    if (ClientConflicts::originalName(fileName))
        return SecondDocument::No;
    const auto read = pass->scanned.constFind(fileName);
    if (read == pass->scanned.cend())
        return SecondDocument::No;
    const auto* entry = syncIndex.entry(read->id);
    if (!entry || entry->fileName == fileName || !store.note(read->id))
        return SecondDocument::No;
    // The note's own document renamed again elsewhere: the note moves to its new name in this
    // pass, and this document is a second name of it from then on, not a note of its own.
    const bool ownThere = pass->scan.documents.contains(entry->fileName);
    if (!ownThere && !hasAnotherDocument(read->id, fileName))
        return SecondDocument::No;
    const Date since = renamesWaiting.value(fileName, now);
    if (!renamesWaiting.contains(fileName)) {
        Log::cloud(u"waiting with "_s + fileName,
                   u"it names the note of "_s + entry->fileName
                       + u", which another machine may have renamed"_s);
        twinStarts.insert(fileName, {read.value(), noteIn(folder, entry->fileName)});
    }
    renamesWaiting.insert(fileName, since);
    return ownThere && now.seconds - since.seconds >= renameWait ? SecondDocument::Settle
                                                                 : SecondDocument::Waiting;
}

bool CloudSync::isLingeringName(const QString& fileName, const QString& noteID) const
{
    const auto* entry = syncIndex.entry(noteID);
    if (!entry || entry->fileName == fileName || !pass->scan.documents.contains(entry->fileName))
        return false;
    const std::optional<QString> indexed = idOfDocument(entry->fileName);
    return indexed && canonicalText(*indexed) == canonicalText(noteID);
}

bool CloudSync::hasAnotherDocument(const QString& noteID, const QString& fileName) const
{
    const QString id = canonicalText(noteID);
    for (auto it = pass->scan.documents.cbegin(); it != pass->scan.documents.cend(); ++it) {
        if (it.key() == fileName || ClientConflicts::originalName(it.key()))
            continue;
        const std::optional<QString> other = idOfDocument(it.key());
        if (other && canonicalText(*other) == id)
            return true;
    }
    return false;
}

void CloudSync::settleTwin(const QString& fileName)
{
    const auto read = pass->scanned.constFind(fileName);
    if (read == pass->scanned.cend())
        return;
    const QString id = read->id;
    const auto* entry = syncIndex.entry(id);
    const std::optional<Note> note = store.note(id);
    if (!entry || !note || entry->fileName == fileName)
        return;
    const CloudSyncIndex::Entry known = *entry;
    // Written or replaced since the scan, by this pass or by the client: the next pass looks
    // again, and the wait stays over.
    if (changedSinceScan(fileName) || changedSinceScan(known.fileName))
        return;
    // Every machine that holds both names must keep the same one, whichever it indexed: the
    // one that sorts first.
    const bool keepIndexed = SyncPlan::textLess(known.fileName, fileName);
    const QString keeper = keepIndexed ? known.fileName : fileName;
    const QString loser = keepIndexed ? fileName : known.fileName;
    const auto textOf = [&](const QString& name) { return noteIn(folder, name); };
    const std::optional<Note> lost = textOf(loser);
    const std::optional<Note> kept = textOf(keeper);
    if (!lost || !kept)
        return;
    // As this pass read it: a document whose header another tool damaged is still its note's.
    const std::optional<QString> indexedHolds = idOfDocument(known.fileName);
    if (!indexedHolds || canonicalText(*indexedHolds) != canonicalText(id)) {
        // The indexed name is another note's document now, or no note's: it is no name of
        // this note to settle, and removing it would take that note with it. The second
        // document is the note's own from now on, as one that both sides changed since an
        // agreement neither matches: the next pass keeps the older text as a copy, or only
        // records the pair when they agree.
        syncIndex.record(id, fileName, known.syncedModified, Date{}, QByteArray());
        pass->indexChanged = true;
        Log::cloud(u"not removing "_s + known.fileName,
                   u"it no longer holds the note of "_s + fileName);
        return;
    }
    // Text the kept document lacks would go with the name, unless the note holds it and keeps
    // it: kept as a copy. A note that moves to the other name may have that name's text
    // pulled over it next.
    const QByteArray lostKey = SyncPlan::textKey(lost->body);
    if (lostKey != SyncPlan::textKey(kept->body)
        && (!keepIndexed || lostKey != SyncPlan::textKey(note->body))) {
        if (!folder.writeConflict(conflictDocument(*lost), loser))
            return;
        Log::cloud(u"conflict on "_s + loser,
                   u"kept a copy in "_s + DocumentNames::conflictsFolder);
    }
    // Removed only while the kept name still holds the note as read: the client may have
    // replaced or removed it meanwhile, and then the name that goes could be the last one.
    const std::optional<Note> keptNow = changedSinceScan(keeper) ? std::nullopt : textOf(keeper);
    if (!keptNow || SyncPlan::textKey(keptNow->body) != SyncPlan::textKey(kept->body)) {
        Log::cloud(u"not removing "_s + loser,
                   keeper + u" changed since this pass looked; the next pass decides again"_s);
        return;
    }
    // A value the going name changed while both names stood, a colour say, would go with it:
    // it is carried into the kept document, which the note takes next. The kept document's
    // own changes stand over it.
    const auto start = twinStarts.constFind(fileName);
    if (start != twinStarts.cend()) {
        const std::optional<Note>& base = keepIndexed ? start->second : start->indexed;
        const std::optional<Note>& keptBase = keepIndexed ? start->indexed : start->second;
        if (base) {
            Note merged = *keptNow;
            bool carried = false;
            const auto carry = [&](auto member) {
                const bool keptChanged = keptBase && (*keptNow).*member != (*keptBase).*member;
                if ((*lost).*member != (*base).*member && !keptChanged
                    && merged.*member != (*lost).*member) {
                    merged.*member = (*lost).*member;
                    carried = true;
                }
            };
            carry(&Note::title);
            carry(&Note::color);
            carry(&Note::archived);
            carry(&Note::pinned);
            carry(&Note::textDirection);
            carry(&Note::order);
            if (carried
                && !folder.write(NoteDocument::render(merged, foreignHeaderOf(folder, keeper)),
                                 keeper))
                return;
        }
    }
    if (!keepIndexed) {
        // The note's document is the other name now, as last synced: the next pass compares
        // it with the note like any document that changed, and pulls, pushes or keeps a copy.
        syncIndex.record(id, keeper, known.syncedModified, known.file, known.contentHash);
        pass->indexChanged = true;
    }
    if (folder.remove(loser))
        release(loser);
    Log::cloud(u"removed "_s + loser, u"a second name of the note of "_s + keeper);
}

bool CloudSync::finishPass(const QList<Action>& carriedOut, const QList<Note>& notes, bool quiet)
{
    if (!carriedOut.isEmpty() || pass->indexChanged)
        syncIndex.save(indexPath, files);

    // Shares the store's list until either side changes.
    const QList<Note> left = carriedOut.isEmpty() ? notes : store.notes();
    vanished.remember(left);
    const Date now = scheduler.now();
    const bool changed = lastPass.end != now;
    lastPass = {.end = now,
                .carriedOut = carriedOut,
                .quiet = quiet && !pass->indexChanged,
                .indexRevision = syncIndex.revision(),
                .scan = std::move(pass->scan),
                .notes = left};
    pass.reset();
    if (changed)
        Q_EMIT lastSyncChanged();
    brake.passEnded();
    return true;
}

void CloudSync::settle(DeletionBrake::Answer answer, const QSet<QString>& ids)
{
    if (answer == DeletionBrake::Answer::RestoreToFolder) {
        // Without an entry, a note with no document is new: the next pass writes it out.
        for (const QString& id : ids)
            syncIndex.forget(id);
        syncIndex.save(indexPath, files);
    }
    triggers.followUp = scheduler.after(0, [this] { syncNow(); });
}

QSet<QString>& CloudSync::claimed()
{
    if (!pass->claimed) {
        const FolderScan& scan = pass->scan;
        QSet<QString>& names = pass->claimed.emplace();
        names.reserve(scan.documents.size() + scan.unresolved.size());
        const auto take = [&](const QString& name) {
            const QString lower = name.toLower();
            if (names.contains(lower))
                pass->sharedByCase.insert(lower);
            else
                names.insert(lower);
        };
        for (auto it = scan.documents.cbegin(); it != scan.documents.cend(); ++it)
            take(it.key());
        for (const QString& name : scan.unresolved)
            take(name);
    }
    return *pass->claimed;
}

void CloudSync::release(const QString& removed)
{
    // Another file may still hold the name in other letter case.
    const QString lower = removed.toLower();
    if (!pass->sharedByCase.contains(lower))
        claimed().remove(lower);
}

void CloudSync::carryOut(const Action& action)
{
    switch (action.kind) {
    case Action::Kind::Push:
        push(action.noteID, action.existingFileName);
        return;
    case Action::Kind::Pull:
        pull(action.fileName);
        return;
    case Action::Kind::Reindex:
        reindex(action.noteID, action.fileName);
        return;
    case Action::Kind::Adopt:
        adopt(action.fileName);
        return;
    case Action::Kind::DeleteLocal:
        deleteLocal(action.noteID);
        return;
    case Action::Kind::DeleteRemote:
        deleteRemote(action.fileName);
        return;
    case Action::Kind::Conflict:
        resolve(action.noteID, action.fileName, action.localWins);
        return;
    case Action::Kind::Discard:
        discard(action.fileName);
        return;
    }
}

bool CloudSync::changedSinceScan(const QString& name)
{
    const auto seen = pass->scan.documents.constFind(name);
    const std::optional<FileStamp> now = folder.fileStamp(name);
    if (seen == pass->scan.documents.cend())
        return now.has_value();
    return now != *seen;
}

bool CloudSync::push(const QString& noteID, const std::optional<QString>& existingFileName)
{
    const auto note = store.note(noteID);
    if (!note)
        return false;
    const auto* entry = syncIndex.entry(noteID);
    const std::optional<QString> indexed =
        entry ? std::optional<QString>(entry->fileName) : std::nullopt;
    QString target;
    if (existingFileName && existingFileName != indexed) {
        // Renamed elsewhere: the new name stands.
        target = *existingFileName;
    } else {
        QSet<QString> avoiding = claimed();
        if (indexed)
            avoiding.remove(indexed->toLower());
        if (existingFileName)
            avoiding.remove(existingFileName->toLower());
        target = DocumentNames::fileName(*note, avoiding);
    }
    const std::optional<QString> old = existingFileName ? existingFileName : indexed;
    // A title that changed only in letter case keeps its file: on a volume that ignores
    // case, writing the new name and removing the old would remove the document itself.
    if (old && *old != target && old->toLower() == target.toLower())
        target = *old;
    claimed().insert(target.toLower());
    const QStringList foreign = foreignHeaderOf(folder, old);
    // A sync client may have put another machine's version in place since this pass looked,
    // at the name written or at the old name a rename removes; writing or removing now would
    // lose it without a copy anywhere. The next pass sees both changes.
    const bool renaming = old && *old != target;
    for (const QString& name : {target, renaming ? *old : target}) {
        if (changedSinceScan(name)) {
            Log::cloud(u"not writing "_s + target,
                       name + u" changed since this pass looked; the next pass decides again"_s);
            return false;
        }
    }
    if (!folder.write(NoteDocument::render(*note, foreign), target))
        return false;
    if (renaming) {
        // Checked again: the client keeps working while the new document is written.
        if (changedSinceScan(*old))
            Log::cloud(u"not removing "_s + *old,
                       u"it changed since this pass looked; the next pass decides again"_s);
        else if (folder.remove(*old))
            release(*old);
    }
    syncIndex.record(noteID, target, note->modified,
                     folder.fileStamp(target).value_or(scheduler.now()), localHash(*note));
    return true;
}

void CloudSync::pull(const QString& fileName)
{
    const auto found = pass->scanned.constFind(fileName);
    if (found == pass->scanned.cend())
        return;
    const auto stamp = folder.fileStamp(fileName);
    if (!stamp)
        return;
    Note note = found.value();
    note.modified = std::max(stamp->modified, note.modified);
    note = madeSafe(
        note, store.note(note.id), [this] { return headOrder(store.active()); }, scheduler.now());
    // An entry for a note the store did not keep would read, after a restart, as a note
    // deleted here, and its document would go.
    if (!store.absorb(note))
        return;
    // The note as kept stands for the document: values made safe are not a local change to
    // write back, and the file is read again only when it changes.
    const std::optional<Note> kept = store.note(note.id);
    syncIndex.record(note.id, fileName, note.modified, *stamp, localHash(kept ? *kept : note));
}

void CloudSync::reindex(const QString& noteID, const QString& fileName)
{
    const auto note = store.note(noteID);
    const auto stamp = folder.fileStamp(fileName);
    if (note && stamp)
        syncIndex.record(noteID, fileName, note->modified, *stamp, localHash(*note));
}

void CloudSync::adopt(const QString& fileName)
{
    const auto found = pass->scanned.constFind(fileName);
    const auto stamp = folder.fileStamp(fileName);
    if (found == pass->scanned.cend() || !stamp)
        return;
    Note note = found.value();
    // Every machine that adopts this file, and this one again after a failed write or a
    // restart, makes the same note: one id, one colour, one document.
    QUuid id = adoptionID(note);
    const auto asID = [](const QUuid& uuid) {
        return uuid.toString(QUuid::WithoutBraces).toUpper();
    };
    if (const std::optional<Note> same = store.note(asID(id))) {
        if (SyncPlan::textKey(same->body) == SyncPlan::textKey(note.body)) {
            // Adopted here before and its document never written, or the same text under
            // another name: a second name of that note, which the passes settle to one.
            // Adopting it again would undo what the note has changed since.
            if (!folder.write(NoteDocument::render(*same, foreignHeaderOf(folder, fileName)),
                              fileName))
                return;
            pass->adopted.insert(fileName);
            if (!syncIndex.entry(same->id))
                syncIndex.record(same->id, fileName, same->modified,
                                 folder.fileStamp(fileName).value_or(*stamp), localHash(*same));
            return;
        }
        id = adoptionID(note, canonicalText(fileName));
    }
    note.id = asID(id);
    note.created = stamp->modified;
    note.modified = stamp->modified;
    // First on the deck, as a new note would stand.
    note.order = headOrder(store.active());
    note.color = id.data1 % static_cast<quint32>(NoteColor::all().size());
    note = madeSafe(
        note, std::nullopt, [] { return -1.0; }, scheduler.now());
    // Without the note kept, the document keeps no identity either: the next pass adopts it
    // again, under the same id.
    if (!store.absorb(note))
        return;
    if (!folder.write(NoteDocument::render(note, foreignHeaderOf(folder, fileName)), fileName))
        return;
    pass->adopted.insert(fileName);
    syncIndex.record(note.id, fileName, note.modified, folder.fileStamp(fileName).value_or(*stamp),
                     localHash(note));
}

void CloudSync::deleteLocal(const QString& noteID)
{
    // A deletion from elsewhere may be one nobody meant; without its last text kept, the note
    // waits for a later pass (the index still names it, so the deletion is planned again).
    if (const std::optional<Note> note = store.note(noteID); note && deletedNotes) {
        if (!deletedNotes->keep(*note, scheduler.now()))
            return;
    }
    store.deleteNote(noteID);
    syncIndex.forget(noteID);
    vanished.deleted(noteID, scheduler.now());
}

void CloudSync::deleteRemote(const QString& fileName)
{
    // A copy adopted earlier in this pass is the adopted note's document now.
    if (pass->adopted.contains(fileName))
        return;
    if (changedSinceScan(fileName))
        return;
    // The note went here, but its document changed elsewhere since: that text is in no note
    // on any machine, so it is kept like a note the sync deletes.
    const auto read = pass->scanned.constFind(fileName);
    if (read != pass->scanned.cend() && deletedNotes) {
        const auto* entry = syncIndex.entry(read->id);
        if ((!entry || entry->contentHash != SyncPlan::contentHash(*read))
            && !deletedNotes->keep(*read, scheduler.now()))
            return;
    }
    folder.remove(fileName);
    // The entry of the id the document declares, even when it still names an older file
    // (a document renamed by hand keeps its entry's name until the next push): left behind,
    // it would delete the note again when another machine brings it back.
    if (const auto id = idOfDocument(fileName))
        syncIndex.forget(*id);
}

void CloudSync::discard(const QString& fileName)
{
    // Edited since the scan, the copy may hold text that is nowhere else.
    if (changedSinceScan(fileName))
        return;
    if (folder.remove(fileName))
        Log::cloud(u"removed "_s + fileName,
                   u"a sync client's copy of a note with the same text"_s);
}

QByteArray CloudSync::localHash(const Note& note)
{
    // Rendering every note on every planned pass would cost more than the listing; a note
    // that has not changed since its hash was taken has the same hash.
    auto it = hashes.find(note.id);
    if (it != hashes.end() && it->first == note)
        return it->second;
    QByteArray hash = SyncPlan::contentHash(note);
    hashes.insert(note.id, {note, hash});
    return hash;
}

std::optional<QString> CloudSync::idOfDocument(const QString& fileName) const
{
    const auto read = pass->scanned.constFind(fileName);
    return read != pass->scanned.cend() ? std::optional<QString>(read->id)
                                        : syncIndex.idForFileName(fileName);
}

void CloudSync::resolve(const QString& noteID, const QString& fileName, bool localWins)
{
    const auto remote = pass->scanned.constFind(fileName);
    const auto local = store.note(noteID);
    if (remote == pass->scanned.cend() || !local)
        return;
    if (mergeHeaders(*local, remote.value(), fileName))
        return;
    const Note& loser = localWins ? remote.value() : *local;
    // Without its copy the losing edit would be gone: no copy, no resolution this pass.
    if (!folder.writeConflict(conflictDocument(loser), fileName))
        return;
    Log::cloud(u"conflict on "_s + fileName, u"kept a copy in "_s + DocumentNames::conflictsFolder);
    if (localWins)
        push(noteID, fileName);
    else
        pull(fileName);
}

bool CloudSync::mergeHeaders(const Note& local, const Note& remote, const QString& fileName)
{
    // With one text on both sides, taking either side whole would undo the other's pin,
    // colour or archive: each value comes from the side that changed it, and no copy is
    // needed, since the text is kept.
    if (SyncPlan::textKey(local.body) != SyncPlan::textKey(remote.body))
        return false;
    const auto* entry = syncIndex.entry(local.id);
    if (!entry || !entry->contentHash)
        return false;
    std::optional<Note> merged = SyncPlan::headerMerge(local, remote, *entry->contentHash);
    if (!merged)
        return false;
    merged->modified = std::max(local.modified, remote.modified);
    *merged = madeSafe(
        *merged, local, [this] { return headOrder(store.active()); }, scheduler.now());
    // Not kept here, the merge is tried again next pass; nothing has been written yet.
    if (!store.absorb(*merged))
        return true;
    Log::cloud(u"merged "_s + fileName,
               u"both sides changed it, the text alike: each side's other changes kept"_s);
    push(local.id, fileName);
    return true;
}
