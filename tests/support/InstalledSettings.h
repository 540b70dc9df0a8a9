#pragma once

#include "notes/Ink.h"
#include "settings/Settings.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/TableFonts.h"

#include <QStandardPaths>

// Settings in memory and the fonts of a fixed table, for a test program whose views read
// both. install() once, before the first view is made.
struct InstalledSettings {
    MemoryDefaults defaults;
    MemoryLoginItem loginItem;
    TableFonts fonts;

    void install()
    {
        QStandardPaths::setTestModeEnabled(true);
        Settings::install(defaults, loginItem);
        Ink::install(fonts);
    }
};
