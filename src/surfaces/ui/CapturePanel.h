#pragma once

#include "platform/Subscription.h"
#include "surfaces/QuickCapture.h"

#include <QWidget>

#include <optional>

class Compositor;
class NoteStore;
class QLabel;
class QPlainTextEdit;
class WindowHints;
class QHBoxLayout;

// The quick capture panel: a heading with the chosen note's title and a row of dots to
// choose it (a new note first), the text, and a hint. Return saves, Shift+Return breaks the
// line, Escape drops the text, Control and a digit chooses a note. It decides nothing itself:
// all of it goes to the capture's logic.
class CapturePanel final : public QWidget, public CaptureWindow {
    Q_OBJECT

public:
    struct Parts {
        NoteStore& notes;
        WindowHints& hints;
        Compositor& compositor;
    };
    static constexpr double cornerRadius = 12;
    static constexpr double shadowBlur = 14;

    // REQUIRES: owner and every part outlive the window.
    CapturePanel(QuickCapture& owner, Parts parts);
    ~CapturePanel() override;

    void present(const QRectF& frame, quint32 time) override;
    void close() override;

    QPlainTextEdit* editor() const { return text; }
    const std::optional<QString>& target() const { return targetID; }
    void choose(const std::optional<QString>& id);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    int margin() const;
    void refresh();

    QuickCapture& owner;
    Parts with;
    bool composited = false;
    bool closing = false;
    Subscription compositorWatch;
    std::optional<QString> targetID;
    QWidget* content = nullptr;
    QLabel* heading = nullptr;
    QHBoxLayout* dotRow = nullptr;
    QPlainTextEdit* text = nullptr;
    QLabel* hint = nullptr;
};
