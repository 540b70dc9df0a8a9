#pragma once

#include <QDateTime>

#include <compare>

// A moment as the database stores it: seconds since 1970-01-01 UTC, fractions kept.
// Comparisons are exact; there is no tolerance anywhere a Date is compared.
struct Date {
    double seconds = 0;

    static Date now()
    {
        return Date{static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000.0};
    }
    // The far past, as a document without identity declares it (0001-01-01 UTC).
    static constexpr Date distantPast() { return Date{-62135769600.0}; }
    static Date fromDateTime(const QDateTime& t)
    {
        return Date{static_cast<double>(t.toMSecsSinceEpoch()) / 1000.0};
    }

    QDateTime toDateTime() const
    {
        return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(seconds * 1000.0), Qt::UTC);
    }
    Date addingSeconds(double s) const { return Date{seconds + s}; }

    friend constexpr bool operator==(Date a, Date b) { return a.seconds == b.seconds; }
    friend constexpr std::partial_ordering operator<=>(Date a, Date b)
    {
        return a.seconds <=> b.seconds;
    }
};
