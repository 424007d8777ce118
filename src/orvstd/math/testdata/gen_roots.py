#!/usr/bin/python3
"""Reference roots for polynomial_root_finder_test.cc, from numpy's
eigenvalue root finder (numpy.roots), which shares nothing with the
library's closed forms and Sturm search.

Run: /usr/bin/python3 gen_roots.py > roots_reference.txt

Line forms (numbers in repr, 17 significant digits):
  real <n> c0..c(n-1) <low> <high> <k> r1..rk
      real roots of the polynomial (highest power first) in [low, high],
      ascending, each listed once per multiplicity
  cubic|quartic <n> c0..c(n-1) <k> re1 im1 .. rek imk
      all roots, sorted by (real, imaginary)
"""
import numpy as np


def real_roots(coeffs, low, high):
    roots = np.roots(coeffs)
    real = sorted(r.real for r in roots if abs(r.imag) < 1e-9 and low <= r.real <= high)
    return real


def emit(kind, coeffs, *rest):
    fields = [kind, str(len(coeffs))] + [repr(float(c)) for c in coeffs] + [repr(float(x)) for x in rest]
    return ' '.join(fields)


def poly_from_roots(roots, lead=1.0):
    return list(lead * np.poly(roots))


REAL_CASES = [
    ([1, 0, -1], -2, 2),
    (poly_from_roots([0.5, 1.5, -2, 3]), -5, 5),
    (poly_from_roots([1, 2, 3, 4, 5, 6]), 0, 7),
    (poly_from_roots([1, 2, 3]), 1.5, 10),
    ([32, 0, -48, 0, 18, 0, -1], -1.1, 1.1),  # Chebyshev T6
    ([1, 0, -3, 1], -3, 3),
    ([2.5, -1, 0, 7, -3], -10, 10),
    ([1, 0, 1], -10, 10),
    (poly_from_roots([-0.75, 0.1, 0.2], lead=-3), -1, 1),
]

CUBICS = [
    [1, -6, 11, -6],      # three real roots: D < 0
    [2, -4, 2, -4],       # one real, two complex: D > 0
    [1, 0, 0, -8],
    [-3, 1, 4, 2],
    [1, 1, 1, 1],
    [0.5, -2.25, 3.25, -1.5],
    [1, 0, -7, 6],        # q < 0 branch of D < 0
    [1, 0, -7, -6],       # q >= 0 branch of D < 0
]

QUARTICS = [
    poly_from_roots([1, 2, 3, 4]),
    poly_from_roots([-3, -1, 2, 5], lead=2),
    [1, -2, 3, -4, -5],
    [1, 0, -5, 0, 4],
    [3, 1, -7, 2, 1],
    [1, 4, -2, -12, 5],
    [1, 0, 0, 0, -1],     # R = 0, W >= 0
    [1, -2, -2, 3, -1],   # R = 0, W >= 0, a complex pair
]
# Only quartics whose square roots are all of real numbers: where the
# formula takes complexRoot (s < 0, or R = 0 with W < 0) its half-modulus
# rule departs from the true roots on purpose, and the test checks those
# cases by hand instead.


def main():
    lines = []
    for coeffs, low, high in REAL_CASES:
        r = real_roots(coeffs, low, high)
        lines.append(emit('real', coeffs, low, high, len(r), *r))
    for kind, cases in (('cubic', CUBICS), ('quartic', QUARTICS)):
        for coeffs in cases:
            roots = sorted(np.roots(coeffs), key=lambda z: (round(z.real, 9), z.imag))
            flat = []
            for z in roots:
                flat += [z.real, z.imag]
            lines.append(emit(kind, coeffs, len(roots), *flat))
    print('\n'.join(lines))


main()
