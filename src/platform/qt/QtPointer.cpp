#include "platform/qt/QtPointer.h"

#include "platform/ScreenCoordinates.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

QPointF QtPointer::location() const
{
    const QScreen* main = QGuiApplication::primaryScreen();
    return ScreenCoordinates::fromQt(QPointF(QCursor::pos()),
                                     main ? QRectF(main->geometry()) : QRectF());
}

// The held modifiers, not those of the last event: the deck polls them when the pointer
// enters, and a key pressed while another application had the focus never reached us.
Qt::KeyboardModifiers QtPointer::modifiers() const
{
    return QGuiApplication::queryKeyboardModifiers();
}

Qt::MouseButtons QtPointer::buttons() const { return QGuiApplication::mouseButtons(); }
