#pragma once

#include "platform/SpellChecker.h"

// Spelling off: chosen when no dictionary is installed or none could be read.
class NoSpellChecker final : public SpellChecker {
public:
    bool available() override { return false; }

protected:
    bool knows(QStringView) override { return true; }
};
