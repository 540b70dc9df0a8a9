#pragma once

#include "settings/Shortcut.h"

#include <QHash>
#include <QList>

#include <functional>

class HotKeyBackend;

// The four combinations that work from anywhere on the desktop: a new note, all notes, the
// archive and quick capture, read from the settings. A combination another program holds is
// logged and stays dead until it is changed; the others work regardless. What a press does
// runs from the event loop, never inside the backend's event handling. Main thread only.
class HotKeys final {
public:
    // An action gets the press's time, for a window it opens to take the keyboard with.
    using Action = std::function<void(quint32 time)>;

    // REQUIRES: backend outlives the hot keys.
    explicit HotKeys(HotKeyBackend& backend);
    ~HotKeys();
    HotKeys(const HotKeys&) = delete;
    HotKeys& operator=(const HotKeys&) = delete;

    void registerActions(Action newNote, Action allNotes, Action archive, Action capture);
    // Grabs again from the current settings; after any of the four changes.
    void reload();
    void unregisterAll();

    // The ids now grabbed, in order.
    QList<quint32> live() const;

private:
    struct Handler {
        quint32 id;
        std::function<Shortcut()> shortcut;
        Action action;
    };

    HotKeyBackend& backend;
    QList<Handler> handlers;
    QHash<quint32, Action> actions;
};
