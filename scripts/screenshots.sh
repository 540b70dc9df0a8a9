#!/usr/bin/env bash
# Runs the real program under a virtual X server with a window manager (openbox) and a
# compositor (picom), at 1x and 2x, in English and Simplified Chinese, and writes a PNG of the
# screen for each scene into the output folder (default build/screenshots).
#
#   bash scripts/screenshots.sh [output-folder]
#
# PONDRIFT_SCENES, PONDRIFT_LANGUAGES (en, zh-Hans) and PONDRIFT_COMPOSITORS (picom, none)
# choose a subset. Without a compositor the file names end in "-flat".
# Scenes (each in a fresh home of its own):
#   damaged-key   the key file is the wrong size: the storage alert a person meets at launch
#   deck-rest     the pill at rest on the right edge, six notes
#   deck-fan      the pointer at the edge: five labelled tabs, More, plus and cog
#   deck-chips    the same in the colour-chip style
#   deck-left     the fan on the left edge
#   deck-preview  the pointer resting on a tab: its preview card
#   deck-drag     a tab dragged down, its neighbours making room
#   deck-note     a tab clicked: its note open in the sheet that hangs from the edge
#   note-find     the open note with a picture, its find bar showing a search
#   note-left     the open note on the left edge
#   float         the note pulled off the deck by its gutter, floating over another window
#   float-tuck    the floating note half-way through tucking itself away after Escape
#   capture       quick capture opened by its hot key (Ctrl+Shift+Space), a few words typed
#                 and the second note chosen with Ctrl+3
#   library       the library opened by a pondrift://all link, the first note selected
#   library-search  the library searching for a word that two notes hold
#   library-archive the archive (Ctrl+2), its first note selected
#   library-deleted recently deleted (Ctrl+3): a note the sync deleted, waiting in the trash
#   library-empty   a search that no note matches: the empty list's text
#   undo          a note deleted from the library with the Delete key: the undo toast
#   tray          the program's icon in an XEmbed tray (trayer) at the top right, its menu open
#   about         the about box, chosen from the tray's menu
#   settings-shortcuts, settings-deck, settings-notes, settings-sync, settings-updates
#                 the settings window opened by pondrift://settings, on each of its tabs (sync
#                 on, into a Syncthing folder)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-$root/build/screenshots}
PONDRIFT_WITH_SCREENSHOTS=1 bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=Release -DPONDRIFT_TESTS=ON >/dev/null
cmake --build "$root/build/release" --target pondrift seednotes -j"$(nproc)"
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
  # The open-note scenes show a picture in the first note.
  local picture=""
  case "$scene" in
    note-* | float*)
      picture='\n{picture}\nAfter the beach: *milk* for the café'
      [ "$language" = zh-Hans ] && picture='\n{picture}\n海边回来：买*牛奶*'
      ;;
  esac
  # The library's scenes have an archive too.
  local archived=()
  case "$scene" in
    library* | undo)
      archived=('~Old packing list|Passport\n☑ Charger\n☑ Umbrella' '~Winter plans|Skiing in January')
      [ "$language" = zh-Hans ] && archived=('~旧的行李清单|护照\n☑ 充电器\n☑ 雨伞' '~冬季计划|一月去滑雪')
      ;;
  esac
  case "$scene" in
    damaged-key) head -c 5 /dev/urandom >"$home/data/Pondrift/note.key" ;;
    deck-* | note-* | float* | capture | library* | undo)
      if [ "$language" = zh-Hans ]; then
        "$root/build/release/tests/helpers/seednotes" "$home/data/Pondrift" \
          "购物清单|牛奶\\n鸡蛋\\n☐ 面包\\n☑ 咖啡${picture}" '给妈妈打电话|周日下午' '演讲的想法|先讲故事，再讲数字' \
          '里斯本之旅|机票已订' '书单|《百年孤独》' '电影|周五晚上' "${archived[@]}"
      else
        "$root/build/release/tests/helpers/seednotes" "$home/data/Pondrift" \
          "Groceries|Milk\\nEggs\\n☐ Bread\\n☑ Coffee${picture}" 'Call Mum|Sunday afternoon' \
          'Ideas for the talk|Start with the story, then the numbers' 'Trip to Lisbon|Flights booked' \
          'Reading list|One Hundred Years of Solitude' 'Films|Friday night' "${archived[@]}"
      fi
      ;;
  esac
  case "$scene" in
    library-deleted)
      mkdir -p "$home/data/Pondrift/Trash"
      if [ "$language" = zh-Hans ]; then
        printf '# 花园\n番茄要在五月前种下\n' >"$home/data/Pondrift/Trash/花园 (deleted 2026-11-20-091500).md"
      else
        printf '# Garden\nPlant the tomatoes before May\n' >"$home/data/Pondrift/Trash/Garden (deleted 2026-11-20-091500).md"
      fi
      ;;
  esac
  case "$scene" in
    settings-sync)
      mkdir -p "$home/Sync"
      printf 'cloudSyncEnabled=true\n' >>"$home/config/Pondrift/Pondrift.conf"
      ;;
  esac
  case "$scene" in
    deck-chips) printf 'deckStyle=compact\n' >>"$home/config/Pondrift/Pondrift.conf" ;;
    deck-left | note-left) printf 'deckOnLeftEdge=true\n' >>"$home/config/Pondrift/Pondrift.conf" ;;
  esac
}

