#!/usr/bin/python3
"""Writes nm_decompose.inc: test matrices for the dense decompositions with
their singular values and eigenvalues as numpy/scipy (LAPACK) compute them.

Run from anywhere with /usr/bin/python3; the output goes beside this file.
Every double is written as a hexadecimal literal, so the test sees exactly
the matrices numpy saw. Large matrices are not written out: their entries
come from hashed(), which nm_decompose_test.cc computes the same way, bit
for bit (an integer below 2^32 divided by 2^32).

General eigenvalues carry their own tolerances, from their condition: a
simple eigenvalue moves by at most about kappa * |E| under a perturbation E,
kappa = 1 / |y^H x| with unit left and right eigenvectors y and x; an
eigenvalue of a Jordan block of size k moves by about (|E| * cond(S))^(1/k)
where S is the similarity that made the block.
"""
import math
import os

import numpy as np
import scipy.linalg

EPS = np.finfo(float).eps
# Backward error of the decompositions: a modest multiple of n * eps * |A|.
BACKWARD = 16.0


def hashed(m, n, seed):
    """Entries in [-0.5, 0.5), exact in doubles, reproducible in C++."""
    out = np.empty((m, n))
    for i in range(m):
        for j in range(n):
            k = (i * n + j + seed) * 2654435761 % 2**32
            out[i, j] = k / 2.0**32 - 0.5
    return out


def hashed_symmetric(n, seed):
    h = hashed(n, n, seed)
    return np.tril(h) + np.tril(h, -1).T


def lit(x):
    return float(x).hex()


def array(name, values):
    body = ", ".join(lit(v) for v in values)
    return "static double const %s[] = {%s};" % (name, body)


def hilbert(n):
    return np.array([[1.0 / (i + j + 1) for j in range(n)] for i in range(n)])


def companion(coefficients):
    """Ones on the superdiagonal, the negated coefficients of the monic
    polynomial (constant term first) in the last row."""
    n = len(coefficients)
    c = np.zeros((n, n))
    for i in range(n - 1):
        c[i, i + 1] = 1.0
    c[n - 1, :] = [-x for x in coefficients]
    return c


def poly_low_first(roots):
    """Coefficients c0..c(n-1) of the monic polynomial with these roots."""
    p = np.poly(roots).real  # highest first, leading 1
    return list(p[::-1][:-1])


def rotation(t):
    return np.array([[math.cos(t), -math.sin(t)], [math.sin(t), math.cos(t)]])


def random_matrix(rng, m, n, scale=1.0):
    return rng.standard_normal((m, n)) * scale


def svd_cases(rng):
    cases = []
    cases.append(("One", np.array([[-3.5]]), 0))
    cases.append(("Zero4x3", np.zeros((4, 3)), 0))
    cases.append(("Square6", random_matrix(rng, 6, 6), 0))
    cases.append(("Tall9x4", random_matrix(rng, 9, 4), 0))
    cases.append(("Column5x1", random_matrix(rng, 5, 1), 0))
    u = np.array([1.0, -2.0, 3.0, 0.5, 4.0])
    v = np.array([2.0, 1.0, -1.0])
    cases.append(("RankOne5x3", np.outer(u, v), 0))
    b = random_matrix(rng, 7, 2) @ random_matrix(rng, 2, 5)
    cases.append(("RankTwo7x5", b, 0))
    # An exact zero on the bidiagonal's diagonal, with a non-zero entry
    # beside it: the first column, and the nilpotent shift.
    cases.append(("ZeroFirstColumn5x4", np.column_stack([np.zeros(5), random_matrix(rng, 5, 3)]), 0))
    cases.append(("ShiftUp4", np.eye(4, k=1), 0))
    cases.append(("ZeroColumn6x4", np.column_stack([random_matrix(rng, 6, 2), np.zeros(6),
                                                   random_matrix(rng, 6, 1)]), 0))
    cases.append(("Hilbert8", hilbert(8), 0))
    cases.append(("Hilbert12", hilbert(12), 0))
    cases.append(("Identity5", np.eye(5), 0))
    q, _ = np.linalg.qr(random_matrix(rng, 6, 6))
    blocks = scipy.linalg.block_diag(2 * rotation(0.4), 2 * rotation(1.1), 2.0, 3.0)
    cases.append(("BlockDiagonalRepeated", blocks, 0))
    cases.append(("RotatedRepeated6", q @ np.diag([5.0, 5.0, 5.0, 1.0, 1.0, 0.0]) @ q.T, 0))
    cases.append(("Huge6x4", random_matrix(rng, 6, 4, 1e150), 0))
    cases.append(("Tiny6x4", random_matrix(rng, 6, 4, 1e-150), 0))
    graded = random_matrix(rng, 6, 5) * np.array([1e-8, 1e-4, 1.0, 1e4, 1e8])
    cases.append(("GradedColumns6x5", graded, 0))
    cases.append(("Subnormal3x3", np.array([[3.0, -7.0, 1.0], [2.0, 5.0, -4.0], [9.0, 0.0, 6.0]])
                  * 2.0**-1060, 0))
    cases.append(("Hashed21x21", None, (21, 21, 11)))
    cases.append(("Hashed200x50", None, (200, 50, 7)))
    out = []
    for name, a, hashed_args in cases:
        if a is None:
            a = hashed(*hashed_args)
        sv = np.linalg.svd(a, compute_uv=False)
        out.append((name, a, hashed_args, sorted(sv, reverse=True)))
    return out


