#include "platform/KeyboardLayout.h"

#include <map>
#include <vector>

struct KeyboardLayout::Subscription::Listeners {
    // Each callback is shared so that one that drops its own subscription while it runs is
    // not destroyed under itself.
    std::map<quint64, std::shared_ptr<const std::function<void()>>> byId;
    quint64 nextId = 1;
};

KeyboardLayout::Subscription::Subscription(std::weak_ptr<Listeners> listeners, quint64 id)
    : listeners(std::move(listeners))
    , id(id)
{
}

KeyboardLayout::Subscription& KeyboardLayout::Subscription::operator=(Subscription&& other) noexcept
{
    if (this != &other) {
        cancel();
        listeners = std::move(other.listeners);
        id = other.id;
    }
    return *this;
}

KeyboardLayout::Subscription::~Subscription() { cancel(); }

void KeyboardLayout::Subscription::cancel()
{
    if (const auto alive = listeners.lock())
        alive->byId.erase(id);
    listeners.reset();
}

KeyboardLayout::KeyboardLayout()
    : listeners(std::make_shared<Subscription::Listeners>())
{
}

KeyboardLayout::~KeyboardLayout() = default;

KeyboardLayout::Subscription KeyboardLayout::onChanged(std::function<void()> listener)
{
    const quint64 id = listeners->nextId++;
    listeners->byId.emplace(id, std::make_shared<const std::function<void()>>(std::move(listener)));
    return Subscription(listeners, id);
}

void KeyboardLayout::notifyChanged()
{
    // A listener may drop its subscription, another's, or even the layout, so the list is
    // walked by id and each callback looked up again before it runs.
    const auto keep = listeners;
    std::vector<quint64> ids;
    ids.reserve(keep->byId.size());
    for (const auto& entry : keep->byId)
        ids.push_back(entry.first);
    for (const quint64 id : ids) {
        const auto found = keep->byId.find(id);
        if (found == keep->byId.end())
            continue;
        const auto callback = found->second;
        (*callback)();
    }
}
