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
    QStringList foreign;
    QString body;
};

// Editors on other systems end lines with CR LF; the carriage return is no part of a header
// line, nor of any value, and neither are the blanks an editor leaves round it.
QStringView withoutReturns(QStringView line)
{
    while (!line.isEmpty() && (line.back() == u'\r' || isBlank(line.back())))
        line.chop(1);
    return line;
}

qsizetype indentOf(QStringView line)
{
    qsizetype n = 0;
    while (n < line.size() && isBlank(line[n]))
        ++n;
    return n;
}

// "- item", or "-" alone: an entry of a YAML block list.
bool isListEntry(QStringView cut)
{
    return cut.startsWith(u'-') && (cut.size() == 1 || isBlank(cut[1]));
}

// "|", ">", "|-", ">+2" and the like: a YAML block scalar, whose text is on the lines below.
bool isBlockScalar(QStringView value)
{
    if (value.isEmpty() || (value[0] != u'|' && value[0] != u'>'))
        return false;
    return std::all_of(value.begin() + 1, value.end(),
                       [](QChar c) { return c == u'+' || c == u'-' || (c >= u'1' && c <= u'9'); });
}

std::optional<Header> splitHeader(const QString& text)
{
    const QList<QStringView> lines = QStringView(text).split(u'\n');
    if (cutBlanks(withoutReturns(lines.front())) != fence)
        return std::nullopt;
    const bool crlf = lines.front().endsWith(u'\r');
    qsizetype closing = -1;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (cutBlanks(withoutReturns(lines[i])) == fence) {
            closing = i;
            break;
        }
    }
    if (closing < 0)
        return std::nullopt;
    Header header;
    // Another tool's key may hold a block list or a nested map on the lines below it: those
    // lines belong to the key, indented deeper than it or, for a list, level with it.
    struct Block {
        qsizetype indent = 0;
        bool foreign = false;
        QStringList blanks;
    };
    std::optional<Block> block;
    for (qsizetype i = 1; i < closing; ++i) {
        const QStringView raw = withoutReturns(lines[i]);
        const QStringView line = cutBlanks(raw);
        if (line.isEmpty()) {
            if (block)
                block->blanks.append(raw.toString());
            continue;
        }
        if (block) {
            const qsizetype indent = indentOf(raw);
            if (indent > block->indent || (indent == block->indent && isListEntry(line))) {
                if (block->foreign) {
                    header.foreign.append(block->blanks);
                    header.foreign.append(raw.toString());
                }
                block->blanks.clear();
                continue;
            }
            block.reset();
        }
        const qsizetype colon = line.indexOf(u':');
        if (colon < 0)
            return std::nullopt;
        const QStringView key = line.first(colon);
        if (!isValidKey(key))
            return std::nullopt;
        const bool known = isKnownKey(key);
        const QStringView value = cutBlanks(line.sliced(colon + 1));
        header.pairs.append({key.toString(), value.toString()});
        if (!known)
            header.foreign.append(raw.toString());
        if (value.isEmpty() || (!known && isBlockScalar(value)))
            block = Block{indentOf(raw), !known, {}};
    }
    // Another tool's header without a key of ours is a header too: read as body text, it
    // would title the note "---" and lose its keys at the first rewrite.
    if (header.pairs.isEmpty())
        return std::nullopt;
    qsizetype first = closing + 1;
    // In a CR LF document every line break of the body is one too; the note keeps plain ones.
    const auto bodyLine = [&](qsizetype i) {
        return crlf && i + 1 < lines.size() && lines[i].endsWith(u'\r') ? lines[i].chopped(1)
                                                                        : lines[i];
    };
    if (first < lines.size() && bodyLine(first).isEmpty())
        ++first;
    QStringList rest;
    rest.reserve(lines.size() - first);
    for (qsizetype i = first; i < lines.size(); ++i)
        rest.append(bodyLine(i).toString());
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

QString render(const Note& note, const QStringList& foreignHeader)
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
    for (const QString& line : foreignHeader) {
        if (line.contains(u'\n') || line.endsWith(u'\r') || cutBlanks(line) == fence)
            continue;
        text += u'\n' + line;
    }
    text += u'\n' + fence + u"\n\n"_s;
    text += Tasks::toMarkdown(note.body);
    return text;
}

Parsed parse(const QString& text, const QString& fallbackTitle)
{
    Parsed result;
    Note& note = result.note;
    // A byte order mark some editors put first is no part of the text.
    const QString unmarked = text.startsWith(QChar(0xFEFF)) ? text.sliced(1) : text;
    QString body = unmarked;
    if (const auto header = splitHeader(unmarked)) {
        body = header->body;
        result.foreignHeader = header->foreign;
        for (const auto& [key, value] : header->pairs) {
            if (key == Key::id) {
                if (!value.isEmpty()) {
                    note.id = value;
                    result.hasIdentity = true;
                    result.declared.insert(key);
                }
            } else if (key == Key::color) {
                if (const auto color = parseColor(value)) {
                    note.color = *color;
                    result.declared.insert(key);
                }
            } else if (key == Key::created) {
                if (const auto date = IsoStamp::parse(value)) {
                    note.created = *date;
                    result.declared.insert(key);
                }
            } else if (key == Key::modified) {
                if (const auto date = IsoStamp::parse(value)) {
                    note.modified = *date;
                    result.declared.insert(key);
                }
            } else if (key == Key::archived) {
                note.archived = value == u"true"_s;
                result.declared.insert(key);
            } else if (key == Key::pinned) {
                note.pinned = value == u"true"_s;
                result.declared.insert(key);
            } else if (key == Key::order) {
                if (const auto order = parseOrder(value)) {
                    note.order = *order;
                    result.declared.insert(key);
                }
            } else if (key == Key::direction) {
                // An unknown value resets to automatic rather than keeping an earlier line's.
                note.textDirection =
                    TextDirection::fromRawValue(value).value_or(NoteTextDirection::Automatic);
                result.declared.insert(key);
            } else if (key == Key::title) {
                note.title = value;
                result.declared.insert(key);
            }
        }
    } else if (const qsizetype end = body.indexOf(u'\n'); end > 0 && body[end - 1] == u'\r') {
        // A plain text saved with Windows line ends: the note keeps plain ones, as it does
        // below a header.
        body.replace(u"\r\n"_s, u"\n"_s);
    }
    note.body = Tasks::fromMarkdown(body);
    if (!NoteText::hasCustomTitle(note) && NoteText::derivedTitle(note.body).isEmpty())
        note.title = fallbackTitle;
    return result;
}

} // namespace NoteDocument
