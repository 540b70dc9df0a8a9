// Any text reads as a command or a refusal; an accepted new note's text is non-empty, under
// the limit, and comes back whole from the URL made for it. The same bytes taken as a note's
// text survive that URL too.
#include "app/UrlScheme.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString input = QString::fromUtf8(bytes);

    const UrlScheme::Parsed parsed = UrlScheme::parse(input);
    if (parsed.accepted() && parsed.command == UrlScheme::Command::NewNote) {
        if (parsed.text.isEmpty() || parsed.text.toUtf8().size() > UrlScheme::maxTextBytes)
            std::abort();
        const UrlScheme::Parsed again = UrlScheme::parse(UrlScheme::newNoteUrl(parsed.text));
        if (!again.accepted() || again.command != UrlScheme::Command::NewNote
            || again.text != parsed.text)
            std::abort();
    } else if (!parsed.accepted() && !parsed.text.isEmpty()) {
        std::abort();
    }

    const UrlScheme::Parsed made = UrlScheme::parse(UrlScheme::newNoteUrl(input));
    if (input.toUtf8().size() > UrlScheme::maxTextBytes) {
        if (made.refusal != UrlScheme::Refusal::TooLong)
            std::abort();
    } else if (input.isEmpty()) {
        if (!made.accepted() || made.command != UrlScheme::Command::Capture)
            std::abort();
    } else if (!made.accepted() || made.command != UrlScheme::Command::NewNote
               || made.text != input) {
        std::abort();
    }
    return 0;
}
