#pragma once

#include <QObject>
#include <QString>

#include <functional>

// A note text view as NoteTextBinding sees it; NoteTextView is the one implementation.
class BoundTextView {
public:
    virtual ~BoundTextView() = default;

    // The object whose lifetime bounds the view; the binding holds it weakly.
    virtual QObject* viewObject() = 0;
    // The text as the user has it.
    virtual QString text() const = 0;
    // Replaces the text from outside: the caret stays where it was (clamped into the new
    // text), and no undo step or edit is recorded. Refused, leaving the text alone, while an
    // input method composes.
    virtual void setText(const QString& text) = 0;
    // Whether an input method composes (holds marked text).
    virtual bool hasMarkedText() const = 0;
    // Calls edited after every change of the text the user makes, and compositionEnded when
    // an input method's composition ends, until context is destroyed.
    virtual void observeText(QObject* context, std::function<void()> edited,
                             std::function<void()> compositionEnded) = 0;
};
