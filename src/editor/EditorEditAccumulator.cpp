#include "editor/EditorEditAccumulator.h"

#include "editor/EditorRanges.h"

void EditorEditAccumulator::record(TextRange range)
{
    if (range.location == TextRange::NotFound || !range.isValid())
        return;
    pending.append(range);
}

QList<TextRange> EditorEditAccumulator::consume(const QTextDocument& document, bool hasMarkedText)
{
    if (hasMarkedText || pending.isEmpty())
        return {};
    const QList<TextRange> taken = std::exchange(pending, {});
    return EditorRanges::affectedLineRanges(taken, document);
}
