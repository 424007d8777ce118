#!/usr/bin/python3
"""Reference data for the kernel's plane-transform tests: least-squares
polynomial maps from numpy.linalg.lstsq, perspective transforms from
OpenCV (cv2.getPerspectiveTransform, cv2.findHomography with method 0).

Run: /usr/bin/python3 gen_xform.py > xform_reference.txt

Every number is written with repr (17 significant digits). Line forms:
  polycoef <order> <n> x0 y0 X0 Y0 .. x(n-1) y(n-1) X(n-1) Y(n-1) <m> c0..c(m-1)
      small coordinates; c are lstsq's coefficients of the raw monomials in
      the kernel's layout (monomials by rising degree, falling power of x;
      per monomial the x then the y component)
  polymap <order> <n> x0 y0 X0 Y0 .. <k> px0 py0 qx0 qy0 ..
      image coordinates; lstsq on monomials of standardised coordinates;
      q is the fitted map's value at probe point p
  persp4 x0 y0 .. x3 y3 h0..h8
      cv2.getPerspectiveTransform from the unit square (0,0),(1,0),(1,1),(0,1)
      to the four points
  perspn <n> x0 y0 X0 Y0 .. h0..h8
      cv2.findHomography(from, to, 0) on exact data. OpenCV works on
      single-precision points, so the source points are whole pixels and
      the images are rounded to single precision before either side sees
      them: four pairs then have one exact solution, more pairs lie on a
      transform to single precision
"""
import cv2
import numpy as np

rng = np.random.default_rng(20240611)


def r(v):
    return repr(float(v))


def monomials(x, y, order):
    cols = []
    for d in range(order + 1):
        for j in range(d + 1):
            cols.append(x ** (d - j) * y ** j)
    return np.array(cols).T


def pairs(src, dst):
    return ' '.join(f'{r(a)} {r(b)} {r(c)} {r(d)}' for (a, b), (c, d) in zip(src, dst))


def truth(p, scale):
    """A smooth nonlinear map with a little noise, so no fit is exact."""
    x, y = p[:, 0] / scale, p[:, 1] / scale
    X = 3 + 1.1 * x - 0.2 * y + 0.05 * x * y - 0.03 * x ** 3 + 0.01 * np.sin(2 * y)
    Y = -1 + 0.15 * x + 0.9 * y + 0.04 * x * x + 0.02 * y ** 4 + 0.01 * np.cos(3 * x)
    out = np.stack([X, Y], axis=1) * scale
    return out + rng.normal(0, 1e-3 * scale, out.shape)


def polycoef(order, n):
    src = rng.uniform(-1.5, 1.5, (n, 2))
    dst = truth(src, 1.0)
    a = monomials(src[:, 0], src[:, 1], order)
    cx = np.linalg.lstsq(a, dst[:, 0], rcond=None)[0]
    cy = np.linalg.lstsq(a, dst[:, 1], rcond=None)[0]
    c = np.stack([cx, cy], axis=1).ravel()
    print(f'polycoef {order} {n} {pairs(src, dst)} {len(c)} ' + ' '.join(r(v) for v in c))


def polymap(order, n):
    src = np.stack([rng.uniform(0, 640, n), rng.uniform(0, 480, n)], axis=1)
    dst = truth(src, 300.0)
    mean, std = src.mean(axis=0), src.std(axis=0)
    s = (src - mean) / std
    a = monomials(s[:, 0], s[:, 1], order)
    coef = np.linalg.lstsq(a, dst, rcond=None)[0]
    probes = np.array([[0, 0], [320, 240], [640, 480], [17.5, 401.25], [600, 20]], dtype=float)
    q = monomials((probes[:, 0] - mean[0]) / std[0], (probes[:, 1] - mean[1]) / std[1], order) @ coef
    print(f'polymap {order} {n} {pairs(src, dst)} {len(probes)} ' + pairs(probes, q))


def persp4(quad):
    square = np.array([[0, 0], [1, 0], [1, 1], [0, 1]], dtype=np.float32)
    h = cv2.getPerspectiveTransform(square, np.array(quad, dtype=np.float32))
    # float32 input: the points are chosen exactly representable.
    print('persp4 ' + ' '.join(r(v) for v in np.array(quad).ravel()) + ' ' + ' '.join(r(v) for v in h.ravel()))


def apply(h, p):
    q = np.hstack([p, np.ones((len(p), 1))]) @ h.T
    return q[:, :2] / q[:, 2:]


def perspn(h, n):
    src = np.stack([rng.integers(0, 640, n), rng.integers(0, 480, n)], axis=1).astype(np.float64)
    dst = apply(h, src).astype(np.float32).astype(np.float64)
    found, _ = cv2.findHomography(src.astype(np.float32), dst.astype(np.float32), 0)
    print(f'perspn {n} {pairs(src, dst)} ' + ' '.join(r(v) for v in found.ravel()))


for order in range(1, 6):
    terms = (order + 1) * (order + 2) // 2
    polycoef(order, terms)
    polycoef(order, 3 * terms + 5)
    polymap(order, 4 * terms)
    polymap(order, 200)

persp4([[10, 20], [300, 40], [280, 250], [30, 200]])
persp4([[0, 0], [2, 0], [2, 2], [0, 2]])
persp4([[100.5, 50.25], [420, 80], [380.75, 410], [60, 300.5]])
persp4([[-5, 3], [7, -2], [9, 12], [-8, 10]])

H1 = np.array([[1.2, 0.1, 15.0], [-0.05, 0.95, -7.0], [2e-4, -1e-4, 1.0]])
H2 = np.array([[0.8, -0.3, 120.0], [0.25, 1.1, 40.0], [-3e-4, 5e-4, 1.0]])
perspn(H1, 4)
perspn(H1, 12)
perspn(H2, 50)
