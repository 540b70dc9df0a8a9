#include "deck/DeckModel.h"

#include "settings/Settings.h"

namespace {

DeckModel::Preferences readPreferences()
{
    DeckModel::Preferences p;
    p.style = Settings::deckStyle();
    p.alwaysShown = Settings::deckAlwaysShown();
    p.hideActions = Settings::deckHideActions();
    p.pillHidden = Settings::deckPillHidden();
    p.scale = Settings::deckScale();
    p.onLeftEdge = Settings::deckOnLeftEdge();
    p.fontSize = Settings::noteFontSize();
    p.markdown = Settings::markdownStyling();
    p.noteSize = Settings::noteSize();
    p.openOnHover = Settings::openOnHover();
    p.tabPreview = Settings::tabPreview();
    return p;
}

} // namespace

DeckModel::DeckModel(QObject* parent)
    : QObject(parent)
    , noteHeight(Settings::noteSize().height())
    , prefs(readPreferences())
{
}

template <typename T>
void DeckModel::assign(T& field, const T& value)
{
    if (field == value)
        return;
    field = value;
    Q_EMIT changed();
}

void DeckModel::setShowAll(bool on) { assign(all, on); }

void DeckModel::setFindQuery(const std::optional<QString>& text) { assign(query, text); }

void DeckModel::setDragging(bool on) { assign(dragging, on); }

void DeckModel::setDetachingID(const std::optional<QString>& id) { assign(detaching, id); }

void DeckModel::setOpenedHeight(double height) { assign(noteHeight, height); }

void DeckModel::setOpenedTop(std::optional<double> top) { assign(noteTop, top); }

void DeckModel::setState(const DeckState& state) { assign(deckState, state); }

void DeckModel::raiseRevealTick()
{
    ++reveal;
    Q_EMIT changed();
}

void DeckModel::syncPreferences() { assign(prefs, readPreferences()); }
