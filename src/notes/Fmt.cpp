#include "notes/Fmt.h"

#include "l10n/L10n.h"

#include <QLocale>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Whole calendar months from one local moment to a later one.
int monthsBetween(const QDateTime& from, const QDateTime& to)
{
    int months =
        (to.date().year() - from.date().year()) * 12 + (to.date().month() - from.date().month());
    if (months > 0 && from.addMonths(months) > to)
        --months;
    return months;
}

// Qt has no medium date style; the long one without its weekday and with abbreviated month
// names is what other platforms call medium ("MMM d, yyyy", "yyyy年M月d日").
QString mediumDateFormat(const QLocale& locale)
{
    static const QRegularExpression weekday(u"\\s*dddd[,\\s]*"_s);
    QString format = locale.dateFormat(QLocale::LongFormat);
    format.remove(weekday);
    format.replace(u"MMMM"_s, u"MMM"_s);
    return format.trimmed();
}

} // namespace

namespace Fmt {

QString ago(Date date, Date now)
{
    const double seconds = now.seconds - date.seconds;
    if (seconds < 60)
        return L10n::text(u"date.just_now"_s);
    if (seconds < 3600)
        return L10n::plural(u"date.minutes_ago"_s, static_cast<int>(seconds / 60));
    if (seconds < 86400)
        return L10n::plural(u"date.hours_ago"_s, static_cast<int>(seconds / 3600));
    const QDateTime from = date.toDateTime().toLocalTime();
    const QDateTime to = now.toDateTime().toLocalTime();
    const int months = monthsBetween(from, to);
    if (months >= 12)
        return L10n::plural(u"date.years_ago"_s, months / 12);
    if (months >= 1)
        return L10n::plural(u"date.months_ago"_s, months);
    const int days = static_cast<int>(std::max<qint64>(1, from.daysTo(to)));
    if (days >= 7)
        return L10n::plural(u"date.weeks_ago"_s, days / 7);
    return L10n::plural(u"date.days_ago"_s, days);
}

QString stamp(Date date)
{
    const QLocale locale;
    const QDateTime local = date.toDateTime().toLocalTime();
    return locale.toString(local.date(), mediumDateFormat(locale)) + u", "_s
           + locale.toString(local.time(), QLocale::ShortFormat);
}

QString fileStamp(Date date)
{
    return date.toDateTime().toLocalTime().toString(u"yyyy-MM-dd-HHmmss"_s);
}

} // namespace Fmt
