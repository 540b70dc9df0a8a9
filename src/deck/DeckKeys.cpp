#include "deck/DeckKeys.h"

#include "settings/Settings.h"

#include <array>
#include <utility>

namespace DeckKeys {

Shortcuts current()
{
    return {Settings::scClose(),  Settings::scArchiveNote(), Settings::scDelete(),
            Settings::scFind(),   Settings::scTask(),        Settings::scPin(),
            Settings::scColour(), Settings::scBigger(),      Settings::scSmaller()};
}

std::optional<Command> commandFor(const KeyPress& press, const Shortcuts& s)
{
    const std::array<std::pair<const Shortcut&, Command>, 9> order{{
        {s.close, Command::Close},
        {s.archive, Command::Archive},
        {s.remove, Command::Delete},
        {s.find, Command::Find},
        {s.task, Command::Task},
        {s.pin, Command::Pin},
        {s.colour, Command::Colour},
        {s.bigger, Command::Bigger},
        {s.smaller, Command::Smaller},
    }};
    for (const auto& [shortcut, command] : order) {
        if (shortcut.matches(press))
            return command;
    }
    return std::nullopt;
}

} // namespace DeckKeys
