#include "support/FakeBackends.h"

#include "platform/fallback/FixedCompositor.h"
#include "platform/fallback/UsKeyboardLayout.h"
#include "support/FakeDisplays.h"
#include "support/FakePointer.h"
#include "support/FaultyFiles.h"
#include "support/ManualScheduler.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/RecordingDesktop.h"
#include "support/RecordingWindowHints.h"
#include "support/SyncMachine.h"
#include "support/TableFonts.h"

namespace {

// Installs a fake and keeps a handle on it.
template <typename Fake, typename Slot, typename... Args>
Fake* install(Slot& slot, Args&&... args)
{
    auto fake = std::make_unique<Fake>(std::forward<Args>(args)...);
    Fake* handle = fake.get();
    slot = std::move(fake);
    return handle;
}

} // namespace

FakeBackends::FakeBackends(int displayCount, const QHash<QString, QVariant>& settings)
{
    clock = install<ManualScheduler>(backends.scheduler);
    defaults = install<MemoryDefaults>(backends.defaults);
    defaults->values = settings;
    desktop = install<RecordingDesktop>(backends.desktop);
    files = install<FaultyFiles>(backends.files);
    pointer = install<FakePointer>(backends.pointer);
    QList<DisplayInfo> list;
    for (int i = 1; i <= displayCount; ++i)
        list << FakeDisplays::make(quint32(i), QRectF(1920 * (i - 1), 0, 1920, 1080), i == 1);
    displays = install<FakeDisplays>(backends.displays, list);
    backends.loginItem = std::make_unique<MemoryLoginItem>();
    backends.keyboardLayout = std::make_unique<UsKeyboardLayout>();
    backends.fonts = std::make_unique<TableFonts>();
    backends.massDeletePrompt = std::make_unique<ScriptedPrompt>();
    backends.windowHints = std::make_unique<RecordingWindowHints>();
    backends.compositor = std::make_unique<FixedCompositor>(true);
}
