#include "exchange/StickyArchive.h"

#include "exchange/IsoStamp.h"
#include "notes/NoteColor.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

StickyNote StickyNote::from(const Note& note)
{
    return StickyNote{
        note.id,      note.title,    note.body,     note.color, NoteColor::at(note.color).name,
        note.created, note.modified, note.archived, note.order, note.textDirection,
        note.pinned};
}

Note StickyNote::note() const
{
    return Note(id, title, body, color, created, modified, archived, pinned, textDirection, order);
}

namespace {

// Reading fails on the first bad value; each helper reports through `ok`.
class Reader {
public:
    explicit Reader(const QJsonObject& object)
        : object(object)
    {
    }
    bool ok = true;

    QString string(const QString& key)
    {
        const QJsonValue v = object.value(key);
        ok = ok && v.isString();
        return v.toString();
    }
    bool boolean(const QString& key)
    {
        const QJsonValue v = object.value(key);
        ok = ok && v.isBool();
        return v.toBool();
    }
    double number(const QString& key)
    {
        const QJsonValue v = object.value(key);
        ok = ok && v.isDouble();
        return v.toDouble();
    }
    // A JSON number that is a whole value within 64 bits, read without passing through a
    // double, so that large colours come back exactly.
    qint64 integer(const QString& key)
    {
        const QJsonValue v = object.value(key);
        // toInteger answers its default for anything that is not a whole number; two
        // different defaults tell that case apart from a real value.
        const qint64 a = v.toInteger(0);
        ok = ok && v.isDouble() && a == v.toInteger(1);
        return a;
    }
    Date date(const QString& key)
    {
        const auto d = IsoStamp::parse(string(key));
        ok = ok && d.has_value();
        return d.value_or(Date{});
    }
    // Absent and null both mean "not given".
    bool has(const QString& key) const
    {
        const QJsonValue v = object.value(key);
        return !v.isUndefined() && !v.isNull();
    }

private:
    const QJsonObject& object;
};

std::optional<StickyNote> decodeNote(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    Reader r(object);
    StickyNote n;
    n.id = r.string(u"id"_s);
    n.title = r.string(u"title"_s);
    n.body = r.string(u"body"_s);
    n.color = r.integer(u"color"_s);
    n.colorName = r.string(u"colorName"_s);
    n.created = r.date(u"created"_s);
    n.modified = r.date(u"modified"_s);
    n.archived = r.boolean(u"archived"_s);
    n.order = r.number(u"order"_s);
    if (r.has(u"textDirection"_s)) {
        const auto direction = TextDirection::fromRawValue(r.string(u"textDirection"_s));
        r.ok = r.ok && direction.has_value();
        n.textDirection = direction.value_or(NoteTextDirection::Automatic);
    }
    if (r.has(u"pinned"_s))
        n.pinned = r.boolean(u"pinned"_s);
    if (!r.ok)
        return std::nullopt;
    return n;
}

} // namespace

QByteArray StickyArchive::encode() const
{
    QJsonArray list;
    for (const StickyNote& n : notes) {
        list.append(QJsonObject{
            {u"id"_s, n.id},
            {u"title"_s, n.title},
            {u"body"_s, n.body},
            {u"color"_s, n.color},
            {u"colorName"_s, n.colorName},
            {u"created"_s, IsoStamp::format(n.created)},
            {u"modified"_s, IsoStamp::format(n.modified)},
            {u"archived"_s, n.archived},
            {u"order"_s, n.order},
            {u"textDirection"_s, TextDirection::rawValue(n.textDirection)},
            {u"pinned"_s, n.pinned},
        });
    }
    QJsonObject root{
        {u"version"_s, version},
        {u"app"_s, app},
        {u"exported"_s, IsoStamp::format(exported)},
        {u"notes"_s, list},
    };
    if (!images.isEmpty()) {
        QJsonObject encoded;
        for (auto it = images.cbegin(); it != images.cend(); ++it)
            encoded.insert(it.key(), QString::fromLatin1(it.value().toBase64()));
        root.insert(u"images"_s, encoded);
    }
    // QJsonObject keeps keys sorted, so the output is sorted at every level.
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

std::optional<StickyArchive> StickyArchive::decode(const QByteArray& data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject root = document.object();
    Reader r(root);
    StickyArchive archive;
    archive.version = r.integer(u"version"_s);
    archive.app = r.string(u"app"_s);
    archive.exported = r.date(u"exported"_s);
    const QJsonValue list = root.value(u"notes"_s);
    if (!r.ok || !list.isArray())
        return std::nullopt;
    for (const QJsonValue& value : list.toArray()) {
        auto note = decodeNote(value);
        if (!note)
            return std::nullopt;
        archive.notes.append(std::move(*note));
    }
    if (r.has(u"images"_s)) {
        const QJsonValue images = root.value(u"images"_s);
        if (!images.isObject())
            return std::nullopt;
        const QJsonObject object = images.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (!it.value().isString())
                return std::nullopt;
            // A picture damaged on the way costs that picture alone: its notes still come in,
            // their tokens pointing at nothing.
            auto bytes = QByteArray::fromBase64Encoding(it.value().toString().toLatin1(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
            if (bytes)
                archive.images.insert(it.key(), *bytes);
        }
    }
    return archive;
}
