#pragma once

#include "sync/MassDeletePrompt.h"

#include <QList>

#include <optional>

// Records every question; answers at once when told to, else keeps the callback so that the
// test answers later.
class ScriptedPrompt final : public MassDeletePrompt {
public:
    void ask(int count, std::function<void(Answer)> answer) override
    {
        counts.append(count);
        if (immediate)
            answer(*immediate);
        else
            waiting = std::move(answer);
    }
    void reply(Answer answer)
    {
        if (auto fn = std::exchange(waiting, nullptr))
            fn(answer);
    }

    std::optional<Answer> immediate;
    QList<int> counts;
    std::function<void(Answer)> waiting;
};
