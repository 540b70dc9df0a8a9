// The floor of bench_deck's launch: a Qt program that shows one window of the pill's size and
// kind, and nothing else. It picks the platform as the program does, shows a frameless,
// translucent tool window at the right edge of the main screen, and writes "first frame" to
// standard error from its first paint, as the deck's trace does, so that bench_deck times
// both in the same way. It then waits, as the deck does, until it is told to end.
#include <QApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QWidget>

#include <cstdio>
#include <utility>

namespace {

class Pill final : public QWidget {
public:
    Pill()
        : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                               | Qt::NoDropShadowWindowHint | Qt::WindowDoesNotAcceptFocus)
    {
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_X11NetWmWindowTypeUtility);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        // Something to see, drawn with antialiasing as the deck's pill is, so that the first
        // frame is a painted one and not an empty surface.
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xf5, 0xc5, 0x42));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
        painter.end();
        static bool firstFrame = true;
        if (std::exchange(firstFrame, false)) {
            std::fputs("first frame\n", stderr);
            std::fflush(stderr);
        }
    }
};

} // namespace

int main(int argc, char* argv[])
{
    // The program's own choice of platform, so that both sides of the bench draw through the
    // same one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
    QApplication app(argc, argv);

    Pill pill;
    const QSize size(14, 28);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    pill.setGeometry(QRect(
        QPoint(screen.right() + 1 - size.width(), screen.center().y() - size.height() / 2), size));
    pill.show();
    return app.exec();
}
