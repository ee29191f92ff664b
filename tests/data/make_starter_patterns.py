#!/usr/bin/env python3
"""Draws the starter stamps (data/GraphicPens) and fill tiles (data/FillDatas).

Every picture is computed here from simple geometry, so the set is our own and can be made
again byte for byte:

    python3 tests/data/make_starter_patterns.py [repository root]

The files are 8-bit RGBA PNGs without interlacing. A stamp's alpha is its shape and its
colours are its own; a tile is opaque and repeats without a seam.
"""

import math
import os
import struct
import sys
import zlib

SUPERSAMPLE = 4


def write_png(path, width, height, pixels):
    """pixels: rows top-down of (r, g, b, a) tuples."""
    raw = bytearray()
    for row in pixels:
        raw.append(0)  # filter type None
        for r, g, b, a in row:
            raw += bytes((r, g, b, a))

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    data = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
    data += chunk(b"IDAT", zlib.compress(bytes(raw), 9)) + chunk(b"IEND", b"")
    with open(path, "wb") as f:
        f.write(data)


def coverage(width, height, inside):
    """Fraction of each pixel inside the shape, by a regular grid of samples."""
    n = SUPERSAMPLE
    out = []
    for y in range(height):
        row = []
        for x in range(width):
            hits = 0
            for sy in range(n):
                for sx in range(n):
                    if inside(x + (sx + 0.5) / n, y + (sy + 0.5) / n):
                        hits += 1
            row.append(hits / (n * n))
        out.append(row)
    return out


def stamp(width, height, inside, colour):
    """A one-colour stamp; colour is (r, g, b) or a function of (x, y)."""
    cov = coverage(width, height, inside)
    rows = []
    for y in range(height):
        row = []
        for x in range(width):
            r, g, b = colour(x, y) if callable(colour) else colour
            row.append((r, g, b, round(255 * cov[y][x])))
        rows.append(row)
    return width, height, rows


def star_inside(cx, cy, outer, inner, points):
    corners = []
    for i in range(points * 2):
        radius = outer if i % 2 == 0 else inner
        angle = -math.pi / 2 + i * math.pi / points
        corners.append((cx + radius * math.cos(angle), cy + radius * math.sin(angle)))

    def inside(x, y):
        # Even-odd rule on the star's outline.
        hit = False
        j = len(corners) - 1
        for i, (xi, yi) in enumerate(corners):
            xj, yj = corners[j]
            if (yi > y) != (yj > y) and x < (xj - xi) * (y - yi) / (yj - yi) + xi:
                hit = not hit
            j = i
        return hit

    return inside


def heart_inside(x, y):
    u = (x - 10) / 8.5
    v = (9 - y) / 8.5 + 0.25
    return (u * u + v * v - 1) ** 3 - u * u * v * v * v <= 0


def leaf_inside(x, y):
    # An ellipse turned by 40 degrees, with a thin vein left out along its axis.
    a = math.radians(40)
    dx, dy = x - 12, y - 12
    u = dx * math.cos(a) + dy * math.sin(a)
    v = -dx * math.sin(a) + dy * math.cos(a)
    return (u / 11) ** 2 + (v / 5.5) ** 2 <= 1 and not (abs(v) < 0.45 and u > -8)


def snowflake_inside(x, y):
    dx, dy = x - 10.5, y - 10.5
    r = math.hypot(dx, dy)
    if r > 10:
        return False
    for k in range(6):
        a = k * math.pi / 3
        along = dx * math.cos(a) + dy * math.sin(a)
        across = -dx * math.sin(a) + dy * math.cos(a)
        if along >= 0 and abs(across) < 0.8:
            return True
        # Two small branches on each arm.
        for at in (4.5, 7.0):
            bx = along - at
            if 0 <= bx < 2.6 and abs(abs(across) - bx) < 0.7:
                return True
    return False


def soft_round():
    rows = []
    for y in range(16):
        row = []
        for x in range(16):
            r = math.hypot(x + 0.5 - 8, y + 0.5 - 8) / 8
            a = max(0.0, 1 - r) ** 1.5
            row.append((40, 40, 48, round(255 * a)))
        rows.append(row)
    return 16, 16, rows


