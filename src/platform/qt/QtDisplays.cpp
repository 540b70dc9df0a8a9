#include "platform/qt/QtDisplays.h"

#include "platform/DisplayIds.h"
#include "platform/ScreenCoordinates.h"

#include <QGuiApplication>
#include <QScreen>

QtDisplays::QtDisplays(QObject* parent)
    : Displays(parent)
{
    for (QScreen* screen : QGuiApplication::screens())
        follow(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        follow(screen);
        Q_EMIT changed();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &Displays::changed);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &Displays::changed);
}

// A screen's signals die with it, so a removed screen needs no disconnecting.
void QtDisplays::follow(QScreen* screen)
{
    connect(screen, &QScreen::geometryChanged, this, &Displays::changed);
    connect(screen, &QScreen::availableGeometryChanged, this, &Displays::changed);
}

QList<DisplayInfo> QtDisplays::list() const
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    const QScreen* main = QGuiApplication::primaryScreen();
    const QRectF mainQt = main ? QRectF(main->geometry()) : QRectF();

    QList<DisplayIdentity> identities;
    identities.reserve(screens.size());
    for (const QScreen* screen : screens)
        identities.append(
            {screen->name(), screen->manufacturer(), screen->model(), screen->serialNumber()});
    const QList<quint32> ids = DisplayIds::assign(identities);

    QList<DisplayInfo> displays;
    displays.reserve(screens.size());
    for (qsizetype i = 0; i < screens.size(); ++i) {
        const QScreen* screen = screens[i];
        // The monitor's model reads better in a menu than the connector, where there is one.
        const QString name = screen->model().isEmpty() ? screen->name() : screen->model();
        displays.append({ids[i], name,
                         ScreenCoordinates::fromQt(QRectF(screen->geometry()), mainQt),
                         ScreenCoordinates::fromQt(QRectF(screen->availableGeometry()), mainQt),
                         screen == main});
    }
    return displays;
}
