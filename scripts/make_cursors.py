#!/usr/bin/env python3
"""Draws the canvas cursors and writes them as 32x32, 32-bit .cur files.

Run from the repository root: python3 scripts/make_cursors.py
The pictures are drawn here from a few shapes so that they can be changed and drawn again;
the .cur files in data/Cursors are what this writes.
"""
import struct
from pathlib import Path

SIZE = 32
BLACK = (0, 0, 0, 255)
WHITE = (255, 255, 255, 255)


def blank():
    return [[(0, 0, 0, 0)] * SIZE for _ in range(SIZE)]


def outline(img, inner):
    """A one-pixel black border around every pixel of `inner` (white shape on black rim)."""
    for y in range(SIZE):
        for x in range(SIZE):
            if (x, y) in inner:
                continue
            if any((x + dx, y + dy) in inner for dx in (-1, 0, 1) for dy in (-1, 0, 1)):
                img[y][x] = BLACK
    for (x, y) in inner:
        img[y][x] = WHITE


def move_cursor():
    """Four arrows out of the centre: the view follows the hand."""
    c = 15
    inner = set()
    for i in range(-11, 12):  # the cross
        inner.add((c + i, c))
        inner.add((c, c + i))
    for k in range(1, 5):  # arrow heads
        for j in range(-k, k + 1):
            inner.add((c + j, c - 14 + k))
            inner.add((c + j, c + 14 - k))
            inner.add((c - 14 + k, c + j))
            inner.add((c + 14 - k, c + j))
    img = blank()
    outline(img, inner)
    return img, (c, c)


def normal_cursor():
    """A thin cross with an open centre, so the pixel under it stays visible."""
    c = 15
    inner = set()
    for i in range(3, 10):
        inner.update({(c + i, c), (c - i, c), (c, c + i), (c, c - i)})
    img = blank()
    outline(img, inner)
    img[c][c] = BLACK
    return img, (c, c)


def write_cur(path, img, hot):
    rows = []
    for y in reversed(range(SIZE)):  # bottom-up
        rows.append(b"".join(struct.pack("<4B", b, g, r, a) for (r, g, b, a) in img[y]))
    xor = b"".join(rows)
    mask_row_bytes = 4  # 32 bits, already a multiple of four
    mask = bytearray()
    for y in reversed(range(SIZE)):
        bits = 0
        for x in range(SIZE):
            if img[y][x][3] == 0:
                bits |= 1 << (31 - x)
        mask += bits.to_bytes(mask_row_bytes, "big")
    header = struct.pack("<IiiHHIIiiII", 40, SIZE, SIZE * 2, 1, 32, 0, len(xor) + len(mask), 0,
                         0, 0, 0)
    image = header + xor + bytes(mask)
    directory = struct.pack("<HHH", 0, 2, 1)
    entry = struct.pack("<BBBBHHII", SIZE, SIZE, 0, 0, hot[0], hot[1], len(image), 6 + 16)
    Path(path).write_bytes(directory + entry + image)


if __name__ == "__main__":
    out = Path("data/Cursors")
    out.mkdir(parents=True, exist_ok=True)
    for name, draw in (("Move", move_cursor), ("Normal", normal_cursor)):
        img, hot = draw()
        write_cur(out / f"{name}.cur", img, hot)
