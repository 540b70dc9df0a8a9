#pragma once

#include "app/AppServices.h"
#include "platform/SingleInstance.h"

// The desktop's own backends and alerts: Qt, X11 and freedesktop, with fixed fallbacks where
// the desktop has nothing to give. The one place in the program that names them; it lives
// with the widgets because the alerts are widgets.
AppServices::Backends makeProductionBackends();

// The guard that keeps one running program per user, over the user's runtime folder. Made
// before anything else, so that a later start hands its request over without opening a note.
std::unique_ptr<SingleInstance> makeSingleInstance();
