#!/usr/bin/python3
"""Writes nmmatrix.inc: reference results for the ccNMMatrix tests (read
through testing/nmmatrix_reference.h), computed with numpy's LAPACK routines, which share
nothing with the library's LU, SVD and eigenvalue code.

Run from anywhere with /usr/bin/python3; the output goes beside this file.
Every double is written as a hexadecimal literal, so the test reads exactly
what numpy computed.

Where the library's result is defined by a formula on top of a
decomposition (the damped pseudoinverse, the constraint solvers), the
script applies the same formula to numpy's SVD.
"""
import os

import numpy as np

rng = np.random.default_rng(20240607)


def hexes(values):
    return '{' + ', '.join(float(v).hex() for v in np.asarray(values, dtype=float).ravel()) + '}'


def hilbert(n, shift=0.0):
    return np.array([[1.0 / (i + j + 1 + shift) for j in range(n)] for i in range(n)])


def with_singular_values(rows, cols, values):
    """A rows-by-cols matrix with the given singular values."""
    u, _ = np.linalg.qr(rng.standard_normal((rows, rows)))
    v, _ = np.linalg.qr(rng.standard_normal((cols, cols)))
    s = np.zeros((rows, cols))
    for i, x in enumerate(values):
        s[i, i] = x
    return u @ s @ v.T


def padded_singular_values(a):
    """Singular values of a, zero-padded to square when it is wide."""
    rows, cols = a.shape
    if rows < cols:
        a = np.vstack([a, np.zeros((cols - rows, cols))])
    return np.linalg.svd(a, compute_uv=False)


def damped_pseudoinverse(a, cond):
    """The library's rule: s0 = smax/sqrt(cond); the matrix itself when
    s0 < 1e-9; else V·D·Uᵀ with D = s/s0² below s0 and 1/s above."""
    u, s, vt = np.linalg.svd(a, full_matrices=False)
    s0 = s.max() / np.sqrt(cond)
    if s0 < 1e-9:
        return a.copy()
    d = np.where(s < s0, s / s0**2, 1 / np.where(s == 0, 1, s))
    return vt.T @ np.diag(d) @ u.T


# Square systems: A, right-hand sides B, det, inverse, solution, 2-norm
# condition number, and whether A is symmetric.
LINEAR = [
    ('hilbert4', hilbert(4), rng.standard_normal((4, 2)), True),
    ('hilbert6', hilbert(6), rng.standard_normal((6, 1)), True),
    ('hilbertLike5', hilbert(5, 0.5), rng.standard_normal((5, 3)), True),
    ('one', np.array([[-4.0]]), np.array([[2.0, 6.0]]), True),
    ('random5', rng.standard_normal((5, 5)), rng.standard_normal((5, 3)), False),
    ('needsPivot3', np.array([[0.0, 2, 1], [1, 0, 0], [3, 1, 2]]), np.array([[1.0], [2], [3]]), False),
    ('rowScaled3', np.array([[1e-8, 2e-8, 5e-9], [3, 1, 2], [0.5, 4, 1]]), rng.standard_normal((3, 2)), False),
]


def linear_cases():
    out = ['static LinearCase const kLinearCases[] = {']
    for name, a, b, sym in LINEAR:
        if sym:
            a = (a + a.T) / 2
        n, k = a.shape[0], b.shape[1]
        out.append('  {"%s", %d, %d, %s,' % (name, n, k, 'true' if sym else 'false'))
        out.append('   %s,' % hexes(a))
        out.append('   %s,' % hexes(b))
        out.append('   %s, %s,' % (float(np.linalg.det(a)).hex(), float(np.linalg.cond(a)).hex()))
        out.append('   %s,' % hexes(np.linalg.inv(a)))
        out.append('   %s},' % hexes(np.linalg.solve(a, b)))
    out.append('};')
    return out


# Singular value cases: shape, A, singular values in descending order
# (of the zero-padded matrix when wide), and the damped pseudoinverse at
# each condition number listed.
SVD = [
    ('tall5x3', rng.standard_normal((5, 3)), [1e12, 4.0]),
    ('square4', with_singular_values(4, 4, [10, 5, 1, 0.1]), [1e12, 16.0]),
    ('wide2x4', rng.standard_normal((2, 4)), [1e12, 9.0]),
    ('rank2of4', with_singular_values(4, 4, [3, 2, 0, 0]), [1e8, 100.0]),
    ('rank1tall4x2', np.outer([1.0, 2, -1, 0.5], [2.0, -3]), [1e6]),
    ('one1x1', np.array([[-2.5]]), [1e12]),
    ('tiny2x3', np.full((2, 3), 1e-12), [1e4]),
]


