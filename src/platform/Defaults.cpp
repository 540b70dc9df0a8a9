#include "platform/Defaults.h"

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isText(const QVariant& v)
{
    return v.typeId() == QMetaType::QString || v.typeId() == QMetaType::QByteArray;
}

bool isNumber(const QVariant& v)
{
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

} // namespace

std::optional<bool> Defaults::boolValue(const QString& key) const
{
    const QVariant v = value(key);
    if (v.typeId() == QMetaType::Bool)
        return v.toBool();
    if (isText(v)) {
        const QString s = v.toString();
        if (s == u"true"_s)
            return true;
        if (s == u"false"_s)
            return false;
    }
    return std::nullopt;
}

std::optional<qint64> Defaults::intValue(const QString& key) const
{
    const QVariant v = value(key);
    double d = 0;
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return v.toLongLong();
    case QMetaType::Double:
    case QMetaType::Float:
        d = v.toDouble();
        break;
    case QMetaType::QString:
    case QMetaType::QByteArray: {
        bool ok = false;
        d = v.toString().trimmed().toDouble(&ok);
        if (!ok)
            return std::nullopt;
        break;
    }
    default:
        return std::nullopt;
    }
    // Beyond 2^53 a double no longer tells whole numbers apart.
    if (!std::isfinite(d) || d != std::trunc(d) || std::abs(d) > 9007199254740992.0)
        return std::nullopt;
    return static_cast<qint64>(d);
}

std::optional<double> Defaults::doubleValue(const QString& key) const
{
    const QVariant v = value(key);
    if (isNumber(v))
        return v.toDouble();
    if (isText(v)) {
        bool ok = false;
        const double d = v.toString().trimmed().toDouble(&ok);
        if (ok && std::isfinite(d))
            return d;
    }
    return std::nullopt;
}

std::optional<QString> Defaults::stringValue(const QString& key) const
{
    const QVariant v = value(key);
    if (isText(v))
        return v.toString();
    return std::nullopt;
}

std::optional<QByteArray> Defaults::dataValue(const QString& key) const
{
    const QVariant v = value(key);
    if (v.typeId() == QMetaType::QByteArray)
        return v.toByteArray();
    if (v.typeId() == QMetaType::QString)
        return v.toString().toUtf8();
    return std::nullopt;
}
