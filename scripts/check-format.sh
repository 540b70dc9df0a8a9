#!/usr/bin/env bash
# Fails when a C++ file of the project differs from what clang-format makes of it under the
# repository's .clang-format. Run by the test command; `bash scripts/check-format.sh --fix`
# formats in place.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
mapfile -t files < <(find src tests bench fuzz -name '*.cpp' -o -name '*.h' | sort)
if [ "${1:-}" = "--fix" ]; then
  clang-format -i "${files[@]}"
  exit 0
fi
clang-format --dry-run --Werror "${files[@]}"
