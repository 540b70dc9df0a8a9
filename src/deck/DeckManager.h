#pragma once

#include "deck/DeckCoordinator.h"
#include "platform/Scheduler.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>

class DeckActions;
class DeckController;
class DeckWindow;
class DetachTarget;
class Displays;
class NoteStore;
class Pointer;

// The decks: one per display that the setting asks for, kept in step with the connected
// screens. It picks the deck that acts for hot keys and new notes (the one under the
// pointer), and keeps at most one deck open or fanned at a time.
//
// A burst of display changes (a monitor plugged in reports itself, its geometry and its work
// area one by one) rebuilds once, a moment after the last. A deck whose display went away
// keeps no window on screen; when the display comes back, the deck is laid out on it again.
// Main thread only.
class DeckManager final : public QObject, public DeckCoordinator {
    Q_OBJECT

public:
    struct Collaborators {
        Displays& displays;
        Pointer& pointer;
        Scheduler& scheduler;
        NoteStore& notes;
        DeckActions& actions;
        // The floating note; null until there is one.
        DetachTarget* detachTarget = nullptr;
        // The window of a new deck on the display with this id.
        std::function<std::unique_ptr<DeckWindow>(quint32 displayID)> makeWindow;
    };

    // How long the screens must stay still before the decks follow them.
    static constexpr double rebuildDelay = 0.25;

    // Builds the decks at once, and follows the displays from then on. Every collaborator
    // must outlive the manager.
    explicit DeckManager(Collaborators collaborators);
    ~DeckManager() override;

    // Brings the decks in line with the setting and the connected displays: decks no longer
    // wanted go (an open note closes with its deck; the note itself is in the store), new
    // ones start at rest, the others keep their state and are laid out again.
    void rebuild();
    // After a change of settings that affects the deck: rebuild, then push the settings into
    // every deck.
    void refreshAll();
    void deckDidActivate(DeckController& deck) override;

    // The deck on the display under the pointer, else any deck; null when there is none.
    DeckController* focused() const;
    // The live decks, by display id.
    QList<DeckController*> decks() const;
    DeckController* deck(quint32 displayID) const;

private:
    struct Deck;
    void scheduleRebuild();
    // Shows and lays out a deck whose display is connected; hides one whose display is not.
    void place(Deck& deck);

    Collaborators with;
    std::map<quint32, std::unique_ptr<Deck>> live;
    quint32 lastMainID = 0;
    Scheduler::HandlePtr pendingRebuild;
};
