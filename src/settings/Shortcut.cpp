#include "settings/Shortcut.h"

#include "l10n/L10n.h"
#include "platform/KeyboardLayout.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QKeyEvent>
#include <QKeySequence>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 allModifiers =
    Shortcut::command | Shortcut::shift | Shortcut::option | Shortcut::control;

std::optional<quint32> uint32From(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double d = value.toDouble();
    if (d < 0 || d > 4294967295.0 || d != std::trunc(d))
        return std::nullopt;
    return static_cast<quint32>(d);
}

// A key that types no character, named as Qt's native key sequence text names it, so that a
// shortcut reads as in every other program of the desktop ("Backspace", "Del", "PgUp"), in
// the language of Qt's own translations where those are installed.
std::optional<QString> qtKeyName(quint32 keyCode)
{
    const auto key = KeyCodes::qtKey(keyCode);
    if (!key || KeyCodes::usCharacter(keyCode))
        return std::nullopt;
    return QKeySequence(*key).toString(QKeySequence::NativeText);
}

// A key that types no character, as a Mac names it: a symbol where its menus show one, else
// the word on the key.
std::optional<QString> macKeyName(quint32 keyCode)
{
    switch (keyCode) {
    case 36: // Return
        return u"↩"_s;
    case 48: // Tab
        return u"⇥"_s;
    case 51: // Delete (backspace)
        return u"⌫"_s;
    case 114: // Help, where PC keyboards have Insert
        return u"Help"_s;
    case 115: // Home
        return u"↖"_s;
    case 116: // Page Up
        return u"⇞"_s;
    case 117: // Forward Delete
        return u"⌦"_s;
    case 119: // End
        return u"↘"_s;
    case 121: // Page Down
        return u"⇟"_s;
    case 123: // arrows
        return u"←"_s;
    case 124:
        return u"→"_s;
    case 125:
        return u"↓"_s;
    case 126:
        return u"↑"_s;
    default:
        break;
    }
    // The function keys carry their names on Macs too.
    return qtKeyName(keyCode);
}

} // namespace

std::optional<Shortcut> Shortcut::from(const KeyPress& press, bool allowingBareKey)
{
    const quint32 mask = KeyCodes::fromQtModifiers(press.modifiers);
    if (mask == 0 && !allowingBareKey)
        return std::nullopt;
    return Shortcut{press.keyCode & 0xFFFF, mask};
}

std::optional<KeyPress> Shortcut::pressOf(const QKeyEvent& event, const KeyboardLayout& layout)
{
    std::optional<quint32> code;
    if (event.nativeScanCode() != 0)
        code = layout.keyCodeForScanCode(event.nativeScanCode());
    if (!code)
        code = KeyCodes::fromQtKey(event.key());
    if (!code)
        return std::nullopt;
    return KeyPress{*code, event.modifiers()};
}

bool Shortcut::matches(const KeyPress& press) const
{
    return isSet() && press.keyCode == keyCode
           && KeyCodes::fromQtModifiers(press.modifiers) == modifiers;
}

QString Shortcut::display(Notation notation, const KeyboardLayout& layout) const
{
    if (!isSet())
        return u"—"_s;
    QString text;
    if (notation == Notation::Symbols) {
        if (modifiers & control)
            text += u"⌃"_s;
        if (modifiers & option)
            text += u"⌥"_s;
        if (modifiers & shift)
            text += u"⇧"_s;
        if (modifiers & command)
            text += u"⌘"_s;
        return text + keyName(keyCode, notation, layout);
    }
    // The order of QKeySequence's native text: Meta (Super by its own name), Ctrl, Alt, Shift.
    if (modifiers & control)
        text += u"Super+"_s;
    if (modifiers & command)
        text += u"Ctrl+"_s;
    if (modifiers & option)
        text += u"Alt+"_s;
    if (modifiers & shift)
        text += u"Shift+"_s;
    return text + keyName(keyCode, notation, layout);
}

Shortcut::Notation Shortcut::desktopNotation()
{
#ifdef Q_OS_MACOS
    return Notation::Symbols;
#else
    return Notation::Names;
#endif
}

QString Shortcut::display(const KeyboardLayout& layout) const
{
    return display(desktopNotation(), layout);
}

QString Shortcut::keyName(quint32 keyCode, Notation notation, const KeyboardLayout& layout)
{
    switch (keyCode) {
    case 43:
        return u","_s;
    case 44:
        return u"/"_s;
    case 47:
        return u"."_s;
    case 49:
        return L10n::text(u"key.space"_s);
    case 53:
        return L10n::text(u"key.escape"_s);
    default:
        break;
    }
    if (const auto name = notation == Notation::Symbols ? macKeyName(keyCode) : qtKeyName(keyCode))
        return *name;
    const QString character = layout.character(keyCode).toUpper();
    if (character.isEmpty())
        return L10n::format(u"key.unknown"_s, {keyCode});
    return character;
}

QString Shortcut::keyName(quint32 keyCode, const KeyboardLayout& layout)
{
    return keyName(keyCode, desktopNotation(), layout);
}

QByteArray Shortcut::toJson() const
{
    const QJsonObject object{{u"keyCode"_s, static_cast<qint64>(keyCode)},
                             {u"modifiers"_s, static_cast<qint64>(modifiers)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<Shortcut> Shortcut::fromJson(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const auto keyCode = uint32From(object.value(u"keyCode"_s));
    const auto modifiers = uint32From(object.value(u"modifiers"_s));
    // A stray bit in the mask would make the shortcut impossible to press.
    if (!keyCode || !modifiers || (*modifiers & ~allModifiers) != 0)
        return std::nullopt;
    return Shortcut{*keyCode, *modifiers};
}
