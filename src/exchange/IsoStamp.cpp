#include "exchange/IsoStamp.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace IsoStamp {
namespace {

// Days since 1970-01-01 of a proleptic Gregorian civil date, and back.
constexpr std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

struct Civil {
    std::int64_t year;
    unsigned month;
    unsigned day;
};

constexpr Civil civilFromDays(std::int64_t z)
{
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const std::int64_t y = static_cast<std::int64_t>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    return {y + (m <= 2), m, d};
}

constexpr bool isLeap(std::int64_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

constexpr unsigned daysInMonth(std::int64_t y, unsigned m)
{
    constexpr unsigned table[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && isLeap(y) ? 29 : table[m - 1];
}

// Beyond these the year no longer fits four digits; such dates cannot be read back anyway.
constexpr double lowest = -62135596800.0;  // 0001-01-01T00:00:00Z
constexpr double highest = 253402300799.0; // 9999-12-31T23:59:59Z

} // namespace

Date wholeSecond(Date date) { return Date{std::floor(date.seconds)}; }

QString format(Date date)
{
    double s = std::floor(date.seconds);
    if (!std::isfinite(s))
        s = 0;
    s = std::clamp(s, lowest, highest);
    const auto total = static_cast<std::int64_t>(s);
    std::int64_t days = total / 86400;
    std::int64_t rest = total % 86400;
    if (rest < 0) {
        rest += 86400;
        days -= 1;
    }
    const Civil c = civilFromDays(days);
    char buffer[128]; // room for any value the types can hold, though the clamp keeps it to 20
    std::snprintf(buffer, sizeof buffer, "%04lld-%02u-%02uT%02lld:%02lld:%02lldZ",
                  static_cast<long long>(c.year), c.month, c.day,
                  static_cast<long long>(rest / 3600), static_cast<long long>(rest / 60 % 60),
                  static_cast<long long>(rest % 60));
    return QString::fromLatin1(buffer);
}

std::optional<Date> parse(QStringView text)
{
    // YYYY-MM-DDTHH:MM:SSZ
    if (text.size() != 20)
        return std::nullopt;
    static constexpr char shape[] = "dddd-dd-ddTdd:dd:ddZ";
    for (qsizetype i = 0; i < 20; ++i) {
        const char16_t c = text[i].unicode();
        if (shape[i] == 'd' ? (c < u'0' || c > u'9') : c != static_cast<char16_t>(shape[i]))
            return std::nullopt;
    }
    const auto number = [&](qsizetype from, qsizetype length) {
        int value = 0;
        for (qsizetype i = from; i < from + length; ++i)
            value = value * 10 + (text[i].unicode() - u'0');
        return value;
    };
    const int year = number(0, 4);
    const int month = number(5, 2);
    const int day = number(8, 2);
    const int hour = number(11, 2);
    const int minute = number(14, 2);
    const int second = number(17, 2);
    if (year < 1 || month < 1 || month > 12 || day < 1
        || day > static_cast<int>(daysInMonth(year, static_cast<unsigned>(month))) || hour > 23
        || minute > 59 || second > 59)
        return std::nullopt;
    const std::int64_t days =
        daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    return Date{static_cast<double>(days * 86400 + hour * 3600 + minute * 60 + second)};
}

} // namespace IsoStamp
