#!/usr/bin/env python3
"""Writes pngsuite_expected.txt: what our PNG reader must give for each PngSuite file.

The pixels come from ImageMagick (which decodes through libpng), read at 16 bits a sample.
Our reader parts from the published format in a few described ways; where it does, the
expected picture is derived here from ImageMagick's samples by that rule:

  - grey below 8 bits: nothing is converted, the picture is all zero;
  - grey at 16 bits: the first Width bytes of each row are taken as 8-bit pixels;
  - grey with tRNS of 2 bytes: the key is the first byte unless zero, then the second; a pixel
    equal to it becomes 0, 0, 0, 0, the rest are opaque;
  - RGB at 16 bits: the high byte of each sample;
  - RGB with tRNS: the key is bytes 0, 2 and 4 of the chunk (high bytes), and at 16 bits the
    test takes green for blue; a match gives alpha 0 with the colour kept, the rest opaque.

Files left out have no line and are checked by facts in formats/png_corpus_test.cpp:
interlaced files below one byte a pixel (refused with a message), 16-bit grey+alpha and RGBA
(walked at 3 and 7 bytes a pixel, so their pixels differ from the published ones), and the
corrupt x*.png files.

Each line: file name, width, height, CRC-32 of the expected B, G, R, A bytes, top row first.
Run from anywhere; needs the corpus beside the repository (or CORPUS=...) and ImageMagick.
"""

import os
import struct
import subprocess
import sys
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
CORPUS = os.environ.get("CORPUS", os.path.join(HERE, "..", "..", "..", "..", "shared", "corpus"))
SUITE = os.path.join(CORPUS, "png", "pngsuite")
OUT = os.path.join(HERE, "pngsuite_expected.txt")


def chunks(data):
    """IHDR fields and the tRNS bytes, by the published framing."""
    pos, header, trns = 8, None, None
    while pos + 8 <= len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"tRNS":
            trns = body
        elif kind == b"IEND":
            break
        pos += 12 + length
    return header, trns


def samples16(path, width, height):
    """ImageMagick's R, G, B, A samples, 16 bits each, as integers."""
    raw = subprocess.run(["convert", path, "-set", "colorspace", "sRGB", "-depth", "16", "-endian", "MSB", "rgba:-"],
                         check=True, capture_output=True).stdout
    assert len(raw) == width * height * 8, path
    return struct.unpack(">%dH" % (width * height * 4), raw)


def expected(path):
    data = open(path, "rb").read()
    header, trns = chunks(data)
    width, height, depth, kind, _, _, interlace = header
    if kind == 0 and depth < 8:
        return width, height, bytes(width * height * 4)
    if kind in (4, 6) and depth == 16:
        return None
    bits = depth * (3 if kind in (2, 6) else 1)
    if interlace and bits < 8:
        return None
    s = samples16(path, width, height)
    out = bytearray()
    if kind == 0:
        key = -1
        if trns is not None and len(trns) == 2:
            key = trns[0] if trns[0] else trns[1]
        for y in range(height):
            grey = [s[(y * width + x) * 4] for x in range(width)]
            if depth == 16:
                row = b"".join(struct.pack(">H", g) for g in grey)
            else:
                row = bytes(g >> 8 for g in grey)
            for x in range(width):
                v = row[x]
                out += bytes((0, 0, 0, 0)) if v == key else bytes((v, v, v, 255))
    elif kind == 2:
        key = -1
        if trns is not None and 2 <= len(trns) <= 256:
            key = trns[0] * 65536 + trns[2] * 256 + trns[4]
        for i in range(width * height):
            r, g, b = (s[4 * i] >> 8, s[4 * i + 1] >> 8, s[4 * i + 2] >> 8)
            value = r * 65536 + g * 256 + (g if depth == 16 else b)
            out += bytes((b, g, r, 0 if value == key else 255))
    else:
        for i in range(width * height):
            r, g, b, a = (v >> 8 for v in s[4 * i:4 * i + 4])
            out += bytes((b, g, r, a))
    return width, height, bytes(out)


def main():
    names = sorted(n for n in os.listdir(SUITE) if n.endswith(".png") and n[0] != "x")
    lines = ["# PngSuite file, width, height, CRC-32 of the expected B G R A bytes, top row first"]
    for name in names:
        result = expected(os.path.join(SUITE, name))
        if result is None:
            continue
        width, height, pixels = result
        lines.append("%s %d %d %08x" % (name, width, height, zlib.crc32(pixels)))
    with open(OUT, "w") as f:
        f.write("\n".join(lines) + "\n")
    print("%d files written to %s" % (len(lines) - 1, OUT), file=sys.stderr)


if __name__ == "__main__":
    main()
