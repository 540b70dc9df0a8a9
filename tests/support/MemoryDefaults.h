#pragma once

#include "platform/Defaults.h"

#include <QHash>

// Preferences in memory, values kept with their types, for tests.
class MemoryDefaults final : public Defaults {
public:
    QVariant value(const QString& key) const override { return values.value(key); }
    void setValue(const QString& key, const QVariant& value) override { values.insert(key, value); }
    bool contains(const QString& key) const override { return values.contains(key); }
    void remove(const QString& key) override { values.remove(key); }

    QHash<QString, QVariant> values;
};
