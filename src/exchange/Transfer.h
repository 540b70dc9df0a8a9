#pragma once

#include "exchange/TransferFormat.h"
#include "notes/Note.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>

class Files;
class ImageStore;
class NoteStore;
class Scheduler;
class TransferPrompts;

// Notes in and out of the program through files the person picks: the four export formats
// and the import of text files and archives. Each call runs the whole interaction through the
// prompts, and tells of every failure there; nothing throws.
//
// Exported files are written whole through Files: a per-note file never replaces one that is
// there, and a cancelled or failed run leaves no half-written file. Nothing in the store
// changes on export. An import adds notes and never overwrites one. Main thread only; every
// collaborator must outlive the transfer.
class Transfer final {
public:
    Transfer(NoteStore& notes, ImageStore& images, Files& files, Scheduler& clock,
             TransferPrompts& prompts);

    // The notes in the order they are to be written.
    void exportNotes(TransferFormat format, const QList<Note>& notes);
    void importFiles();

    // What an archive's bytes give: its notes in archive order, their pictures stored on the
    // way (ids that clash with stored pictures renamed, and the notes' tokens with them), or
    // why nothing could be taken. A rejected archive stores no picture; a picture that does
    // not decode or cannot be stored is left out and its tokens point at nothing.
    struct Decoded {
        QList<Note> notes;
        // For the log; empty when the archive was read.
        QString failure;
    };
    Decoded decodeArchive(const QByteArray& data);

private:
    void exportPerFile(const QList<Note>& notes, const QString& ext,
                       const std::function<QString(const Note&)>& render);
    void exportSingle(const QList<Note>& notes);
    void exportArchive(const QList<Note>& notes);
    // The path written, or the failure's description.
    struct Written {
        QString path;
        QString failure;
    };
    Written writeUniqueFile(const QByteArray& data, const QString& name, const QString& ext,
                            const QString& folder, QSet<QString>& used);
    void failed(const QString& description);
    std::optional<QList<Note>> readFile(const QString& path, QString& failure);

    NoteStore& notes;
    ImageStore& images;
    Files& files;
    Scheduler& clock;
    TransferPrompts& prompts;
};
