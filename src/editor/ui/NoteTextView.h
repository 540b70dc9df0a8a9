#pragma once

#include "editor/BoundTextView.h"
#include "editor/EditorBridge.h"
#include "editor/EditorCoordinator.h"
#include "editor/EditorStyleCache.h"
#include "notes/Note.h"
#include "notes/TextRange.h"

#include <QColor>
#include <QFont>
#include <QMap>
#include <QPointer>
#include <QTextEdit>

#include <array>
#include <functional>
#include <memory>
#include <optional>

class Desktop;
class ImageStore;
class NoteImageOverlays;
class NoteSpellCheck;
class Scheduler;
class SpellChecker;
class QVariantAnimation;

// The live editing surface every note surface shares: a thin widget over the editor's
// decisions. It forwards its events to its EditorCoordinator and runs the styling pass each
// answer asks for; the caret rules of hidden image tokens come from ImageCaret. It gives
// task boxes, links and image tokens their behaviour under mouse and keyboard. A
// NoteTextBinding keeps its text in step with a note.
//
// Every programmatic change (a box flipped, a task line continued, an image inserted or
// resized) is one edit block: one undo step, and a textChanged like typing. Styling is never
// an edit: see EditorStyleEngine.
class NoteTextView final : public QTextEdit, public EditorTextTarget, public BoundTextView {
    Q_OBJECT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)

public:
    struct Configuration {
        QColor ink = Qt::black;
        double fontSize = 14;
        bool markdownEnabled = true;
        NoteTextDirection textDirection = NoteTextDirection::Automatic;
        // An opaque stamp from the surface; a new value asks for a full restyle.
        QString styleToken;
        // The body face at a size; the surfaces pass Ink::body.
        std::function<QFont(double)> bodyFont;
    };

    // desktop and images must outlive the view; the bridge is held weakly.
    NoteTextView(const QString& text, Configuration configuration, EditorBridge* bridge,
                 Desktop& desktop, ImageStore& images, QWidget* parent = nullptr);
    ~NoteTextView() override;

    // The text as the user has it, block breaks as "\n"; every other character as typed.
    // QTextDocument keeps no CR: a CR LF or CR given to the view reads back as "\n".
    QString text() const override;
    // Replaces the view's text only when it differs, and never while an input method
    // composes; the caret keeps its place.
    void setText(const QString& text) override;
    void setConfiguration(Configuration configuration);
    // What a note's look asks for: its ink on its paper, the note font at a size, styling and
    // direction. Restyles only when one of them changed, so a surface may call it on every
    // change of its note.
    void applyLook(const QColor& ink, const QColor& paper, const QString& fontName, double fontSize,
                   bool markdown, NoteTextDirection direction);
    const Configuration& configuration() const { return config; }
    void setBridge(EditorBridge* bridge);
    // Takes the keyboard focus on the next turn of the event loop.
    void focusSoon();

    bool hasMarkedText() const override;
    std::optional<QString> revealedImageID() const { return coordinator.revealedImage(); }
    void clearRevealedImage();
    NoteImageOverlays* imageOverlays() const { return overlays; }
    ImageStore& imageStore() const { return images; }

    // Each token on a line of its own at the selection; the caret ends behind them.
    void insertImageTokens(const QStringList& tokens);
    // Stores the image files (others are skipped) and inserts their tokens.
    void insertImageFiles(const QStringList& paths);
    // Restyles whole lines; the image overlays call it when a picture's room changes.
    void restyle(const QList<TextRange>& ranges);
    // Puts the caret behind a token: at its end, or past the line break that follows it.
    void placeCaretBehind(TextRange token);

    // The view's extra selections are shared by several painters (the find flash, spelling
    // underlines): each keeps its own named layer, and the view shows all of them merged, in
    // the order of their names. An empty list removes the layer. Nobody else may call
    // setExtraSelections: it would wipe the other layers.
    void setSelectionLayer(const QString& name, const QList<QTextEdit::ExtraSelection>& selections);
    // Underlines misspelled words from now on (the "spelling" layer), checked after typing
    // pauses; a checker that is not available leaves spelling off. REQUIRES: checker and
    // scheduler outlive the view.
    void checkSpelling(SpellChecker& checker, Scheduler& scheduler);
    // Null while spelling is off.
    const NoteSpellCheck* spelling() const { return speller.get(); }
    QList<QTextEdit::ExtraSelection> selectionLayer(const QString& name) const;

    // EditorTextTarget
    QObject* targetObject() override { return this; }
    QTextDocument* textDocument() override { return document(); }
    TextRange selectedRange() const override;
    void showFoundRange(TextRange range) override;
    bool replaceText(TextRange range, const QString& replacement) override;
    void takeFocus() override;

    // BoundTextView
    QObject* viewObject() override { return this; }
    void observeText(QObject* context, std::function<void()> edited,
                     std::function<void()> compositionEnded) override;

public Q_SLOTS:
    void insertImageFromPanel();

Q_SIGNALS:
    // The user changed the text (typing, pasting, undo, a box clicked); not for a text set
    // from outside, nor for styling.
    void edited();
    void compositionEnded();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void carryOut(const EditorCoordinator::Answer& answer);
    void configure();
    void moveCaret(qsizetype position);
    bool revealTokenBeforeDelete(bool backward, ImageCaret::Unit unit);
    void flash(TextRange range);
    void paintFlash(double progress);
    void endFlash();
    bool cancelImageRevealIfSelected();
    bool continueTaskList();
    bool toggleBox(const QPoint& viewportPoint);
    bool openLink(const QPoint& viewportPoint);
    std::optional<QRectF> boxRect(qsizetype lineStart) const;
    qsizetype characterIndexAt(const QPoint& viewportPoint) const;

    Configuration config;
    QPointer<EditorBridge> bridge;
    Desktop& desktop;
    ImageStore& images;
    NoteImageOverlays* overlays = nullptr;
    EditorCoordinator coordinator;
    EditorStyleCache styleCache;
    QMap<QString, QList<QTextEdit::ExtraSelection>> selectionLayers;
    std::unique_ptr<NoteSpellCheck> speller;
    // The find flash: the found range, and the selection's own colours, lent to the flash
    // while it runs (Active and Inactive, Highlight and HighlightedText).
    QVariantAnimation* findFlash = nullptr;
    QTextCursor flashed;
    std::optional<std::array<QBrush, 4>> lentSelection;
    // The text as last read; empty optional once the document changes.
    mutable std::optional<QString> cachedText;
};
