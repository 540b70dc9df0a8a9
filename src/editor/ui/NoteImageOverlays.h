#pragma once

#include "notes/ImageTokens.h"
#include "images/NoteImageMetrics.h"
#include "notes/TextRange.h"

#include <QHash>
#include <QObject>
#include <QPointF>
#include <QPointer>

#include <memory>

class NoteTextView;
class NoteImageOverlayWidget;
class QTextBlock;

// Shows a note's pictures. The token's text is hidden by the styling engine, its line is
// given the picture's height (see reservedLineHeight), and a child widget of the viewport
// carrying the picture lies over that room, so it scrolls with the text. A click selects a
//
// The trap in reserving the room: QTextBlockFormat::setLineHeight is a document edit, so it
// lands on the undo stack (Ctrl+Z would shrink a picture's line) and marks the note
// modified; turning undo off around it clears the whole stack. Instead the token's first
// (hidden, zero-width) character takes a font whose line box is the picture's height, set
// among the layout formats like any other style: the line grows, nothing is recorded.
//
// picture; its corner handle resizes it, and the new width goes back into the token as one
// undoable edit when the drag ends. One per NoteTextView.
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

    explicit NoteImageOverlays(NoteTextView* view);
    ~NoteImageOverlays() override;

    // The line height the token's line must reserve: the picture plus padding above and
    // below. Asked by the styling engine for every hidden token it styles.
    double reservedLineHeight(const ImageToken& token);
    // After a styling pass over the ranges: notes which blocks hold tokens, then refreshes.
    void stylesApplied(const QList<TextRange>& ranges);
    // Brings the line heights and the widgets in line with the text and the view's width.
    void refresh();
    // Moves the widgets to their lines (after scrolling or a layout change).
    void reposition();

    double containerWidth() const;
    QList<Slot> slotList() const;
    QList<NoteImageOverlayWidget*> widgets() const;

private:
    struct TokenBlocks;
    QList<ImageToken> currentTokens() const;
    NoteImageMetrics::DisplaySize sizeFor(const ImageToken& token) const;
    void select(const QString& key);
    void drag(const QString& key, QPointF point, bool last);
    void commitWidth(const Slot& slot);
    std::optional<ImageToken> tokenNearest(const Slot& slot) const;
    void scheduleReposition();

    QPointer<NoteTextView> view;
    std::shared_ptr<TokenBlocks> blocks;
    QHash<QString, NoteImageOverlayWidget*> overlays;
    QHash<QString, Slot> slots;
    // Sizes held by a resize in progress, by slot key; the text changes only when it ends.
    QHash<QString, NoteImageMetrics::DisplaySize> dragSizes;
    bool isRepositioning = false;
    bool isRefreshing = false;
    bool repositionQueued = false;
};
