#include "sync/CloudSync.h"

#include "exchange/IsoStamp.h"
#include "exchange/NoteDocument.h"
#include "notes/NoteColor.h"
#include "notes/NoteStoring.h"
#include "notes/NoteText.h"
#include "notes/Tasks.h"
#include "platform/Log.h"
#include "sync/DocumentNames.h"

#include <cstdlib>

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

} // namespace

CloudSync::CloudSync(SyncFolderGateway& folder, NoteStoring& store, Scheduler& scheduler,
                     Files& files, QString indexPath, std::function<bool()> enabled,
                     MassDeletePrompt& prompt, double interval, QObject* parent)
    : QObject(parent)
    , folder(folder)
    , store(store)
    , scheduler(scheduler)
    , files(files)
    , prompt(prompt)
    , enabled(std::move(enabled))
    , interval(interval)
    , indexPath(std::move(indexPath))
    , syncIndex(CloudSyncIndex::load(this->indexPath, files))
{
}

CloudSync::~CloudSync()
{
    *alive = false;
    stop();
}

void CloudSync::reload()
{
    if (enabled())
        start();
    else
        stop();
}

void CloudSync::start()
{
    if (timer)
        return;
    watch = new QObject(this);
    store.observeNotes(watch, [this] { scheduleLocalPush(); });
    timer = scheduler.every(interval, [this] { syncNow(); });
    syncNow();
}

void CloudSync::stop()
{
    timer.reset();
    pending.reset();
    followUp.reset();
    delete watch.data();
}

void CloudSync::scheduleLocalPush()
{
    // A pass's own changes to the store must not schedule another pass.
    if (isRunning)
        return;
    pending = scheduler.after(debounce, [this] { syncNow(); });
}

bool CloudSync::syncNow()
{
    if (!enabled() || isRunning)
        return false;
    const auto ensured =
        folder.isAvailable() ? folder.ensure() : SyncFolderGateway::Ensured::Unavailable;
    if (ensured == SyncFolderGateway::Ensured::Unavailable) {
        Log::cloud(u"iCloud Drive is unavailable"_s, u"skipping this pass"_s);
        return false;
    }
    isRunning = true;
    indexChanged = false;

    if (ensured == SyncFolderGateway::Ensured::Created && !syncIndex.isEmpty()) {
        // The folder we remembered is gone as a whole. Reading that as "every document
        // deleted" would delete every note; start over as a first sync instead, which
        // writes the notes out again.
        Log::cloud(u"the sync folder was missing and has been made again"_s,
                   u"writing every note out afresh"_s);
        syncIndex.forgetAll();
        held.clear();
        indexChanged = true;
    }

    const FolderScan scan = folder.scan();
    // Only a pass that names a file needs every name in the folder; most passes name none.
    claimedNames = [&scan] {
        QSet<QString> names;
        names.reserve(scan.documents.size() + scan.unresolved.size());
        for (auto it = scan.documents.cbegin(); it != scan.documents.cend(); ++it)
            names.insert(it.key().toLower());
        for (const QString& name : scan.unresolved)
            names.insert(name.toLower());
        return names;
    };
    const QList<Note> notes = store.notes();
    forgetOldVanished();
    settleRestoredDates(scan, notes);

    // The planner is pure: when the notes are the very list of the last quiet pass, the
    // index has not moved and the folder looks the same, it would plan nothing again. This
    // keeps a quiet pass close to the cost of listing the folder.
    const bool sameAsLastQuietPass = lastPassQuiet && notes.isSharedWith(previousNotes)
                                     && syncIndex.revision() == quietRevision
                                     && scan.unresolved == lastScan.unresolved
                                     && scan.documents == lastScan.documents;
    if (sameAsLastQuietPass)
        return finishPass({}, notes, scan);
    const QList<SyncPlan::RemoteFile> remote = remoteFiles(scan);

    QSet<QString> unresolved = scan.unresolved;
    if (remote.size() != scan.documents.size()) {
        QSet<QString> read;
        for (const auto& file : remote)
            read.insert(file.fileName);
        for (auto it = scan.documents.cbegin(); it != scan.documents.cend(); ++it) {
            if (!read.contains(it.key()))
                unresolved.insert(it.key());
        }
    }

    const QList<Action> raw = SyncPlan::actions(notes, remote, unresolved, syncIndex);
    const QList<Action> planned = applyHolds(raw);
    for (const Action& action : planned)
        carryOut(action);
    return finishPass(planned, notes, scan, raw.isEmpty());
}

