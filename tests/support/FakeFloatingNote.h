#pragma once

#include "deck/DetachTarget.h"

#include <QList>

// A floating note that records what the deck asks of it.
class FakeFloatingNote final : public DetachTarget {
public:
    std::optional<QString> noteID() const override { return floating; }
    void focus() override { ++focused; }
    void present(const QString& id, QPointF under, QPointF grab) override
    {
        floating = id;
        pointer = under;
        grabOffset = grab;
    }
    void dragTo(QPointF point) override { pointer = point; }
    void endDrag(bool cancelled) override { ends.append(cancelled); }
    std::optional<QString> floating;
    QPointF pointer;
    QPointF grabOffset;
    QList<bool> ends;
    int focused = 0;
};
