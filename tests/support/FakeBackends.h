#pragma once

// The program's backends as fakes, for a test that builds the program whole: virtual time,
// settings in memory, a desktop that records what it is asked, real files with faults on
// demand, fonts from a table, a pointer and displays the test moves, and a compositor that is
// on. A test sets what it wants to watch or answer on `backends` before it builds the program,
// and keeps the handles to drive the fakes afterwards.

#include "app/AppServices.h"

#include <QHash>
#include <QString>
#include <QVariant>

class FakeDisplays;
class FakePointer;
class FaultyFiles;
class ManualScheduler;
class RecordingDesktop;
class MemoryDefaults;

struct FakeBackends {
    // `displayCount` displays of 1920 by 1080 side by side, the first the main one.
    explicit FakeBackends(int displayCount = 1, const QHash<QString, QVariant>& settings = {});

    AppServices::Backends backends;
    ManualScheduler* clock = nullptr;
    MemoryDefaults* defaults = nullptr;
    RecordingDesktop* desktop = nullptr;
    FaultyFiles* files = nullptr;
    FakePointer* pointer = nullptr;
    FakeDisplays* displays = nullptr;
};
