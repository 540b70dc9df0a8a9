#include "editor/ui/NoteImageOverlayWidget.h"

#include "editor/ui/NoteImageHandleWidget.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

NoteImageOverlayWidget::NoteImageOverlayWidget(QWidget* viewport, QString imageID, Source source)
    : QWidget(viewport)
    , id(std::move(imageID))
    , source(std::move(source))
    , fileThere(static_cast<bool>(this->source))
    , handleWidget(new NoteImageHandleWidget(this))
{
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::ArrowCursor);
    handleWidget->hide();
}

void NoteImageOverlayWidget::setSelected(bool value)
{
    if (selected == value)
        return;
    selected = value;
    handleWidget->setVisible(selected || underMouse());
    update();
}

void NoteImageOverlayWidget::resizeEvent(QResizeEvent*)
{
    handleWidget->move(width() - 18, height() - 18);
}

void NoteImageOverlayWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QImage image =
        fileThere ? source((QSizeF(size()) * devicePixelRatioF()).toSize()) : QImage();
    if (!image.isNull()) {
        // Proportional into the frame; the frame already has the picture's aspect.
        const QSizeF scaled = QSizeF(image.size()).scaled(size(), Qt::KeepAspectRatio);
        const QRectF target(
            QPointF((width() - scaled.width()) / 2, (height() - scaled.height()) / 2), scaled);
        painter.drawImage(target, image);
    } else {
        paintPlaceholder(painter);
    }
    if (selected) {
        QPainterPath path;
        path.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path);
    }
}

void NoteImageOverlayWidget::paintPlaceholder(QPainter& painter)
{
    QColor secondary = palette().color(QPalette::WindowText);
    QPainterPath frame;
    frame.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 6, 6);
    secondary.setAlphaF(0.12f);
    painter.fillPath(frame, secondary);
    secondary.setAlphaF(0.6f);
    QPen dashed(secondary, 1);
    dashed.setDashPattern({4, 3});
    painter.setPen(dashed);
    painter.drawPath(frame);

    // A picture symbol, 22 by 22, in the middle: a frame, a sun and two hills.
    const QRectF symbol(width() / 2.0 - 11, height() / 2.0 - 9, 22, 18);
    painter.setPen(QPen(secondary, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(symbol, 2.5, 2.5);
    painter.setBrush(secondary);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPointF(symbol.left() + 7, symbol.top() + 6), 2, 2);
    QPainterPath hills;
    hills.moveTo(symbol.left() + 2, symbol.bottom() - 2);
    hills.lineTo(symbol.left() + 8, symbol.bottom() - 8);
    hills.lineTo(symbol.left() + 12, symbol.bottom() - 5);
    hills.lineTo(symbol.left() + 15, symbol.bottom() - 9);
    hills.lineTo(symbol.right() - 2, symbol.bottom() - 2);
    hills.closeSubpath();
    painter.drawPath(hills);
}

void NoteImageOverlayWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && onSelect) {
        onSelect();
        event->accept();
        return;
    }
    QWidget::mousePressEvent(event);
}

void NoteImageOverlayWidget::enterEvent(QEnterEvent*) { handleWidget->show(); }

void NoteImageOverlayWidget::leaveEvent(QEvent*)
{
    if (!selected)
        handleWidget->hide();
}
