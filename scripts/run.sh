#!/usr/bin/env bash
# Installs what is missing, builds an optimised Pondrift in build/release and starts it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=Release -DPONDRIFT_TESTS=OFF >/dev/null
cmake --build "$root/build/release" --target pondrift -j"$(nproc)"

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  cat >&2 <<TXT
Pondrift needs a graphical session, and this shell has none (DISPLAY and WAYLAND_DISPLAY are unset).
The program is built: $root/build/release/src/pondrift
To run it without a screen, start it under a virtual X server:
  xvfb-run -a -s "-screen 0 1920x1080x24" $root/build/release/src/pondrift
TXT
  exit 2
fi
exec "$root/build/release/src/pondrift" "$@"
