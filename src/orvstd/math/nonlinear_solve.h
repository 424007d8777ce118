// Nonlinear least squares: find x (n values) that makes the sum of squares
// of y = f(x) (m values) least. A subclass supplies f as Func (and, where it
// can recompute less for one variable, FuncI), sets a start by setX and
// calls minimize(), which leaves the result in x and returns the final sum
// of squares.
//
// ccNewtonSolve takes a fixed number of Gauss-Newton steps; ccLevMarSolve
// damps each step by lambda (Levenberg-Marquardt) and stops on a small
// error, a small improvement, or a run of failed trials. Both take the
// Jacobian by forward differences, optionally split over the kernel's job
// threads (enableMulticore), with the same result on any number of threads.
//
//   class Fit : public ccLevMarSolve {
//    public:
//     Fit() : ccLevMarSolve(3, 2, 0, 0, 100, 15, 0.01, 1e-8, 1e20, false, false) {}
//     c_Int32 Func(ccNMMatrix const& x, ccNMMatrix& y) const override { ...; return 0; }
//   };
//   Fit fit;
//   fit.setX(start);            // n by 1
//   double e = fit.minimize();
//   fit.getX(result);
//
// Both solvers poll ccAttention::check() once per outer round, once per
// inner step and once per Jacobian column, so a ccTimeout on the calling
// thread raises ccTimeout::Expired out of minimize().
#ifndef ORVSTD_MATH_NONLINEAR_SOLVE_H_
#define ORVSTD_MATH_NONLINEAR_SOLVE_H_

#include <vector>

#include "orvstd/defs/types.h"
#include "orvstd/math/nmmatrix.h"

// The objective: m equations in n variables. A status from Func or FuncI
// with the top bit set is a failure code, raised through
// cfThrowExceptionOnFailure where a solver looks at it.
class ccFSolver {
 public:
  // 0 equations in 0 variables: minimize() refuses it.
  ccFSolver() = default;
  // m and n at least 1, else ccInvariantFailure.
  ccFSolver(c_Int32 m, c_Int32 n);
  virtual ~ccFSolver();

  virtual double minimize() = 0;
  // y (m by 1) for x (n by 1) where only variable i changed since the last
  // call; the default ignores i and calls Func.
  virtual c_Int32 FuncI(ccNMMatrix const& x, ccNMMatrix& y, c_Int32 i) const;
  virtual c_Int32 Func(ccNMMatrix const& x, ccNMMatrix& y) const = 0;

  void getSize(c_Int32& m, c_Int32& n) const {
    m = m_;
    n = n_;
  }
  c_Int32 getM() const { return m_; }
  c_Int32 getN() const { return n_; }

 protected:
  ccFSolver(ccFSolver const&) = default;
  ccFSolver& operator=(ccFSolver const&) = default;

 private:
  c_Int32 m_ = 0;
  c_Int32 n_ = 0;
};

class ccNewtonSolve : public ccFSolver {
 public:
  // nIter 0, diffDelta 1e-8, condNumber 1e20, both flags off; no size.
  ccNewtonSolve();
  // Counts at least 1 and both doubles above 0, else ccInvariantFailure.
  // x starts at zero.
  ccNewtonSolve(c_Int32 m, c_Int32 n, c_Int32 nIter, double diffDelta, double condNumber, bool enableMulticore,
                bool recomputeY);
  ~ccNewtonSolve() override;

  // nIter Gauss-Newton steps x -= pseudoSolve(JᵀJ, Jᵀy, condNumber), with
  // no early exit and no look at Func's status; returns |y|² at the end.
  double minimize() override;

