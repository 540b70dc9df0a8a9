#pragma once

#include "editor/EditorEditAccumulator.h"
#include "editor/ImageCaret.h"
#include "notes/TextRange.h"

#include <QList>
#include <QString>

#include <optional>

class QTextCursor;
class QTextDocument;

// Decides, for one note text view, when to restyle which lines: after edits, caret moves
// between lines, an input method's composition, and in full after a new configuration or a
// text replaced from outside. It also holds the one image whose token is revealed for
// deletion. The view forwards its events here and carries out each answer at once; nothing
// here touches the view or styles anything.
//
// Every cursor given is the view's cursor over the document; composing tells whether an
// input method holds marked text. While an input method composes nothing is styled: the
// pending edits, or a full pass, wait for the composition to end.
class EditorCoordinator {
public:
    // A styling pass to run now: EditorStyleEngine::apply over ranges with these arguments.
    struct Restyle {
        // Whole lines, sorted and disjoint; the whole text for a full pass.
        QList<TextRange> ranges;
        // The caret's line, whose markers stay shown.
        TextRange revealing;
        std::optional<QString> forceRevealImageID;
        // A full pass: the view also takes its colours and font from the configuration.
        bool full = false;

        friend bool operator==(const Restyle&, const Restyle&) = default;
    };
    using Answer = std::optional<Restyle>;

    // Held while the view carries out an answer or replaces its text: what the document
    // reports meanwhile is no user edit.
    class Applying {
    public:
        explicit Applying(EditorCoordinator& coordinator)
            : coordinator(coordinator)
        {
            coordinator.applying = true;
        }
        ~Applying() { coordinator.applying = false; }
        Applying(const Applying&) = delete;
        Applying& operator=(const Applying&) = delete;

    private:
        EditorCoordinator& coordinator;
    };

    // The document must outlive the coordinator.
    explicit EditorCoordinator(const QTextDocument& document);

    bool isApplying() const { return applying; }
    const std::optional<QString>& revealedImage() const { return revealed; }

    // The surface's configuration: a new stamp (an opaque token of everything a full pass
    // depends on) asks for a full pass. With Markdown off a caret move restyles nothing.
    Answer configure(const QString& stamp, bool markdownEnabled, const QTextCursor& cursor,
                     bool composing);
    // The view replaced its whole text from outside: pending edits go, a full pass is due.
    void textReplaced();

    // The document's report of an edit (QTextDocument::contentsChange, the range added).
    Answer contentsChanged(TextRange edit, const QTextCursor& cursor, bool composing);
    // After every change of the text, once the document is done with it.
    Answer textChanged(const QTextCursor& cursor, bool composing);
    // The caret or the selection moved: only a move to another line restyles (the two
    // lines), and a move off the revealed token hides it again.
    Answer selectionChanged(const QTextCursor& cursor, bool composing);
    // After the view handled an input method's event. While it composes, Qt has put its
    // pre-edit formats in place of the caret block's: the answer is the block, whose styles the
    // pass lays back around the pre-edit. Nothing else is styled until the composition ends.
    Answer inputMethodHandled(bool wasComposing, const QTextCursor& cursor, bool composing);
    // Lines to restyle for a reason of the view's own (a picture's room changed).
    Answer restyle(const QList<TextRange>& lines, const QTextCursor& cursor, bool composing);

    // Backspace (backward) or Delete, by character or by word: when the key would take a unit
    // of a hidden token, the token becomes the revealed one and its range is the answer; the
    // view selects it and restyles its line. Absent: the key does its usual work.
    std::optional<TextRange>
    revealBeforeDelete(const QTextCursor& cursor, bool backward,
                       ImageCaret::Unit unit = ImageCaret::Unit::Character);
    // Typing or pasting over the revealed token, selected whole, would replace the picture:
    // the answer is where the caret goes instead, behind the token.
    std::optional<qsizetype> cancelRevealIfSelected(const QTextCursor& cursor) const;
    // Hides the revealed token again.
    Answer clearRevealedImage(const QTextCursor& cursor, bool composing);

private:
    Answer pass(const QList<TextRange>& lines, const QTextCursor& cursor, bool composing);
    Answer fullPass(const QTextCursor& cursor, bool composing);
    TextRange caretLine(const QTextCursor& cursor) const;

    const QTextDocument& document;
    EditorEditAccumulator edits;
    // The line whose markers show, as last styled: the line where the selection starts (the
    // caret's line when nothing is selected), whichever end of it moves.
    TextRange lastLine;
    std::optional<QString> stamp;
    std::optional<QString> revealed;
    bool markdown = true;
    bool needsFullPass = true;
    bool applying = false;
};
