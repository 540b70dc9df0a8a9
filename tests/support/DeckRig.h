#pragma once

#include "deck/DeckController.h"
#include "support/FakeDeckWindow.h"
#include "support/FakeDisplays.h"
#include "support/FakeFloatingNote.h"
#include "support/FakePointer.h"
#include "support/RecordingDeckActions.h"
#include "support/TestLibrary.h"

// One deck on one 1920 by 1080 screen over a real library, with recording fakes for its
// window, the program's commands and the floating note, and its timers on the library's
// clock. The pointer rests on the edge, so the deck stays open however long a test waits.
struct DeckRig {
    static inline const DisplayInfo screen{7, QStringLiteral("Screen"), QRectF(0, 0, 1920, 1080),
                                           QRectF(0, 0, 1920, 1080), true};
    static constexpr QPointF atEdge{1900, 540};

    TestLibrary lib;
    NoteStore& notes = lib.open();
    FakeDisplays displays{{screen}};
    FakePointer pointer;
    FakeDeckWindow window;
    RecordingDeckActions actions;
    FakeFloatingNote floating;
    DeckController deck{screen.id, displays, pointer,   lib.clock, notes,
                        window,    actions,  &floating, nullptr};

    // Fanned by the pointer, as a person does.
    void fanOut()
    {
        pointer.setLocation(atEdge);
        deck.pointerEntered();
    }
};
