#include "editor/EditorEditAccumulator.h"

#include "editor/EditorStyleEngine.h"

void EditorEditAccumulator::record(TextRange range)
{
    if (range.location == TextRange::NotFound || !range.isValid())
        return;
    pending.append(range);
}

QList<TextRange> EditorEditAccumulator::consume(QStringView text, bool hasMarkedText)
{
    if (hasMarkedText || pending.isEmpty())
        return {};
    const QList<TextRange> taken = std::exchange(pending, {});
    return EditorStyleEngine::affectedLineRanges(taken, text);
}

QList<TextRange> EditorEditAccumulator::consume(const QTextDocument& document, bool hasMarkedText)
{
    if (hasMarkedText || pending.isEmpty())
        return {};
    const QList<TextRange> taken = std::exchange(pending, {});
    return EditorStyleEngine::affectedLineRanges(taken, document);
}
