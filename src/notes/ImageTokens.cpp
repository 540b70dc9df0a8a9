#include "notes/ImageTokens.h"

#include <algorithm>
#include <charconv>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace ImageTokens {

QString token(const QString& id, std::optional<double> width)
{
    const QString target = u"](%1://%2)"_s.arg(scheme, id);
    if (!width || !(*width > 0) || !std::isfinite(*width))
        return u"![image"_s + target;
    const double w = *width;
    if (w == std::floor(w))
        return u"![image|"_s + QString::number(w, 'f', 0) + target;
    // "%.1f" as C prints it: exact ties go to the even digit (240.25 gives 240.2), which Qt's
    // own formatting does not do. to_chars is that format without the process's locale.
    char buffer[64];
    const auto written =
        std::to_chars(buffer, buffer + sizeof buffer, w, std::chars_format::fixed, 1);
    return u"![image|"_s + QString::fromLatin1(buffer, written.ptr - buffer) + target;
}

namespace {

bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

bool isIDCharacter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9')
           || u == u'-';
}

// Matches the token expression at position start, by hand: every body is scanned at launch
// and on each edit, and the expression engine costs several times more per token. Answers
// the end of the token, or -1. The tests hold it to the same answers as the expression
// "!\[image(?:\|([0-9]+(?:\.[0-9]+)?))?\]\(pondrift-img://([A-Za-z0-9-]+)\)".
qsizetype matchToken(QStringView text, qsizetype start, TextRange& widthText, TextRange& idText)
{
    static constexpr QStringView opening = u"![image";
    static const QString linkStart = u"]("_s + scheme + u"://"_s;
    qsizetype i = start + opening.size();
    const qsizetype size = text.size();
    widthText = TextRange{};
    if (i < size && text[i] == u'|') {
        const qsizetype digits = ++i;
        while (i < size && isDigit(text[i]))
            ++i;
        if (i == digits)
            return -1;
        if (i < size && text[i] == u'.') {
            const qsizetype fraction = ++i;
            while (i < size && isDigit(text[i]))
                ++i;
            if (i == fraction)
                return -1;
        }
        widthText = TextRange{digits, i - digits};
    }
    if (!text.sliced(i).startsWith(linkStart))
        return -1;
    i += linkStart.size();
    const qsizetype id = i;
    while (i < size && isIDCharacter(text[i]))
        ++i;
    if (i == id || i >= size || text[i] != u')')
        return -1;
    idText = TextRange{id, i - id};
    return i + 1;
}

} // namespace

QList<ImageToken> tokens(QStringView text)
{
    static constexpr QStringView opening = u"![image";
    QList<ImageToken> found;
    qsizetype from = 0;
    // Every body is scanned at launch. Qt looks for one character with vector instructions,
    // but for a string of seven by a much slower general search, so the mark comes first.
    while ((from = text.indexOf(opening.front(), from)) >= 0) {
        if (!text.sliced(from).startsWith(opening)) {
            ++from;
            continue;
        }
        TextRange widthText;
        TextRange idText;
        const qsizetype end = matchToken(text, from, widthText, idText);
        if (end < 0) {
            ++from;
            continue;
        }
        ImageToken token;
        token.id = text.sliced(idText.location, idText.length).toString();
        if (widthText.isValid()) {
            bool ok = false;
            const double w = text.sliced(widthText.location, widthText.length).toDouble(&ok);
            if (ok && std::isfinite(w))
                token.width = w;
        }
        token.range = TextRange{from, end - from};
        found.append(std::move(token));
        from = end;
    }
    return found;
}

QStringList referencedIDs(QStringView text)
{
    QStringList ids;
    for (const ImageToken& token : tokens(text))
        ids.append(token.id);
    return ids;
}

bool isValidID(QStringView id)
{
    return !id.isEmpty() && std::all_of(id.begin(), id.end(), isIDCharacter);
}

} // namespace ImageTokens
