#pragma once

class DeckController;

// What a deck tells the owner of all decks. At most one deck is open or fanned by the pointer
// at a time: the one that activates asks the others to stand down.
class DeckCoordinator {
public:
    virtual ~DeckCoordinator() = default;

    // Sends every deck but this one, compared by identity, to its resting state. Must not
    // destroy any deck: the caller goes on using itself after the call.
    virtual void deckDidActivate(DeckController& deck) = 0;

protected:
    DeckCoordinator() = default;
    DeckCoordinator(const DeckCoordinator&) = delete;
    DeckCoordinator& operator=(const DeckCoordinator&) = delete;
};
