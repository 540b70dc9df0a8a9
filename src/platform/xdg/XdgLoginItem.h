#pragma once

#include "platform/LoginItem.h"

// Launch at login through the freedesktop autostart folder: an entry
// "app.pondrift.Pondrift.desktop" in $XDG_CONFIG_HOME/autostart means on, no entry means off.
// An entry that says Hidden=true, or GNOME's X-GNOME-Autostart-enabled=false, counts as off,
// since sessions skip it. Turning it on writes the entry anew.
class XdgLoginItem final : public LoginItem {
public:
    // entryPath: the desktop file; execPath: the program the entry starts.
    XdgLoginItem(QString entryPath, QString execPath);
    // The user's autostart entry for the running program.
    static QString defaultEntryPath();

    bool isEnabled() const override;
    std::optional<QString> enable() override;
    std::optional<QString> disable() override;

private:
    QString entryPath;
    QString execPath;
};
