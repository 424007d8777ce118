#include "orvstd/kernel/internal/kmath_dense.h"

#include <cfloat>
#include <cmath>
#include <limits>

#include "orvstd/kernel/kstd.h"

kxRowTriangle::kxRowTriangle(int unknowns, int sides) : n_(unknowns), width_(unknowns + sides), r_{} {
  KSTD_ASSERT(unknowns > 0 && sides >= 0 && width_ <= kxDenseMaxWidth);
}

void kxRowTriangle::addRow(double* row) {
  for (int k = 0; k < n_; ++k) {
    double const b = row[k];
    if (b == 0) continue;
    double const a = r_[k][k];
    // hypot keeps large rows from overflowing; a zero diagonal swaps rows.
    double const h = std::hypot(a, b);
    double const c = a / h, s = b / h;
    r_[k][k] = h;
    row[k] = 0;
    for (int j = k + 1; j < width_; ++j) {
      double const rj = r_[k][j], xj = row[j];
      r_[k][j] = c * rj + s * xj;
      row[j] = c * xj - s * rj;
    }
  }
}

bool kxSvd::decompose(kxRowTriangle const& t) {
  n_ = t.unknowns();
  for (int i = 0; i < n_; ++i)
    for (int j = 0; j < n_; ++j) {
      w_[i][j] = t.at(i, j);
      v_[i][j] = i == j ? 1.0 : 0.0;
    }
  // Hestenes: rotate pairs of columns until all are orthogonal to working
  // precision; the column norms are then the singular values. A column
  // below rounding level of the whole matrix is a null direction: its
  // products with the others are noise, and rotating against it would
  // never settle.
  double frobenius = 0;
  for (int i = 0; i < n_; ++i)
    for (int j = 0; j < n_; ++j) frobenius += w_[i][j] * w_[i][j];
  double const negligible = frobenius * (DBL_EPSILON * DBL_EPSILON);
  bool settled = false;
  for (int sweep = 0; sweep < 64 && !settled; ++sweep) {
    settled = true;
    for (int p = 0; p + 1 < n_; ++p)
      for (int q = p + 1; q < n_; ++q) {
        double alpha = 0, beta = 0, gamma = 0;
        for (int i = 0; i < n_; ++i) {
          alpha += w_[i][p] * w_[i][p];
          beta += w_[i][q] * w_[i][q];
          gamma += w_[i][p] * w_[i][q];
        }
        // Written so that a NaN never asks for a rotation.
        if (!(alpha > negligible && beta > negligible)) continue;
        if (!(std::fabs(gamma) > DBL_EPSILON * std::sqrt(alpha * beta))) continue;
        settled = false;
        double const zeta = (beta - alpha) / (2 * gamma);
        double const tan = std::copysign(1.0, zeta) / (std::fabs(zeta) + std::hypot(1.0, zeta));
        double const c = 1 / std::hypot(1.0, tan), s = c * tan;
        for (int i = 0; i < n_; ++i) {
          double const wp = w_[i][p], wq = w_[i][q];
          w_[i][p] = c * wp - s * wq;
          w_[i][q] = s * wp + c * wq;
          double const vp = v_[i][p], vq = v_[i][q];
          v_[i][p] = c * vp - s * vq;
          v_[i][q] = s * vp + c * vq;
        }
      }
  }
  for (int j = 0; j < n_; ++j) {
    double sum = 0;
    for (int i = 0; i < n_; ++i) sum += w_[i][j] * w_[i][j];
    sigma_[j] = std::sqrt(sum);
    if (!std::isfinite(sigma_[j])) settled = false;
  }
  return settled;
}

int kxSvd::smallest() const {
  int k = 0;
  for (int j = 1; j < n_; ++j)
    if (sigma_[j] < sigma_[k]) k = j;
  return k;
}

int kxSvd::largest() const {
  int k = 0;
  for (int j = 1; j < n_; ++j)
    if (sigma_[j] > sigma_[k]) k = j;
  return k;
}

double kxSvd::condition() const {
  double const low = sigma_[smallest()];
  return low == 0 ? std::numeric_limits<double>::infinity() : sigma_[largest()] / low;
}

void kxSvd::solve(kxRowTriangle const& t, int side, double* x) const {
  for (int i = 0; i < n_; ++i) x[i] = 0;
  for (int j = 0; j < n_; ++j) {
    double dot = 0;
    for (int i = 0; i < n_; ++i) dot += w_[i][j] * t.at(i, n_ + side);
    double const f = dot / (sigma_[j] * sigma_[j]);
    for (int i = 0; i < n_; ++i) x[i] += v_[i][j] * f;
  }
}
