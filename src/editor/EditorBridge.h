#pragma once

#include "notes/TextRange.h"

#include <QObject>
#include <QPointer>
#include <QString>

class QTextDocument;

// What the bridge needs of a note text view; NoteTextView is the one implementation.
class EditorTextTarget {
public:
    virtual ~EditorTextTarget() = default;

    // The object whose lifetime bounds the target; the bridge holds it weakly.
    virtual QObject* targetObject() = 0;
    virtual QTextDocument* textDocument() = 0;
    virtual TextRange selectedRange() const = 0;
    // Selects the range, scrolls it into view and flashes it.
    virtual void showFoundRange(TextRange range) = 0;
    // The one path of a programmatic change: a single undo step that saving and styling see.
    // False when the view refused it.
    virtual bool replaceText(TextRange range, const QString& replacement) = 0;
    virtual void takeFocus() = 0;
};

// Lets views outside the note text act on it: find, toggle the caret line's task box, take
// the keyboard focus. One per surface; it outlives the text views that come and go in it.
// Without a view every operation returns at once, doing nothing.
class EditorBridge final : public QObject {
    Q_OBJECT
    Q_PROPERTY(int matchCount READ matchCount NOTIFY matchCountChanged)

public:
    explicit EditorBridge(QObject* parent = nullptr);

    // Held weakly: a destroyed view detaches itself.
    void setTextView(EditorTextTarget* target);
    EditorTextTarget* textView() const;

    int matchCount() const { return count; }

    // Counts non-overlapping, case-insensitive matches in the raw text (hidden markers
    // included); 0 without a view or with an empty query.
    void recount(const QString& query);
    // Selects the next match after the selection, or the nearest before it, wrapping round
    // the text's ends. The selection stays when nothing matches.
    void findNext(const QString& query, bool forward);
    // Adds a box to the caret's line, or removes it (and one blank behind it).
    void toggleTaskLine();
    void focusText();

Q_SIGNALS:
    void matchCountChanged(int count);

private:
    void setMatchCount(int value);

    QPointer<QObject> owner;
    EditorTextTarget* target = nullptr;
    int count = 0;
};
