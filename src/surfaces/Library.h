#pragma once

#include "notes/Note.h"
#include "platform/Date.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class Files;
class NoteStore;

// The library's window as its logic sees it.
class LibraryView {
public:
    virtual ~LibraryView() = default;
    // Shows the window, or brings it forward, with the keyboard.
    virtual void present() = 0;

protected:
    LibraryView() = default;
    LibraryView(const LibraryView&) = delete;
    LibraryView& operator=(const LibraryView&) = delete;
};

// What the library lists: the notes in the deck, the archived ones, or the last texts of
// notes the sync deleted here, which wait in the trash folder for a month.
enum class LibraryMode { all, archive, recentlyDeleted };

// The library's state and decisions: the mode, the search, the notes it lists and the one
// that is selected, and restoring from the trash. The window shows them and forwards what the
// person does. REQUIRES: notes and files outlive the library. Main thread only.
class Library final : public QObject {
    Q_OBJECT

public:
    // A document in the trash folder.
    struct TrashEntry {
        QString name;
        QString path;
        Date deleted;
        // The note as the document tells it; from the name alone when it cannot be read.
        QString title;
        QString body;
        QString preview;
        friend bool operator==(const TrashEntry&, const TrashEntry&) = default;
    };
    enum class RestoreResult { restored, unreadable, notStored };

    using ViewFactory = std::function<LibraryView*(Library& owner)>;

    // trashFolder need not exist. makeView builds the window the first time one is shown; the
    // library deletes it.
    Library(NoteStore& notes, Files& files, QString trashFolder, ViewFactory makeView);
    ~Library() override;

    // Sets the mode and shows the one window.
    void show(LibraryMode mode);
    LibraryView* view() const { return window; }

    LibraryMode mode() const { return current; }
    void setMode(LibraryMode mode);
    const QString& query() const { return search; }
    void setQuery(const QString& query);
    // A note id, kept across changes of mode and query even while the note is not listed.
    const std::optional<QString>& selection() const { return selected; }
    void select(const std::optional<QString>& id);

    // The notes of the mode (none in recentlyDeleted) that match the query, in the store's
    // order.
    QList<Note> filtered() const;
    // Whether a note matches a query: the query is trimmed of blanks and tabs and lower-cased,
    // and found as a plain substring of the lower-cased display title or body. An empty query
    // matches every note.
    static bool matches(const Note& note, const QString& query);
    // The trimmed, lower-cased form matches takes; callers filtering many notes make it once.
    static QString normalized(const QString& query);
    static bool matchesNormalized(const Note& note, const QString& normalizedQuery);

    // The note's title a trash document's name tells.
    static QString trashTitle(const QString& name);
    // The trash's documents whose title or text matches the query, as notes do, newest
    // first.
    QList<TrashEntry> trash() const;
    // Imports the document's text as a note again, back in the deck, and removes the document
    // once the store has saved the note. A document that cannot be read or decoded, or a note
    // the store could not save, leaves the document where it is.
    RestoreResult restore(const TrashEntry& entry);

Q_SIGNALS:
    void modeChanged();
    void queryChanged();
    void selectionChanged();
    // The trash folder's listing may have changed.
    void trashChanged();

private:
    // The document's text as a note; absent when it cannot be read or is not UTF-8, logged.
    std::optional<Note> readTrash(const QString& path) const;

    NoteStore& notes;
    Files& files;
    const QString trashFolder;
    ViewFactory makeView;
    LibraryView* window = nullptr;
    // A note's texts as a search reads them, and what they were made from.
    struct Lowered {
        QString sourceTitle;
        QString sourceBody;
        QString title;
        QString body;
    };
    const Lowered& lowered(const Note& note) const;

    LibraryMode current = LibraryMode::all;
    QString search;
    mutable QHash<QString, Lowered> searchable;
    // Trash documents whose note came back but could not be saved, with that note's id.
    QHash<QString, QString> unsavedRestores;
    std::optional<QString> selected;
};