bool CloudSync::finishPass(const QList<SyncPlan::Action>& planned, const QList<Note>& notes,
                           const FolderScan& scan, bool quiet)
{
    lastActions = planned;
    if (!planned.isEmpty() || indexChanged)
        syncIndex.save(indexPath, files);

    // Shares the store's list until either side changes; ids are only looked at when a
    // later pass pulls a note that is not in the store.
    previousNotes = planned.isEmpty() ? notes : store.notes();
    previousIDs.reset();
    lastPassQuiet = quiet && !indexChanged;
    quietRevision = syncIndex.revision();
    lastScan = scan;

    const Date now = scheduler.now();
    const bool changed = last != now;
    last = now;
    isRunning = false;
    scanned.clear();
    claimed.reset();
    claimedNames = nullptr;
    adopted.clear();
    if (changed)
        Q_EMIT lastSyncChanged();
    if (const auto answer = std::exchange(deferredAnswer, std::nullopt))
        answered(*answer);
    return true;
}

void CloudSync::forgetOldVanished()
{
    const Date now = scheduler.now();
    for (auto it = vanished.begin(); it != vanished.end();) {
        if (now.seconds - it->seconds > undoHold)
            it = vanished.erase(it);
        else
            ++it;
    }
}

bool CloudSync::wasInStore(const QString& id)
{
    if (!previousIDs) {
        previousIDs.emplace();
        previousIDs->reserve(previousNotes.size());
        for (const Note& note : std::as_const(previousNotes))
            previousIDs->insert(note.id);
    }
    return previousIDs->contains(id);
}

QSet<QString>& CloudSync::claimedSet()
{
    if (!claimed)
        claimed = claimedNames ? claimedNames() : QSet<QString>{};
    return *claimed;
}

void CloudSync::settleRestoredDates(const FolderScan& scan, const QList<Note>& notes)
{
    // The index file keeps whole seconds while notes and files carry fractions. An entry
    // read from disk whose whole second still matches stands for that exact date: settle it,
    // so that a restart alone never looks like a change on either side.
    if (syncIndex.coarseCount() == 0)
        return;
    QHash<QString, Date> modified;
    modified.reserve(notes.size());
    for (const Note& note : notes)
        modified.insert(note.id, note.modified);
    QList<std::tuple<QString, std::optional<Date>, std::optional<Date>>> settled;
    for (auto it = syncIndex.entries().cbegin(); it != syncIndex.entries().cend(); ++it) {
        std::optional<Date> synced;
        std::optional<Date> file;
        if (it->coarseSynced) {
            const auto m = modified.constFind(it.key());
            if (m != modified.cend() && IsoStamp::wholeSecond(*m) == it->syncedModified)
                synced = *m;
        }
        if (it->coarseFile) {
            const auto d = scan.documents.constFind(it->fileName);
            if (d != scan.documents.cend() && IsoStamp::wholeSecond(*d) == it->fileModified)
                file = *d;
        }
        if (synced || file)
            settled.append({it.key(), synced, file});
    }
    for (const auto& [id, synced, file] : settled)
        syncIndex.refine(id, synced, file);
}

QList<SyncPlan::RemoteFile> CloudSync::remoteFiles(const FolderScan& scan)
{
    QList<SyncPlan::RemoteFile> remote;
    remote.reserve(scan.documents.size());
    for (auto it = scan.documents.cbegin(); it != scan.documents.cend(); ++it) {
        const QString& name = it.key();
        const Date date = it.value();
        if (const auto id = syncIndex.idForFileName(name)) {
            const auto* entry = syncIndex.entry(*id);
            if (entry->fileModified == date) {
                // Unchanged since the last sync: not read.
                remote.append({name, *id, entry->syncedModified, date});
                continue;
            }
        }
        const auto text = folder.read(name);
        if (!text)
            continue;
        const auto parsed = NoteDocument::parse(*text, withoutExtension(name));
        scanned.insert(name, parsed.note);
        if (parsed.hasIdentity) {
            // A file renamed by hand keeps its date but not the name the entry knows, so
            // the restored entry could not be settled by name before the read.
            const auto* entry = syncIndex.entry(parsed.note.id);
            if (entry && entry->coarseFile && IsoStamp::wholeSecond(date) == entry->fileModified)
                syncIndex.refine(parsed.note.id, std::nullopt, date);
            remote.append({name, parsed.note.id, parsed.note.modified, date});
        }
        else {
            remote.append({name, std::nullopt, Date::distantPast(), date});
        }
    }
    return remote;
}

