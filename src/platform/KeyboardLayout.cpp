#include "platform/KeyboardLayout.h"

#include "platform/UsKeyboardLayout.h"

namespace {
const KeyboardLayout* installed = nullptr;
} // namespace

const KeyboardLayout& KeyboardLayout::current()
{
    static const UsKeyboardLayout us;
    return installed ? *installed : us;
}

void KeyboardLayout::install(const KeyboardLayout* layout) { installed = layout; }
