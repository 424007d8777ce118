// Small dense least squares for the kernel's fits: an upper triangle that
// the rows of a tall system are rotated into one by one (Givens), and the
// singular value decomposition of that triangle (one-sided Jacobi). Both
// work in fixed storage, so a fit costs no allocation whatever its count.
//
//   kxRowTriangle t(terms, 2);
//   for (...) t.addRow(row);          // row: terms unknowns, then 2 sides
//   kxSvd svd;
//   if (!svd.decompose(t)) ...        // did not converge
//   double cond = svd.condition();
//
// Internal to the kernel layer.
#ifndef ORVSTD_KERNEL_INTERNAL_KMATH_DENSE_H_
#define ORVSTD_KERNEL_INTERNAL_KMATH_DENSE_H_

inline constexpr int kxDenseMaxWidth = 23;  // 21 unknowns and 2 sides

// The triangle R (and Q'b beside it) of the rows added so far.
class kxRowTriangle {
 public:
  // `unknowns` columns of the system and `sides` right-hand sides;
  // unknowns + sides must not exceed kxDenseMaxWidth (asserted).
  kxRowTriangle(int unknowns, int sides);

  // Rotates one row (unknowns + sides values) into the triangle. The row is
  // used as scratch and left changed.
  void addRow(double* row);

  int unknowns() const { return n_; }
  // Element (i, j), i < unknowns, j < unknowns + sides; zero below the
  // diagonal.
  double at(int i, int j) const { return r_[i][j]; }

 private:
  int n_, width_;
  double r_[kxDenseMaxWidth][kxDenseMaxWidth];
};

// A = U S V' of the triangle's square part, kept as W = A V (column j is
// s_j u_j) and V. Singular values are not sorted.
class kxSvd {
 public:
  // Decomposes the square part of `t`. False when the rotations have not
  // settled within 64 sweeps (only non-finite input does that).
  bool decompose(kxRowTriangle const& t);

  int size() const { return n_; }
  double sigma(int j) const { return sigma_[j]; }
  double v(int i, int j) const { return v_[i][j]; }
  // Index of the smallest and of the largest singular value.
  int smallest() const;
  int largest() const;
  // Largest over smallest singular value (infinity when the smallest is 0).
  double condition() const;
  // The least-squares solution x of A x = b for the triangle's side `side`
  // (b being that side's first `size()` values): sum over j of
  // v_j (w_j . b) / s_j^2. Callers check the condition first.
  void solve(kxRowTriangle const& t, int side, double* x) const;

 private:
  int n_ = 0;
  double w_[kxDenseMaxWidth][kxDenseMaxWidth];
  double v_[kxDenseMaxWidth][kxDenseMaxWidth];
  double sigma_[kxDenseMaxWidth];
};

#endif  // ORVSTD_KERNEL_INTERNAL_KMATH_DENSE_H_
