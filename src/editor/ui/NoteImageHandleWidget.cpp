#include "editor/ui/NoteImageHandleWidget.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

NoteImageHandleWidget::NoteImageHandleWidget(QWidget* parent)
    : QWidget(parent)
{
    setFixedSize(16, 16);
    setCursor(Qt::SizeHorCursor);
}

void NoteImageHandleWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect()).adjusted(3.5, 3.5, -3.5, -3.5);
    QPainterPath path;
    path.addRoundedRect(r, 3, 3);
    painter.fillPath(path, QColor(0, 0, 0, 140));
    painter.setPen(QPen(QColor(255, 255, 255, 230), 1));
    // Two strokes across the lower right corner (y grows downward here).
    painter.drawLine(QPointF(r.right() - 2.5, r.bottom() - 1),
                     QPointF(r.right() - 1, r.bottom() - 2.5));
    painter.drawLine(QPointF(r.right() - 5.5, r.bottom() - 1),
                     QPointF(r.right() - 1, r.bottom() - 5.5));
}

QPointF NoteImageHandleWidget::inViewport(const QMouseEvent* event) const
{
    // The handle sits in a picture, which sits in the viewport.
    QWidget* picture = parentWidget();
    return picture ? picture->mapToParent(mapToParent(event->position())) : event->position();
}

void NoteImageHandleWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    dragging = true;
    event->accept();
}

void NoteImageHandleWidget::mouseMoveEvent(QMouseEvent* event)
{
    if (dragging && onDrag)
        onDrag(inViewport(event), false);
}

void NoteImageHandleWidget::mouseReleaseEvent(QMouseEvent* event)
{
    if (!dragging)
        return;
    dragging = false;
    if (onDrag)
        onDrag(inViewport(event), true);
}
