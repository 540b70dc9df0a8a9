#include "platform/SpellChecker.h"

#include <QTextBoundaryFinder>

#include <algorithm>

SpellChecker::~SpellChecker() = default;

namespace {

bool isCjk(char32_t c)
{
    switch (QChar::script(c)) {
    case QChar::Script_Han:
    case QChar::Script_Hiragana:
    case QChar::Script_Katakana:
    case QChar::Script_Hangul:
    case QChar::Script_Bopomofo:
        return true;
    default:
        return false;
    }
}

// Whether a stretch between blanks is written for a machine: a name from code ("foo_bar",
// "a::b"), a file or host name ("main.cpp", "e.g."), a path, an address. The word rules
// cut such a stretch into pieces that no dictionary knows.
bool isTechnical(QStringView chunk)
{
    qsizetype slashes = 0;
    for (qsizetype i = 0; i < chunk.size(); ++i) {
        const QChar c = chunk[i];
        if (c == u'_' || c == u'@' || c == u'\\')
            return true;
        if (c == u'/')
            ++slashes;
        const bool inner = i > 0 && i + 1 < chunk.size() && chunk[i - 1].isLetterOrNumber()
                           && chunk[i + 1].isLetterOrNumber();
        if (inner && c == u'.')
            return true;
        if (c == u':' && i + 1 < chunk.size() && chunk[i + 1] == u':')
            return true;
    }
    // "and/or" is prose; "/usr/lib" and "src/a/b" are paths.
    return slashes >= 2;
}

// Whether a segment the word rules found is a word worth looking up.
bool isCheckable(QStringView segment)
{
    bool letter = false;
    bool lower = false;
    for (char32_t c : segment.toUcs4()) {
        if (QChar::isDigit(c) || isCjk(c))
            return false;
        if (QChar::isLetter(c)) {
            letter = true;
            // Letters without case (Arabic, Thai) count as lower case: only a word of
            // capitals alone is an acronym.
            lower = lower || !QChar::isUpper(c);
        }
    }
    return letter && (lower || segment.size() == 1);
}

} // namespace

QList<SpellChecker::Range> SpellChecker::words(QStringView line)
{
    QList<Range> found;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, line);
    qsizetype start = 0;
    // The stretch between blanks that holds the current segment, and whether it is technical.
    qsizetype chunkEnd = 0;
    bool technical = false;
    while (finder.toNextBoundary() >= 0) {
        const qsizetype end = finder.position();
        if (start >= chunkEnd) {
            qsizetype chunkStart = start;
            while (chunkStart < line.size() && line[chunkStart].isSpace())
                ++chunkStart;
            chunkEnd = chunkStart;
            while (chunkEnd < line.size() && !line[chunkEnd].isSpace())
                ++chunkEnd;
            technical = isTechnical(line.sliced(chunkStart, chunkEnd - chunkStart));
        }
        const QStringView segment = line.sliced(start, end - start);
        if (!technical && isCheckable(segment))
            found.append(Range{start, end - start});
        start = end;
    }
    return found;
}

QList<SpellChecker::Range> SpellChecker::misspelled(QStringView line)
{
    if (!available())
        return {};
    QList<Range> found = words(line);
    found.removeIf([&](const Range& word) { return knows(line.sliced(word.start, word.length)); });
    return found;
}