def spray():
    # A fixed scatter of small dots, from a linear congruential sequence.
    seed = 12345
    dots = []
    for _ in range(26):
        seed = (seed * 1103515245 + 12345) % 2**31
        x = 2 + (seed >> 8) % 20
        seed = (seed * 1103515245 + 12345) % 2**31
        y = 2 + (seed >> 8) % 20
        if math.hypot(x - 12, y - 12) <= 10.5:
            dots.append((x + 0.5, y + 0.5))
    return stamp(24, 24, lambda x, y: any(math.hypot(x - a, y - b) < 1.1 for a, b in dots),
                 (30, 30, 30))


def ring():
    return stamp(16, 16, lambda x, y: 4.5 <= math.hypot(x - 8, y - 8) <= 7.5, (20, 70, 160))


def grass():
    blades = [(3, 1.2), (7, -0.6), (11, 0.9), (14, -1.4)]

    def inside(x, y):
        for base, lean in blades:
            t = (24 - y) / 22  # 0 at the foot, 1 at the tip
            if 0 <= t <= 1:
                centre = base + lean * 4 * t * t
                if abs(x - centre) < 1.3 * (1 - t) + 0.2:
                    return True
        return False

    return stamp(16, 24, inside, lambda x, y: (40, 110 + 4 * (24 - y), 40))


def tile(width, height, colour):
    return width, height, [[colour(x, y) + (255,) for x in range(width)] for y in range(height)]


def bricks(x, y):
    mortar = (200, 200, 190)
    if y % 8 == 7:
        return mortar
    shift = 0 if (y // 8) % 2 == 0 else 8
    if (x + shift) % 16 == 15:
        return mortar
    return (170, 70 + 6 * ((x + shift) // 16 % 2), 50)


def scales(x, y):
    # Overlapping half circles, each row offset by half a scale.
    for row in (y // 8, y // 8 - 1):
        offset = 0 if row % 2 == 0 else 8
        cx = ((x - offset) // 16) * 16 + offset + 8
        cy = row * 8 + 8
        for c in (cx, cx + 16, cx - 16):
            d = math.hypot(x + 0.5 - c, y + 0.5 - cy)
            if d < 8 and y + 0.5 <= cy:
                return (60, 140 - round(6 * d), 150) if d < 7 else (30, 70, 80)
    return (60, 140, 150)


STAMPS = {
    "round_soft": soft_round,
    "star": lambda: stamp(24, 24, star_inside(12, 12.8, 11.5, 4.8, 5), (240, 190, 30)),
    "heart": lambda: stamp(20, 18, heart_inside, (210, 30, 60)),
    "leaf": lambda: stamp(24, 24, leaf_inside, lambda x, y: (50, 120 + 3 * y, 40)),
    "snowflake": lambda: stamp(21, 21, snowflake_inside, (120, 180, 240)),
    "spray": spray,
    "ring": ring,
    "grass": grass,
}

TILES = {
    "checker": lambda: tile(8, 8, lambda x, y: (235, 235, 235) if (x // 4 + y // 4) % 2 else
                            (90, 90, 110)),
    "diagonal": lambda: tile(8, 8, lambda x, y: (40, 90, 200) if (x + y) % 8 < 3 else
                             (220, 230, 250)),
    "bricks": lambda: tile(16, 16, bricks),
    "polka": lambda: tile(8, 8, lambda x, y: (250, 250, 240) if math.hypot(x - 3.5, y - 3.5) < 2.2
                          else (200, 40, 80)),
    "waves": lambda: tile(16, 8, lambda x, y: (30, 110, 190) if abs(
        y - 3.5 - 2.5 * math.sin((x + 0.5) * math.pi / 8)) < 1.2 else (200, 230, 250)),
    "grid": lambda: tile(8, 8, lambda x, y: (120, 120, 120) if x == 0 or y == 0 else
                         (250, 250, 250)),
    "scales": lambda: tile(16, 16, scales),
}


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "..")
    for folder, table in (("GraphicPens", STAMPS), ("FillDatas", TILES)):
        target = os.path.join(root, "data", folder)
        os.makedirs(target, exist_ok=True)
        for name, make in sorted(table.items()):
            width, height, rows = make()
            write_png(os.path.join(target, name + ".png"), width, height, rows)
            print(os.path.join("data", folder, name + ".png"), f"{width}x{height}")


if __name__ == "__main__":
    main()
