#!/usr/bin/env bash
# Runs the real program under a virtual X server with a window manager (openbox) and a
# compositor (picom), at 1x and 2x, in English and Simplified Chinese, and writes a PNG of the
# screen for each scene into the output folder (default build/screenshots).
#
#   bash scripts/screenshots.sh [output-folder]
#
# PONDRIFT_SCENES and PONDRIFT_LANGUAGES (en, zh-Hans) choose a subset.
# Scenes (each in a fresh home of its own):
#   damaged-key   the key file is the wrong size: the storage alert a person meets at launch
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-$root/build/screenshots}
PONDRIFT_WITH_SCREENSHOTS=1 bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=Release -DPONDRIFT_TESTS=OFF >/dev/null
cmake --build "$root/build/release" --target pondrift -j"$(nproc)"
mkdir -p "$out"

# Waits until a command succeeds, for at most 30 s.
wait_for() {
  local tries=0
  until "$@" >/dev/null 2>&1; do
    tries=$((tries + 1))
    [ "$tries" -gt 300 ] && return 1
    sleep 0.1
  done
}

# A scene's home: settings for the language, and whatever the scene needs on disk.
prepare() {
  local home=$1 scene=$2 language=$3
  mkdir -p "$home/config/Pondrift" "$home/data/Pondrift" "$home/run"
  chmod 700 "$home/run"
  printf '[General]\nappLanguage=%s\n' "$language" >"$home/config/Pondrift/Pondrift.conf"
  case "$scene" in
    damaged-key) head -c 5 /dev/urandom >"$home/data/Pondrift/note.key" ;;
  esac
}

shoot() {
  local scene=$1 language=$2 scale=$3
  local home display pids=()
  home=$(mktemp -d)
  prepare "$home" "$scene" "$language"
  exec 3< <(Xvfb -displayfd 1 -screen 0 1280x800x24 -nolisten tcp 2>/dev/null)
  read -r display <&3
  pids+=($!)
  export DISPLAY=:$display
  openbox >/dev/null 2>&1 &
  pids+=($!)
  picom --backend xrender >/dev/null 2>&1 &
  pids+=($!)
  wait_for xprop -root _NET_SUPPORTING_WM_CHECK
  HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data XDG_RUNTIME_DIR=$home/run \
    QT_SCALE_FACTOR=$scale "$root/build/release/src/pondrift" >"$home/log" 2>&1 &
  pids+=($!)
  local shot=$out/$scene-$language-${scale}x.png
  if wait_for xdotool search --onlyvisible --name Pondrift; then
    sleep 0.5 # the compositor's fade-in
    import -window root "$shot"
    echo "$shot"
  else
    echo "Pondrift: no window appeared for $scene ($language, ${scale}x); the program said:" >&2
    cat "$home/log" >&2
    failed=1
  fi
  kill "${pids[@]}" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$home"
}

failed=0
for scene in ${PONDRIFT_SCENES:-damaged-key}; do
  for language in ${PONDRIFT_LANGUAGES:-en zh-Hans}; do
    for scale in 1 2; do
      shoot "$scene" "$language" "$scale"
    done
  done
done
exit $failed
