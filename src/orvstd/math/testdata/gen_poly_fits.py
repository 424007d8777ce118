#!/usr/bin/python3
"""Reference polynomial fits for the plane maps (cc2DPolynomialMap) and the
polynomial transform (cc2XformPoly), orders 1 to 5, from numpy's SVD
least squares (numpy.linalg.lstsq) over plain monomials. It shares nothing
with the library's fit but the problem: the library scales differently,
reduces with its own rotations and lays out its own coefficients, so only
mapped points are compared.

Run: /usr/bin/python3 gen_poly_fits.py > poly_fits_reference.txt

For each order, point pairs (a, b) are made from a smooth nonlinear map with
noise, so that every order is a genuine least-squares problem. numpy fits in
centred and scaled coordinates (the polynomials of a degree are the same
space in any affine coordinates, so the least-squares map is the same) to
keep the design matrix well conditioned.

Line forms (numbers in repr):
  order <n> <count>
  pair ax ay bx by                 count lines
  ab px py qx qy                   the fit taking a to b maps p to q
  ba px py qx qy                   the fit taking b to a maps p to q
"""
import numpy as np


def monomials(x, y, order):
    cols = []
    for d in range(order + 1):
        for j in range(d + 1):
            cols.append(x ** (d - j) * y ** j)
    return np.stack(cols, axis=1)


class Fit:
    def __init__(self, src, dst, order):
        self.order = order
        self.centre = (src.max(axis=0) + src.min(axis=0)) / 2
        self.half = (src.max(axis=0) - src.min(axis=0)) / 2
        s = (src - self.centre) / self.half
        design = monomials(s[:, 0], s[:, 1], order)
        self.coef, _, rank, _ = np.linalg.lstsq(design, dst, rcond=None)
        assert rank == design.shape[1]

    def map(self, p):
        s = (np.asarray(p, dtype=float) - self.centre) / self.half
        row = monomials(np.array([s[0]]), np.array([s[1]]), self.order)
        return (row @ self.coef)[0]


def warp(p):
    x, y = p[:, 0], p[:, 1]
    u = 12 + 1.1 * x - 0.2 * y + 4e-4 * x * y - 3e-4 * y * y + 2e-6 * x ** 3
    v = -7 + 0.15 * x + 0.95 * y + 5e-4 * x * x + 1e-6 * x * y * y - 1e-8 * x ** 4
    return np.stack([u, v], axis=1)


def main():
    rng = np.random.default_rng(20261121)
    lines = []
    for order in range(1, 6):
        count = 3 * (order + 1) * (order + 2) // 2 + 7
        a = np.stack([rng.uniform(-40, 260, count), rng.uniform(-20, 180, count)], axis=1)
        b = warp(a) + rng.normal(0, 0.05, a.shape)
        ab = Fit(a, b, order)
        ba = Fit(b, a, order)
        lines.append('order %d %d' % (order, count))
        for (ax, ay), (bx, by) in zip(a, b):
            lines.append('pair %r %r %r %r' % (float(ax), float(ay), float(bx), float(by)))
        probes = np.stack([rng.uniform(-30, 250, 12), rng.uniform(-10, 170, 12)], axis=1)
        for p in probes:
            q = ab.map(p)
            lines.append('ab %r %r %r %r' % (float(p[0]), float(p[1]), float(q[0]), float(q[1])))
        for p in warp(probes):
            q = ba.map(p)
            lines.append('ba %r %r %r %r' % (float(p[0]), float(p[1]), float(q[0]), float(q[1])))
    print('\n'.join(lines))


if __name__ == '__main__':
    main()
