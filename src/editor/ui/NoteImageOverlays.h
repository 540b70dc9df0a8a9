#pragma once

#include "editor/EditorStyleEngine.h"
#include "images/NoteImageMetrics.h"
#include "notes/ImageTokens.h"
#include "notes/TextRange.h"

#include <QHash>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QTimer>

#include <memory>

class NoteTextView;
class NoteImageOverlayWidget;

// Shows a note's pictures. The token's text is hidden by the styling engine, its line is
// given the picture's height (see reservedLineHeight), and a child widget of the viewport
// carrying the picture lies over that room, so it scrolls with the text. A click selects a
// picture; its corner handle resizes it, and the new width goes back into the token as one
// undoable edit when the drag ends. One per NoteTextView.
//
// The trap in reserving the room: QTextBlockFormat::setLineHeight is a document edit, so it
// lands on the undo stack (Ctrl+Z would shrink a picture's line) and marks the note
// modified; turning undo off around it clears the whole stack. Instead the token's first
// (hidden, zero-width) character takes a font whose line box is the picture's height, set
// among the layout formats like any other style: the line grows, nothing is recorded.
//
// Restyling runs one way: each styling pass reports the tokens it hid and the room it
// reserved, and the widgets are placed from those reports. The overlays ask the view for a
// restyle only when a picture's size really changed: its file arrived, the view's width
// changed, or a resize drag is under way.
class NoteImageOverlays final : public QObject {
    Q_OBJECT

public:
    // Where one token's picture lies.
    struct Slot {
        QString id;
        TextRange tokenRange;
        double width = 0;
        double height = 0;
        bool hasFile = false;
    };

    // Lives as the view's child; view must be the one it is made for.
    explicit NoteImageOverlays(NoteTextView* view);
    ~NoteImageOverlays() override;

    // The line height the token's line must reserve: the picture plus padding above and
    // below. Asked by the styling engine for every hidden token it styles.
    double reservedLineHeight(const ImageToken& token) const;
    // After a styling pass: takes its hidden tokens for the lines it styled, and places the
    // widgets.
    void stylesApplied(const EditorStyleEngine::Report& report);
    // Restyles the lines whose reserved room no longer fits their picture (after the view's
    // width changed), and places the widgets.
    void refresh();
    // Moves the widgets to their lines (after scrolling or a layout change). Never restyles:
    // a picture whose room no longer fits asks for a refresh on the next turn of the event
    // loop.
    void place();

    double containerWidth() const;
    QList<Slot> slotList() const;
    QList<NoteImageOverlayWidget*> widgets() const;

private:
    struct TokenBlocks;
    QList<EditorStyleEngine::ReservedImage> placedImages() const;
    NoteImageMetrics::DisplaySize sizeFor(const ImageToken& token) const;
    bool fits(const EditorStyleEngine::ReservedImage& image) const;
    void select(const QString& key);
    void drag(const QString& key, QPointF point, bool last);
    void commitWidth(const Slot& slot);
    std::optional<ImageToken> tokenNearest(const Slot& slot) const;

    QPointer<NoteTextView> view;
    std::shared_ptr<TokenBlocks> blocks;
    QHash<QString, NoteImageOverlayWidget*> overlays;
    QHash<QString, Slot> slots;
    // Sizes held by a resize in progress, by slot key; the text changes only when it ends.
    QHash<QString, NoteImageMetrics::DisplaySize> dragSizes;
    // Layout changes come in bursts: one placement after them.
    QTimer placeSoon;
    QTimer refreshSoon;
};
