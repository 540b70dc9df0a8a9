#!/usr/bin/env bash
# Builds the benchmarks optimised in build/release and runs them. Each benchmark prints our
# figure next to a baseline measured in the same run; compare the two, not the absolute
# numbers, on a machine that is doing other work.
#   scripts/bench.sh [bench_name ...] [-- flags]
# The flags go to every program named: Google Benchmark's flags, except for bench_launch,
# which starts a fresh process per run and takes its own (--runs=N, --notes=10000,100000)
# and passes over Google Benchmark's. Its note libraries are made on its first run and kept
# in build/release/bench/launch-data.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=Release -DPONDRIFT_TESTS=OFF >/dev/null

names=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do names+=("$1"); shift; done
[ "${1:-}" = "--" ] && shift
if [ ${#names[@]} -eq 0 ]; then
  for f in "$root"/bench/bench_*.cpp; do names+=("$(basename "$f" .cpp)"); done
fi
cmake --build "$root/build/release" --target "${names[@]}" -j"$(nproc)"

export QT_QPA_PLATFORM=offscreen
for n in "${names[@]}"; do
  echo "== $n"
  "$root/build/release/bench/$n" "$@"
done
