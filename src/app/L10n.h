#pragma once

#include <QString>
#include <QVariant>

#include <initializer_list>

// The one way to user-visible text. Keys are the dotted message ids of the translation
// tables; a key without text in the chosen language falls back to English, then to the key
// itself, so a missing text is visible and never a crash.
namespace L10n {

QString text(const QString& key);
// The key's text as a format string with %1, %2, ... filled in order; numbers are written
// in the current locale.
QString format(const QString& key, std::initializer_list<QVariant> args);
// The key's text for a count, with the plural form of the table's language; %n is the count
// formatted in that language, %1 the optional extra string.
QString plural(const QString& key, int count, const QString& extra = {});

} // namespace L10n
