#!/usr/bin/env bash
# Writes the expected pixels of a few corpus icons as decoded by ImageMagick: raw R G B A bytes,
# top row first, one file per image, listed in ico/fixtures.txt. Run from anywhere; needs the
# corpus beside the repository (or CORPUS=...) and ImageMagick's convert.
# Left out on purpose: cursor.cur image 3, an 8-bit image with a 154-entry palette
# (biClrUsed); our reader always takes 2^depth entries, so its pixels differ by design.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
corpus="${CORPUS:-$here/../../../shared/corpus}"
out="$here/ico"
mkdir -p "$out"
list="$out/fixtures.txt"
echo "# corpus path, image index from 1, expected R G B A (ImageMagick, top row first)" > "$list"
while read -r path index; do
    [ -z "$path" ] && continue
    name="$(basename "$path" | tr '.' '_')_$index.rgba"
    convert "$corpus/$path[$((index - 1))]" -depth 8 rgba:"$out/$name"
    echo "$path $index $name" >> "$list"
done <<'LIST'
ico/image-rs/smile.ico 1
ico/image-rs/smile.ico 2
ico/pillow/hopper.ico 1
ico/pillow/black_and_white.ico 1
ico/image-rs/bmp-24bpp-mask.ico 1
ico/image-rs/bmp-32bpp-alpha.ico 1
ico/winres/fr.ico 1
cur/winres/cursor.cur 1
cur/winres/cursor.cur 2
cur/winres/cursor.cur 4
LIST
