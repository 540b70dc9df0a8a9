#include "exchange/NoteDocument.h"

#include "exchange/IsoStamp.h"
#include "notes/NoteText.h"
#include "notes/Tasks.h"

#include <QStringList>

#include <charconv>
#include <clocale>
#include <cstdlib>
#include <locale.h>

using namespace Qt::Literals::StringLiterals;

namespace NoteDocument {
namespace {

// Unicode space separators and the tab: what counts as a blank round a line or a value.
bool isBlank(QChar c) { return c == u'\t' || c.category() == QChar::Separator_Space; }

QStringView cutBlanks(QStringView s)
{
    qsizetype from = 0;
    qsizetype to = s.size();
    while (from < to && isBlank(s[from]))
        ++from;
    while (to > from && isBlank(s[to - 1]))
        --to;
    return s.sliced(from, to - from);
}

bool isLineBreak(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x0A && u <= 0x0D) || u == 0x85 || u == 0x2028 || u == 0x2029;
}

// A key starts with a letter and holds only letters, numbers, "-" and "_". Marks that
// follow an accepted character belong to it, as they would in one user-perceived character.
bool isValidKey(QStringView key)
{
    if (key.isEmpty())
        return false;
    bool first = true;
    for (const char32_t u : key.toUcs4()) {
        const auto category = QChar::category(u);
        const bool mark = category == QChar::Mark_NonSpacing
                          || category == QChar::Mark_SpacingCombining
                          || category == QChar::Mark_Enclosing;
        if (first) {
            if (!QChar::isLetter(u))
                return false;
            first = false;
        } else if (!(QChar::isLetterOrNumber(u) || u == U'-' || u == U'_' || mark)) {
            return false;
        }
    }
    return true;
}

bool isKnownKey(QStringView key)
{
    return std::any_of(Key::all.begin(), Key::all.end(),
                       [&](const QString& k) { return key == k; });
}

struct Header {
    QList<std::pair<QString, QString>> pairs;
    QString body;
};

std::optional<Header> splitHeader(const QString& text)
{
    const QList<QStringView> lines = QStringView(text).split(u'\n');
    if (cutBlanks(lines.front()) != fence)
        return std::nullopt;
    qsizetype closing = -1;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (cutBlanks(lines[i]) == fence) {
            closing = i;
            break;
        }
    }
    if (closing < 0)
        return std::nullopt;
    Header header;
    bool anyKnown = false;
    for (qsizetype i = 1; i < closing; ++i) {
        const QStringView line = cutBlanks(lines[i]);
        if (line.isEmpty())
            continue;
        const qsizetype colon = line.indexOf(u':');
        if (colon < 0)
            return std::nullopt;
        const QStringView key = line.first(colon);
        if (!isValidKey(key))
            return std::nullopt;
        anyKnown = anyKnown || isKnownKey(key);
        header.pairs.append({key.toString(), cutBlanks(line.sliced(colon + 1)).toString()});
    }
    if (header.pairs.isEmpty() || !anyKnown)
        return std::nullopt;
    qsizetype first = closing + 1;
    if (first < lines.size() && lines[first].isEmpty())
        ++first;
    QStringList rest;
    rest.reserve(lines.size() - first);
    for (qsizetype i = first; i < lines.size(); ++i)
        rest.append(lines[i].toString());
    header.body = rest.join(u'\n');
    return header;
}

std::optional<qint64> parseColor(QStringView value)
{
    qsizetype i = 0;
    bool negative = false;
    if (!value.isEmpty() && (value[0] == u'+' || value[0] == u'-')) {
        negative = value[0] == u'-';
        i = 1;
    }
    if (i == value.size())
        return std::nullopt;
    // Accumulate towards the negative side, which holds one more value than the positive.
    qint64 result = 0;
    for (; i < value.size(); ++i) {
        const char16_t c = value[i].unicode();
        if (c < u'0' || c > u'9')
            return std::nullopt;
        const int digit = c - u'0';
        if (result < (std::numeric_limits<qint64>::min() + digit) / 10)
            return std::nullopt;
        result = result * 10 - digit;
    }
    if (!negative) {
        if (result == std::numeric_limits<qint64>::min())
            return std::nullopt;
        result = -result;
    }
    return result;
}

