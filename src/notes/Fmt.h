#pragma once

#include "platform/Date.h"

#include <QString>

// The date texts the interface shares.
namespace Fmt {

// How long ago, in the interface language and in the largest whole unit: "just now" under a
// minute (and for any date in the future), then minutes, hours, days, weeks, months, years.
// Weeks, months and years are counted on the calendar in the local time zone.
QString ago(Date date, Date now = Date::now());
// The date in the medium style and the time in the short style of the current locale, local
// time ("Nov 23, 2026, 9:05 AM").
QString stamp(Date date);
// "yyyy-MM-dd-HHmmss" in the local time zone, for file names.
QString fileStamp(Date date);

} // namespace Fmt
