#pragma once

#include "notes/Note.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>

// One note as the archive holds it: every field of the record, plus the colour's name for
// people and other programs to read (never used on the way back in: `color` decides).
struct StickyNote {
    QString id;
    QString title;
    QString body; // task lines in their stored form, image tokens as they stand
    qint64 color = 0;
    QString colorName;
    Date created;
    Date modified;
    bool archived = false;
    double order = 0;
    NoteTextDirection textDirection = NoteTextDirection::Automatic;
    bool pinned = false;

    static StickyNote from(const Note& note);
    Note note() const;

    friend bool operator==(const StickyNote&, const StickyNote&) = default;
};

// The complete export of notes: one UTF-8 JSON object, pretty-printed with sorted keys,
// with whole-second UTC dates and the image files the notes refer to, so that it reads back
// with nothing lost but the dates' fractions.
struct StickyArchive {
    static constexpr qint64 currentVersion = 3;
    static QString extension() { return QStringLiteral("stickies"); }

    qint64 version = currentVersion; // which versions an import accepts is its own business
    QString app = QStringLiteral("Pondrift");
    Date exported;
    QList<StickyNote> notes;
    // Image id (as in the image tokens) to the file's raw bytes; written only when not empty.
    QMap<QString, QByteArray> images;

    QByteArray encode() const;
    // Absent when a required key is missing or any value has the wrong type (a direction
    // outside the three, a date in another form): one bad note fails the whole file. Optional
    // keys may be absent or null. An image whose text is not base64 is left out.
    static std::optional<StickyArchive> decode(const QByteArray& data);

    friend bool operator==(const StickyArchive&, const StickyArchive&) = default;
};
