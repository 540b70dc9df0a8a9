#include "notes/Note.h"

#include "l10n/L10n.h"

#include <QUuid>

#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace TextDirection {

QString rawValue(NoteTextDirection direction)
{
    switch (direction) {
    case NoteTextDirection::LeftToRight:
        return u"leftToRight"_s;
    case NoteTextDirection::RightToLeft:
        return u"rightToLeft"_s;
    case NoteTextDirection::Automatic:
        break;
    }
    return u"automatic"_s;
}

std::optional<NoteTextDirection> fromRawValue(QStringView raw)
{
    for (NoteTextDirection d : all) {
        if (raw == rawValue(d))
            return d;
    }
    return std::nullopt;
}

QString titleKey(NoteTextDirection direction)
{
    switch (direction) {
    case NoteTextDirection::LeftToRight:
        return u"direction.left_to_right"_s;
    case NoteTextDirection::RightToLeft:
        return u"direction.right_to_left"_s;
    case NoteTextDirection::Automatic:
        break;
    }
    return u"direction.automatic"_s;
}

} // namespace TextDirection

Note::Note()
    : id(newID())
    , created(Date::now())
    , modified(Date::now())
{
}

Note::Note(QString id, QString title, QString body, qint64 color, Date created, Date modified,
           bool archived, bool pinned, NoteTextDirection textDirection, double order)
    : id(std::move(id))
    , title(std::move(title))
    , body(std::move(body))
    , color(color)
    , created(created)
    , modified(modified)
    , archived(archived)
    , pinned(pinned)
    , textDirection(textDirection)
    , order(order)
{
}

QString Note::newID() { return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(); }

QString canonicalText(const QString& text)
{
    // Nothing below U+0200 composes or decomposes under NFC, and file names and ids are
    // nearly always plain ASCII: skip the normaliser for them. One OR over the units keeps
    // this test cheap enough to run on every id of every pass.
    const ushort* units = text.utf16();
    ushort any = 0;
    for (qsizetype i = 0, n = text.size(); i < n; ++i)
        any |= units[i];
    return (any & ~0x1FFu) == 0 ? text : text.normalized(QString::NormalizationForm_C);
}

bool sameNoteID(const QString& a, const QString& b)
{
    return a == b || canonicalText(a) == canonicalText(b);
}

size_t qHash(const Note& note, size_t seed) noexcept
{
    QtPrivate::QHashCombine combine;
    seed = combine(seed, note.id);
    seed = combine(seed, note.title);
    seed = combine(seed, note.body);
    seed = combine(seed, note.color);
    seed = combine(seed, note.created.seconds);
    seed = combine(seed, note.modified.seconds);
    seed = combine(seed, note.archived);
    seed = combine(seed, note.pinned);
    seed = combine(seed, TextDirection::rawValue(note.textDirection));
    // 0.0 and -0.0 are equal, so they must hash alike.
    seed = combine(seed, note.order == 0 ? 0.0 : note.order);
    return seed;
}

const char* LocalizedError::what() const noexcept
{
    whatCache = description().toUtf8();
    return whatCache.constData();
}

QString PersistenceError::description() const
{
    switch (kind) {
    case Kind::Database:
        // SQLite may in theory give no text; the failure must still read as one.
        return message.isEmpty() ? u"SQLite error"_s : message;
    case Kind::InvalidKey:
        return L10n::text(u"storage.invalid_key"_s);
    case Kind::MissingKey:
        return L10n::text(u"storage.missing_key"_s);
    case Kind::CorruptBody:
        return L10n::text(u"storage.corrupt_body"_s);
    case Kind::InvalidColor:
        return L10n::text(u"storage.invalid_color"_s);
    case Kind::ReadOnly:
        return L10n::text(u"storage.read_only"_s);
    }
    return message;
}

QString LocalizedError::advice() const { return L10n::text(u"storage.error_help"_s); }

// Nothing new can be kept until the program is started over a readable library; trying
// again later, as the general advice says, would not help.
QString PersistenceError::advice() const
{
    return kind == Kind::ReadOnly ? L10n::text(u"storage.read_only_help"_s)
                                  : LocalizedError::advice();
}

QString FileSystemError::description() const
{
    return path + u": "_s + QString::fromLocal8Bit(std::strerror(code));
}
