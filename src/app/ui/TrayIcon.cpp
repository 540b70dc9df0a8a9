#include "app/ui/TrayIcon.h"

#include "app/AppActions.h"
#include "app/AppMenu.h"
#include "app/ui/AboutBox.h"
#include "l10n/L10n.h"
#include "platform/Log.h"

#include <QTimer>

using namespace Qt::Literals::StringLiterals;

TrayIcon::TrayIcon(AppActions& actions)
{
    fillMenu(menu, actions);
    icon.setIcon(AboutBox::appIcon());
    icon.setToolTip(u"Pondrift"_s);
    icon.setContextMenu(&menu);
    connect(&icon, &QSystemTrayIcon::activated, this,
            [&actions](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    actions.run(u"openAllNotes"_s);
            });
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        Log::line(u"this desktop shows no tray; the deck's own menu holds the program's menu"_s);
    // Shown even so: the XEmbed tray that starts later, after the program at login, takes the
    // icon then.
    icon.show();
}

void TrayIcon::fillMenu(QMenu& menu, AppActions& actions)
{
    for (const AppMenu::Item& item : AppMenu::items) {
        if (item.isSeparator()) {
            const QList<QAction*> list = menu.actions();
            if (!list.isEmpty() && !list.constLast()->isSeparator())
                menu.addSeparator();
            continue;
        }
        const QString id = item.action.toString();
        if (!actions.contains(id))
            continue;
        // A command may put up a modal box or end the process; neither belongs inside the
        // menu's own event handling.
        QAction* action =
            menu.addAction(L10n::text(item.titleKey.toString()), [&menu, &actions, id] {
                QTimer::singleShot(0, &menu, [&actions, id] { actions.run(id); });
            });
        action->setData(id);
    }
    const QList<QAction*> list = menu.actions();
    if (!list.isEmpty() && list.constLast()->isSeparator())
        menu.removeAction(list.constLast());
}