locale_t cLocale()
{
    static const locale_t c = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    return c;
}

} // namespace

QString foldedTitle(const QString& title)
{
    QStringList pieces;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= title.size(); ++i) {
        if (i == title.size() || isLineBreak(title[i])) {
            if (i > start)
                pieces.append(title.sliced(start, i - start));
            start = i + 1;
        }
    }
    return cutBlanks(pieces.join(u' ')).toString();
}

QString formatOrder(double order)
{
    char buffer[64];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, order);
    QString text = QString::fromLatin1(buffer, error == std::errc() ? end - buffer : 0);
    // Infinities and NaN have letters but no digits to mark as a double; strtod reads them.
    const bool hasDigit =
        std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.isDigit(); });
    if (hasDigit && !text.contains(u'.') && !text.contains(u'e'))
        text += u".0"_s;
    return text;
}

std::optional<double> parseOrder(QStringView text)
{
    const QByteArray bytes = text.toUtf8();
    if (bytes.isEmpty() || bytes.contains('\0'))
        return std::nullopt;
    char* end = nullptr;
    const double value = strtod_l(bytes.constData(), &end, cLocale());
    if (end != bytes.constData() + bytes.size())
        return std::nullopt;
    return value;
}

QString render(const Note& note)
{
    QString text;
    text.reserve(200 + note.body.size());
    text += fence + u'\n';
    text += Key::id + u": "_s + note.id + u'\n';
    text += Key::color + u": "_s + QString::number(note.color) + u'\n';
    text += Key::created + u": "_s + IsoStamp::format(note.created) + u'\n';
    text += Key::modified + u": "_s + IsoStamp::format(note.modified) + u'\n';
    text += Key::archived + u": "_s + (note.archived ? u"true"_s : u"false"_s) + u'\n';
    text += Key::pinned + u": "_s + (note.pinned ? u"true"_s : u"false"_s) + u'\n';
    text += Key::order + u": "_s + formatOrder(note.order) + u'\n';
    text += Key::direction + u": "_s + TextDirection::rawValue(note.textDirection);
    if (NoteText::hasCustomTitle(note))
        text += u'\n' + Key::title + u": "_s + foldedTitle(note.title);
    text += u'\n' + fence + u"\n\n"_s;
    text += Tasks::toMarkdown(note.body);
    return text;
}

Parsed parse(const QString& text, const QString& fallbackTitle)
{
    Parsed result;
    Note& note = result.note;
    QString body = text;
    if (const auto header = splitHeader(text)) {
        body = header->body;
        for (const auto& [key, value] : header->pairs) {
            if (key == Key::id) {
                if (!value.isEmpty()) {
                    note.id = value;
                    result.hasIdentity = true;
                }
            } else if (key == Key::color) {
                if (const auto color = parseColor(value))
                    note.color = *color;
            } else if (key == Key::created) {
                if (const auto date = IsoStamp::parse(value))
                    note.created = *date;
            } else if (key == Key::modified) {
                if (const auto date = IsoStamp::parse(value))
                    note.modified = *date;
            } else if (key == Key::archived) {
                note.archived = value == u"true"_s;
            } else if (key == Key::pinned) {
                note.pinned = value == u"true"_s;
            } else if (key == Key::order) {
                if (const auto order = parseOrder(value))
                    note.order = *order;
            } else if (key == Key::direction) {
                // An unknown value resets to automatic rather than keeping an earlier line's.
                note.textDirection =
                    TextDirection::fromRawValue(value).value_or(NoteTextDirection::Automatic);
            } else if (key == Key::title) {
                note.title = value;
            }
        }
    }
    note.body = Tasks::fromMarkdown(body);
    if (!NoteText::hasCustomTitle(note) && NoteText::derivedTitle(note.body).isEmpty())
        note.title = fallbackTitle;
    return result;
}

} // namespace NoteDocument
