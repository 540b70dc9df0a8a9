#pragma once

#include "platform/Date.h"

#include <QString>

#include <optional>

// The one date form of documents, archives and the sync index: ISO 8601 internet date-time
// with whole seconds in UTC, 20 characters, as in "2026-03-14T09:26:53Z".
namespace IsoStamp {

// Cuts the fraction towards the past, so a stamp never names a later second than the date.
// Total: a date that is not a finite number is written as the epoch.
QString format(Date date);
// Reads exactly that form and nothing else: no fractions, no offsets, no lower case.
std::optional<Date> parse(QStringView text);

// The date cut to its whole second, towards the past: what a stamp keeps of it.
Date wholeSecond(Date date);

} // namespace IsoStamp