  // The forward-difference Jacobian J (m by n) of Func at x, where y is
  // Func(x), and from it grad = Jᵀy (n by 1) and H = JᵀJ (n by n). Outputs
  // of another shape are reshaped; y must be m by 1 (sizeErr).
  //
  // Column j perturbs x[j] by diffDelta and calls FuncI(x', work, j). With
  // recomputeY the base is recomputed by FuncI(x, base, j) first; with
  // recomputeYVals too, only at the first column of a range and after a
  // column whose flag is set: a set flag closes a run of columns that
  // share one base. With enableMulticore the columns go to T jobs (T the
  // lesser of the job threads and n): job t takes columns t, t + T, ...,
  // or, with recomputeYVals, whole runs. A failing status raises its
  // exception.
  virtual void compJacob(ccNMMatrix const& x, ccNMMatrix const& y, ccNMMatrix& J, ccNMMatrix& grad,
                         ccNMMatrix& H);

  void getX(ccNMMatrix& x) const { x = x_; }
  // x must be n by 1, else ccInvariantFailure.
  void setX(ccNMMatrix const& x);

  c_Int32 nIter() const { return nIter_; }
  // At least 1, else ccInvariantFailure.
  void nIter(c_Int32 n);
  // Raises ccInvariantFailure when the value held is not above 0; the
  // setter takes any value.
  double diffDelta() const;
  void diffDelta(double d) { diffDelta_ = d; }
  double condNumber() const { return condNumber_; }
  // Above 0, else ccInvariantFailure.
  void condNumber(double c);
  bool enableMulticore() const { return enableMulticore_; }
  void enableMulticore(bool on) { enableMulticore_ = on; }
  bool recomputeY() const { return recomputeY_; }
  void recomputeY(bool on) { recomputeY_ = on; }
  std::vector<bool> const& recomputeYVals() const { return recomputeYVals_; }
  // Empty, or one flag for each of the n variables, else
  // ccInvariantFailure.
  void recomputeYVals(std::vector<bool> const& flags);

 protected:
  // The start of a solve: x, once m and n are known to be at least 1
  // (ccInvariantFailure otherwise).
  ccNMMatrix startX_() const;

 private:
  ccNMMatrix x_;
  c_Int32 nIter_ = 0;
  double diffDelta_ = 1e-8;
  double condNumber_ = 1e20;
  bool enableMulticore_ = false;
  bool recomputeY_ = false;
  std::vector<bool> recomputeYVals_;
};

class ccLevMarSolve : public ccNewtonSolve {
 public:
  // minE and minDeltaE 0, lambda 0.01, maxMLInnerIter 15, and the defaults
  // of ccNewtonSolve.
  ccLevMarSolve();
  // Counts at least 1; condNumber, diffDelta and lambda above 0; minE and
  // minDeltaE at least 0; else ccInvariantFailure.
  ccLevMarSolve(c_Int32 m, c_Int32 n, double minE, double minDeltaE, c_Int32 nIter, c_Int32 maxMLInnerIter,
                double lambda, double diffDelta, double condNumber, bool enableMulticore, bool recomputeY);
  ~ccLevMarSolve() override;

  // Up to nIter rounds while |y|² > minE²: a Jacobian, then trials
  // x - (H + lambda·I)⁻¹·grad, lambda times 10 after a worse trial and
  // times 0.1 after one no worse. The first trial no worse is taken, and an
  // improvement below minDeltaE² ends the solve. maxMLInnerIter trials in
  // one round end it too: x stays at the last accepted value and the error
  // of that last trial is returned. The final lambda is stored. An
  // ill-conditioned system raises ccNMMatrix::unstableErr.
  double minimize() override;

  double minDeltaE() const { return minDeltaE_; }
  void minDeltaE(double d);  // at least 0, else ccInvariantFailure
  double minE() const { return minE_; }
  void minE(double e);  // at least 0, else ccInvariantFailure
  double lambda() const { return lambda_; }
  void lambda(double l);  // at least 0, else ccInvariantFailure
  double maxMLInnerIter() const { return maxMLInnerIter_; }
  void maxMLInnerIter(c_Int32 n);  // at least 1, else ccInvariantFailure

 private:
  double minDeltaE_ = 0;
  double minE_ = 0;
  double lambda_ = 0.01;
  c_Int32 maxMLInnerIter_ = 15;
};

#endif  // ORVSTD_MATH_NONLINEAR_SOLVE_H_
