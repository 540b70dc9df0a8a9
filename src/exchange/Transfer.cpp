#include "exchange/Transfer.h"

#include "exchange/StickyArchive.h"
#include "exchange/TransferPrompts.h"
#include "exchange/TransferText.h"
#include "images/ImageStore.h"
#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "notes/ImageTokens.h"
#include "notes/NoteColor.h"
#include "notes/NoteStore.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Scheduler.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>

using namespace Qt::Literals::StringLiterals;

namespace {

// The type of a picture by its first bytes; what the archive does not tell is taken for PNG,
// which is what the program writes itself.
QString extensionOf(const QByteArray& bytes)
{
    if (bytes.startsWith("\x89PNG"))
        return u"png"_s;
    if (bytes.startsWith("\xFF\xD8\xFF"))
        return u"jpg"_s;
    if (bytes.startsWith("GIF8"))
        return u"gif"_s;
    return u"png"_s;
}

// The tokens of the renamed pictures point at their new ids, widths kept. From the end, so
// that the ranges still to come stay where they were.
QString renamingTokens(const QString& body, const QHash<QString, QString>& renamed)
{
    QString result = body;
    const QList<ImageToken> tokens = ImageTokens::tokens(body);
    for (auto it = tokens.crbegin(); it != tokens.crend(); ++it) {
        const auto to = renamed.constFind(it->id);
        if (to != renamed.cend())
            result.replace(it->range.location, it->range.length,
                           ImageTokens::token(*to, it->width));
    }
    return result;
}

std::optional<QString> utf8(const QByteArray& bytes)
{
    // Stateless: a sequence cut off at the end is an error, not a wait for more bytes.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

} // namespace

Transfer::Transfer(NoteStore& notes, ImageStore& images, Files& files, Scheduler& clock,
                   TransferPrompts& prompts)
    : notes(notes)
    , images(images)
    , files(files)
    , clock(clock)
    , prompts(prompts)
{
}

// Export.

void Transfer::exportNotes(TransferFormat format, const QList<Note>& chosen)
{
    if (chosen.isEmpty()) {
        prompts.alert(TransferPrompts::Alert::Informational, L10n::text(u"export.empty_title"_s),
                      L10n::text(u"export.empty_body"_s));
        return;
    }
    // What was typed a moment ago goes into the files too. A note that cannot be saved now is
    // still exported as it stands in memory; the store has told of the failure.
    notes.flushAll();
    switch (format) {
    case TransferFormat::markdown:
        exportPerFile(chosen, u"md"_s, &TransferText::markdownBody);
        break;
    case TransferFormat::plainText:
        exportPerFile(chosen, u"txt"_s, [](const Note& note) { return note.body; });
        break;
    case TransferFormat::singleFile:
        exportSingle(chosen);
        break;
    case TransferFormat::stickies:
        exportArchive(chosen);
        break;
    }
}

void Transfer::exportPerFile(const QList<Note>& chosen, const QString& ext,
                             const std::function<QString(const Note&)>& render)
{
    const int count = static_cast<int>(chosen.size());
    const std::optional<QString> folder =
        prompts.chooseFolder(L10n::text(u"export.here"_s),
                             L10n::plural(u"export.choose_folder"_s, count, ext.toUpper()));
    if (!folder)
        return;
    // Listed once; a file that appears while the export runs is met by the refusal to replace
    // it.
    QSet<QString> used;
    for (const Files::Entry& entry : files.list(*folder, false).value_or(QList<Files::Entry>{}))
        used.insert(TransferText::nameKey(entry.name));
    QStringList written;
    prompts.startProgress(count);
    bool cancelled = false;
    for (const Note& note : chosen) {
        const Written result = writeUniqueFile(render(note).toUtf8(), TransferText::safeName(note),
                                               ext, *folder, used);
        if (result.path.isEmpty())
            Log::line(u"export failed"_s, result.failure);
        else
            written.append(result.path);
        if (!prompts.advance()) {
            cancelled = true;
            break;
        }
    }
    prompts.finishProgress();
    if (!written.isEmpty())
        prompts.reveal(written);
    // A cancelled run stopped where the person asked it to; only a shortfall they did not ask
    // for is told.
    if (!cancelled && written.size() < count)
        prompts.alert(TransferPrompts::Alert::Warning, L10n::text(u"export.incomplete_title"_s),
                      L10n::format(u"export.incomplete_body"_s,
                                   {written.size(), L10n::plural(u"notes.count"_s, count)}));
}

Transfer::Written Transfer::writeUniqueFile(const QByteArray& data, const QString& name,
                                            const QString& ext, const QString& folder,
                                            QSet<QString>& used)
{
    for (int n = 1;; ++n) {
        const QString fileName = TransferText::candidate(name, ext, n);
        const QString key = TransferText::nameKey(fileName);
        if (used.contains(key))
            continue;
        used.insert(key);
        const QString path = QDir(folder).filePath(fileName);
        const Files::Result result = files.create(path, data, Files::Access::Shared);
        if (result.error == EEXIST)
            continue;
        if (!result)
            return {{}, result.description()};
        return {path, {}};
    }
}

void Transfer::failed(const QString& description)
{
    Log::line(u"export failed"_s, description);
    prompts.alert(TransferPrompts::Alert::Warning, L10n::text(u"export.failed_title"_s),
                  description);
}

void Transfer::exportSingle(const QList<Note>& chosen)
{
    const Date now = clock.now();
    const std::optional<QString> path =
        prompts.chooseSaveFile(L10n::format(u"export.markdown_filename"_s, {Fmt::fileStamp(now)}));
    if (!path)
        return;
    const QString document = TransferText::singleDocument(chosen, now);
    if (const Files::Result result = files.write(*path, document.toUtf8()); !result)
        failed(result.description());
}

void Transfer::exportArchive(const QList<Note>& chosen)
{
    const Date now = clock.now();
    const std::optional<QString> path =
        prompts.chooseSaveFile(L10n::format(u"export.archive_filename"_s, {Fmt::fileStamp(now)}));
    if (!path)
        return;
    StickyArchive archive;
    archive.exported = now;
    // Reading the pictures is the long part; a cancel here writes nothing.
    prompts.startProgress(static_cast<int>(chosen.size()));
    for (const Note& note : chosen) {
        archive.notes.append(StickyNote::from(note));
        // A token whose file is gone stays in the body and brings no picture.
        for (const QString& id : ImageTokens::referencedIDs(note.body)) {
            if (archive.images.contains(id))
                continue;
            if (const std::optional<QByteArray> bytes = images.data(id))
                archive.images.insert(id, *bytes);
        }
        if (!prompts.advance()) {
            prompts.finishProgress();
            return;
        }
    }
    prompts.finishProgress();
    if (const Files::Result result = files.write(*path, archive.encode()); !result) {
        failed(result.description());
        return;
    }
    prompts.reveal({*path});
}

// Import.

void Transfer::importFiles()
{
    const QStringList paths = prompts.chooseFiles(L10n::text(u"import.choose_files"_s));
    if (paths.isEmpty())
        return;
    QList<Note> incoming;
    QStringList failedNames;
    prompts.startProgress(static_cast<int>(paths.size()));
    for (const QString& path : paths) {
        QString failure;
        if (const std::optional<QList<Note>> read = readFile(path, failure)) {
            incoming.append(*read);
        } else {
            Log::line(u"import of "_s + path + u" failed"_s, failure);
            failedNames.append(QFileInfo(path).fileName());
        }
        // What was read before a cancel is still taken in, and told.
        if (!prompts.advance())
            break;
    }
    prompts.finishProgress();
    const int added = notes.ingest(incoming);
    if (added < incoming.size())
        failedNames.append(L10n::text(u"storage.import_unsaved"_s));
    const QString addedText = L10n::plural(u"import.added"_s, added);
    if (!failedNames.isEmpty())
        prompts.alert(
            TransferPrompts::Alert::Warning, L10n::text(u"import.problems_title"_s),
            L10n::format(u"import.problems_body"_s, {addedText, failedNames.join(u", "_s)}));
    else
        prompts.alert(TransferPrompts::Alert::Informational, L10n::text(u"import.complete_title"_s),
                      addedText);
}

std::optional<QList<Note>> Transfer::readFile(const QString& path, QString& failure)
{
    QByteArray bytes;
    if (const Files::Result result = files.read(path, bytes); !result) {
        failure = result.description();
        return std::nullopt;
    }
    const QString fileName = QFileInfo(path).fileName();
    if (QFileInfo(path).suffix().toLower() == StickyArchive::extension()) {
        Decoded decoded = decodeArchive(bytes);
        if (!decoded.failure.isEmpty()) {
            failure = decoded.failure;
            return std::nullopt;
        }
        return std::move(decoded.notes);
    }
    const std::optional<QString> text = utf8(bytes);
    if (!text) {
        failure = u"not UTF-8 text"_s;
        return std::nullopt;
    }
    return QList<Note>{TransferText::noteFromText(fileName, *text)};
}

Transfer::Decoded Transfer::decodeArchive(const QByteArray& data)
{
    const std::optional<StickyArchive> archive = StickyArchive::decode(data);
    if (!archive)
        return {{}, u"not a readable archive"_s};
    if (archive->version < 1 || archive->version > StickyArchive::currentVersion)
        return {{}, L10n::text(u"import.invalid_archive"_s)};
    // Before any picture is stored, so that a rejected archive leaves nothing behind.
    const qint64 palette = static_cast<qint64>(NoteColor::all().size());
    for (const StickyNote& note : archive->notes) {
        if (note.color < 0 || note.color >= palette)
            return {{}, PersistenceError(PersistenceError::Kind::InvalidColor).description()};
    }
    QHash<QString, QString> renamed;
    for (auto it = archive->images.cbegin(); it != archive->images.cend(); ++it) {
        // The same picture is here already, from an earlier import or this very library.
        if (images.filePath(it.key()))
            continue;
        const std::optional<QString> id = images.save(it.value(), extensionOf(it.value()));
        if (id && *id != it.key())
            renamed.insert(it.key(), *id);
    }
    Decoded decoded;
    decoded.notes.reserve(archive->notes.size());
    for (const StickyNote& sticky : archive->notes) {
        Note note = sticky.note();
        if (!renamed.isEmpty())
            note.body = renamingTokens(note.body, renamed);
        decoded.notes.append(std::move(note));
    }
    return decoded;
}
