#pragma once

#include "editor/EditorBridge.h"

#include <QList>
#include <QWidget>

class Desktop;
class ImageStore;
class NoteStore;
class NoteTextBinding;
class NoteTextDirectionMenu;
class NoteTextView;
class Scheduler;
class SheetButton;
class SheetRule;
class SpellChecker;
class QLabel;
class QLineEdit;

// One note in full, on its own paper: the colour dots, the title, the text direction, whether
// it is saved, Archive or Restore, and the note's text, bound to the note for as long as the
// detail shows it. Every change goes to the store; what the detail shows follows the store.
class LibraryDetail final : public QWidget {
    Q_OBJECT

public:
    struct Parts {
        NoteStore& notes;
        Scheduler& scheduler;
        Desktop& desktop;
        ImageStore& images;
        SpellChecker* spellChecker = nullptr;
    };

    // REQUIRES: every part outlives the detail.
    LibraryDetail(Parts parts, QWidget* parent);
    ~LibraryDetail() override;

    // Shows the note with this id, saving the one shown before; empty shows nothing.
    void showNote(const QString& id);
    const QString& noteID() const { return id; }

    NoteTextView* textView() const { return text; }
    QLineEdit* titleField() const { return title; }
    QLabel* statusLabel() const { return status; }
    SheetButton* archiveButton() const { return archive; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void refresh();

    Parts with;
    QString id;
    EditorBridge bridge;
    QList<SheetButton*> dots;
    QLineEdit* title = nullptr;
    SheetButton* reset = nullptr;
    NoteTextDirectionMenu* direction = nullptr;
    QLabel* status = nullptr;
    SheetButton* archive = nullptr;
    SheetRule* rule = nullptr;
    NoteTextView* text = nullptr;
    NoteTextBinding* binding = nullptr;
};
