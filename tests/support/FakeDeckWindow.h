#pragma once

#include "deck/DeckWindow.h"

#include <QList>

// A deck window that records what its controller asks of it. Taking the keyboard makes it key
// at once; a test that wants the keyboard elsewhere clears `key`.
class FakeDeckWindow final : public DeckWindow {
public:
    struct Change {
        DeckState state;
        std::optional<DeckSpring> spring;
        friend bool operator==(const Change&, const Change&) = default;
    };

    void attach(DeckController* c) override { controller = c; }
    QRectF frame() const override { return currentFrame; }
    void setFrame(const QRectF& frame) override
    {
        currentFrame = frame;
        frames.append(frame);
    }
    void orderFront() override
    {
        ++frontOrders;
        shown = true;
    }
    void makeKeyAndOrderFront() override
    {
        ++keyRequests;
        shown = true;
        key = true;
    }
    void resignKey() override
    {
        ++resignations;
        key = false;
    }
    bool isKey() const override { return key; }
    void applyLevel() override { ++levelApplications; }
    void orderOut() override { shown = false; }
    void installNoteMonitors() override
    {
        ++monitorInstalls;
        monitored = true;
    }
    void removeNoteMonitors() override { monitored = false; }
    void willChangeState(const DeckState& next, std::optional<DeckSpring> spring) override
    {
        changes.append({next, spring});
    }

    DeckController* controller = nullptr;
    QRectF currentFrame;
    QList<QRectF> frames;
    QList<Change> changes;
    int frontOrders = 0;
    int keyRequests = 0;
    int resignations = 0;
    int levelApplications = 0;
    int monitorInstalls = 0;
    bool shown = false;
    bool key = false;
    bool monitored = false;
};
