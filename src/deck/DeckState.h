#pragma once

#include <QString>

#include <optional>

// Where one deck stands: only the pill (rest), the column of tabs (fan), or the column with
// one note open beside it (expanded, with that note's id). A value; two expanded states are
// equal when their ids are.
class DeckState {
public:
    enum class Kind { Rest, Fan, Expanded };

    DeckState() = default;

    static DeckState rest() { return DeckState(); }
    static DeckState fan() { return DeckState(Kind::Fan, {}); }
    static DeckState expanded(const QString& id) { return DeckState(Kind::Expanded, id); }
    // Where a deck falls back to: the fan when the user keeps the deck shown, else rest.
    static DeckState resting(bool alwaysShown) { return alwaysShown ? fan() : rest(); }

    Kind kind() const { return stateKind; }
    bool isRest() const { return stateKind == Kind::Rest; }
    bool isFan() const { return stateKind == Kind::Fan; }
    bool isExpanded() const { return stateKind == Kind::Expanded; }
    // The open note's id; absent at rest and in the fan.
    std::optional<QString> expandedID() const
    {
        if (stateKind != Kind::Expanded)
            return std::nullopt;
        return id;
    }

    // For the deck's debug log: "rest", "fan", "expanded(ID)".
    QString description() const
    {
        switch (stateKind) {
        case Kind::Rest:
            return QStringLiteral("rest");
        case Kind::Fan:
            return QStringLiteral("fan");
        case Kind::Expanded:
            break;
        }
        return QStringLiteral("expanded(") + id + u')';
    }

    friend bool operator==(const DeckState&, const DeckState&) = default;

private:
    DeckState(Kind kind, const QString& noteID)
        : stateKind(kind)
        , id(noteID)
    {
    }

    Kind stateKind = Kind::Rest;
    // Empty unless expanded, so that equality compares ids only where they mean something.
    QString id;
};
