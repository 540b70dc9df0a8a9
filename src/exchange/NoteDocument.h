#pragma once

#include "notes/Note.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <array>

// The text form of one note in the synced folder: `key: value` lines between two fences, one
// empty line, then the body as Markdown with task lines as check boxes. People open and edit
// these files by hand, so parse accepts more than render writes and gives a defined note for
// every text, including text that never came from this program: a header in CR LF, after a
// byte order mark, or with other tools' keys, block lists and nested maps in it, is still a
// header, and those keys come back out of render unchanged. Pure: no file, no clock beyond
// the fresh note that parse starts from.
namespace NoteDocument {

inline const QString fence = QStringLiteral("---");

namespace Key {
inline const QString id = QStringLiteral("pondrift-id");
inline const QString color = QStringLiteral("color");
inline const QString created = QStringLiteral("created");
inline const QString modified = QStringLiteral("modified");
inline const QString archived = QStringLiteral("archived");
inline const QString pinned = QStringLiteral("pinned");
inline const QString order = QStringLiteral("order");
inline const QString direction = QStringLiteral("direction");
inline const QString title = QStringLiteral("title");
inline const std::array<QString, 9> all{id,     color, created,   modified, archived,
                                        pinned, order, direction, title};
} // namespace Key

struct Parsed {
    Note note;
    // The text carried a non-empty "pondrift-id" in a recognised front matter. Only then does
    // note.id mean anything to the sync; otherwise it is freshly made.
    bool hasIdentity = false;
    // The known keys the front matter gave a usable value, so that a reader who knows the
    // note better can tell what the document still says from what it no longer says.
    QSet<QString> declared;
    // Every header line under a key that is not ours, with the lines that continue it (a
    // block list, a nested map), verbatim and in document order: other tools' tags, aliases
    // and dates, which render writes back so that a rewrite never drops them.
    QStringList foreignHeader;
};

// Total. Dates lose their fractions; a custom title is folded onto one line. foreignHeader
// (as parse gives it) follows our own keys; a line that would end the header or break it into
// two is left out.
QString render(const Note& note, const QStringList& foreignHeader = {});
// Total. fallbackTitle names the note when neither a custom title nor the body can; the sync
// passes the file name without its extension.
Parsed parse(const QString& text, const QString& fallbackTitle);

// The title on one line: split at every newline character, empty pieces dropped, joined by
// one blank, blanks and tabs cut from both ends.
QString foldedTitle(const QString& title);
// The shortest text that reads back as the same double, always with a point or an exponent:
// "0.0", "2.5", "1e+16", "1e-05".
QString formatOrder(double order);
// The whole text read as C strtod reads it in the C locale; absent when any of it is left.
std::optional<double> parseOrder(QStringView text);

} // namespace NoteDocument
