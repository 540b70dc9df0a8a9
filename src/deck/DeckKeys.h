#pragma once

#include "settings/Shortcut.h"

#include <optional>

// The keys of a note open on the deck, as a pure table: which command a press stands for.
namespace DeckKeys {

enum class Command { Close, Archive, Delete, Find, Task, Pin, Colour, Bigger, Smaller };

// The shortcuts in the order they are tried. When two hold the same keys, the earlier
// command wins, so a person who sets Close and Find alike still has a way out of the note.
struct Shortcuts {
    Shortcut close;
    Shortcut archive;
    Shortcut remove;
    Shortcut find;
    Shortcut task;
    Shortcut pin;
    Shortcut colour;
    Shortcut bigger;
    Shortcut smaller;
};

// The current values of the settings. REQUIRES: Settings installed.
Shortcuts current();

// Absent when no set shortcut matches the press exactly.
std::optional<Command> commandFor(const KeyPress& press, const Shortcuts& shortcuts);

} // namespace DeckKeys
