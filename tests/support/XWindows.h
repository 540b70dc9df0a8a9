#pragma once

// Mapped top-level windows on an X server (the one DISPLAY names when display is null), so
// that a test can see a program's windows come and go from outside it; -1 when the server
// cannot be reached. Qt's own hidden helper windows are never mapped, so they don't count.
int viewableTopLevels(const char* display = nullptr);