def wilkinson_plus(n):
    m = (n - 1) // 2
    a = np.diag([abs(i - m) * 1.0 for i in range(n)])
    for i in range(n - 1):
        a[i, i + 1] = a[i + 1, i] = 1.0
    return a


def symmetric_cases(rng):
    cases = []
    cases.append(("One", np.array([[-2.0]]), 0))
    cases.append(("Zero3", np.zeros((3, 3)), 0))
    cases.append(("Two", np.array([[1.0, 2.0], [2.0, -3.0]]), 0))
    s = random_matrix(rng, 6, 6)
    cases.append(("Random6", s + s.T, 0))
    cases.append(("Hilbert8", hilbert(8), 0))
    cases.append(("Hilbert12", hilbert(12), 0))
    cases.append(("Identity4", np.eye(4), 0))
    q, _ = np.linalg.qr(random_matrix(rng, 6, 6))
    r = q @ np.diag([4.0, 4.0, -1.0, -1.0, -1.0, 2.0]) @ q.T
    cases.append(("RotatedRepeated6", (r + r.T) / 2, 0))
    b = np.array([[2.0, 1.0], [1.0, 2.0]])
    cases.append(("BlockDiagonalRepeated", scipy.linalg.block_diag(b, b, b), 0))
    u = np.array([1.0, 2.0, -2.0, 0.5, 3.0])
    cases.append(("RankOne5", np.outer(u, u), 0))
    cases.append(("Diagonal5", np.diag([3.0, -1.0, 7.0, 0.0, -5.0]), 0))
    cases.append(("WilkinsonPlus21", wilkinson_plus(21), 0))
    cases.append(("Huge5", (s[:5, :5] + s[:5, :5].T) * 1e150, 0))
    cases.append(("Tiny5", (s[:5, :5] + s[:5, :5].T) * 1e-150, 0))
    graded = np.diag([1e-10, 1e-5, 1.0, 1e5, 1e10])
    graded[1, 0] = graded[0, 1] = 1e-8
    graded[4, 3] = graded[3, 4] = 1e7
    cases.append(("Graded5", graded, 0))
    cases.append(("Hashed100", None, (100, 11)))
    out = []
    for name, a, hashed_args in cases:
        if a is None:
            a = hashed_symmetric(*hashed_args)
        ev = np.linalg.eigvalsh(a)
        out.append((name, a, hashed_args, sorted(ev)))
    return out


