#include "notes/NoteText.h"

#include "l10n/L10n.h"
#include "notes/ImageTokens.h"
#include "notes/Tasks.h"

#include <QRegularExpression>
#include <QStringList>
#include <QTextBoundaryFinder>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isNewline(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x000A && u <= 0x000D) || u == 0x0085 || u == 0x2028 || u == 0x2029;
}

// The body split at every newline character, empty lines dropped. A line of blanks stays.
QList<QStringView> lines(const QString& body)
{
    QList<QStringView> result;
    const QStringView view(body);
    qsizetype start = 0;
    for (qsizetype i = 0; i <= view.size(); ++i) {
        if (i == view.size() || isNewline(view[i])) {
            if (i > start)
                result.append(view.sliced(start, i - start));
            start = i + 1;
        }
    }
    return result;
}

QString trimmedBlanks(QStringView text) { return Tasks::trimmedBlanksAndTabs(text).toString(); }

// Up to limit user-perceived characters as they are; beyond that, the first limit and "…".
QString truncated(const QString& text, int limit)
{
    if (text.size() <= limit)
        return text; // fewer code units than the limit means fewer characters too
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    qsizetype cut = -1;
    while (finder.toNextBoundary() != -1) {
        ++count;
        if (count == limit)
            cut = finder.position();
        if (count > limit)
            return text.first(cut) + QChar(0x2026);
    }
    return text;
}

bool inRightToLeftBlock(char32_t u)
{
    return (u >= 0x0590 && u <= 0x08FF) || (u >= 0xFB1D && u <= 0xFDFF)
           || (u >= 0xFE70 && u <= 0xFEFF) || (u >= 0x1E800 && u <= 0x1EEFF)
           || (u >= 0x10800 && u <= 0x10FFF);
}

// Unicode's Alphabetic property as far as Qt exposes it: letters, letter numbers and
// spacing marks, plus the circled letters. Nonspacing marks are left out: only a few are
// alphabetic, and they follow a letter that has already decided.
bool isAlphabetic(char32_t u)
{
    if (QChar::isLetter(u))
        return true;
    const QChar::Category category = QChar::category(u);
    if (category == QChar::Number_Letter || category == QChar::Mark_SpacingCombining)
        return true;
    return u >= 0x24B6 && u <= 0x24E9;
}

} // namespace

namespace NoteText {

const NoteColor& palette(const Note& note) { return NoteColor::at(note.color); }

bool hasCustomTitle(const Note& note) { return !note.title.trimmed().isEmpty(); }

QString displayTitle(const Note& note)
{
    const QString title = note.title.trimmed();
    if (!title.isEmpty())
        return title;
    const QString derived = derivedTitle(note.body);
    if (!derived.isEmpty())
        return derived;
    return L10n::text(u"note.untitled"_s);
}

QString derivedTitle(const QString& body)
{
    // Unicode properties make \s cover the same blanks as the platform's own expressions.
    static const QRegularExpression headingMark(u"^#{1,6}\\s*"_s,
                                                QRegularExpression::UseUnicodePropertiesOption);
    for (QStringView line : lines(body)) {
        QString text = trimmedBlanks(strippingImageTokens(line.toString()));
        text.remove(headingMark);
        if (Tasks::isTask(text))
            text = trimmedBlanks(QStringView(text).sliced(1));
        if (!text.isEmpty())
            return truncated(text, titleLimit);
    }
    return {};
}

QString preview(const Note& note)
{
    QStringList kept;
    for (QStringView line : lines(note.body)) {
        QString text = strippingImageTokens(line.toString());
        if (!trimmedBlanks(text).isEmpty())
            kept.append(std::move(text));
    }
    if (!hasCustomTitle(note) && !kept.isEmpty())
        kept.removeFirst();
    return truncated(trimmedBlanks(kept.join(u' ')), previewLimit);
}

std::optional<std::pair<int, int>> taskProgress(const Note& note)
{
    int done = 0;
    int total = 0;
    for (QStringView line : lines(note.body)) {
        const std::optional<QChar> box = Tasks::marker(line);
        if (!box)
            continue;
        ++total;
        if (*box == Tasks::done)
            ++done;
    }
    if (total == 0)
        return std::nullopt;
    return std::pair{done, total};
}

QString strippingImageTokens(const QString& text)
{
    const QList<ImageToken> found = ImageTokens::tokens(text);
    if (found.isEmpty())
        return text;
    QString result = text;
    // From the last to the first, so that the earlier ranges stay valid.
    for (auto it = found.crbegin(); it != found.crend(); ++it)
        result.remove(it->range.location, it->range.length);
    return result;
}

bool isImageTokenLine(const QString& line)
{
    const QString rest = trimmedBlanks(line);
    if (rest.isEmpty())
        return false;
    const QList<ImageToken> found = ImageTokens::tokens(rest);
    return found.size() == 1 && found.first().range.location == 0
           && found.first().range.length == rest.size();
}

std::optional<Qt::LayoutDirection> firstStrong(QStringView text)
{
    // Decodes as it walks: the answer usually comes within the first few characters.
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t u = text[i].unicode();
        if (QChar::isHighSurrogate(u) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            u = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        if (u == 0x061C || u == 0x200F)
            return Qt::RightToLeft;
        if (u == 0x200E)
            return Qt::LeftToRight;
        if (isAlphabetic(u))
            return inRightToLeftBlock(u) ? Qt::RightToLeft : Qt::LeftToRight;
    }
    return std::nullopt;
}

ParagraphStyle paragraphStyle(NoteTextDirection direction)
{
    switch (direction) {
    case NoteTextDirection::LeftToRight:
        return {Qt::LeftToRight, Qt::AlignLeft | Qt::AlignAbsolute};
    case NoteTextDirection::RightToLeft:
        return {Qt::RightToLeft, Qt::AlignRight | Qt::AlignAbsolute};
    case NoteTextDirection::Automatic:
        break;
    }
    return {Qt::LayoutDirectionAuto, Qt::AlignLeading};
}

ParagraphStyle paragraphStyle(NoteTextDirection direction, QStringView text)
{
    if (direction != NoteTextDirection::Automatic)
        return paragraphStyle(direction);
    if (firstStrong(text).value_or(Qt::LeftToRight) == Qt::RightToLeft)
        return paragraphStyle(NoteTextDirection::RightToLeft);
    return paragraphStyle(NoteTextDirection::LeftToRight);
}

} // namespace NoteText
