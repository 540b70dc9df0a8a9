#include "editor/SpellRanges.h"

namespace SpellRanges {
namespace {

// The fence character of a fence line, or 0.
char16_t fenceOf(QStringView line)
{
    qsizetype i = 0;
    while (i < line.size() && i < 3 && line[i] == u' ')
        ++i;
    const QStringView rest = line.sliced(i);
    if (rest.startsWith(u"```"))
        return u'`';
    if (rest.startsWith(u"~~~"))
        return u'~';
    return 0;
}

void blank(QString& text, qsizetype from, qsizetype count)
{
    for (qsizetype i = from; i < from + count; ++i)
        text[i] = u' ';
}

} // namespace

bool isFence(QStringView line) { return fenceOf(line) != 0; }

bool Fences::inCode(QStringView line)
{
    const char16_t fence = fenceOf(line);
    if (open) {
        if (fence == open)
            open = 0;
        return true;
    }
    open = fence;
    return fence != 0;
}

QList<bool> inFencedCode(const QList<QString>& lines)
{
    Fences fences;
    QList<bool> fenced;
    fenced.reserve(lines.size());
    for (const QString& line : lines)
        fenced.append(fences.inCode(line));
    return fenced;
}

QString prose(const QString& line, const QList<MarkdownRuns::Run>& runs, bool inFence)
{
    QString text = line;
    if (inFence || isFence(line)) {
        blank(text, 0, text.size());
        return text;
    }
    for (const MarkdownRuns::Run& run : runs) {
        const bool code = run.attributes.font == MarkdownRuns::MonoFont;
        const bool hidden = run.attributes.flags & MarkdownRuns::Hidden;
        if ((code || hidden) && run.start + run.length <= text.size())
            blank(text, run.start, run.length);
    }
    return text;
}

QString prose(const QString& line, bool inFence)
{
    if (inFence || isFence(line))
        return prose(line, {}, inFence);
    MarkdownRuns::Input input;
    input.text = line;
    return prose(line, MarkdownRuns::compute(input).runs, false);
}

} // namespace SpellRanges
