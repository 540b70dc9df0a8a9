#pragma once

#include <QWidget>

#include <functional>

// The resize handle in a picture's lower right corner.
class NoteImageHandleWidget final : public QWidget {
    Q_OBJECT

public:
    explicit NoteImageHandleWidget(QWidget* parent);

    // A point in the coordinates of the text view's viewport; last is true on release.
    std::function<void(QPointF, bool)> onDrag;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QPointF inViewport(const QMouseEvent* event) const;
    bool dragging = false;
};
