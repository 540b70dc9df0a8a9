#include "platform/fallback/UsKeyboardLayout.h"

#include "platform/KeyCodes.h"

QString UsKeyboardLayout::character(quint32 keyCode) const
{
    if (auto c = KeyCodes::usCharacter(keyCode))
        return QString(*c);
    return {};
}