QList<Action> CloudSync::applyHolds(QList<Action> actions)
{
    QList<Action> kept;
    kept.reserve(actions.size());
    QSet<QString> deletions;
    for (const Action& a : actions) {
        if (a.kind == Action::Kind::DeleteLocal && !confirmed.contains(a.noteID))
            deletions.insert(a.noteID);
    }
    const qsizetype known = syncIndex.size();
    const bool brake = asking
                       || (deletions.size() > 3 && deletions.size() * 2 > known);
    if (brake && !deletions.isEmpty() && !asking) {
        held = deletions;
        asking = true;
        Log::cloud(u"%1 of %2 documents are gone from the folder"_s.arg(deletions.size()).arg(known),
                   u"holding back their deletions until confirmed"_s);
        const std::weak_ptr<bool> guard = alive;
        prompt.ask(static_cast<int>(deletions.size()), [this, guard](auto answer) {
            if (const auto live = guard.lock(); live && *live)
                answered(answer);
        });
    } else if (asking) {
        held.unite(deletions);
    }
    for (Action& a : actions) {
        if (a.kind == Action::Kind::DeleteLocal && held.contains(a.noteID))
            continue;
        if (a.kind == Action::Kind::Pull) {
            // A note that left the store within the undo window stays out until the window
            // has passed: taking it in now and undoing later would give two records. A
            // pulled id that the last pass still saw in the store, and that is not there
            // now, has just left it.
            const auto note = scanned.constFind(a.fileName);
            if (note != scanned.cend() && wasInStore(note->id) && !store.note(note->id))
                vanished.insert(note->id, scheduler.now());
            if (note != scanned.cend() && vanished.contains(note->id))
                continue;
        }
        kept.append(std::move(a));
    }
    confirmed.clear();
    return kept;
}

void CloudSync::answered(MassDeletePrompt::Answer answer)
{
    if (isRunning) {
        deferredAnswer = answer;
        return;
    }
    asking = false;
    const QSet<QString> ids = std::exchange(held, {});
    if (answer == MassDeletePrompt::Answer::DeleteHere) {
        confirmed = ids;
    } else {
        // Without an entry, a note with no document is new: the next pass writes it out.
        for (const QString& id : ids)
            syncIndex.forget(id);
        syncIndex.save(indexPath, files);
    }
    followUp = scheduler.after(0, [this] { syncNow(); });
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
    }
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
        QSet<QString> avoiding = claimedSet();
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
    claimedSet().insert(target.toLower());
    if (!folder.write(NoteDocument::render(*note), target))
        return false;
    if (old && *old != target) {
        folder.remove(*old);
        claimedSet().remove(old->toLower());
    }
    syncIndex.record(noteID, target, note->modified,
                     folder.modificationDate(target).value_or(scheduler.now()));
    return true;
}

void CloudSync::pull(const QString& fileName)
{
    const auto found = scanned.constFind(fileName);
    if (found == scanned.cend())
        return;
    const auto date = folder.modificationDate(fileName);
    if (!date)
        return;
    Note note = found.value();
    note.modified = std::max(*date, note.modified);
    store.absorb(note);
    syncIndex.record(note.id, fileName, note.modified, *date);
}

void CloudSync::reindex(const QString& noteID, const QString& fileName)
{
    const auto note = store.note(noteID);
    const auto date = folder.modificationDate(fileName);
    if (note && date)
        syncIndex.record(noteID, fileName, note->modified, *date);
}

void CloudSync::adopt(const QString& fileName)
{
    const auto found = scanned.constFind(fileName);
    const auto date = folder.modificationDate(fileName);
    if (found == scanned.cend() || !date)
        return;
    Note note = found.value();
    note.id = pendingAdoptions.value(fileName, Note::newID());
    note.created = *date;
    note.modified = *date;
    // First on the deck, as a new note would stand.
    const QList<Note> active = store.active();
    note.order = -1.0;
    if (!active.isEmpty()) {
        double lowest = active.front().order;
        for (const Note& n : active)
            lowest = std::min(lowest, n.order);
        note.order = lowest - 1.0;
    }
    const auto colors = static_cast<qint64>(NoteColor::all().size());
    note.color = std::llabs(static_cast<long long>(qHash(fileName) % colors));
    store.absorb(note);
    if (!folder.write(NoteDocument::render(note), fileName)) {
        pendingAdoptions.insert(fileName, note.id);
        return;
    }
    pendingAdoptions.remove(fileName);
    adopted.insert(fileName);
    syncIndex.record(note.id, fileName, note.modified,
                     folder.modificationDate(fileName).value_or(*date));
}

void CloudSync::deleteLocal(const QString& noteID)
{
    store.deleteNote(noteID);
    syncIndex.forget(noteID);
    vanished.insert(noteID, scheduler.now());
}

void CloudSync::deleteRemote(const QString& fileName)
{
    // A copy adopted earlier in this pass is the adopted note's document now.
    if (adopted.contains(fileName))
        return;
    folder.remove(fileName);
    // The entry of the id the document declares, even when it still names an older file
    // (a document renamed by hand keeps its entry's name until the next push): left behind,
    // it would delete the note again when another machine brings it back.
    const auto read = scanned.constFind(fileName);
    const auto id = read != scanned.cend() ? std::optional<QString>(read->id)
                                           : syncIndex.idForFileName(fileName);
    if (id)
        syncIndex.forget(*id);
}

void CloudSync::resolve(const QString& noteID, const QString& fileName, bool localWins)
{
    const auto remote = scanned.constFind(fileName);
    const auto local = store.note(noteID);
    if (remote == scanned.cend() || !local)
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
