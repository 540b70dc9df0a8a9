#pragma once

#include <QtGlobal>

#include <functional>
#include <map>
#include <memory>
#include <vector>

// Keeps a listener listening; dropping it (or assigning over it) ends that for good. It may
// outlive what it listens to, and may be dropped from inside a call to its listener.
class Subscription {
public:
    // What a subscription is taken from: it forgets the listener with that id.
    class Source {
    public:
        virtual ~Source() = default;
        virtual void drop(quint64 id) = 0;
    };

    Subscription() = default;
    Subscription(std::weak_ptr<Source> source, quint64 id)
        : source(std::move(source))
        , id(id)
    {
    }
    Subscription(Subscription&&) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept
    {
        if (this != &other) {
            cancel();
            source = std::move(other.source);
            id = other.id;
        }
        return *this;
    }
    ~Subscription() { cancel(); }

private:
    void cancel()
    {
        if (const auto alive = source.lock())
            alive->drop(id);
        source.reset();
    }

    std::weak_ptr<Source> source;
    quint64 id = 0;
};

// The listeners of one kind of change, for whoever tells of it. Main thread only.
template <typename... Args>
class Listeners {
public:
    Listeners() = default;
    Listeners(const Listeners&) = delete;
    Listeners& operator=(const Listeners&) = delete;

    [[nodiscard]] Subscription add(std::function<void(Args...)> listener)
    {
        const quint64 id = table->nextId++;
        table->byId.emplace(id, std::make_shared<const Callback>(std::move(listener)));
        return Subscription(table, id);
    }

    // Tells every listener, in the order they subscribed. Listeners may subscribe or drop
    // subscriptions meanwhile; one dropped before its turn is not called, and one added
    // meanwhile waits for the next change.
    void notify(const Args&... args) const
    {
        // A listener may drop its subscription, another's, or even the owner of this list, so
        // the list is walked by id and each callback looked up again before it runs.
        const auto keep = table;
        std::vector<quint64> ids;
        ids.reserve(keep->byId.size());
        for (const auto& entry : keep->byId)
            ids.push_back(entry.first);
        for (const quint64 id : ids) {
            const auto found = keep->byId.find(id);
            if (found == keep->byId.end())
                continue;
            // Shared so that a callback that drops its own subscription while it runs is not
            // destroyed under itself.
            const auto callback = found->second;
            (*callback)(args...);
        }
    }

private:
    using Callback = std::function<void(Args...)>;
    struct Table final : Subscription::Source {
        void drop(quint64 id) override { byId.erase(id); }
        std::map<quint64, std::shared_ptr<const Callback>> byId;
        quint64 nextId = 1;
    };
    std::shared_ptr<Table> table = std::make_shared<Table>();
};
