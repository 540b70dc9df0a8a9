#include "app/ui/AboutBox.h"

#include "l10n/L10n.h"

#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace AboutBox {

QString body()
{
    return L10n::text(u"about.body"_s) + u"\n\n"_s
           + L10n::format(
               u"settings.updates.version"_s,
               {QStringLiteral(PONDRIFT_VERSION), u"Qt "_s + QString::fromLatin1(qVersion())})
           + u'\n' + L10n::text(u"about.licence"_s) + u'\n'
           + L10n::text(u"updates.install_sparkle"_s);
}

// A note with its corner turned, for a desktop whose theme does not have the installed icon
// (a run from the build folder).
QIcon appIcon()
{
    QIcon drawn;
    for (const int side : {16, 22, 24, 32, 48, 64, 128}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        const qreal s = side;
        const qreal fold = s * 0.3;
        QPainterPath note;
        note.moveTo(s * 0.08, s * 0.08);
        note.lineTo(s * 0.92, s * 0.08);
        note.lineTo(s * 0.92, s * 0.92 - fold);
        note.lineTo(s * 0.92 - fold, s * 0.92);
        note.lineTo(s * 0.08, s * 0.92);
        note.closeSubpath();
        p.fillPath(note, QColor(0xF6, 0xD3, 0x4A));
        p.setPen(QPen(QColor(0xB8, 0x92, 0x1C), std::max(1.0, s / 24)));
        p.drawPath(note);
        QPainterPath corner;
        corner.moveTo(s * 0.92, s * 0.92 - fold);
        corner.lineTo(s * 0.92 - fold, s * 0.92 - fold);
        corner.lineTo(s * 0.92 - fold, s * 0.92);
        corner.closeSubpath();
        p.fillPath(corner, QColor(0xDD, 0xB3, 0x2A));
        p.end();
        drawn.addPixmap(pixmap);
    }
    return QIcon::fromTheme(u"app.pondrift.Pondrift"_s, drawn);
}

void show()
{
    QMessageBox box;
    box.setWindowTitle(L10n::text(u"menu.about"_s));
    box.setIconPixmap(appIcon().pixmap(64, 64));
    // The name as a heading over the body; the translated texts are escaped, never markup.
    box.setTextFormat(Qt::RichText);
    box.setText(u"<h3>Pondrift</h3>"_s);
    box.setInformativeText(body().toHtmlEscaped().replace(u'\n', u"<br>"_s));
    box.setStandardButtons(QMessageBox::Ok);
    // Opened from the tray or the deck, it must come forward over whatever has the keyboard.
    QTimer::singleShot(0, &box, [&box] {
        box.raise();
        box.activateWindow();
    });
    box.exec();
}

} // namespace AboutBox
