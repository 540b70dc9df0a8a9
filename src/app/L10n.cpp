#include "app/L10n.h"

#include <QLocale>

namespace L10n {

QString text(const QString& key)
{
    const QByteArray id = key.toUtf8();
    return qtTrId(id.constData());
}

QString format(const QString& key, std::initializer_list<QVariant> args)
{
    QString result = text(key);
    const QLocale locale;
    for (const QVariant& arg : args) {
        switch (arg.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::UInt:
        case QMetaType::ULongLong:
            result = result.arg(locale.toString(arg.toLongLong()));
            break;
        case QMetaType::Double:
            result = result.arg(locale.toString(arg.toDouble()));
            break;
        default:
            result = result.arg(arg.toString());
        }
    }
    return result;
}

QString plural(const QString& key, int count, const QString& extra)
{
    const QByteArray id = key.toUtf8();
    QString result = qtTrId(id.constData(), count);
    if (!extra.isNull())
        result = result.arg(extra);
    return result;
}

} // namespace L10n
