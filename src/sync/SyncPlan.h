#pragma once

#include "notes/Note.h"
#include "sync/CloudSyncIndex.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>

// The reconciliation planner: everything known at one moment goes in, the ordered list of
// actions that brings the notes and the folder together comes out. Pure: no clock, no file,
// no store, no state; equal inputs give equal lists. All dates compare exactly.
//
// Whether a side changed is told by content, never by clocks: machines' clocks disagree, a
// client may keep a sender's older file date, and an edit can share its second with the last
// sync. Dates only decide which side wins when both changed.
namespace SyncPlan {

// What a note's document says, its dates left out: a hash (SHA-256) of the document the note
// renders to with neither date, so that a pin, a colour or an archive alone is a change,
// and a date moved by a pull or by another machine's clock is none.
QByteArray contentHash(const Note& note);

// One document as the sync sees it.
struct RemoteFile {
    QString fileName;
    // The identity the document declares, or the one the index holds for an unchanged file;
    // absent when the document has none.
    std::optional<QString> noteID;
    // What the document declares (or the index's synced date for an unchanged file); the far
    // past for a document without identity.
    Date declaredModified;
    FileStamp file;
    // textKey of the text the document holds, for a document read in this pass; absent for
    // one not read. Tells a copy of a note's text from a note of its own.
    std::optional<QByteArray> textKey;
    // contentHash of the document as read in this pass; for a file not read because its stamp
    // is the one the index holds, the index's hash. Absent when neither is known.
    std::optional<QByteArray> contentHash = std::nullopt;

    // The later of the two dates; the file's when they are equal.
    Date effectiveModified() const
    {
        return declaredModified > file.modified ? declaredModified : file.modified;
    }

    friend bool operator==(const RemoteFile&, const RemoteFile&) = default;
};

// One step for the engine. Which payloads mean something depends on the kind:
//   Push         noteID, existingFileName (absent for a note that has no document yet)
//   Pull         fileName
//   Reindex      noteID, fileName
//   Adopt        fileName
//   DeleteLocal  noteID
//   DeleteRemote fileName
//   Conflict     noteID, fileName, localWins
//   Discard      fileName: a sync client's conflict copy whose text its original already
//                holds; only the file goes, no note and no entry is touched
// Payloads a kind does not use stay empty, so that equality over all fields is equality of
// the action.
struct Action {
    enum class Kind { Push, Pull, Reindex, Adopt, DeleteLocal, DeleteRemote, Conflict, Discard };

    Kind kind = Kind::Push;
    QString noteID;
    QString fileName;
    std::optional<QString> existingFileName;
    bool localWins = false;

    static Action push(QString noteID, std::optional<QString> existingFileName);
    static Action pull(QString fileName);
    static Action reindex(QString noteID, QString fileName);
    static Action adopt(QString fileName);
    static Action deleteLocal(QString noteID);
    static Action deleteRemote(QString fileName);
    static Action conflict(QString noteID, QString fileName, bool localWins);
    static Action discard(QString fileName);

    // For test output and log lines: "push(ID, name)" and so on.
    QString toString() const;

    friend bool operator==(const Action&, const Action&) = default;
};

// notes: every local note, active and archived, in the store's order (kept in the result).
// remote: one entry per readable document, any order.
// unresolved: names that exist in the folder but could not be read in this pass; their
// notes are not taken for deleted.
// Beyond the winner of each id and the adoption of the rest, two kinds of extra document are
// told apart, since a client delivers a rename as a new file and a removal, in any order, and
// makes copies of its own when a file changed on two machines:
// - A client's conflict copy (ClientConflicts) of a document in this scan that declares its
//   original's id, or no id like its original, never competes for that id: it is discarded
//   when its text is the original's, or the note's while the note keeps it, and adopted
//   otherwise. A note that this pass overwrites by pulling the original loses that text, and
//   the copy may be the only place left that holds it. A copy another machine adopted
//   already, new here and holding the text the note here keeps, is discarded as well, unless
//   this pass gives the note the original's other text: then it is the note that holds it.
// - Another document of an indexed note's id whose text is the note's or the indexed file's is
//   that note renamed elsewhere, the removal of its old name not here yet: nothing is done
//   with it until the old name is gone, and then it is the note's document. So is another
//   document with the text of the newest one, of an id that is neither a note nor an entry
//   here: the newest is pulled, the other waits.
// - Every name of a note deleted here goes with it: a second name adopted instead would
//   bring the note back under another id.
// A document sent to adoption is not pulled as well.
// hashOf: contentHash, or a caller's cache of it; asked only for notes that have a document.
QList<Action> actions(const QList<Note>& notes, const QList<RemoteFile>& remote,
                      const QSet<QString>& unresolved, const CloudSyncIndex& index,
                      const std::function<QByteArray(const Note&)>& hashOf = contentHash);

// Two sides of a conflict whose texts agree: the note with each header value (title, colour,
// archive state, pin, direction, order) of the side that changed it since the last sync, and
// the rest as `local` holds it. `synced` is the contentHash both sides had then. Absent when
// that cannot be told: both sides changed one value, or the text changed since as well, so
// that no mix of the two sides' values gives the synced content.
std::optional<Note> headerMerge(const Note& local, const Note& remote, const QByteArray& synced);

// What two texts are compared by: equal keys, equal text. A note's body and a document read
// into a note give equal keys for equal text.
QByteArray textKey(const QString& body);

// The order and equality of names and ids: canonical (NFC) forms (canonicalText, the rule the
// store finds ids by too), compared by Unicode scalar values. QString's own operator< compares
// UTF-16 units, which puts U+E000..U+FFFF after the astral planes.
QString canonical(const QString& text);
// Both arguments already canonical.
bool scalarLess(QStringView a, QStringView b);
bool textLess(const QString& a, const QString& b);

} // namespace SyncPlan
