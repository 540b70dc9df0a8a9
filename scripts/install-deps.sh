#!/usr/bin/env bash
# Installs what building, running and testing Pondrift needs, on Debian 12 or Ubuntu 24.04.
# Only packages that are missing are installed, so a second run costs one dpkg query.
set -euo pipefail

packages=(
  build-essential cmake pkg-config clang-format
  qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
  qt6-qpa-plugins qt6-translations-l10n libgl-dev
  libsqlite3-dev libssl-dev libhunspell-dev hunspell-en-us
  libxcb1-dev libxcb-xkb-dev libxcb-xfixes0-dev libxcb-shape0-dev libxkbcommon-dev libxkbcommon-x11-dev libfontconfig-dev
  libbenchmark-dev
  xvfb xauth x11-xkb-utils openbox xfwm4 dbus-daemon picom xdotool weston xwayland syncthing
  desktop-file-utils libglib2.0-bin at-spi2-core python3-pyatspi
  appstream lintian dpkg-dev
  fonts-dejavu-core fonts-wqy-microhei
)
if [ "${PONDRIFT_WITH_FUZZ:-0}" = 1 ]; then packages+=(clang libclang-rt-dev); fi
if [ "${PONDRIFT_WITH_SCREENSHOTS:-0}" = 1 ]; then
  packages+=(imagemagick x11-utils hsetroot trayer)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then sudo="sudo"; else
    echo "Pondrift: these packages are missing and there is no sudo to install them: ${missing[*]}" >&2
    exit 1
  fi
fi
echo "Pondrift: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
