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
    // join and holds a letter. Never marked: words with a digit, an underscore or a dot
    // (numbers, names from code, file and host names), words of capitals only (acronyms),
    // and words with a CJK character, which no installed dictionary segments or knows.
    // Nothing when the checker is not available. Blanks in the line stay word breaks, so a
    // caller hides what is not prose by blanking it, and the offsets still hold.
    QList<Range> misspelled(QStringView line);

    // The words of line that misspelled looks up, by the rules above.
    static QList<Range> words(QStringView line);

protected:
    // Whether the word is spelled right in one of the checker's languages. Only called
    // while available, with a word as words() finds them.
    virtual bool knows(QStringView word) = 0;
};
