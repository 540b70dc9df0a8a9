#pragma once

#include "editor/MarkdownRuns.h"

#include <QList>
#include <QString>
#include <QStringView>

// What of a note's line is prose for the spell checker: pure over the text. Code (spans and
// fenced blocks), link addresses, image tokens and the Markdown markers are not: they are
// written for machines, and a dictionary would mark most of them. Bare URLs, mail addresses
// and paths in prose are left to the checker's own word rules (SpellChecker::words), which
// never look inside them.
namespace SpellRanges {

// Whether the line opens or closes a fenced code block: up to three blanks, then ``` or ~~~.
bool isFence(QStringView line);

// Follows fenced code through a note, fed its lines in order. A fence opens a block that
// the next fence of the same character closes; one never closed runs to the end.
class Fences {
public:
    // Whether the line is fenced code, its fences included.
    bool inCode(QStringView line);

private:
    char16_t open = 0;
};

// Fences over a whole list of lines.
QList<bool> inFencedCode(const QList<QString>& lines);

// The line with everything that is not prose blanked to spaces, the same length, so that
// a checker's offsets into it are offsets into the line. runs: MarkdownRuns over this line
// alone, computed with no line revealed and Markdown on (so that every marker, address and
// token is hidden, whatever the note's display). inFence: the line is fenced code.
// A marker inside a word ("un**done**") splits it in two; a checker then sees both halves.
QString prose(const QString& line, const QList<MarkdownRuns::Run>& runs, bool inFence);
// The same, computing the runs.
QString prose(const QString& line, bool inFence);

} // namespace SpellRanges
