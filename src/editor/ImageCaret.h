#pragma once

#include "notes/ImageTokens.h"
#include "notes/TextRange.h"

#include <QList>
#include <QString>

#include <optional>

class QTextCursor;
class QTextDocument;

// The caret's rules around hidden image tokens. A hidden token takes no room: the caret must
// not be lost inside it, nor may one key remove a picture unseen. A token counts as hidden
// when the last styling pass hid its first character (EditorStyleEngine::isHidden).
//
// The rules only answer; the view moves the caret or selects. Every cursor given must be a
// cursor over the document in question.
namespace ImageCaret {

// Where the caret goes when it lands inside a hidden token: the token's start, its end, or
// the nearer of the two.
enum class Edge { Leading, Trailing, Nearest };

// How much a delete key takes: one character, or up to the word boundary.
enum class Unit { Character, Word };

// The tokens inside the range, in document positions and text order.
QList<ImageToken> tokensIn(const QTextDocument& document, TextRange range);

// The edge for a caret that a key moved from one position to another: the side it went
// towards, whatever the key. In a right-to-left line Left goes forward through the text, and a
// visual move may jump; only the text order tells which way the caret went. A caret that did
// not move goes to the nearer end.
Edge edgeOfMove(qsizetype from, qsizetype to);

// Where the caret, or the moving end of a selection, goes when it lies strictly inside a hidden
// token; absent anywhere else.
std::optional<qsizetype> snapped(const QTextCursor& cursor, Edge edge);

// The hidden token that Backspace (backward) or Delete would take a unit of, for a caret with
// no selection: Backspace within a token or at its end, or just behind the line break that
// ends a token's line; Delete at a token's start. A word delete also meets every hidden token
// its stretch up to the word boundary reaches into, the one nearest the caret first. Such a
// key should select the token and show its text instead, so that the second press removes
// the picture seen.
std::optional<ImageToken> tokenBeforeDelete(const QTextCursor& cursor, bool backward,
                                            Unit unit = Unit::Character);

// The token with the id that the selection still touches: a caret strictly inside it or at
// its start, or a selection that overlaps it.
std::optional<ImageToken> touchedToken(const QTextCursor& cursor, const QString& id);

// Behind a token: its end, or past the line break that follows it, so that typing goes on
// below the picture.
qsizetype positionBehind(const QTextDocument& document, TextRange token);

} // namespace ImageCaret
