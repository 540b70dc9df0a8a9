// Any text gives runs that cover it exactly once, in order; hiding stays on markers and image
// tokens, never on the revealing line's own text, and never with Markdown off; every index a
// run carries points at a link or a hidden token. The first byte picks the options.
#include "editor/EditorRanges.h"
#include "editor/MarkdownRuns.h"
#include "notes/Tasks.h"

#include <QRegularExpression>

#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

bool isMarkerChar(QChar c) { return QStringView{u"*_`~#>["}.contains(c); }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const uint8_t options = data[0];
    MarkdownRuns::Input input;
    input.text = QString::fromUtf8(reinterpret_cast<const char*>(data + 1),
                                   static_cast<qsizetype>(size - 1));
    input.offset = options & 0x80 ? 1000 : 0;
    input.markdownEnabled = !(options & 1);
    const QString& text = input.text;
    const QList<ImageToken> tokens = ImageTokens::tokens(text);
    if ((options & 2) && !tokens.isEmpty())
        input.forceRevealImageID = tokens.first().id;
    std::optional<TextRange> line;
    if (options & 4) {
        line = EditorRanges::lineRange((options >> 3 & 0x0f) * text.size() / 15, text);
        input.revealing = TextRange{line->location + input.offset, line->length};
    }

    const MarkdownRuns::Result result = MarkdownRuns::compute(input);
    require(result == MarkdownRuns::compute(input));

    // Cover exactly once, in order, neighbours differing.
    QList<MarkdownRuns::Attributes> at;
    for (const MarkdownRuns::Run& run : result.runs) {
        require(run.start == at.size() && run.length > 0);
        require(at.isEmpty() || !(at.back() == run.attributes));
        require(run.attributes.link < result.links.size());
        at.append(QList<MarkdownRuns::Attributes>(run.length, run.attributes));
    }
    require(at.size() == text.size());

    // Where hiding may fall: tokens, links, and the marker characters.
    QList<bool> mayHide(text.size(), false);
    static const QRegularExpression link(uR"((*ANY)\[([^\]\n]+)\]\(([^)\s]+)\))"_s,
                                         QRegularExpression::UseUnicodePropertiesOption);
    for (auto it = link.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        for (qsizetype i = m.capturedStart(0); i < m.capturedEnd(0); ++i)
            mayHide[i] = true;
    }
    QList<bool> inHiddenToken(text.size(), false);
    qsizetype hiddenTokens = 0;
    for (const ImageToken& token : tokens) {
        const bool shown = input.forceRevealImageID == token.id;
        for (qsizetype i = token.range.location; i < token.range.end(); ++i) {
            mayHide[i] = true;
            inHiddenToken[i] = input.markdownEnabled && !shown;
            require(((at[i].flags & MarkdownRuns::Hidden) != 0) == inHiddenToken[i]);
            // Only a hidden token's first character holds its picture's room.
            const bool reserves = inHiddenToken[i] && i == token.range.location;
            require(((at[i].flags & MarkdownRuns::Reserves) != 0) == reserves);
        }
        if (input.markdownEnabled && !shown) {
            require(hiddenTokens < result.images.size());
            require(result.images[hiddenTokens].id == token.id);
            require(result.images[hiddenTokens].range.location
                    == token.range.location + input.offset);
            ++hiddenTokens;
        }
    }
    require(hiddenTokens == result.images.size());

    for (qsizetype i = 0; i < text.size(); ++i) {
        const MarkdownRuns::Attributes& a = at[i];
        const bool hidden = (a.flags & MarkdownRuns::Hidden) != 0;
        require(!hidden || mayHide[i] || isMarkerChar(text[i]));
        require(!hidden || inHiddenToken[i] || !line || !line->contains(i));
        if (!input.markdownEnabled) {
            require(a.font == MarkdownRuns::BodyFont && a.link < 0);
            require((a.flags & ~MarkdownRuns::Struck) == 0);
            require(a.tone == MarkdownRuns::Tone::Full || a.tone == MarkdownRuns::Tone::Done);
        }
        // Struck at the completed-task tone means a completed task line: the one whole-line
        // style that holds with Markdown off.
        if (a.tone == MarkdownRuns::Tone::Done) {
            const TextRange own = EditorRanges::lineRange(i, text);
            require(text[own.location] == Tasks::done);
        }
    }
    return 0;
}
