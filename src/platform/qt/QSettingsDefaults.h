#pragma once

#include "platform/Defaults.h"

#include <QSettings>

// Preferences in the native settings file of the organisation and application names
// (~/.config/Pondrift/Pondrift.conf on Linux), or in an INI file of the caller's choice.
class QSettingsDefaults final : public Defaults {
public:
    QSettingsDefaults();
    explicit QSettingsDefaults(const QString& iniFilePath);

    QVariant value(const QString& key) const override;
    void setValue(const QString& key, const QVariant& value) override;
    bool contains(const QString& key) const override;
    void remove(const QString& key) override;

private:
    mutable QSettings settings;
};
