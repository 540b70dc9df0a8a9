#pragma once

#include "notes/TextRange.h"

#include <QList>

class QTextDocument;

// Gathers the ranges that edits touched since the last styling pass, so that a keystroke
// restyles only the lines around it. The ranges are kept as the edits reported them, in
// their order, and not adjusted for later edits: widening to whole lines at consume time
// covers the drift, since every edit lands inside or next to a line already counted.
class EditorEditAccumulator {
public:
    bool hasPendingEdits() const { return !pending.isEmpty(); }
    const QList<TextRange>& pendingEdits() const { return pending; }

    // Ignores ranges with a negative or NotFound location or a negative length.
    void record(TextRange range);

    // The whole lines the pending edits touched, sorted and disjoint, and empties the list.
    // While an input method composes (hasMarkedText) nothing is taken and the list is kept,
    // so the pass happens once the composition ends.
    QList<TextRange> consume(const QTextDocument& document, bool hasMarkedText);

    void clear() { pending.clear(); }

private:
    QList<TextRange> pending;
};
