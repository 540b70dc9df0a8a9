#include "app/HotKeys.h"

#include "platform/HotKeyBackend.h"
#include "platform/Log.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

HotKeys::HotKeys(HotKeyBackend& backend)
    : backend(backend)
{
    this->backend.pressed = [this](quint32 id, quint32 time) {
        const auto found = actions.constFind(id);
        if (found == actions.constEnd())
            return;
        // After the backend's event is done with: the action may open windows or spin loops.
        QTimer::singleShot(0, QCoreApplication::instance(),
                           [action = *found, time] { action(time); });
    };
}

HotKeys::~HotKeys()
{
    backend.pressed = nullptr;
    backend.releaseAll();
}

void HotKeys::registerActions(Action newNote, Action allNotes, Action archive, Action capture)
{
    handlers = {
        {1, &Settings::scNewNote, std::move(newNote)},
        {2, &Settings::scAllNotes, std::move(allNotes)},
        {3, &Settings::scArchive, std::move(archive)},
        {4, &Settings::scCapture, std::move(capture)},
    };
    reload();
}

void HotKeys::reload()
{
    unregisterAll();
    for (const Handler& h : std::as_const(handlers)) {
        const Shortcut s = h.shortcut();
        if (!s.isSet())
            continue;
        if (const int status = backend.grab(h.id, s.keyCode, s.modifiers); status != 0) {
            Log::line(u"hotkey %1 unavailable (status %2) — another app may own it"_s.arg(h.id).arg(
                status));
            continue;
        }
        actions.insert(h.id, h.action);
    }
}

void HotKeys::unregisterAll()
{
    backend.releaseAll();
    actions.clear();
}

QList<quint32> HotKeys::live() const
{
    QList<quint32> ids = actions.keys();
    std::sort(ids.begin(), ids.end());
    return ids;
}
