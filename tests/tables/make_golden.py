#!/usr/bin/env python3
"""Works out golden.txt from the rules of docs/numeric.md, without the library.

Single precision is imitated by rounding every product with struct. Run in this folder:
    python3 make_golden.py > golden.txt
"""
import math
import struct

def f32(x):
    try:
        return struct.unpack("<f", struct.pack("<f", x))[0]
    except OverflowError:
        return math.copysign(math.inf, x)

def trunc(x):
    return max(-(2**31), min(2**31 - 1, int(x)))

def half(x):
    return int(x / 2)

def gamma8(g):
    if int(f32(g * 10) + 0.5) == 10:
        return list(range(256))
    return [int(f32(f32(math.pow(f32(i / 255), g)) * 255) + 0.5) for i in range(256)]

def gamma16(g, depth):
    if int(f32(g * 10) + 0.5) == 10:
        top = ((2 << depth) - 1) & 0xFFFF
        return list(range(top + 1)) + [0] * (65535 - top)
    top = ((1 << depth) - 1) & 0xFFFF
    values = [int(f32(f32(math.pow(f32(i / top), g)) * top) + 0.5) for i in range(top + 1)]
    return values + [0] * (65535 - top)

def table(bits, signed, out, mode, center, width, slope, intercept, gamma, inverse, levels, padding):
    size = 1 << bits
    slope = f32(slope)
    if slope != 0:
        center = trunc(f32(f32(center - intercept) / slope))
        width = trunc(abs(f32(f32(width) / slope)))
        if slope < 0:
            inverse = not inverse
    lo_end = f32(f32(center - half(width)) / f32(size))
    hi_end = f32(f32(center + half(width)) / f32(size))
    if signed:
        lo_end, hi_end = f32(lo_end + 0.5), f32(hi_end + 0.5)
    a = trunc(f32(size * lo_end) + 0.5)
    b = trunc(f32(size * hi_end) + 0.5)
    lo, hi = min(max(a, 0), size), min(max(b, 0), size)
    r = f32(1 / f32(b - a)) if b != a else math.inf
    entries = [0] * (256 if bits < 9 else 65536)
    repeat = {8: 1, 16: 0x101, 32: 0x1010101}[out]
    mask = (1 << out) - 1

    def fill(frm, to, value):
        for i in range(frm, to):
            entries[i] = value & mask

    if mode == "truecolor":
        g = gamma8(gamma)
        fill(0, lo, (255 if inverse else 0) * repeat)
        for i in range(lo, hi):
            v = g[int(f32(f32(i - a) * r) * 255.999) % 256]
            entries[i] = (255 - v if inverse else v) * repeat
        fill(hi, size, (0 if inverse else 255) * repeat)
    elif mode == "palette":
        colors = [(k * 2654435761) & 0xFFFFFFFF for k in range(levels)]
        first, last = (colors[-1], colors[0]) if inverse else (colors[0], colors[-1])
        fill(0, lo, first)
        for i in range(lo, hi):
            k = int(f32(f32(i - a) * r) * (levels - 0.01))
            entries[i] = colors[levels - 1 - k if inverse else k] & mask
        fill(hi, size, last)
    else:
        l0, l1 = (levels - 1, 0) if inverse else (0, levels - 1)
        g = gamma8(gamma) if out == 8 else gamma16(gamma, out)
        fill(0, lo, l0)
        for i in range(lo, hi):
            t = f32(f32(f32(i - a) * r) * f32(l1 - l0))
            if t < 0:
                entries[i] = (l0 - g[int(0.5 - t) & mask]) & mask
            else:
                entries[i] = (l0 + g[int(t + 0.5) & mask]) & mask
        fill(hi, size, l1)
    if padding:
        first = size // 2 if signed else 0
        for value in range(max(min(padding), -first), min(max(padding), size - first - 1) + 1):
            entries[value + first] = 0
    return entries

def fnv(entries, out):
    h = 0xCBF29CE484222325
    for e in entries:
        for byte in e.to_bytes(out // 8, "little"):
            h = ((h ^ byte) * 0x100000001B3) & 0xFFFFFFFFFFFFFFFF
    return h

CASES = [
    # bits signed out mode center width slope intercept gamma inverse levels padding
    (8, 0, 8, "truecolor", 128, 256, 1, 0, 1.0, 0, 256, None),
    (8, 0, 8, "truecolor", 105, 10, 1, 0, 1.0, 0, 256, None),
    (8, 0, 8, "truecolor", 15, 10, 1, 0, 1.0, 1, 256, None),
    (8, 1, 8, "truecolor", 0, 128, 1, 0, 1.0, 0, 256, None),
    (8, 0, 8, "truecolor", 48, 103, 1, 0, 1.0, 0, 256, None),
    (12, 0, 8, "truecolor", 2000, 3000, 1, 0, 2.2, 0, 256, (0, 40)),
    (12, 1, 16, "truecolor", 40, 401, 1, 0, 0.5, 1, 256, (-9999, -2000)),
    (16, 1, 8, "truecolor", 40, 400, 1, -1024, 1.0, 0, 256, None),
    (16, 1, 32, "truecolor", 48688, 87638, 46.2619, 0, 1.7, 0, 256, None),
    (16, 0, 32, "truecolor", 40, 400, -1, 100, 1.0, 1, 256, (10, 3)),
    (16, 0, 8, "truecolor", 0, 2000000000, 0.001, 0, 1.0, 0, 256, None),
    (16, 0, 8, "truecolor", 70000, 65536, 1, 0, 1.0, 0, 256, None),
    (16, 1, 8, "truecolor", -70000, 10, 1, 0, 1.0, 0, 256, None),
    (16, 0, 16, "palette", 1000, 3000, 1, 0, 1.0, 0, 20, None),
    (16, 1, 32, "palette", 0, 65000, 1, 0, 1.0, 1, 300, None),
    (8, 0, 8, "levels", 128, 256, 1, 0, 1.0, 0, 256, None),
    (8, 0, 8, "levels", 128, 256, 1, 0, 1.0, 1, 256, None),
    (16, 1, 16, "levels", 40, 4000, 1, 0, 1.0, 0, 4096, None),
    (16, 0, 16, "levels", 40, 40000, 1, 0, 1.0, 1, 65536, None),
]

print("# Tables worked out by make_golden.py: the case, FNV-1a over all stored entries (little endian), then entries as index:value.")
for case in CASES:
    bits, signed, out = case[0], case[1], case[2]
    entries = table(*case)

    points = sorted({(i * 7919) % (1 << bits) for i in range(12)} | {0, (1 << bits) - 1})
    padding = "none" if case[11] is None else "%d,%d" % case[11]
    print(*case[:11], padding, "%016x" % fnv(entries, out), *["%d:%d" % (p, entries[p]) for p in points])
