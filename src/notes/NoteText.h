#pragma once

#include "notes/Note.h"
#include "notes/NoteColor.h"

#include <QString>

#include <optional>
#include <utility>

// What a note shows besides its text: titles, the preview, task progress and the paragraph
// style of its direction. All computed on demand from the record, stored nowhere.
// "Characters" here are user-perceived characters (grapheme clusters), not UTF-16 units.
namespace NoteText {

// Longest derived title and preview before they are cut and end in "…".
inline constexpr int titleLimit = 60;
inline constexpr int previewLimit = 120;

// The note's colour; any stored index gives one.
const NoteColor& palette(const Note& note);
// The user's own title, trimmed of whitespace and newlines, is not empty.
bool hasCustomTitle(const Note& note);
// The trimmed title, else the title derived from the body, else the text of "note.untitled".
QString displayTitle(const Note& note);
// The first line that still has text once image tokens, a heading mark and a task box are
// gone; empty when no line qualifies.
QString derivedTitle(const QString& body);
// The lines that have text, joined by one space; without a custom title the first of them is
// left out, since it already serves as the title.
QString preview(const Note& note);
// (done, total) over lines whose very first character is a box; absent with no task line.
std::optional<std::pair<int, int>> taskProgress(const Note& note);

// The text without its image tokens; whitespace round them stays.
QString strippingImageTokens(const QString& text);
// The line, trimmed of blanks and tabs, is exactly one image token.
bool isImageTokenLine(const QString& line);

// The direction of the first strong character: the explicit marks (ALM, RLM, LRM) or the
// first alphabetic scalar. Digits and punctuation never decide. Absent when none decides.
std::optional<Qt::LayoutDirection> firstStrong(QStringView text);

struct ParagraphStyle {
    Qt::LayoutDirection direction = Qt::LayoutDirectionAuto;
    Qt::Alignment alignment = Qt::AlignLeading;

    friend bool operator==(const ParagraphStyle&, const ParagraphStyle&) = default;
};

// The style of a direction as it stands: automatic is the natural direction and alignment;
// the explicit ones are left or right, absolutely.
ParagraphStyle paragraphStyle(NoteTextDirection direction);
// As above for the explicit directions. Automatic decides by the text's first strong
// character, and falls back to left to right, so that empty or neutral text aligns left.
ParagraphStyle paragraphStyle(NoteTextDirection direction, QStringView text);

} // namespace NoteText
