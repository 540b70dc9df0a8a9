#pragma once

// The vertical arrangement of one deck's column: its items (labelled tabs or colour chips),
// the More tab, and the plus and cog buttons. Lengths are points, measured inside the panel
// from its top downward. Made by DeckGeom::layout.
//
// The derived lengths that include the buttons read the buttons' sizes at the current deck
// scale, so a layout is meant to be used at the scale it was made for.
struct DeckLayout {
    // Full height of one item, including the part hidden under its lower neighbour.
    double itemHeight = 0;
    // From the top of one item to the top of the next.
    double pitch = 0;
    double moreGap = 0;
    double moreHeight = 0;
    // Item slots, at least 1.
    int count = 1;
    bool hasMore = false;
    double panelHeight = 0;
    // The plus and cog buttons follow the column.
    bool showsActions = false;

    // Negative for labelled tabs, which overlap; positive for chips.
    double spacing() const { return pitch - itemHeight; }
    // The whole column, buttons included; 0 without items.
    double stackHeight() const;
    // The column centred in the panel, never closer than 12 to its top.
    double top() const;
    // The middle of the part of item i that shows: only the last item shows whole.
    double center(int i) const { return top() + centerOffset(i); }
    // The same, from the top of the first item.
    double centerOffset(int i) const;
    // The tallest the column may stand before it scrolls.
    double cap() const;
    bool overflows() const { return stackHeight() > cap(); }

    friend bool operator==(const DeckLayout&, const DeckLayout&) = default;
};
