#!/usr/bin/env bash
# Checks the Debian package as a user's machine meets it: lintian passes it, Debian 12's
# package manager would install it here, dpkg installs it into a scratch root and removes it
# again, and every file lies where the desktop looks for it (the program on the PATH, the
# desktop entry and its icon in every size, the metainfo software centres read).
#
#   bash scripts/check-package.sh [package.deb]
#
# Without a package it makes one first with scripts/package.sh (in build/package, or in
# PONDRIFT_PACKAGE_BUILD). Every fault is reported before it fails.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

if [ $# -gt 1 ]; then
  echo "usage: check-package.sh [package.deb]" >&2
  exit 2
fi
if [ $# -eq 1 ]; then
  deb=$(realpath "$1")
  if [ ! -f "$deb" ]; then
    echo "check-package: no such package: $1" >&2
    exit 2
  fi
else
  deb=$(bash "$root/scripts/package.sh" "${PONDRIFT_PACKAGE_BUILD:-$root/build/package}" | tail -n 1)
fi
for tool in lintian dpkg dpkg-deb desktop-file-validate appstreamcli apt-get; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "check-package: $tool is missing (bash scripts/install-deps.sh installs it)" >&2
    exit 2
  fi
done

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
faults=0
fault() {
  echo "FAULT: $*" >&2
  faults=$((faults + 1))
}

id=app.pondrift.Pondrift
echo "== $deb"
dpkg-deb --field "$deb" Package Version Depends Recommends

# Errors and warnings fail; information tags are printed for whoever reads the log.
echo "== lintian"
if ! lintian --fail-on error,warning --display-info "$deb"; then
  fault "lintian finds errors or warnings in the package (above)"
fi

# Depends must name packages that exist with those versions; the machine running this is a
# Debian 12 with the build's libraries, so apt resolves every name here without a download.
echo "== apt-get install --simulate"
if ! apt-get install --simulate -o Debug::NoLocking=1 "$deb" >"$scratch/apt.log" 2>&1 \
  || ! grep -q '^Inst pondrift ' "$scratch/apt.log"; then
  cat "$scratch/apt.log" >&2
  fault "apt would not install the package on this machine"
fi
depends=$(dpkg-deb --field "$deb" Depends)
for needed in libqt6widgets6 libsqlite3-0 libssl3 qt6-qpa-plugins; do
  [[ ",$depends," == *", $needed"[\ ,]* || "$depends" == "$needed"[\ ,]* ]] \
    || fault "Depends does not name $needed: $depends"
done

# A real dpkg over an empty database: the archive unpacks, registers its files, and its
# removal leaves nothing behind.
echo "== dpkg --root"
dpkgroot=$scratch/root
mkdir -p "$dpkgroot/var/lib/dpkg/info" "$dpkgroot/var/lib/dpkg/updates"
touch "$dpkgroot/var/lib/dpkg/status"
dpkgflags=(--root="$dpkgroot" --force-depends --force-not-root --force-script-chrootless
  --log=/dev/null)
if ! dpkg "${dpkgflags[@]}" --install "$deb" >"$scratch/dpkg.log" 2>&1; then
  cat "$scratch/dpkg.log" >&2
  fault "dpkg could not install the package into a scratch root"
fi
tree=$dpkgroot

expect_file() {
  [ -f "$tree/$1" ] || fault "the package holds no /$1"
}
expect_file usr/bin/pondrift
[ -x "$tree/usr/bin/pondrift" ] || fault "/usr/bin/pondrift is not executable"
expect_file "usr/share/applications/$id.desktop"
expect_file "usr/share/metainfo/$id.metainfo.xml"
expect_file usr/share/doc/pondrift/copyright
expect_file usr/share/doc/pondrift/changelog.gz
expect_file usr/share/man/man1/pondrift.1.gz

# The installed program runs (its libraries resolve and it was not stripped to death); the
# usage needs no display.
if ! "$tree/usr/bin/pondrift" --help >"$scratch/help.txt" 2>&1 \
  || ! grep -q '^Usage: pondrift' "$scratch/help.txt"; then
  cat "$scratch/help.txt" >&2
  fault "the installed /usr/bin/pondrift does not run: pondrift --help failed"
fi

# The desktop entry as menus read it, and what it names is there.
echo "== desktop entry"
entry=$tree/usr/share/applications/$id.desktop
if [ -f "$entry" ]; then
  desktop-file-validate "$entry" || fault "desktop-file-validate rejects the installed entry"
  key() { sed -n "s/^$1=//p" "$entry" | head -n 1; }
  exec_program=$(key Exec | cut -d' ' -f1)
  [ "$exec_program" = pondrift ] || fault "Exec runs '$exec_program', not pondrift from the PATH"
  [[ "$(key MimeType)" == *x-scheme-handler/pondrift\;* ]] \
    || fault "the entry is no longer the handler of pondrift: links"
  icon=$(key Icon)
  [ "$icon" = "$id" ] || fault "Icon= names '$icon', not the installed icon $id"
fi

# Every size a theme looks up, at the size its folder says (a PNG's width and height are
# the big-endian words at bytes 16 and 20).
echo "== icons"
for size in 16 24 32 48 64 128 256 512; do
  png="$tree/usr/share/icons/hicolor/${size}x${size}/apps/$id.png"
  if [ ! -f "$png" ]; then
    fault "no ${size}x${size} icon at /usr/share/icons/hicolor/${size}x${size}/apps/$id.png"
    continue
  fi
  read -r w1 w2 w3 w4 h1 h2 h3 h4 < <(od -An -tu1 -j16 -N8 "$png")
  width=$(((w1 << 24) | (w2 << 16) | (w3 << 8) | w4))
  height=$(((h1 << 24) | (h2 << 16) | (h3 << 8) | h4))
  [ "$width" = "$size" ] && [ "$height" = "$size" ] \
    || fault "the ${size}x${size} icon is ${width}x${height}"
done
svg="$tree/usr/share/icons/hicolor/scalable/apps/$id.svg"
if [ -f "$svg" ]; then
  grep -q '<svg' "$svg" || fault "the scalable icon is not an SVG"
else
  fault "no scalable icon at /usr/share/icons/hicolor/scalable/apps/$id.svg"
fi

# The metainfo by itself and beside the desktop entry it launches.
echo "== metainfo"
metainfo=$tree/usr/share/metainfo/$id.metainfo.xml
if [ -f "$metainfo" ]; then
  appstreamcli validate --no-net "$metainfo" || fault "appstreamcli rejects the installed metainfo"
  appstreamcli validate-tree --no-net "$tree" \
    || fault "appstreamcli rejects the installed tree (metainfo and desktop entry together)"
  grep -q "<launchable type=\"desktop-id\">$id.desktop</launchable>" "$metainfo" \
    || fault "the metainfo does not launch $id.desktop"
  grep -q '<binary>pondrift</binary>' "$metainfo" || fault "the metainfo does not provide pondrift"
  version=$(dpkg-deb --field "$deb" Version)
  grep -q "<release version=\"$version\"" "$metainfo" \
    || fault "the metainfo has no release $version, the package's version"
fi

echo "== dpkg --remove"
if ! dpkg "${dpkgflags[@]}" --remove pondrift >"$scratch/dpkg.log" 2>&1; then
  cat "$scratch/dpkg.log" >&2
  fault "dpkg could not remove the package from the scratch root"
fi
left=""
if [ -d "$dpkgroot/usr" ]; then left=$(find "$dpkgroot/usr" ! -type d | sed "s|^$dpkgroot||"); fi
[ -z "$left" ] || fault "removing the package leaves files behind: $left"

if [ "$faults" -gt 0 ]; then
  echo "check-package: $faults fault(s) in $deb" >&2
  exit 1
fi
echo "check-package: $deb is sound"
