#pragma once

#include "platform/Date.h"

#include <QHashFunctions>
#include <QString>

#include <array>
#include <exception>
#include <optional>

enum class NoteTextDirection { Automatic, LeftToRight, RightToLeft };

namespace TextDirection {
inline constexpr std::array<NoteTextDirection, 3> all{
    NoteTextDirection::Automatic, NoteTextDirection::LeftToRight, NoteTextDirection::RightToLeft};
// "automatic", "leftToRight", "rightToLeft": the stored and encoded form.
QString rawValue(NoteTextDirection direction);
std::optional<NoteTextDirection> fromRawValue(QStringView raw);
// Localisation key of the direction's name.
QString titleKey(NoteTextDirection direction);
} // namespace TextDirection

// The one record of a note, passed by value everywhere.
struct Note {
    QString id;
    QString title;
    QString body;
    qint64 color = 0;
    Date created;
    Date modified;
    bool archived = false;
    bool pinned = false;
    NoteTextDirection textDirection = NoteTextDirection::Automatic;
    double order = 0;

    // A fresh note: a new upper-case UUID, and created and modified read from the clock
    // separately.
    Note();
    Note(QString id, QString title, QString body, qint64 color, Date created, Date modified,
         bool archived, bool pinned, NoteTextDirection textDirection, double order);

    static QString newID();

    // Equal only when all ten fields are equal; sync relies on this to see a change.
    friend bool operator==(const Note&, const Note&) = default;
};

size_t qHash(const Note& note, size_t seed = 0) noexcept;

// The one rule by which ids (and the sync's file names) are compared: equal text in the
// canonical (NFC) Unicode form, so that an id another program wrote with decomposed accents
// names the same note. The store finds notes by it and the sync plans by it.
QString canonicalText(const QString& text);
bool sameNoteID(const QString& a, const QString& b);

// An error that can be shown to a person: everything the storage layer throws derives from it.
class LocalizedError : public std::exception {
public:
    virtual QString description() const = 0;
    // What the person can do about it; by default, that the changes stay open and are tried
    // again.
    virtual QString advice() const;
    const char* what() const noexcept override;

private:
    mutable QByteArray whatCache;
};

class PersistenceError final : public LocalizedError {
public:
    // ReadOnly: a new note refused because the notes could not be opened.
    enum class Kind { Database, InvalidKey, MissingKey, CorruptBody, InvalidColor, ReadOnly };

    explicit PersistenceError(Kind kind, QString message = {})
        : kind(kind)
        , message(std::move(message))
    {
    }
    static PersistenceError database(QString message)
    {
        return PersistenceError(Kind::Database, std::move(message));
    }

    // For Database, SQLite's message as it stands; otherwise the localised text of the kind.
    QString description() const override;
    QString advice() const override;

    Kind kind;
    QString message;
};

// A failure of the file system (reading or creating the key file), passed on as it came.
class FileSystemError final : public LocalizedError {
public:
    FileSystemError(int code, QString path)
        : code(code)
        , path(std::move(path))
    {
    }
    QString description() const override;

    int code; // errno
    QString path;
};
