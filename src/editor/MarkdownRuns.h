#pragma once

#include "notes/ImageTokens.h"
#include "notes/TextRange.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

// What live Markdown styling paints over a stretch of whole lines, as runs of character
// attributes: pure over the text, with no fonts, colours or document. The styling engine
// turns the runs into formats; the fonts and colours behind each slot and tone are its own.
//
// Markers ("**", "#", "](url)") keep their characters: off the revealing line they are
// hidden (no width, no ink), on it they show dimmed. An image token is hidden whole unless it
// is the one named for reveal; the revealing line has no say over tokens.
namespace MarkdownRuns {

// How strong a character's ink is: the note's ink at full strength, or at the alpha of each
// softer tone (markers, quotes, bullets, completed tasks).
enum class Tone : quint8 { Full, Dim, Quote, Bullet, Done };

// Which face a character takes: the body face, its bold, a monospaced face, or a heading's
// bold at a size of its level (HeadingFont + level - 1, levels 1 to 6).
enum FontSlot : quint8 { BodyFont, BoldFont, MonoFont, HeadingFont };

enum Flag : quint8 {
    Hidden = 1,
    Underline = 2,
    Struck = 4,
    Background = 8,
    Oblique = 16,
    // The first character of a hidden image token: it holds the room of the token's picture.
    // Result::images lists those tokens in the order of these characters.
    Reserves = 32,
};

// Eight bytes: a pass keeps one per character of the lines it styles.
struct Attributes {
    quint8 font = BodyFont;
    Tone tone = Tone::Full;
    quint8 flags = 0; // Flag bits
    // Index into Result::links: the link this character follows; -1 for none.
    qint32 link = -1;

    friend bool operator==(const Attributes&, const Attributes&) = default;
};

// Characters start ... start + length - 1 of the styled text share the attributes.
struct Run {
    qsizetype start = 0;
    qsizetype length = 0;
    Attributes attributes;

    friend bool operator==(const Run&, const Run&) = default;
};

struct Input {
    // Whole lines of the note.
    QString text;
    // The document position of text[0]: revealing and the reported tokens are in document
    // positions.
    qsizetype offset = 0;
    // The caret's line: its markers stay shown. Absent: every marker hides.
    std::optional<TextRange> revealing;
    // The one image whose token shows as text.
    std::optional<QString> forceRevealImageID;
    bool markdownEnabled = true;
    // Whether a line (without its terminator) is a completed task; empty: its box is "☑".
    std::function<bool(QStringView)> isCompletedTask;
    // The address a link follows, or absent when it cannot be followed; empty: followableHref.
    // A caller that styles every keystroke passes a memory of these.
    std::function<std::optional<QString>(const QString&)> followableHref;
};

struct Result {
    // Cover the text exactly once, in order; neighbours differ.
    QList<Run> runs;
    QStringList links;
    // The hidden tokens, in document positions, in text order: one per Reserves character.
    QList<ImageToken> images;

    friend bool operator==(const Result&, const Result&) = default;
};

Result compute(const Input& input);

// A URL whose scheme, lower-cased, is http, https or mailto; anything else (no scheme
// included) is absent, so such a link can never be followed.
std::optional<QUrl> openableURL(const QString& text);
// The openable URL of an address written back out, as a link carries it.
std::optional<QString> followableHref(const QString& address);

} // namespace MarkdownRuns
