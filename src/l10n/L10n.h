#pragma once

#include "l10n/AppLanguage.h"

#include <QString>
#include <QVariant>

#include <initializer_list>

// The one way to user-visible text. Keys are the dotted message ids of the translation
// tables; a key without text in the chosen language falls back to English, then to the key
// itself, so a missing text is visible and never a crash.
namespace L10n {

// Chooses the tables for the interface language (System resolved by the desktop's
// languages) and installs them, with Qt's own table for its standard dialogs, as the
// application's translators. Call once, after the application object is made and before any
// widget exists; tests call it again to switch languages. Until it is called, English.
void install(AppLanguage choice);
// English or SimplifiedChinese: the table texts come from.
AppLanguage language();

QString text(const QString& key);
// The key's text as a format string with %1, %2, ... filled in one pass (text that an
// argument brings in is never filled again); numbers are written in the current locale.
QString format(const QString& key, std::initializer_list<QVariant> args);
// The key's text for a count, with the plural form of the table's language; %n is the count
// written in that language's way, whatever the current locale; %1 the optional extra string.
QString plural(const QString& key, int count, const QString& extra = {});

} // namespace L10n
