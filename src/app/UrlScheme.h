#pragma once

#include <QString>
#include <QStringView>

// The pondrift: addresses other programs hand in ("pondrift://new?text=Buy%20milk"), read into
// the command they ask for. Pure: a URL in, a value out, no state.
//
// Reading follows how the system's own URL type reads them:
//  - the scheme must be "pondrift" exactly; "Pondrift:" is another scheme;
//  - the command is the host; the path, other query items and the fragment are ignored;
//  - the text is the first query item named "text", percent-decoded. A '+' stays a plus sign
//    (write a space as %20); an item without '=' or with nothing after it is empty text.
//  - "new" with empty text asks for quick capture, as "capture" does; "capture", "all" and
//    "settings" ignore any text.
// Refused, each with its own reason: another scheme, no host, an unknown host (hosts compare
// exactly: "NEW" is not "new"), a '%' not followed by two hex digits anywhere after the
// scheme (no such URL exists, so it cannot be read the way its sender meant), text whose
// decoded bytes are not UTF-8, and text over maxTextBytes. Nothing is repaired: a refused URL
// runs nothing, so no half-decoded text ever reaches a note.
// Characters a strict URL would escape (spaces, non-ASCII) are taken as they stand, so that a
// URL typed on a command line works.
namespace UrlScheme {

inline const QString scheme = QStringLiteral("pondrift");
// The most text, in UTF-8 bytes, one URL may carry into a note.
inline constexpr qsizetype maxTextBytes = 1024 * 1024;

enum class Command { NewNote, Capture, AllNotes, Settings };

enum class Refusal { None, NotPondrift, NoHost, UnknownCommand, BadEscape, NotUtf8, TooLong };

struct Parsed {
    Refusal refusal = Refusal::None;
    // Meaningful only without a refusal.
    Command command = Command::Capture;
    // NewNote's body, never empty then; empty for every other command.
    QString text;

    bool accepted() const { return refusal == Refusal::None; }
};

Parsed parse(QStringView url);

// The URL that parse reads as a new note with this text (any text, empty included; empty
// reads as quick capture). Every byte outside the unreserved set is escaped.
QString newNoteUrl(const QString& text);

// Why a URL was refused, in a few words for the log; not localised.
QString describe(Refusal refusal);

} // namespace UrlScheme
