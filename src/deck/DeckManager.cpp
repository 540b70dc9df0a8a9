#include "deck/DeckManager.h"

#include "deck/DeckController.h"
#include "deck/DeckLog.h"
#include "deck/DeckTargets.h"
#include "deck/DeckWindow.h"
#include "platform/Displays.h"
#include "platform/Pointer.h"
#include "settings/Settings.h"

using namespace Qt::Literals::StringLiterals;

// The window outlives its controller, which orders it out on the way.
struct DeckManager::Deck {
    std::unique_ptr<DeckWindow> window;
    std::unique_ptr<DeckController> controller;
    bool shown = true;

    ~Deck() { controller.reset(); }
};

DeckManager::DeckManager(Collaborators collaborators)
    : with(std::move(collaborators))
{
    connect(&with.displays, &Displays::changed, this, &DeckManager::scheduleRebuild);
    rebuild();
}

DeckManager::~DeckManager() = default;

void DeckManager::scheduleRebuild()
{
    // Each signal of the burst pushes the rebuild back, so it runs once the screens are still.
    pendingRebuild = with.scheduler.after(rebuildDelay, [this] {
        pendingRebuild.reset();
        rebuild();
    });
}

void DeckManager::rebuild()
{
    const QList<DisplayInfo> displays = with.displays.list();
    lastMainID = DeckTargets::mainID(displays).value_or(lastMainID);
    const QList<quint32> targets =
        DeckTargets::displayIDs(displays, Settings::displayTarget(), lastMainID);

    for (auto it = live.begin(); it != live.end();) {
        if (targets.contains(it->first)) {
            ++it;
            continue;
        }
        DeckLog::line([&] { return u"removing the deck of display %1"_s.arg(it->first); });
        it = live.erase(it);
    }
    for (const quint32 id : targets) {
        if (live.contains(id))
            continue;
        DeckLog::line([&] { return u"making a deck for display %1"_s.arg(id); });
        auto deck = std::make_unique<Deck>();
        deck->window = with.makeWindow(id);
        deck->controller = std::make_unique<DeckController>(
            id, with.displays, with.pointer, with.scheduler, with.notes, *deck->window,
            with.actions, with.detachTarget, this);
        live.emplace(id, std::move(deck));
    }
    for (auto& [id, deck] : live)
        place(*deck);
}

void DeckManager::place(Deck& deck)
{
    if (!deck.controller->screen()) {
        // Its display is gone for now (a lid closed, a cable pulled): a window on no screen
        // could end up anywhere, so it waits hidden.
        if (deck.shown) {
            deck.window->orderOut();
            deck.shown = false;
        }
        return;
    }
    deck.controller->layout();
    if (!deck.shown) {
        deck.window->orderFront();
        deck.shown = true;
    }
}

void DeckManager::refreshAll()
{
    rebuild();
    for (auto& [id, deck] : live) {
        DeckController& controller = *deck->controller;
        controller.model().syncPreferences();
        deck->window->applyLevel();
        if (deck->shown)
            deck->window->orderFront();
        controller.layout();
        controller.applyRestingState();
    }
}

void DeckManager::deckDidActivate(DeckController& active)
{
    for (auto& [id, deck] : live) {
        if (deck->controller.get() != &active)
            deck->controller->collapseToRest();
    }
}

DeckController* DeckManager::focused() const
{
    const std::optional<quint32> under =
        DeckTargets::displayAt(with.displays.list(), with.pointer.location());
    if (under) {
        if (const auto it = live.find(*under); it != live.end())
            return it->second->controller.get();
    }
    return live.empty() ? nullptr : live.begin()->second->controller.get();
}

QList<DeckController*> DeckManager::decks() const
{
    QList<DeckController*> all;
    for (const auto& [id, deck] : live)
        all.append(deck->controller.get());
    return all;
}

DeckController* DeckManager::deck(quint32 displayID) const
{
    const auto it = live.find(displayID);
    return it == live.end() ? nullptr : it->second->controller.get();
}
