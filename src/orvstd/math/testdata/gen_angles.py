#!/usr/bin/python3
"""Writes angles.inc: the expected angle conversions, norms and signed
norms, computed with Python's own floats and integers.

Run from anywhere with /usr/bin/python3; the output goes beside this file.
Exact integers (Python's unbounded int) give the low bits of rounded values
however large, and every double is written as a hexadecimal literal so the
test compares bit for bit.
"""
import math
import os
import random

RAD_TO_DEG = 57.29577951308232
DEG_TO_RAD = 0.017453292519943295
RAD_TO_A8 = 40.74366543152521
RAD_TO_A16 = 10430.378350470453
DEG_TO_A8 = 0.7111111111111111
DEG_TO_A16 = 182.04444444444445
A8_TO_RAD = 0.02454369260617026
A16_TO_RAD = 9.587379924285257e-5
A8_TO_DEG = 1.40625
A16_TO_DEG = 0.0054931640625
TWO_PI = 6.283185307179586


def low_bits(x, bits):
    return math.floor(x + 0.5) % (1 << bits)


def norm(x, turn):
    r = math.fmod(x, turn)
    if r < 0:
        r += turn
    return r


def signed_norm(x, turn):
    if -turn / 2 <= x < turn / 2:
        return x
    n = norm(x, turn)
    return n - turn if n >= turn - n else n


def lit(x):
    return x.hex()


def real_cases(values, to_other, to_a8, to_a16, turn):
    rows = []
    for x in values:
        rows.append("  {%s, %s, %d, %d, %s, %s}," % (
            lit(x), lit(x * to_other), low_bits(x * to_a8, 8), low_bits(x * to_a16, 16),
            lit(norm(x, turn)), lit(signed_norm(x, turn))))
    return rows


def main():
    rng = random.Random(20261121)
    pi = TWO_PI / 2
    radians = [0.0, -0.0, pi, -pi, TWO_PI, -TWO_PI, 3 * pi, -3 * pi, 1e-20, -1e-20, 1.0, -1.0,
               7.0, -7.0, 100.0, -100.5, 1e6, -1e6, 1e17, -1e17, 3.5e18, -2.5e300, 1e300,
               math.nextafter(pi, 0), math.nextafter(-pi, -10), math.nextafter(TWO_PI, 10)]
    # Either side of the rounding points of both binary angles.
    for k in (-129, -1, 0, 1, 127, 255, 256, 1000):
        for scale in (RAD_TO_A8, RAD_TO_A16):
            h = (k + 0.5) / scale
            radians += [h, math.nextafter(h, -math.inf), math.nextafter(h, math.inf)]
    radians += [rng.uniform(-50, 50) for _ in range(40)]

    degrees = [0.0, -0.0, 180.0, -180.0, 360.0, -360.0, 720.0, -30.0, 540.0, -540.0, 359.999, -0.0001,
               1e-20, -1e-20, 0.703125, -0.703125, 1.40625, 45.0, 90.0, 1e20, -1e20, 1e300, -1e300,
               math.nextafter(180.0, 0), math.nextafter(-180.0, -1000), 179.99999999999997]
    for k in (-257, -1, 0, 1, 128, 255, 256, 65535, 65536):
        for scale in (DEG_TO_A8, DEG_TO_A16):
            h = (k + 0.5) / scale
            degrees += [h, math.nextafter(h, -math.inf), math.nextafter(h, math.inf)]
    degrees += [rng.uniform(-2000, 2000) for _ in range(40)]

    out = ["// Written by gen_angles.py: do not edit.",
           "// {x, converted to the other unit, to ccAngle8, to ccAngle16, norm, signedNorm}",
           "static RealCase const kRadianCases[] = {"]
    out += real_cases(radians, RAD_TO_DEG, RAD_TO_A8, RAD_TO_A16, TWO_PI)
    out += ["};", "static RealCase const kDegreeCases[] = {"]
    out += real_cases(degrees, DEG_TO_RAD, DEG_TO_A8, DEG_TO_A16, 360.0)
    out += ["};", "// {u, to ccRadian, to ccDegree, to the other binary angle}",
            "static BinaryCase const kAngle8Cases[] = {"]
    for u in range(256):
        out.append("  {%d, %s, %s, %d}," % (u, lit(u * A8_TO_RAD), lit(u * A8_TO_DEG), (u << 8) & 0xFFFF))
    out += ["};", "static BinaryCase const kAngle16Cases[] = {"]
    words = sorted(set([0, 1, 127, 128, 129, 255, 256, 0x7F7F, 0x7F80, 0x7FFF, 0x8000, 0xFF00, 0xFF7F, 0xFF80,
                        0xFFFF] + [rng.randrange(65536) for _ in range(60)]))
    for u in words:
        out.append("  {%d, %s, %s, %d}," % (u, lit(u * A16_TO_RAD), lit(u * A16_TO_DEG), ((u + 128) >> 8) & 0xFF))
    out.append("};")
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "angles.inc")
    with open(path, "w") as f:
        f.write("\n".join(out) + "\n")


main()