# A point in the upper part of the first item of a kind in the deck's last "items" trace
# line, as "X Y" in the screen's pixels (the trace speaks in points).
item_centre() {
  grep '\[deck\] items' "$1" | tail -1 | tr ' ' '\n' | grep "^$2:" | head -1 |
    sed -E 's/.*@(-?[0-9]+),(-?[0-9]+),([0-9]+)x([0-9]+)/\1 \2 \3 \4/' |
    awk -v s="$3" '{ printf "%d %d\n", ($1 + $3 / 2) * s, ($2 + $4 / 3) * s }'
}

# Brings the deck to the scene's moment: the pointer at the edge, on a tab, or dragging one.
act() {
  local scene=$1 log=$2 scale=$3 edge_x=$((1280 * $3 - 4))
  case "$scene" in deck-left | note-left) edge_x=3 ;; esac
  case "$scene" in
    deck-rest | damaged-key) return 0 ;;
    tray | about)
      # The tray's icon is the last window the tray holds; a right click opens its menu, and
      # the menu's first item is About.
      local icon
      wait_for xdotool search --onlyvisible --class trayer
      icon=$(xdotool search --onlyvisible --class trayer | tail -1)
      eval "$(xdotool getwindowgeometry --shell "$icon")"
      xdotool mousemove --sync $((X + WIDTH / 2)) $((Y + HEIGHT / 2)) click 3
      sleep 0.8
      if [ "$scene" = about ]; then
        xdotool key Down Return
        wait_for xdotool search --onlyvisible --name 'About Pondrift|关于 Pondrift'
        sleep 0.6
      fi
      return 0
      ;;
    library* | undo)
      # A second start hands the link to the running program, as a launcher would.
      local home
      home=$(dirname "$log")
      HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data XDG_RUNTIME_DIR=$home/run \
        "$root/build/release/src/pondrift" pondrift://all >/dev/null 2>&1 || true
      sleep 1.2
      case "$scene" in
        library) xdotool key Down ;;
        library-search)
          if [ "$4" = zh-Hans ]; then xdotool type --delay 40 "周"; else xdotool type --delay 40 "day"; fi
          sleep 0.3
          xdotool key Down
          ;;
        library-archive) xdotool key ctrl+2 Down ;;
        library-empty) xdotool type --delay 40 "zebra" ;;
        library-deleted) xdotool key ctrl+3 ;;
        undo)
          xdotool key Down
          sleep 0.3
          xdotool key Delete
          sleep 2
          ;;
      esac
      sleep 0.6
      return 0
      ;;
    settings-*)
      # The tabs in order; Ctrl+Tab steps to the next one.
      local steps=0
      case "$scene" in
        settings-deck) steps=1 ;;
        settings-notes) steps=2 ;;
        settings-sync) steps=3 ;;
        settings-updates) steps=4 ;;
      esac
      wait_for xdotool search --onlyvisible --name 'Pondrift (Settings|设置)'
      xdotool search --onlyvisible --name 'Pondrift (Settings|设置)' | head -1 | xargs xdotool windowactivate --sync
      for _ in $(seq "$steps"); do xdotool key ctrl+Tab; done
      sleep 0.6
      return 0
      ;;
    capture)
      xdotool mousemove --sync $((640 * scale)) $((400 * scale)) key ctrl+shift+space
      sleep 0.8
      if [ "$4" = zh-Hans ]; then
        xdotool type --delay 40 "买邮票"
      else
        xdotool type --delay 40 "Buy stamps on the way"
      fi
      xdotool key ctrl+3
      sleep 0.5
      return 0
      ;;
  esac
  case "$scene" in
    float*)
      # Another program's window for the note to float over, up before the note opens: a
      # window that comes up later takes the keyboard, and that closes an open note.
      xmessage -name report -geometry $((620 * scale))x$((360 * scale))+$((60 * scale))+$((260 * scale)) \
        -fn "-*-dejavu sans-medium-r-*-*-$((15 * scale))-*-*-*-*-*-*-*" \
        "Quarterly report, draft 3: revenue grew in every region but one." >/dev/null 2>&1 &
      wait_for xdotool search --onlyvisible --classname report
      sleep 0.5
      ;;
  esac
  xdotool mousemove --sync "$edge_x" $((400 * scale))
  wait_for grep -q '\[deck\] items' "$log"
  case "$scene" in
    deck-preview)
      # shellcheck disable=SC2046
      xdotool mousemove --sync $(item_centre "$log" tab "$scale")
      sleep 0.8
      ;;
    deck-note | note-left)
      # shellcheck disable=SC2046
      xdotool mousemove --sync $(item_centre "$log" tab "$scale") click 1
      sleep 1
      ;;
    note-find)
      # shellcheck disable=SC2046
      xdotool mousemove --sync $(item_centre "$log" tab "$scale") click 1
      sleep 1
      xdotool key ctrl+f
      sleep 0.3
      if [ "$4" = zh-Hans ]; then xdotool type --delay 40 "牛奶"; else xdotool type --delay 40 milk; fi
      sleep 0.5
      ;;
    float*)
      # shellcheck disable=SC2046
      xdotool mousemove --sync $(item_centre "$log" tab "$scale") click 1
      wait_for grep -q 'gutter:' "$log"
      sleep 0.8
      local at x y
      at=$(item_centre "$log" gutter "$scale")
      x=${at% *} y=${at#* }
      xdotool mousemove --sync "$x" "$y" mousedown 1
      for step in 20 60 120 240 360 480; do
        xdotool mousemove --sync $((x - step * scale)) $((y + step * scale / 3))
      done
      xdotool mouseup 1
      sleep 0.8
      if [ "$scene" = float-tuck ]; then
        xdotool key Escape
        sleep 0.14
      fi
      ;;
    deck-drag)
      local at
      at=$(item_centre "$log" tab "$scale")
      # shellcheck disable=SC2086
      xdotool mousemove --sync $at mousedown 1
      local x=${at% *} y=${at#* }
      for step in 10 20 30 40 50 60; do xdotool mousemove --sync "$x" $((y + step)); done
      sleep 0.5
      ;;
  esac
}

