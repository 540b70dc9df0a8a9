#pragma once

#include "notes/Note.h"
#include "platform/Date.h"

#include <QList>
#include <QSet>
#include <QString>

// The pure half of export and import: file names, the texts written out, and the note a text
// file becomes. Values in, values out; the files themselves are Transfer's business.
namespace TransferText {

// The most characters (user-perceived) a note's file name keeps of its title.
inline constexpr int nameLimit = 80;
// The longest file name the disk takes, in bytes of UTF-8.
inline constexpr int fileNameBytes = 255;

// The note's shown title with the characters file systems and sync clients refuse replaced by
// "-", trimmed, and cut to nameLimit characters; a title with nothing left gives "Note"
// and the start of the id, in the interface language.
QString safeName(const Note& note);
// The file name for the n-th try (1: "name.ext", 2: "name-2.ext", ...). The name is cut by
// whole characters until the result fits in fileNameBytes, so a title of 80 emoji still makes
// a name the disk takes.
QString candidate(const QString& name, const QString& ext, int n);
// The form two names are compared in: a file system or sync client that folds case or
// composes accents must never see two exports as one file.
QString nameKey(const QString& fileName);

// The body as Markdown, task boxes in their Markdown form, with the first line made a heading
// unless it has a form of its own already (a heading, a task, a picture, or nothing).
QString markdownBody(const Note& note);
// Every note in one Markdown document: a heading per note with its colour and dates, the
// notes separated by rules.
QString singleDocument(const QList<Note>& notes, Date now);

// The note a text file becomes: its text as the body (Markdown tasks as boxes); titled after
// the file when the text gives no title; a colour that the file's name decides.
Note noteFromText(const QString& fileName, const QString& text);

} // namespace TransferText
