#!/usr/bin/env bash
# Installs what is missing, builds Pondrift with AddressSanitizer and UndefinedBehaviorSanitizer
# in build/test, and runs every test through CTest under a virtual X server. Tests labelled
# x11 use that server; all others run on Qt's offscreen platform.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build/test" -DCMAKE_BUILD_TYPE=Debug -DPONDRIFT_SANITIZE=ON >/dev/null
cmake --build "$root/build/test" -j"$(nproc)"

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_FONTDIR=/usr/share/fonts
# No desktop bus in a test run unless a test starts its own. An unset address makes libdbus
# try to start one through dbus-launch, slowly, and on a busy machine it leaves a buffer the
# leak checker reports; a bus that does not exist fails at once.
export DBUS_SESSION_BUS_ADDRESS="${DBUS_SESSION_BUS_ADDRESS:-unix:path=/nonexistent/pondrift-test-bus}"
cd "$root/build/test"
exec xvfb-run -a -s "-screen 0 1920x1080x24" ctest --output-on-failure -j"$(nproc)" --timeout 600 "$@"