shoot() {
  local scene=$1 language=$2 scale=$3 compositor=$4
  local home display pids=()
  home=$(mktemp -d)
  prepare "$home" "$scene" "$language"
  local args=()
  case "$scene" in settings-*) args=(pondrift://settings) ;; esac
  # The same desktop in points at every scale: 1280 by 800, as a laptop's screen shows it.
  exec 3< <(Xvfb -displayfd 1 -screen 0 $((1280 * scale))x$((800 * scale))x24 -nolisten tcp 2>/dev/null)
  read -r display <&3
  pids+=($!)
  export DISPLAY=:$display
  openbox >/dev/null 2>&1 &
  pids+=($!)
  if [ "$compositor" = picom ]; then
    picom --backend xrender >/dev/null 2>&1 &
    pids+=($!)
  fi
  wait_for xprop -root _NET_SUPPORTING_WM_CHECK
  case "$scene" in
    tray | about)
      trayer --edge top --align right --widthtype request --height $((24 * scale)) \
        --SetDockType true --tint 0x2b3a4a --transparent true --alpha 40 >/dev/null 2>&1 &
      pids+=($!)
      wait_for xdotool search --onlyvisible --class trayer
      ;;
  esac
  # A desktop background, which the compositor paints under everything.
  hsetroot -add '#23395b' -add '#5f7a8c' -gradient 160 >/dev/null 2>&1 || true
  HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data XDG_RUNTIME_DIR=$home/run \
    QT_SCALE_FACTOR=$scale PONDRIFT_DEBUG_DECK=1 "$root/build/release/src/pondrift" "${args[@]}" >"$home/log" 2>&1 &
  pids+=($!)
  local suffix=""
  [ "$compositor" = none ] && suffix="-flat"
  local shot=$out/$scene-$language-${scale}x$suffix.png ok=1
  if wait_for xdotool search --onlyvisible --name Pondrift; then
    sleep 0.5 # the compositor's fade-in
    act "$scene" "$home/log" "$scale" "$language"
    import -window root "$shot"
    echo "$shot"
  else
    echo "Pondrift: no window appeared for $scene ($language, ${scale}x); the program said:" >&2
    cat "$home/log" >&2
    ok=0
  fi
  kill "${pids[@]}" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$home"
  [ "$ok" = 1 ]
}

failed=0
for scene in ${PONDRIFT_SCENES:-damaged-key deck-rest deck-fan deck-chips deck-left deck-preview deck-drag deck-note note-find note-left float float-tuck capture library library-search library-archive library-deleted library-empty undo tray about settings-shortcuts settings-deck settings-notes settings-sync settings-updates}; do
  for language in ${PONDRIFT_LANGUAGES:-en zh-Hans}; do
    for scale in 1 2; do
      for compositor in ${PONDRIFT_COMPOSITORS:-picom none}; do
        # A busy machine now and then loses an X server on the way up: one more try.
        shoot "$scene" "$language" "$scale" "$compositor" ||
          shoot "$scene" "$language" "$scale" "$compositor" || failed=1
      done
    done
  done
done
exit $failed
