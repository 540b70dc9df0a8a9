#!/usr/bin/env bash
# Builds the benchmarks optimised in build/release and runs them. Each benchmark prints our
# figure next to a baseline measured in the same run; compare the two, not the absolute
# numbers, on a machine that is doing other work.
#   scripts/bench.sh [bench_name ...] [-- flags]
# The flags go to every program named: Google Benchmark's flags, except for bench_launch and
# bench_deck, which start a fresh process per run and take their own (bench_launch:
# --runs=N, --notes=10000,100000; bench_deck: --runs=N, --rest=SECONDS) and pass over Google
# Benchmark's. bench_launch's note libraries are made on its first run and kept in
# build/release/bench/launch-data. bench_deck starts the program on an X server (under
# xvfb-run when DISPLAY is unset) and writes its library with the test helper seednotes,
# so naming it builds the tests' helpers too. bench_capture too runs on an X server.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"

names=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do names+=("$1"); shift; done
[ "${1:-}" = "--" ] && shift
if [ ${#names[@]} -eq 0 ]; then
  for f in "$root"/bench/bench_*.cpp; do names+=("$(basename "$f" .cpp)"); done
fi
targets=("${names[@]}")
tests=OFF
for n in "${names[@]}"; do
  if [ "$n" = bench_deck ]; then
    tests=ON
    targets+=(pondrift seednotes bare_window)
  fi
done
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=Release -DPONDRIFT_TESTS=$tests >/dev/null
cmake --build "$root/build/release" --target "${targets[@]}" -j"$(nproc)"

for n in "${names[@]}"; do
  echo "== $n"
  if [ "$n" = bench_deck ] || [ "$n" = bench_capture ]; then
    # A real X server: the offscreen platform paints nothing on screen.
    if [ -n "${DISPLAY:-}" ]; then
      "$root/build/release/bench/$n" "$@"
    else
      xvfb-run -a -s "-screen 0 1280x800x24" "$root/build/release/bench/$n" "$@"
    fi
  else
    QT_QPA_PLATFORM=offscreen "$root/build/release/bench/$n" "$@"
  fi
done
