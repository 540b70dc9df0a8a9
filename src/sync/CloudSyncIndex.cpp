#include "sync/CloudSyncIndex.h"

#include "exchange/IsoStamp.h"
#include "platform/Files.h"
#include "platform/Log.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <type_traits>

using namespace Qt::Literals::StringLiterals;

CloudSyncIndex CloudSyncIndex::load(const QString& path, Files& files)
{
    QByteArray data;
    if (!files.read(path, data))
        return {};
    return decode(data).value_or(CloudSyncIndex{});
}

std::optional<CloudSyncIndex> CloudSyncIndex::decode(const QByteArray& data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonValue entries = document.object().value(u"entries"_s);
    if (!entries.isObject())
        return std::nullopt;
    CloudSyncIndex index;
    // Older indexes have no folder record; they still load, tied to no folder.
    if (const QJsonValue folder = document.object().value(u"folder"_s); !folder.isUndefined()) {
        const QJsonValue path = folder.toObject().value(u"path"_s);
        const QJsonValue id = folder.toObject().value(u"id"_s);
        if (!path.isString() || !id.isString())
            return std::nullopt;
        index.tiedTo = Folder{path.toString(), id.toString()};
    }
    const QJsonObject object = entries.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isObject())
            return std::nullopt;
        const QJsonObject e = it.value().toObject();
        const QJsonValue name = e.value(u"fileName"_s);
        const QJsonValue synced = e.value(u"syncedModified"_s);
        const QJsonValue fileDate = e.value(u"fileModified"_s);
        if (!name.isString() || !synced.isString() || !fileDate.isString())
            return std::nullopt;
        const auto syncedDate = IsoStamp::parse(synced.toString());
        const auto fileModified = IsoStamp::parse(fileDate.toString());
        if (!syncedDate || !fileModified)
            return std::nullopt;
        // Entries saved before the exact date, the length, the change time and the hash were
        // kept load without them; such a file is read once more, which records them.
        FileStamp file{*fileModified};
        const auto number = [&](const QString& key, auto& into) {
            const QJsonValue value = e.value(key);
            if (value.isUndefined())
                return true;
            if (!value.isDouble() || !std::isfinite(value.toDouble()))
                return false;
            into = static_cast<std::remove_reference_t<decltype(into)>>(value.toDouble());
            return true;
        };
        if (!number(u"fileStamp"_s, file.modified.seconds) || !number(u"fileSize"_s, file.size)
            || !number(u"fileChanged"_s, file.changed.seconds))
            return std::nullopt;
        std::optional<QByteArray> hash;
        if (const QJsonValue content = e.value(u"contentHash"_s); !content.isUndefined()) {
            if (!content.isString())
                return std::nullopt;
            hash = QByteArray::fromHex(content.toString().toLatin1());
            if (hash->size() != 32 || hash->toHex() != content.toString().toLatin1())
                return std::nullopt;
        }
        index.record(it.key(), name.toString(), *syncedDate, file, std::move(hash));
    }
    return index;
}

QByteArray CloudSyncIndex::encode() const
{
    QJsonObject entries;
    for (auto it = table.cbegin(); it != table.cend(); ++it) {
        QJsonObject entry{
            {u"fileChanged"_s, it->file.changed.seconds},
            {u"fileModified"_s, IsoStamp::format(it->file.modified)},
            {u"fileName"_s, it->fileName},
            {u"fileSize"_s, static_cast<double>(it->file.size)},
            {u"fileStamp"_s, it->file.modified.seconds},
            {u"syncedModified"_s, IsoStamp::format(it->syncedModified)},
        };
        if (it->contentHash)
            entry.insert(u"contentHash"_s, QString::fromLatin1(it->contentHash->toHex()));
        entries.insert(it.key(), entry);
    }
    QJsonObject top{{u"entries"_s, entries}};
    if (tiedTo)
        top.insert(u"folder"_s, QJsonObject{{u"id"_s, tiedTo->id}, {u"path"_s, tiedTo->path}});
    // QJsonObject keeps its keys sorted, so the output is sorted at every level.
    return QJsonDocument(top).toJson(QJsonDocument::Indented);
}

bool CloudSyncIndex::save(const QString& path, Files& files) const
{
    // A failure to make the folder shows as the write's own failure.
    files.makeFolder(QFileInfo(path).absolutePath(), true, Files::Access::Private);
    if (const Files::Result written = files.write(path, encode(), Files::Access::Private);
        !written) {
        Log::cloud(u"cannot save the sync index"_s, written.description());
        return false;
    }
    return true;
}

const CloudSyncIndex::Entry* CloudSyncIndex::entry(const QString& noteID) const
{
    const auto it = table.constFind(noteID);
    return it == table.cend() ? nullptr : &it.value();
}

std::optional<QString> CloudSyncIndex::idForFileName(const QString& name) const
{
    const auto it = byFileName.constFind(name);
    if (it == byFileName.cend())
        return std::nullopt;
    return it.value();
}

void CloudSyncIndex::record(const QString& noteID, const QString& fileName, Date noteModified,
                            FileStamp file, std::optional<QByteArray> contentHash)
{
    forget(noteID);
    ++changes;
    table.insert(noteID, Entry{fileName, noteModified, file, std::move(contentHash)});
    byFileName.insert(fileName, noteID);
}

void CloudSyncIndex::tie(Folder folder)
{
    ++changes;
    tiedTo = std::move(folder);
}

void CloudSyncIndex::forget(const QString& noteID)
{
    const auto it = table.find(noteID);
    if (it == table.end())
        return;
    ++changes;
    byFileName.remove(it->fileName, noteID);
    table.erase(it);
}

void CloudSyncIndex::forgetAll()
{
    ++changes;
    table.clear();
    byFileName.clear();
}
