#include "app/UrlScheme.h"

#include <QStringDecoder>
#include <QUrl>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace UrlScheme {
namespace {

// Escaped, the longest text takes three characters a byte; beyond that (and room for the
// rest of the address) no URL can be one we take, and it is not worth scanning.
constexpr qsizetype maxUrlLength = 3 * maxTextBytes + 64 * 1024;

int hexValue(char16_t c)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

bool escapesAreWellFormed(QStringView part)
{
    for (qsizetype i = 0; i < part.size(); ++i) {
        if (part[i] != u'%')
            continue;
        if (i + 2 >= part.size() || hexValue(part[i + 1].unicode()) < 0
            || hexValue(part[i + 2].unicode()) < 0)
            return false;
        i += 2;
    }
    return true;
}

// The bytes a component stands for. Unescaped characters count as their UTF-8; the caller has
// checked the escapes.
QByteArray percentDecoded(QStringView part)
{
    const QByteArray utf8 = part.toUtf8();
    QByteArray bytes;
    bytes.reserve(utf8.size());
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        if (utf8[i] == '%') {
            bytes.append(static_cast<char>(hexValue(utf8[i + 1]) * 16 + hexValue(utf8[i + 2])));
            i += 2;
        } else {
            bytes.append(utf8[i]);
        }
    }
    return bytes;
}

// Strict: an overlong form, an encoded surrogate or a cut sequence is an error, never a
// replacement character, and a leading byte order mark is kept as the text's own character.
std::optional<QString> strictUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless
                                                       | QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

std::optional<Command> commandFor(const QByteArray& host)
{
    if (host == "new")
        return Command::NewNote;
    if (host == "capture")
        return Command::Capture;
    if (host == "all")
        return Command::AllNotes;
    if (host == "settings")
        return Command::Settings;
    return std::nullopt;
}

// "user@host:port" to "host". A port is digits after the last colon; an IPv6 literal ends in
// ']' and is no command anyway.
QStringView hostOf(QStringView authority)
{
    if (const qsizetype at = authority.lastIndexOf(u'@'); at >= 0)
        authority = authority.mid(at + 1);
    if (const qsizetype colon = authority.lastIndexOf(u':'); colon >= 0) {
        const QStringView port = authority.mid(colon + 1);
        if (std::all_of(port.cbegin(), port.cend(), [](QChar c) { return c.isDigit(); }))
            authority = authority.left(colon);
    }
    return authority;
}

// The first item named "text": absent, without '=', or with nothing after it gives an empty
// value; later items of the same name are not looked at.
QStringView textItem(QStringView query)
{
    qsizetype start = 0;
    while (start <= query.size()) {
        qsizetype end = query.indexOf(u'&', start);
        if (end < 0)
            end = query.size();
        const QStringView item = query.mid(start, end - start);
        const qsizetype equals = item.indexOf(u'=');
        const QStringView name = equals < 0 ? item : item.left(equals);
        if (percentDecoded(name) == "text")
            return equals < 0 ? QStringView() : item.mid(equals + 1);
        start = end + 1;
    }
    return {};
}

Parsed refused(Refusal why)
{
    return Parsed{.refusal = why, .command = Command::Capture, .text = {}};
}

} // namespace

Parsed parse(QStringView url)
{
    if (url.size() > maxUrlLength)
        return refused(Refusal::TooLong);
    const qsizetype colon = url.indexOf(u':');
    if (colon < 0 || url.left(colon) != scheme)
        return refused(Refusal::NotPondrift);
    QStringView rest = url.mid(colon + 1);
    if (!escapesAreWellFormed(rest))
        return refused(Refusal::BadEscape);
    if (const qsizetype hash = rest.indexOf(u'#'); hash >= 0)
        rest = rest.left(hash);
    QStringView query;
    if (const qsizetype question = rest.indexOf(u'?'); question >= 0) {
        query = rest.mid(question + 1);
        rest = rest.left(question);
    }
    if (!rest.startsWith(u"//"))
        return refused(Refusal::NoHost);
    QStringView authority = rest.mid(2);
    if (const qsizetype slash = authority.indexOf(u'/'); slash >= 0)
        authority = authority.left(slash);
    const QStringView host = hostOf(authority);
    if (host.isEmpty())
        return refused(Refusal::NoHost);
    const std::optional<Command> command = commandFor(percentDecoded(host));
    if (!command)
        return refused(Refusal::UnknownCommand);
    if (*command != Command::NewNote)
        return Parsed{.refusal = Refusal::None, .command = *command, .text = {}};

    const QByteArray bytes = percentDecoded(textItem(query));
    if (bytes.size() > maxTextBytes)
        return refused(Refusal::TooLong);
    std::optional<QString> text = strictUtf8(bytes);
    if (!text)
        return refused(Refusal::NotUtf8);
    if (text->isEmpty())
        return Parsed{.refusal = Refusal::None, .command = Command::Capture, .text = {}};
    return Parsed{.refusal = Refusal::None, .command = Command::NewNote, .text = std::move(*text)};
}

QString newNoteUrl(const QString& text)
{
    return scheme + u"://new?text="_s + QString::fromLatin1(QUrl::toPercentEncoding(text));
}

QString describe(Refusal refusal)
{
    switch (refusal) {
    case Refusal::None:
        return u"accepted"_s;
    case Refusal::NotPondrift:
        return u"not a pondrift: address"_s;
    case Refusal::NoHost:
        return u"no command after pondrift://"_s;
    case Refusal::UnknownCommand:
        return u"an unknown command (new, capture, all and settings are known)"_s;
    case Refusal::BadEscape:
        return u"a '%' without two hex digits after it"_s;
    case Refusal::NotUtf8:
        return u"the text is not UTF-8"_s;
    case Refusal::TooLong:
        return u"the text is longer than 1 MiB"_s;
    }
    return {};
}

} // namespace UrlScheme
