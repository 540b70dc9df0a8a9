#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

// The per-user key-value store that preferences live in. Backends keep what they are given
// as well as they can; the native settings file on Linux hands every value back as text, so
// the typed reads below accept a value's text form as well as the value itself, and answer
// absent when the stored object is not of the asked type at all.
class Defaults {
public:
    virtual ~Defaults() = default;
    Defaults() = default;
    Defaults(const Defaults&) = delete;
    Defaults& operator=(const Defaults&) = delete;

    // An invalid QVariant when the key is absent.
    virtual QVariant value(const QString& key) const = 0;
    virtual void setValue(const QString& key, const QVariant& value) = 0;
    virtual bool contains(const QString& key) const = 0;
    virtual void remove(const QString& key) = 0;

    // "true" and "false" count as booleans; nothing else does, numbers included.
    std::optional<bool> boolValue(const QString& key) const;
    // Whole numbers only: 2.0 is an integer, 2.5 and "two" are not.
    std::optional<qint64> intValue(const QString& key) const;
    std::optional<double> doubleValue(const QString& key) const;
    std::optional<QString> stringValue(const QString& key) const;
    // Text or bytes, as bytes (UTF-8 for text).
    std::optional<QByteArray> dataValue(const QString& key) const;
};
