#pragma once

#include "deck/ui/DeckPaint.h"
#include "notes/Note.h"
#include "platform/Scheduler.h"

#include <QMarginsF>
#include <QPainterPath>
#include <QPointer>
#include <QRectF>
#include <QWidget>

#include <functional>
#include <optional>

class DeckController;
class DeckModel;
class Desktop;
class ImageStore;
class NoteGutter;
class NoteStore;
class NoteTextBinding;
class NoteTextDirectionMenu;
class NoteTextView;
class SheetButton;
class SpellChecker;
class QLabel;
class QLineEdit;

// The open note of a deck: a sheet hanging from the screen edge with the note's text, and
// beside it, away from the edge, a gutter that carries the title and takes the drag that pulls
// the note out to float.
//
// The view binds one NoteTextView to the note for as long as the note is open; when the deck
// closes the note, or the view goes, the binding flushes the note, so that nothing waits for
// the store's save delay. Everything else is read from the store by id: a note deleted
// elsewhere reads as empty and the view keeps going.
//
// The view's rectangle holds the sheet, the gutter and room for the sheet's shadow on the
// three sides away from the edge; bodyRect and outline are what is drawn, for a panel's hit
// region and, without a compositor, its window shape. REQUIRES: every collaborator outlives
// the view; Settings and Ink installed. Main thread only.
class NoteEditorView final : public QWidget {
    Q_OBJECT

public:
    static constexpr double cornerRadius = 14;
    // Horizontal travel away from the edge, strictly beyond which the gutter detaches.
    static constexpr double detachThreshold = 40;

    NoteEditorView(const Note& note, DeckModel& deck, DeckController& controller, NoteStore& store,
                   bool onRight, Desktop& desktop, ImageStore& images, Scheduler& scheduler,
                   SpellChecker* spelling, QWidget* parent = nullptr);
    ~NoteEditorView() override;

    const QString& noteID() const { return id; }
    bool onRightEdge() const { return right; }

    // Composited draws the shadow and the translucent gutter; Shaped draws opaque, no shadow.
    void setSurface(DeckPaint::Surface surface);
    DeckPaint::Surface surface() const { return look; }

    // The sheet and the gutter together, in the view's coordinates.
    QRectF bodyRect() const;
    QRectF sheetRect() const;
    QRectF gutterRect() const;
    // The sheet's edge shape united with the gutter's, in the view's coordinates.
    QPainterPath outline() const;
    // The room around the body for the shadow; none on the edge side.
    QMarginsF shadowMargins() const;

    NoteTextView* textView() const { return text; }
    // Stops editing: the text binding flushes and lets go. Typing afterwards reaches no note.
    void closeNote();
    bool isDetaching() const { return detaching; }

    // From the gutter: a press, and each move and the release, in Qt's global coordinates.
    void gutterPressed(QPointF global);
    void gutterMoved(QPointF global);
    void gutterReleased();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    std::optional<Note> current() const;
    const class NoteColor& colour() const;
    void deckChanged();
    void noteChanged();
    void refreshSaved();
    void refreshColours();
    void refreshConfiguration();
    void toggleFind();
    void showTitleMenu(const QPoint& at);
    void placeChildren();
    QPointF deckPoint(QPointF global) const;

    const QString id;
    const Note snapshot;
    DeckModel& deck;
    DeckController& controller;
    NoteStore& store;
    const bool right;
    Scheduler& scheduler;
    DeckPaint::Surface look = DeckPaint::Surface::Composited;

    QWidget* sheet = nullptr;
    NoteGutter* gutter = nullptr;
    QLineEdit* title = nullptr;
    QLabel* saved = nullptr;
    SheetButton* pin = nullptr;
    NoteTextDirectionMenu* direction = nullptr;
    SheetButton* task = nullptr;
    SheetButton* find = nullptr;
    QWidget* findBar = nullptr;
    QLineEdit* findField = nullptr;
    QLabel* matchCount = nullptr;
    QWidget* hairline = nullptr;
    NoteTextView* text = nullptr;
    QList<SheetButton*> dots;
    QList<SheetButton*> footerButtons;
    NoteTextBinding* binding = nullptr;
    Scheduler::HandlePtr savedTicker;

    std::optional<QString> shownQuery;
    bool seenOpen = false;
    bool detaching = false;
    std::optional<QPointF> pressedAt;
};
