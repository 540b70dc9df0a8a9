#pragma once

#include <QPointF>
#include <QString>

#include <optional>

// The floating note as the deck sees it: the surface a note is pulled out to, and the one
// other place where a note can show. Points are in screen coordinates (origin bottom left).
class DetachTarget {
public:
    virtual ~DetachTarget() = default;

    // The note floating now, absent when nothing floats.
    virtual std::optional<QString> noteID() const = 0;
    // Brings the floating note forward with the keyboard.
    virtual void focus() = 0;
    // Starts floating the note under the pointer; grabOffset is the pointer's distance from
    // the note's bottom left corner, which the note keeps while it follows the pointer.
    virtual void present(const QString& id, QPointF under, QPointF grabOffset) = 0;
    // The pointer moved on during the pull; the note follows, held at grabOffset.
    virtual void dragTo(QPointF point) = 0;
    // The pull ended: the note stays afloat, or goes when cancelled.
    virtual void endDrag(bool cancelled) = 0;

protected:
    DetachTarget() = default;
    DetachTarget(const DetachTarget&) = delete;
    DetachTarget& operator=(const DetachTarget&) = delete;
};
