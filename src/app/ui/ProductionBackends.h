#pragma once

#include "app/AppServices.h"

// The desktop's own backends and alerts: Qt, X11 and freedesktop, with fixed fallbacks where
// the desktop has nothing to give. The one place in the program that names them; it lives
// with the widgets because the alerts are widgets.
AppServices::Backends makeProductionBackends();
