#pragma once

#include <QList>
#include <QStringView>
#include <QtGlobal>

// Continuous spelling for the editor: the misspelled words of one line of text, in the
// languages the checker was opened with. Word finding is shared here; a backend only says
// whether a word is known. Used on the main thread only.
class SpellChecker {
public:
    // A stretch of the line in UTF-16 units, as QString and QTextDocument count them.
    struct Range {
        qsizetype start = 0;
        qsizetype length = 0;

        friend bool operator==(const Range&, const Range&) = default;
    };

    virtual ~SpellChecker();
    SpellChecker() = default;
    SpellChecker(const SpellChecker&) = delete;
    SpellChecker& operator=(const SpellChecker&) = delete;

    // False when no dictionary could be opened: then nothing is ever marked, and callers
    // need not ask.
    virtual bool available() = 0;

    // The misspelled words of line, in text order. A word is what the Unicode word rules
    // join and holds a letter. Never marked: words with a digit, words of capitals only
    // (acronyms), words with a CJK character (no installed dictionary segments or knows
    // them), and every word of a stretch between blanks that is written for a machine: an
    // address ("https://x.org/a", "bob@x.org"), a path, a file or host name ("main.cpp"), a
    // name from code ("foo_bar", "std::map"). Nothing when the checker is not available.
    // Blanks stay word breaks, so a caller hides what is not prose by blanking it, and the
    // offsets still hold.
    QList<Range> misspelled(QStringView line);

    // The words of line that misspelled looks up, by the rules above.
    static QList<Range> words(QStringView line);

protected:
    // Whether the word is spelled right in one of the checker's languages. Only called
    // while available, with a word as words() finds them.
    virtual bool knows(QStringView word) = 0;
};