def svd_cases():
    out = ['static SvdCase const kSvdCases[] = {']
    for name, a, conds in SVD:
        rows, cols = a.shape
        out.append('  {"%s", %d, %d,' % (name, rows, cols))
        out.append('   %s,' % hexes(a))
        out.append('   %s,' % hexes(padded_singular_values(a)))
        out.append('   {')
        for c in conds:
            p = damped_pseudoinverse(a, c)
            out.append('    {%s, %d, %d, %s},' % (float(c).hex(), p.shape[0], p.shape[1], hexes(p)))
        out.append('   }},')
    out.append('};')
    return out


# Eigenvalue cases: A, then real and imaginary parts sorted by (re, im).
EIGEN = [
    ('sym4', (lambda m: m + m.T)(rng.standard_normal((4, 4))), True),
    ('symRepeated3', np.array([[2.0, 0, 0], [0, 3, 1], [0, 1, 3]]), True),
    ('rotationLike3', np.array([[0.0, -2, 0], [2, 0, 0], [0, 0, 5]]), False),
    ('general4', rng.standard_normal((4, 4)), False),
    ('upper3', np.array([[1.0, 4, 5], [0, 2, 6], [0, 0, 3]]), False),
]


def eigen_cases():
    out = ['static EigenCase const kEigenCases[] = {']
    for name, a, sym in EIGEN:
        w = np.linalg.eigvalsh(a) if sym else np.linalg.eigvals(a)
        w = sorted(np.asarray(w, dtype=complex), key=lambda z: (round(z.real, 9), z.imag))
        out.append('  {"%s", %d, %s, %s,' % (name, a.shape[0], 'true' if sym else 'false', hexes(a)))
        out.append('   %s,' % hexes([z.real for z in w]))
        out.append('   %s},' % hexes([z.imag for z in w]))
    out.append('};')
    return out


def constraint_case():
    """min (x − x0)ᵀA(x − x0) subject to C·x = e, by the KKT system, and the
    two older variants by their formulas over numpy's pseudoinverse."""
    m = rng.standard_normal((4, 4))
    a = m @ m.T + 4 * np.eye(4)
    c = rng.standard_normal((2, 4))
    x0 = rng.standard_normal((4, 1))
    e = rng.standard_normal((2, 1))
    kkt = np.block([[2 * a, c.T], [c, np.zeros((2, 2))]])
    x = np.linalg.solve(kkt, np.vstack([2 * a @ x0, e]))[:4]
    ai = np.linalg.pinv(a)
    x2 = x0 + ai @ np.linalg.pinv(c @ ai) @ (e - c @ x0)
    r = e - c @ ai @ x0
    xold = ai @ (x0 - c.T @ np.linalg.pinv(c @ ai @ c.T) @ r)
    out = ['static ConstraintCase const kConstraintCase = {']
    for v in (a, x0, c, e, x, x2, xold):
        out.append('  %s,' % hexes(v))
    out.append('};')
    return out


def partial_case():
    """[A C; Cᵀ B]·[x; y] = [d; e], solved whole; y is what partialSolve
    returns."""
    a = rng.standard_normal((3, 3)) + 3 * np.eye(3)
    b = rng.standard_normal((2, 2)) + 2 * np.eye(2)
    c = rng.standard_normal((3, 2))
    d = rng.standard_normal((3, 2))
    e = rng.standard_normal((2, 2))
    whole = np.block([[a, c], [c.T, b]])
    y = np.linalg.solve(whole, np.vstack([d, e]))[3:]
    out = ['static PartialCase const kPartialCase = {']
    for v in (a, b, c, d, e, y):
        out.append('  %s,' % hexes(v))
    out.append('};')
    return out


def main():
    lines = ['// Written by gen_nmmatrix.py: do not edit.']
    lines += linear_cases() + svd_cases() + eigen_cases() + constraint_case() + partial_case()
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'nmmatrix.inc')
    with open(path, 'w') as f:
        f.write('\n'.join(lines) + '\n')


if __name__ == '__main__':
    main()
