#pragma once

#include "deck/DeckActions.h"

#include <QStringList>

// The program's commands as a deck asks for them, recorded by name ("newNote",
// "stepFontSize 1.5", "setDeckStyle:compact") instead of run.
class RecordingDeckActions final : public DeckActions {
public:
    RecordingDeckActions() = default;
    // Only these commands are offered (by name, without a value); without a list, all are.
    explicit RecordingDeckActions(QStringList offered)
        : offered(std::move(offered))
    {
    }

    void newNote() override { calls.append(QStringLiteral("newNote")); }
    void openSettings() override { calls.append(QStringLiteral("openSettings")); }
    void stepFontSize(double delta) override
    {
        calls.append(QStringLiteral("stepFontSize %1").arg(delta));
    }
    void refreshDecks() override { calls.append(QStringLiteral("refreshDecks")); }
    void run(const QString& id) override { calls.append(id); }
    bool offers(const QString& id) const override
    {
        return offered.isEmpty() || offered.contains(id.section(u':', 0, 0));
    }

    QStringList offered;
    QStringList calls;
};
