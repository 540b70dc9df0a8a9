#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

class AppActions;

// The program's icon in the desktop's tray: a StatusNotifierItem where the desktop has a
// watcher for them, the older XEmbed tray otherwise (Qt chooses). Its menu is the
// application menu, each item running the command of the same id; a click opens the list of
// all notes. Where no tray is there at the start, the icon waits for one without a word more
// than one log line. Main thread only.
class TrayIcon final : public QObject {
    Q_OBJECT

public:
    // actions must outlive the icon.
    explicit TrayIcon(AppActions& actions);

    // The application menu's items the table offers, in order, each with its command's id as
    // its data. Each command runs once the menu has closed.
    static void fillMenu(QMenu& menu, AppActions& actions);

    const QMenu& contextMenu() const { return menu; }

private:
    QMenu menu;
    QSystemTrayIcon icon;
};
