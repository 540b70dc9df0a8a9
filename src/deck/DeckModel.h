#pragma once

#include "deck/DeckState.h"
#include "editor/EditorBridge.h"
#include "settings/DeckStyle.h"

#include <QObject>
#include <QSizeF>
#include <QString>

#include <optional>

class DeckController;

// The observable state of one deck: where it stands, what its views show for the moment
// (find text, the whole list, drags), and its own copy of the settings the views draw from,
// so that a change of settings reaches them in one refresh (syncPreferences).
//
// The state and the reveal counter belong to the deck's controller alone; the other
// transient properties are written by the controller and by the views' own actions (the More
// tab, the find bar, the drags, the note's resize). Main thread only.
class DeckModel final : public QObject {
    Q_OBJECT

public:
    // Takes its settings from Settings, which must be installed.
    explicit DeckModel(QObject* parent = nullptr);

    const DeckState& state() const { return deckState; }
    // The column of tabs shows: in the fan and with a note open.
    bool fanVisible() const { return !deckState.isRest(); }
    // The column lists every active note, not only the first few.
    bool showAll() const { return all; }
    // Absent: no find bar. Present, even empty: the open note's find bar shows this text.
    const std::optional<QString>& findQuery() const { return query; }
    // Rises each time the fan opens out of the pill; the column replays its reveal on it.
    int revealTick() const { return reveal; }
    // A pill drag, a tab reorder or a note's pull runs: every timer leaves the deck alone.
    bool isDragging() const { return dragging; }
    // The note being pulled out to float, while it is.
    const std::optional<QString>& detachingID() const { return detaching; }
    double openedHeight() const { return noteHeight; }
    // The open note's top inside the panel, absent until first placed.
    const std::optional<double>& openedTop() const { return noteTop; }

    // The settings, as of the last syncPreferences.
    struct Preferences {
        DeckStyle style = DeckStyle::Tabs;
        bool alwaysShown = false;
        bool hideActions = false;
        bool pillHidden = false;
        double scale = 1;
        bool onLeftEdge = false;
        double fontSize = 0;
        bool markdown = true;
        QSizeF noteSize;
        bool openOnHover = false;
        bool tabPreview = false;

        friend bool operator==(const Preferences&, const Preferences&) = default;
    };
    const Preferences& preferences() const { return prefs; }
    DeckStyle style() const { return prefs.style; }
    bool alwaysShown() const { return prefs.alwaysShown; }
    bool hideActions() const { return prefs.hideActions; }
    bool pillHidden() const { return prefs.pillHidden; }
    double scale() const { return prefs.scale; }
    bool onLeftEdge() const { return prefs.onLeftEdge; }
    double fontSize() const { return prefs.fontSize; }
    bool markdown() const { return prefs.markdown; }
    QSizeF noteSize() const { return prefs.noteSize; }
    bool openOnHover() const { return prefs.openOnHover; }
    bool tabPreview() const { return prefs.tabPreview; }

    // Lives as long as the model; the open note's text view attaches to it.
    EditorBridge& bridge() { return editorBridge; }

    void setShowAll(bool on);
    void setFindQuery(const std::optional<QString>& text);
    void setDragging(bool on);
    void setDetachingID(const std::optional<QString>& id);
    void setOpenedHeight(double height);
    void setOpenedTop(std::optional<double> top);

    // Reads the settings again. Leaves every transient property alone, the open note's
    // height too: that one follows the settings at the next opening only.
    void syncPreferences();

Q_SIGNALS:
    // After any property took a new value; writing the value a property holds is silent. A
    // batch of settings read together signals once.
    void changed();

private:
    friend class DeckController;
    void setState(const DeckState& state);
    void raiseRevealTick();

    template <typename T>
    void assign(T& field, const T& value);

    DeckState deckState;
    bool all = false;
    std::optional<QString> query;
    int reveal = 0;
    bool dragging = false;
    std::optional<QString> detaching;
    double noteHeight = 0;
    std::optional<double> noteTop;
    Preferences prefs;
    EditorBridge editorBridge;
};
