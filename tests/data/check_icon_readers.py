#!/usr/bin/env python3
"""Reads an icon or cursor file that the program wrote with two independent readers, Pillow and
icotool (icoutils), and compares the first image with the expected pixels.

usage: check_icon_readers.py FILE EXPECTED.rgba WIDTH HEIGHT
EXPECTED.rgba holds R G B A bytes, top row first. Where the expected alpha is 0 only the alpha
is compared: readers differ in the colour they keep under a transparent pixel.
Exit 0 when both agree, 1 on a difference, 77 when a reader is not installed.
"""
import glob
import os
import shutil
import subprocess
import sys
import tempfile

try:
    from PIL import Image
except ImportError:
    print("Pillow is not installed", file=sys.stderr)
    sys.exit(77)


def compare(name, got, expected):
    if len(got) != len(expected):
        print(f"{name}: {len(got)} bytes, expected {len(expected)}", file=sys.stderr)
        return False
    for i in range(0, len(expected), 4):
        e, g = expected[i:i + 4], got[i:i + 4]
        if e[3] != g[3] or (e[3] != 0 and e[:3] != g[:3]):
            print(f"{name}: pixel {i // 4} is {tuple(g)}, expected {tuple(e)}", file=sys.stderr)
            return False
    return True


def main():
    path, expected_path, width, height = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
    with open(expected_path, "rb") as f:
        expected = f.read()
    if shutil.which("icotool") is None:
        print("icotool is not installed", file=sys.stderr)
        return 77

    with open(path, "rb") as f:
        head = f.read(6)
    # Pillow reads the directory itself; it takes a cursor-typed file too when told it is an icon.
    with Image.open(path) as im:
        im.size = (width, height)
        pillow = im.convert("RGBA").tobytes()
    ok = compare("Pillow", pillow, expected)

    with tempfile.TemporaryDirectory() as out:
        kind = "--cursor" if head[2] == 2 else "--icon"
        subprocess.run(["icotool", "-x", kind, "-i", "1", "-o", out, path], check=True,
                       stdout=subprocess.DEVNULL)
        pngs = glob.glob(os.path.join(out, "*.png"))
        if len(pngs) != 1:
            print(f"icotool extracted {len(pngs)} files", file=sys.stderr)
            return 1
        with Image.open(pngs[0]) as im:
            ok = compare("icotool", im.convert("RGBA").tobytes(), expected) and ok
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
