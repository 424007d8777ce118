#include "orvstd/math/ode.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "orvstd/except/assert.h"

namespace {

using Derivs = void (*)(double, std::vector<double> const&, void const*, std::vector<double>&);

// The Cash-Karp tableau: nodes, stage weights, fifth-order weights and the
// differences between the fifth- and fourth-order weights.
constexpr double a2 = 0.2, a3 = 0.3, a4 = 0.6, a5 = 1.0, a6 = 0.875;
constexpr double b21 = 0.2;
constexpr double b31 = 3.0 / 40.0, b32 = 9.0 / 40.0;
constexpr double b41 = 0.3, b42 = -0.9, b43 = 1.2;
constexpr double b51 = -11.0 / 54.0, b52 = 2.5, b53 = -70.0 / 27.0, b54 = 35.0 / 27.0;
constexpr double b61 = 1631.0 / 55296.0, b62 = 175.0 / 512.0, b63 = 575.0 / 13824.0, b64 = 44275.0 / 110592.0,
                 b65 = 253.0 / 4096.0;
constexpr double c1 = 37.0 / 378.0, c3 = 250.0 / 621.0, c4 = 125.0 / 594.0, c6 = 512.0 / 1771.0;
constexpr double dc1 = c1 - 2825.0 / 27648.0, dc3 = c3 - 18575.0 / 48384.0, dc4 = c4 - 13525.0 / 55296.0,
                 dc5 = -277.0 / 14336.0, dc6 = c6 - 0.25;

// Work vectors of one integration, sized once.
struct CashKarp {
  Derivs derivs;
  void const* data;
  std::vector<double> k2, k3, k4, k5, k6, tmp, out, err;

  CashKarp(Derivs f, void const* d, std::size_t n)
      : derivs(f), data(d), k2(n), k3(n), k4(n), k5(n), k6(n), tmp(n), out(n), err(n) {}

  // One step of size h from (x, y) with k1 = dy/dx there: the fifth-order
  // value into out, the difference to the fourth-order one into err.
  void step(double x, std::vector<double> const& y, std::vector<double> const& k1, double h) {
    std::size_t const n = y.size();
    for (std::size_t i = 0; i < n; ++i) tmp[i] = y[i] + h * (b21 * k1[i]);
    derivs(x + a2 * h, tmp, data, k2);
    for (std::size_t i = 0; i < n; ++i) tmp[i] = y[i] + h * (b31 * k1[i] + b32 * k2[i]);
    derivs(x + a3 * h, tmp, data, k3);
    for (std::size_t i = 0; i < n; ++i) tmp[i] = y[i] + h * (b41 * k1[i] + b42 * k2[i] + b43 * k3[i]);
    derivs(x + a4 * h, tmp, data, k4);
    for (std::size_t i = 0; i < n; ++i)
      tmp[i] = y[i] + h * (b51 * k1[i] + b52 * k2[i] + b53 * k3[i] + b54 * k4[i]);
    derivs(x + a5 * h, tmp, data, k5);
    for (std::size_t i = 0; i < n; ++i)
      tmp[i] = y[i] + h * (b61 * k1[i] + b62 * k2[i] + b63 * k3[i] + b64 * k4[i] + b65 * k5[i]);
    derivs(x + a6 * h, tmp, data, k6);
    for (std::size_t i = 0; i < n; ++i) {
      out[i] = y[i] + h * (c1 * k1[i] + c3 * k3[i] + c4 * k4[i] + c6 * k6[i]);
      err[i] = h * (dc1 * k1[i] + dc3 * k3[i] + dc4 * k4[i] + dc5 * k5[i] + dc6 * k6[i]);
    }
  }
};

constexpr int kMaxSteps = 10000;

}  // namespace

bool cfIntegrateODE(double x0, double x1, double h, double hMin, double eps, Derivs derivs, void const* data,
                    std::vector<double>& y) {
  cmAssert(x1 >= x0);
  cmAssert(derivs != nullptr);
  std::size_t const n = y.size();
  CashKarp ck(derivs, data, n);
  std::vector<double> dydx(n), scale(n);
  double x = x0;
  for (int steps = 0; steps < kMaxSteps && x < x1 && h >= hMin; ++steps) {
    derivs(x, y, data, dydx);
    for (std::size_t i = 0; i < n; ++i) scale[i] = std::fabs(y[i]) + h * std::fabs(dydx[i]) + 1e-20;
    bool last = false;
    if (x + h >= x1) {
      h = x1 - x;
      last = true;
    }
    double err = 0;
    for (;;) {
      ck.step(x, y, dydx, h);
      err = 0;
      for (std::size_t i = 0; i < n; ++i) err = std::max(err, std::fabs(ck.err[i]) / scale[i]);
      err /= eps;
      if (!(err > 1)) break;
      // Never shrinks below a tenth; the shortened step no longer ends at x1.
      h *= std::max(0.1, 0.9 * std::pow(err, -0.25));
      last = false;
    }
    x = last ? x1 : x + h;
    y.swap(ck.out);
    h = err > 0.000189 ? h * 0.9 * std::pow(err, -0.2) : h * 5;
  }
  return x >= x1;
}
