#pragma once

#include "app/ShortcutRecorder.h"

#include <QWidget>

class KeyboardLayout;

// A small rounded field that shows a key combination and records a new one: a click (or
// Return or Space while it has the focus) starts recording, and the next combination pressed
// is the new shortcut (see ShortcutRecorder for Escape, Backspace and refusals). Leaving the
// field ends recording with the old value.
class ShortcutField final : public QWidget {
    Q_OBJECT

public:
    // layout names the keys; it must outlive the field.
    ShortcutField(const KeyboardLayout& layout, bool allowsBareKeys, QWidget* parent = nullptr);

    Shortcut shortcut() const { return value; }
    void setShortcut(const Shortcut& shortcut);
    bool recording() const { return recorder.recording(); }
    void startRecording();

    QSize sizeHint() const override;

Q_SIGNALS:
    // A combination recorded or cleared by the person; not for setShortcut.
    void changed(const Shortcut& shortcut);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void stopRecording();
    void tellPressed();
    QString text() const;

    const KeyboardLayout& layout;
    ShortcutRecorder recorder;
    Shortcut value;
};
