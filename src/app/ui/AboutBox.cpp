#include "app/ui/AboutBox.h"

#include "l10n/L10n.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <QTimer>

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

// The program's icon as it was set at start: the theme's, or the copies built into the
// program when it runs uninstalled.
QIcon appIcon()
{
    const QIcon set = QGuiApplication::windowIcon();
    return set.isNull() ? QIcon::fromTheme(u"app.pondrift.Pondrift"_s) : set;
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
