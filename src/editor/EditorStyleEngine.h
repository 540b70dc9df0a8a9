#pragma once

#include "notes/ImageTokens.h"
#include "notes/Note.h"
#include "notes/TextRange.h"

#include <QColor>
#include <QFont>
#include <QList>
#include <QString>
#include <QTextCharFormat>

#include <functional>
#include <optional>

class EditorStyleCache;
class QTextDocument;

// Live Markdown styling of a document: MarkdownRuns says what each character carries, the
// engine turns that into formats. A note's body stays plain text: the engine paints formats
// beside the text, never in it.
//
// The formats live in each block's QTextLayout (QTextLayout::setFormats), the way
// QSyntaxHighlighter keeps its own. That store is outside the document's undo stack and
// modified flag, so Ctrl+Z only ever undoes text and toPlainText() is always what the user
// typed. The trap that rules out QTextCursor::mergeCharFormat or setBlockFormat here: both
// are document edits, so every caret move would push an undo step and mark the note
// modified.
//
// Positions and ranges are UTF-16 units, the same as QTextDocument positions.
namespace EditorStyleEngine {

// Markers are painted with the ink at this alpha.
inline constexpr double dimAlpha = 0.32;
// The format property that marks a hidden character: it stays in the text and takes no room.
inline constexpr int hiddenProperty = QTextFormat::UserProperty + 0x504;
// On the one character of a hidden image token that holds its line's room: that room, in
// pixels, as reservedLineHeight gave it.
inline constexpr int reservedHeightProperty = hiddenProperty + 1;

struct Options {
    QColor ink = Qt::black;
    double size = 14;
    bool markdownEnabled = true;
    NoteTextDirection textDirection = NoteTextDirection::Automatic;
    // The body face at a size in points; callers pass Ink::body. Empty: the document's
    // default font at that size.
    std::function<QFont(double)> bodyFont;
    // Whether a line (without terminator) is a completed task. Empty: its box is "☑".
    std::function<bool(QStringView)> isCompletedTask;
    // The line height, in pixels, that the line of a hidden image token (its range in
    // document positions) must reserve for the picture; 0 reserves nothing. The image
    // overlays answer this.
    std::function<double(const ImageToken&)> reservedLineHeight;
};

// A hidden image token of a pass, in document positions, and the line height reserved for
// its picture (0: none).
struct ReservedImage {
    ImageToken token;
    double height = 0;
    friend bool operator==(const ReservedImage&, const ReservedImage&) = default;
};

// What a pass did: the ranges it styled, normalised, and every image token it hid in them,
// in text order.
struct Report {
    QList<TextRange> styled;
    QList<ReservedImage> images;
};

// Restyles the given ranges (made whole-line by the caller). Text in the body face at full
// ink carries no format of its own: the document's default font and the view's text colour
// (QPalette::Text = ink) show it. revealing is the caret's line: markers there stay shown.
// forceRevealImageID shows one image token's text. Also sets the document's typing
// attributes: default font and paragraph direction. Formats and faces are kept in the cache
// for the next pass.
Report apply(QTextDocument& document, const QList<TextRange>& ranges,
             std::optional<TextRange> revealing, const std::optional<QString>& forceRevealImageID,
             const Options& options, EditorStyleCache& cache);

// --- What a pass left ---------------------------------------------------------------------

// The styled format at a position: what the engine painted there, or an empty format.
QTextCharFormat styledFormat(const QTextDocument& document, qsizetype position);
bool isHidden(const QTextDocument& document, qsizetype position);
// The address of the followable link at a position, or an empty string.
QString linkAt(const QTextDocument& document, qsizetype position);

} // namespace EditorStyleEngine