def general_cases(rng):
    cases = []
    cases.append(("One", np.array([[4.25]]), None))
    cases.append(("Zero3", np.zeros((3, 3)), None))
    cases.append(("Rotation", rotation(0.3), None))
    cases.append(("CompanionMixed", companion(poly_low_first([1, 2, 3, 1j, -1j])), None))
    cases.append(("CompanionRootsOfUnity5", companion([-1.0, 0, 0, 0, 0]), None))
    cases.append(("CyclicPermutation3", np.array([[0.0, 0, 1], [1, 0, 0], [0, 1, 0]]), None))
    cycle4 = np.zeros((4, 4))
    for i in range(4):
        cycle4[(i + 1) % 4, i] = 1.0
    cases.append(("CyclicPermutation4", cycle4, None))
    cases.append(("Random6", random_matrix(rng, 6, 6), None))
    cases.append(("Random10", random_matrix(rng, 10, 10), None))
    s = random_matrix(rng, 5, 5)
    cases.append(("Symmetric5", s + s.T, None))
    cases.append(("UpperTriangular4", np.triu(random_matrix(rng, 4, 4)), None))
    cases.append(("PivotNeeded4", np.array([[1.0, 2, 3, 4], [0, 1, 0, 2], [5, 0, 1, 0],
                                             [0, 3, 0, 1]]), None))
    # A Jordan block for 2, of size 3, beside 5, made dense by a unimodular
    # integer similarity: the entries and the eigenvalues are exact.
    j = np.array([[2.0, 1, 0, 0], [0, 2, 1, 0], [0, 0, 2, 0], [0, 0, 0, 5]])
    sim = np.array([[1.0, 1, 0, 2], [0, 1, 1, 0], [1, 0, 1, 1], [0, 1, 0, 1]])
    det = round(np.linalg.det(sim))
    assert abs(det) == 1
    sim_inv = np.round(np.linalg.inv(sim))
    assert np.array_equal(sim @ sim_inv, np.eye(4))
    defective = sim @ j @ sim_inv
    cases.append(("DefectiveJordan3", defective, ([2, 2, 2], 3, [5], sim, sim_inv)))
    cases.append(("Huge5", random_matrix(rng, 5, 5, 1e150), None))
    cases.append(("Tiny5", random_matrix(rng, 5, 5, 1e-150), None))
    cases.append(("Hashed30", hashed(30, 30, 5), None))
    out = []
    for name, a, special in cases:
        n = a.shape[0]
        size = BACKWARD * n * EPS * max(np.linalg.norm(a, 2), 1e-300)
        if special is None:
            w, vl, vr = scipy.linalg.eig(a, left=True, right=True)
            tol = []
            for i in range(n):
                y = vl[:, i] / np.linalg.norm(vl[:, i])
                x = vr[:, i] / np.linalg.norm(vr[:, i])
                kappa = 1.0 / abs(np.vdot(y, x))
                tol.append(size * kappa)
        else:
            # The block's eigenvalues first, then the simple ones, which sit
            # on the diagonal of the Jordan form after it.
            block, k, simple, sim, sim_inv = special
            w = np.array(block + simple, dtype=complex)
            cond = np.linalg.norm(sim, 2) * np.linalg.norm(sim_inv, 2)
            tol = [4 * (size * cond) ** (1.0 / k)] * len(block)
            for i in range(len(block), n):
                x = sim[:, i]
                y = sim_inv[i, :]
                tol.append(size * np.linalg.norm(x) * np.linalg.norm(y) / abs(y @ x))
        order = np.lexsort((w.imag, w.real))
        out.append((name, a, [w[i] for i in order], [tol[i] for i in order]))
    return out


def main():
    rng = np.random.RandomState(20261121)
    lines = ["// Written by gen_nm_decompose.py: do not edit.", ""]

    lines.append("// Singular values, descending.")
    entries = []
    for idx, (name, a, hashed_args, sv) in enumerate(svd_cases(rng)):
        m, n = a.shape
        if hashed_args:
            elements, seed = "nullptr", hashed_args[2]
        else:
            lines.append(array("kSvdA%d" % idx, a.flatten()))
            elements, seed = "kSvdA%d" % idx, 0
        lines.append(array("kSvdW%d" % idx, sv))
        entries.append('  {"%s", %d, %d, %d, %s, kSvdW%d},' % (name, m, n, seed, elements, idx))
    lines.append("static SvdCase const kSvdCases[] = {")
    lines += entries
    lines += ["};", ""]

    lines.append("// Symmetric eigenvalues, ascending.")
    entries = []
    for idx, (name, a, hashed_args, ev) in enumerate(symmetric_cases(rng)):
        n = a.shape[0]
        if hashed_args:
            elements, seed = "nullptr", hashed_args[1]
        else:
            lines.append(array("kSymA%d" % idx, a.flatten()))
            elements, seed = "kSymA%d" % idx, 0
        lines.append(array("kSymD%d" % idx, ev))
        entries.append('  {"%s", %d, %d, %s, kSymD%d},' % (name, n, seed, elements, idx))
    lines.append("static SymCase const kSymCases[] = {")
    lines += entries
    lines += ["};", ""]

    lines.append("// General eigenvalues by real, then imaginary part, each with its tolerance.")
    entries = []
    for idx, (name, a, w, tol) in enumerate(general_cases(rng)):
        n = a.shape[0]
        lines.append(array("kGenA%d" % idx, a.flatten()))
        lines.append(array("kGenRe%d" % idx, [x.real for x in w]))
        lines.append(array("kGenIm%d" % idx, [x.imag for x in w]))
        lines.append(array("kGenTol%d" % idx, tol))
        entries.append('  {"%s", %d, kGenA%d, kGenRe%d, kGenIm%d, kGenTol%d},'
                       % (name, n, idx, idx, idx, idx))
    lines.append("static GeneralCase const kGeneralCases[] = {")
    lines += entries
    lines += ["};"]

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "nm_decompose.inc")
    with open(path, "w") as f:
        f.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
