#!/usr/bin/python3
"""Reference data for poly_solve_test.cc and nonlinear_solve_test.cc.

Polynomial roots come from numpy.roots (eigenvalues of the companion
matrix), which shares nothing with the library's closed forms. Cases avoid
repeated roots, where numpy splits a double root into a complex pair and
the closed forms' own tolerances decide; the test checks those by hand.

The least-squares minimum of an exponential fit comes from
scipy.optimize.least_squares (MINPACK's Levenberg-Marquardt, checked
against the trust-region reflective method), with the data it was fitted to.

Run: /usr/bin/python3 gen_poly_solve.py > poly_solve_reference.txt

Line form (numbers in repr, 17 significant digits):
  quadratic|cubic|quartic <n> c0..c(n-1) <k> r1..rk
      coefficients as the solver takes them (quadratic: a b c; cubic and
      quartic: the monic lower coefficients), real roots ascending
"""
import numpy as np
from scipy.optimize import least_squares


def emit(kind, coeffs, *rest):
    fields = [kind, str(len(coeffs))] + [repr(float(c)) for c in coeffs] + [repr(float(x)) for x in rest]
    return ' '.join(fields)


def real_roots(full):
    roots = np.roots(full)
    return sorted(float(z.real) for z in roots if abs(z.imag) <= 1e-9 * max(1.0, abs(z)))


def monic(roots):
    return list(np.poly(roots))[1:]


QUADRATICS = [
    [1, -3, 2],
    [2, 5, -3],
    [1, 0, -4],
    [-1, 2, 3],
    [1, 1, 1],            # no real root
    [1e-3, 1, 1],         # roots of very different size
    [1, 1e8, 1],          # -b +- s cancels: one root from c/q
    [-2, -1e8, 3],
    [4, -4, -0.75],
    [0.5, 0, 3],          # no real root
]

CUBICS = [
    monic([1, 2, 3]),
    monic([-4, 0.5, 7]),
    monic([-1e3, 1, 2]),
    [0, 0, -8],           # one real root
    [1, 1, 1],            # -1 and a complex pair
    [0, 1, 1],
    [-3, 1, 4],
    [2, -5, -6],
    [0, -7, 6],
    [0.5, -2.25, 3.25],
    [1e2, -3, 0.25],
]

QUARTICS = [
    monic([1, 2, 3, 4]),
    monic([-3, -1, 2, 5]),
    monic([-10, -0.5, 0.25, 8]),
    [0, -5, 0, 4],
    [-2, 3, -4, -5],      # two real roots
    [1 / 3, -7 / 3, 2 / 3, 1 / 3],
    [4, -2, -12, 5],
    [0, 0, 0, 1],         # no real root
    [2, 3, 2, 1],         # no real root
    [0, 1, 0, -2],        # two real roots, x^2 = 1
    [-1, -7, 1, 6],
    [0.1, -1.5, 0.2, 0.3],
]

MONIC = [
    list(np.poly([1, 2, 3, 4, 5])),
    [1, 0, 0, 0, 0, -1],           # x^5 - 1: one real root, two pairs
    [1, -1, 1, -1, 1, -1, 1],      # no real root
    list(np.poly([-2, 0.5, 3])),
    [1, 2, 5],                     # -1 +- 2i
    [1, 0, -2],
    [1, -7],
    [1, 0, -1.25, 0, 0.3125, 0],   # monic Chebyshev T5, a root at 0
    [1, 3, -1, 2, 0.5],
]


def companion_cases():
    lines = []
    for full in MONIC:
        c = [-float(a) for a in reversed(full[1:])]
        roots = sorted(np.roots(full), key=lambda z: (round(z.real, 9), z.imag))
        flat = []
        for z in roots:
            flat += [z.real, z.imag]
        lines.append(emit('poly', c, len(roots), *flat))
    return lines


def expfit():
    t = 0.25 * np.arange(12)
    y = 2.5 * np.exp(-1.3 * t) + 0.5 + 0.02 * np.sin(3.7 * np.arange(12) + 0.3)

    def residuals(p):
        return p[0] * np.exp(p[1] * t) + p[2] - y

    tight = dict(xtol=1e-15, ftol=1e-15, gtol=1e-15, max_nfev=10000)
    lm = least_squares(residuals, [1.0, -1.0, 0.0], method='lm', **tight)
    trf = least_squares(residuals, [1.0, -1.0, 0.0], method='trf', **tight)
    assert lm.success and trf.success
    assert np.allclose(lm.x, trf.x, rtol=1e-9, atol=0)
    points = ' '.join('%r %r' % (float(a), float(b)) for a, b in zip(t, y))
    return ['expfit_data %d %s' % (2 * len(t), points), emit('expfit_min', list(lm.x) + [2 * lm.cost])]


def main():
    lines = []
    for q in QUADRATICS:
        r = real_roots(q)
        lines.append(emit('quadratic', q, len(r), *r))
    for c in CUBICS:
        r = real_roots([1] + list(c))
        lines.append(emit('cubic', c, len(r), *r))
    for c in QUARTICS:
        r = real_roots([1] + list(c))
        lines.append(emit('quartic', c, len(r), *r))
    lines += companion_cases()
    lines += expfit()
    print('\n'.join(lines))


main()
