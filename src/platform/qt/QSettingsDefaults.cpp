#include "platform/qt/QSettingsDefaults.h"

QSettingsDefaults::QSettingsDefaults() = default;

QSettingsDefaults::QSettingsDefaults(const QString& iniFilePath)
    : settings(iniFilePath, QSettings::IniFormat)
{
}

QVariant QSettingsDefaults::value(const QString& key) const { return settings.value(key); }

void QSettingsDefaults::setValue(const QString& key, const QVariant& value)
{
    settings.setValue(key, value);
}

bool QSettingsDefaults::contains(const QString& key) const { return settings.contains(key); }

void QSettingsDefaults::remove(const QString& key) { settings.remove(key); }
