#pragma once

#include "platform/KeyCodes.h"

#include <QByteArray>
#include <QString>

#include <optional>

class KeyboardLayout;
class QKeyEvent;

// One key press as shortcuts see it: the system's key code and the modifiers held.
struct KeyPress {
    quint32 keyCode = 0;
    Qt::KeyboardModifiers modifiers;
};

// One key combination, shared by the global hot keys and the keys inside a note. keyCode is
// the layout-independent virtual key code and modifiers the Carbon mask (see KeyCodes); no
// bits but the four modifiers are ever set.
struct Shortcut {
    quint32 keyCode = 0;
    quint32 modifiers = 0;

    static constexpr quint32 command = KeyCodes::command;
    static constexpr quint32 shift = KeyCodes::shift;
    static constexpr quint32 option = KeyCodes::option;
    static constexpr quint32 control = KeyCodes::control;

    static constexpr Shortcut none() { return {}; }
    // Key code 0 is the A key, a valid shortcut only with a modifier.
    constexpr bool isSet() const { return keyCode != 0 || modifiers != 0; }

    // The press a key event stands for: its key by the layout's own numbering where the
    // event carries a scan code the layout knows, which keeps the code tied to the key's
    // place whatever the layout; else by its Qt key. Absent for a key outside the key table.
    static std::optional<KeyPress> pressOf(const QKeyEvent& event, const KeyboardLayout& layout);

    // Absent for a press without any of the four modifiers unless allowingBareKey; Shift
    // alone is enough.
    static std::optional<Shortcut> from(const KeyPress& press, bool allowingBareKey);
    // Same key and exactly the same modifiers; extra modifiers fail. Never true when unset.
    bool matches(const KeyPress& press) const;

    enum class Notation { Symbols, Names };
    // Symbols is the Mac way: "⌃⌥⇧⌘" in that order, then the key ("⌥⌘N", "⌘⌫"). Names is the
    // way of other desktops, as Qt's native key sequence text writes it, the Mac's control
    // key by its Linux name: "Super+Ctrl+Alt+Shift+N", "Ctrl+Backspace". "—" when unset.
    QString display(Notation notation, const KeyboardLayout& layout) const;
    // In the notation of the desktop the program runs on.
    QString display(const KeyboardLayout& layout) const;
    static Notation desktopNotation();
    // Space and Escape by the interface language, and ",", "/", "." as they are. Other keys
    // that type no character by their names in the notation: symbols where a Mac shows one,
    // else the key's word (F5, Help); in Names only words, as Qt names keys (Backspace, Del,
    // Return, Left, PgUp, Ins, F5). Keys that type a character by the keyboard layout,
    // upper-cased; "Key %1" style text when the layout gives nothing.
    static QString keyName(quint32 keyCode, Notation notation, const KeyboardLayout& layout);
    // In the notation of the desktop the program runs on.
    static QString keyName(quint32 keyCode, const KeyboardLayout& layout);

    // {"keyCode": n, "modifiers": n}. Decoding fails when either key is missing, is not a
    // whole number from 0 to 2^32-1, or the mask holds bits beyond the four modifiers.
    QByteArray toJson() const;
    static std::optional<Shortcut> fromJson(const QByteArray& json);

    friend bool operator==(const Shortcut&, const Shortcut&) = default;
};
