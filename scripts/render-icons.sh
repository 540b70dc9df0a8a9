#!/usr/bin/env bash
# Renders the icon's PNG sizes from its SVG into resources/icons/<size>x<size>/. The PNGs are
# committed, so building needs no SVG renderer; run this after changing the SVG.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
icons="$root/resources/icons"
if ! command -v rsvg-convert >/dev/null 2>&1; then
  echo "render-icons: rsvg-convert is missing (apt-get install librsvg2-bin)" >&2
  exit 1
fi
for size in 16 24 32 48 64 128 256 512; do
  mkdir -p "$icons/${size}x${size}"
  rsvg-convert -w "$size" -h "$size" -o "$icons/${size}x${size}/app.pondrift.Pondrift.png" \
    "$icons/app.pondrift.Pondrift.svg"
done
