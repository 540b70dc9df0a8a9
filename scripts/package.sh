#!/usr/bin/env bash
# Installs what is missing, builds an optimised Pondrift in build/package (the program alone:
# no tests, no benchmarks) and makes its Debian package there. The last line printed is the
# package's path:
#
#   bash scripts/package.sh [build-folder]
#   sudo apt install ./build/package/pondrift_*.deb
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath -m "${1:-$root/build/package}")
bash "$root/scripts/install-deps.sh"

# A compiler cache, where there is one, spares a second optimised build of the same sources.
launcher=()
if command -v ccache >/dev/null 2>&1; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DPONDRIFT_TESTS=OFF \
  -DPONDRIFT_BENCH=OFF -DPONDRIFT_SANITIZE=OFF "${launcher[@]}" >/dev/null
cmake --build "$build" -j"$(nproc)"

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
deb="$build/pondrift_${version}_$(dpkg --print-architecture).deb"
rm -f "$deb"
(cd "$build" && cpack -G DEB >/dev/null)
if [ ! -f "$deb" ]; then
  echo "package: cpack ran but $deb is not there" >&2
  exit 1
fi
echo "$deb"
