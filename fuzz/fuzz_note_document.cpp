// Any text parses; rendering what was parsed and parsing again gives the same note back, with
// the same lines of other tools' keys.
#include "exchange/NoteDocument.h"
#include "notes/NoteText.h"

#include <QString>

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

bool sameDouble(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

bool whole(Date d) { return d.seconds == std::floor(d.seconds); }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto first = NoteDocument::parse(text, QStringLiteral("Fallback"));
    const QString rendered = NoteDocument::render(first.note, first.foreignHeader);
    const auto second = NoteDocument::parse(rendered, QStringLiteral("Other"));
    const Note& a = first.note;
    const Note& b = second.note;
    if (!second.hasIdentity || a.id != b.id || a.color != b.color || a.archived != b.archived
        || a.pinned != b.pinned || a.textDirection != b.textDirection
        || !sameDouble(a.order, b.order) || a.body != b.body
        || first.foreignHeader != second.foreignHeader)
        std::abort();
    if ((whole(a.created) && a.created != b.created)
        || (whole(a.modified) && a.modified != b.modified))
        std::abort();
    if (NoteText::hasCustomTitle(a) && b.title != NoteDocument::foldedTitle(a.title))
        std::abort();
    return 0;
}
