#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in build/fuzz and runs each for the given number of
# seconds (default 60), starting from its seed corpus in fuzz/corpus/<target>/. New inputs go
# to build/fuzz/corpus/<target>/, so the seeds in the repository stay as they are.
#   scripts/fuzz.sh [seconds] [target ...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
build="$root/build/fuzz"
PONDRIFT_WITH_FUZZ=1 bash "$root/scripts/install-deps.sh"
CXX=clang++ CC=clang cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DPONDRIFT_FUZZ=ON -DPONDRIFT_TESTS=OFF -DPONDRIFT_BENCH=OFF >/dev/null
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for f in "$root"/fuzz/fuzz_*.cpp; do targets+=("$(basename "$f" .cpp)"); done
fi
cmake --build "$build" --target "${targets[@]}" -j"${PONDRIFT_JOBS:-2}"

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_PLATFORM=offscreen
status=0
for t in "${targets[@]}"; do
  work="$build/corpus/$t"
  mkdir -p "$work"
  echo "== $t: ${seconds}s"
  if ! "$build/fuzz/$t" -max_total_time="$seconds" -print_final_stats=1 \
      -artifact_prefix="$build/$t-" "$work" "$root/fuzz/corpus/$t" 2>"$build/$t.log"; then
    status=1
    echo "   FAILED, see $build/$t.log"
  fi
  grep -E "stat::number_of_executed_units|stat::peak_rss_mb|cov:" "$build/$t.log" | tail -3
done
exit $status
