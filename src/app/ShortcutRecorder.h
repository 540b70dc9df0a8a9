#pragma once

#include "settings/Shortcut.h"

// What a shortcut field does with a key press while it records: Escape gives up and keeps the
// old combination, Backspace clears it, a lone modifier is the start of a combination and
// waits for its key, and a combination that cannot be a shortcut (a bare key where a modifier
// is needed) is refused while recording goes on.
class ShortcutRecorder final {
public:
    enum class Outcome {
        // Not recording, or a modifier pressed by itself: the press is not the recorder's.
        Ignored,
        // Escape: recording ends and the shortcut stays as it was.
        Cancelled,
        // Backspace: the shortcut is now unset, and recording ends.
        Cleared,
        // A combination: it is the shortcut now, and recording ends.
        Captured,
        // Cannot be used: the person hears a beep, and recording goes on.
        Refused,
    };

    explicit ShortcutRecorder(bool allowsBareKeys = false)
        : bareKeys(allowsBareKeys)
    {
    }

    void start() { active = true; }
    void stop() { active = false; }
    bool recording() const { return active; }
    bool allowsBareKeys() const { return bareKeys; }

    // qtKey is the event's Qt key; press is what the key table made of it, absent for a key
    // it does not know. shortcut changes only on Cleared and Captured.
    Outcome press(int qtKey, const std::optional<KeyPress>& press, Shortcut& shortcut);

private:
    bool bareKeys;
    bool active = false;
};
