#include "orvstd/math/nonlinear_solve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "orvstd/except/except.h"
#include "orvstd/except/internal/kernel_scope.h"
#include "orvstd/kernel/ksys_jobs.h"
#include "orvstd/platform/attention.h"

// The solvers poll ccAttention::check() where a caller would wait longest:
// each outer round, each inner step and each Jacobian column. That is how a
// ccTimeout on the caller's stack stops a long solve; job threads carry no
// tags of their own, so there the check costs one test and finds nothing.

namespace {

// A set of Jacobian columns worked through in order: first, first +
// stride, ... below end.
struct ColumnRange {
  c_Int32 first;
  c_Int32 end;
  c_Int32 stride;
};

// Everything one thread needs for its columns: its own copy of x, work
// and base vectors, and the matrix its columns go into.
struct JacobianShare {
  ccNewtonSolve const* solver;
  ccNMMatrix const* y;
  double delta;
  bool recomputeY;
  std::vector<bool> const* flags;  // recomputeYVals, possibly empty
  std::vector<ColumnRange> ranges;
  ccNMMatrix x, work, base;
  ccNMMatrix* J;  // m by n
  c_Int32 status = 0;

  bool shaped(ccNMMatrix const& v) const { return v.isSizeEqual(y->rows(), 1); }

  // A failing status of FuncI ends the share and is returned; the columns
  // before it are done.
  c_Int32 run() {
    double const inverse = 1 / delta;
    c_Int32 const m = y->rows();
    for (ColumnRange const& range : ranges) {
      c_Int32 last = range.first;
      for (c_Int32 j = range.first; j < range.end; j += range.stride) {
        ccAttention::check();
        bool recompute = recomputeY;
        if (recompute && !flags->empty() && j != range.first) {
          recompute = false;
          for (c_Int32 k = last; k < j && !recompute; ++k) recompute = (*flags)[k];
        }
        if (recompute) {
          if (c_Int32 s = solver->FuncI(x, base, j); s < 0) return s;
          if (!shaped(base)) throw ccNMMatrix::sizeErr();
          last = j;
        }
        ccNMMatrix const& from = recomputeY ? base : *y;
        double const saved = x[j][0];
        x[j][0] = saved + delta;
        c_Int32 const s = solver->FuncI(x, work, j);
        x[j][0] = saved;
        if (s < 0) return s;
        if (!shaped(work)) throw ccNMMatrix::sizeErr();
        ccNMMatrix& out = *J;
        for (c_Int32 i = 0; i < m; ++i) out[i][j] = (work[i][0] - from[i][0]) * inverse;
      }
    }
    return 0;
  }
};

c_Int32 runShare(ksys_jobParams const* params) {
  auto* share = static_cast<JacobianShare*>(ksys_jobParams_getData(params));
  share->status = share->run();
  return share->status;
}

// The runs of columns that share one base: a set flag closes its run.
std::vector<ColumnRange> runsOf(std::vector<bool> const& flags) {
  std::vector<ColumnRange> runs;
  c_Int32 const n = static_cast<c_Int32>(flags.size());
  c_Int32 first = 0;
  for (c_Int32 j = 0; j < n; ++j) {
    if (flags[j] || j == n - 1) {
      runs.push_back({first, j + 1, 1});
      first = j + 1;
    }
  }
  return runs;
}

// Deals whole runs out to at most T shares: the longest first, runs of
// equal length together in column order, each to the share with the fewest
// columns so far (the lowest index on a tie). Shares left empty are dropped.
std::vector<std::vector<ColumnRange>> dealRuns(std::vector<ColumnRange> runs, c_Int32 T) {
  std::stable_sort(runs.begin(), runs.end(), [](ColumnRange const& a, ColumnRange const& b) {
    return a.end - a.first > b.end - b.first;
  });
  std::size_t const count = std::min(static_cast<std::size_t>(T), runs.size());
  std::vector<std::vector<ColumnRange>> shares(count);
  std::vector<c_Int32> load(shares.size(), 0);
  for (ColumnRange const& run : runs) {
    std::size_t const t = static_cast<std::size_t>(std::min_element(load.begin(), load.end()) - load.begin());
    shares[t].push_back(run);
    load[t] += run.end - run.first;
  }
  return shares;
}

bool positive(double v) { return v > 0; }       // false for NaN too
bool notNegative(double v) { return v >= 0; }  // likewise

}  // namespace

// ccFSolver --------------------------------------------------------------------

ccFSolver::ccFSolver(c_Int32 m, c_Int32 n) : m_(m), n_(n) {
  if (m < 1 || n < 1) throw ccInvariantFailure();
}

ccFSolver::~ccFSolver() = default;

c_Int32 ccFSolver::FuncI(ccNMMatrix const& x, ccNMMatrix& y, c_Int32) const { return Func(x, y); }

// ccNewtonSolve ----------------------------------------------------------------

ccNewtonSolve::ccNewtonSolve() : x_(0, 1, 0.0) {}

ccNewtonSolve::ccNewtonSolve(c_Int32 m, c_Int32 n, c_Int32 nIter, double diffDelta, double condNumber,
                             bool enableMulticore, bool recomputeY)
    : ccFSolver(m, n),
      x_(n, 1, 0.0),
      nIter_(nIter),
      diffDelta_(diffDelta),
      condNumber_(condNumber),
      enableMulticore_(enableMulticore),
      recomputeY_(recomputeY) {
  if (nIter < 1 || !positive(diffDelta) || !positive(condNumber)) throw ccInvariantFailure();
}

ccNewtonSolve::~ccNewtonSolve() = default;

void ccNewtonSolve::setX(ccNMMatrix const& x) {
  if (!x.isSizeEqual(getN(), 1)) throw ccInvariantFailure();
  x_ = x;
}

void ccNewtonSolve::nIter(c_Int32 n) {
  if (n < 1) throw ccInvariantFailure();
  nIter_ = n;
}

double ccNewtonSolve::diffDelta() const {
  if (!positive(diffDelta_)) throw ccInvariantFailure();
  return diffDelta_;
}

void ccNewtonSolve::condNumber(double c) {
  if (!positive(c)) throw ccInvariantFailure();
  condNumber_ = c;
}

void ccNewtonSolve::recomputeYVals(std::vector<bool> const& flags) {
  if (!flags.empty() && flags.size() != static_cast<std::size_t>(getN())) throw ccInvariantFailure();
  recomputeYVals_ = flags;
}

void ccNewtonSolve::compJacob(ccNMMatrix const& x, ccNMMatrix const& y, ccNMMatrix& J, ccNMMatrix& grad,
                              ccNMMatrix& H) {
  c_Int32 const m = getM();
  c_Int32 const n = getN();
  if (m < 1 || n < 1) throw ccInvariantFailure();
  if (!x.isSizeEqual(n, 1) || !y.isSizeEqual(m, 1)) throw ccNMMatrix::sizeErr();
  if (!J.isSizeEqual(m, n)) J = ccNMMatrix(m, n);
  if (!grad.isSizeEqual(n, 1)) grad = ccNMMatrix(n, 1);
  if (!H.isSizeEqual(n, n)) H = ccNMMatrix(n, n);

  JacobianShare prototype{this, &y, diffDelta(), recomputeY_, &recomputeYVals_, {}, x, ccNMMatrix(m, 1),
                          ccNMMatrix(m, 1), &J, 0};

  cc_KernelScope scope;
  c_Int32 T = 1;
  ksys_jobThreadGroup* group = nullptr;
  if (enableMulticore_) {
    group = scope.make(&ksys_jobThreadGroup_construct, &ksys_jobThreadGroup_destroy);
    c_Int32 state[2] = {0, -1};
    cf_CheckKernelStatus(ksys_jobGetCurrentThreadState(group, state));
    T = std::min(state[0], n);
  }

  if (T <= 1) {
    // One share writing straight into J.
    prototype.ranges.push_back({0, n, 1});
    cfThrowExceptionOnFailure(prototype.run());
  } else {
    std::vector<std::vector<ColumnRange>> ranges;
    if (recomputeYVals_.empty()) {
      for (c_Int32 t = 0; t < T; ++t) ranges.push_back({{t, n, T}});
    } else {
      ranges = dealRuns(runsOf(recomputeYVals_), T);
    }
    std::vector<JacobianShare> shares(ranges.size(), prototype);
    std::vector<ccNMMatrix> partials(ranges.size(), ccNMMatrix(m, n, 0.0));
    ksys_jobParams* params = scope.make(&ksys_jobParams_construct, &ksys_jobParams_destroy);
    ksys_jobRequestSet* requests = scope.make(&ksys_jobRequestSet_construct, &ksys_jobRequestSet_destroy);
    ksys_jobResultSet* results = scope.make(&ksys_jobResultSet_construct, &ksys_jobResultSet_destroy);
    for (std::size_t t = 0; t < shares.size(); ++t) {
      shares[t].ranges = std::move(ranges[t]);
      shares[t].J = &partials[t];
      cf_CheckKernelStatus(ksys_jobParams_takeData(params, &shares[t], nullptr));
      cf_CheckKernelStatus(ksys_jobRequestSet_addFuncAndParams(requests, &runShare, params));
    }
    cf_CheckKernelStatus(ksys_jobThreadGroup_dispatchAndWait(group, requests, results));
    for (JacobianShare const& share : shares) cfThrowExceptionOnFailure(share.status);
    // In job order, so the sums come out the same on every run.
    J.reset();
    for (ccNMMatrix const& partial : partials) J += partial;
  }
  scope.finish();

  J.Tmultiply(y, grad);
  J.square(H);
}

ccNMMatrix ccNewtonSolve::startX_() const {
  if (getM() < 1 || getN() < 1) throw ccInvariantFailure();
  return x_;
}

double ccNewtonSolve::minimize() {
  c_Int32 const m = getM();
  c_Int32 const n = getN();
  ccNMMatrix x = startX_();
  ccNMMatrix y(m, 1, 0.0);
  (void)Func(x, y);
  ccNMMatrix J(m, n), grad(n, 1), H(n, n);
  for (c_Int32 i = 0; i < nIter_; ++i) {
    ccAttention::check();
    compJacob(x, y, J, grad, H);
    x -= ccNMMatrix::pseudoSolve(H, grad, condNumber_);
    (void)Func(x, y);
  }
  setX(x);
  return y.fnorm2();
}

// ccLevMarSolve ----------------------------------------------------------------

ccLevMarSolve::ccLevMarSolve() = default;

ccLevMarSolve::ccLevMarSolve(c_Int32 m, c_Int32 n, double minE, double minDeltaE, c_Int32 nIter,
                             c_Int32 maxMLInnerIter, double lambda, double diffDelta, double condNumber,
                             bool enableMulticore, bool recomputeY)
    : ccNewtonSolve(m, n, nIter, diffDelta, condNumber, enableMulticore, recomputeY),
      minDeltaE_(minDeltaE),
      minE_(minE),
      lambda_(lambda),
      maxMLInnerIter_(maxMLInnerIter) {
  if (maxMLInnerIter < 1 || !positive(lambda) || !notNegative(minE) || !notNegative(minDeltaE))
    throw ccInvariantFailure();
}

ccLevMarSolve::~ccLevMarSolve() = default;

void ccLevMarSolve::minDeltaE(double d) {
  if (!notNegative(d)) throw ccInvariantFailure();
  minDeltaE_ = d;
}

void ccLevMarSolve::minE(double e) {
  if (!notNegative(e)) throw ccInvariantFailure();
  minE_ = e;
}

void ccLevMarSolve::lambda(double l) {
  if (!notNegative(l)) throw ccInvariantFailure();
  lambda_ = l;
}

void ccLevMarSolve::maxMLInnerIter(c_Int32 n) {
  if (n < 1) throw ccInvariantFailure();
  maxMLInnerIter_ = n;
}

double ccLevMarSolve::minimize() {
  c_Int32 const m = getM();
  c_Int32 const n = getN();
  ccNMMatrix x = startX_();
  ccNMMatrix r(m, 1, 0.0);
  cfThrowExceptionOnFailure(Func(x, r));
  double e = r.fnorm2();
  double const e0 = minE_ * minE_;
  double const d0 = minDeltaE_ * minDeltaE_;
  double damping = lambda_;
  auto finish = [&](double result) {
    setX(x);
    lambda(damping);
    return result;
  };

  ccNMMatrix J(m, n), grad(n, 1), H(n, n);
  for (c_Int32 round = 0; round < nIter() && e > e0; ++round) {
    ccAttention::check();
    compJacob(x, r, J, grad, H);
    for (c_Int32 inner = 0;;) {
      ccAttention::check();
      ccNMMatrix trial = x;
      H.addDiag(damping);
      double cond = 0;
      ccNMMatrix const delta = ccNMMatrix::solve(H, grad, true, cond, condNumber());
      H.addDiag(-damping);
      trial -= delta;
      cfThrowExceptionOnFailure(Func(trial, r));
      double const enew = r.fnorm2();
      damping = enew > e ? damping * 10 : damping * 0.1;
      if (++inner == maxMLInnerIter_) return finish(enew);
      if (enew > e) continue;
      x = trial;
      double const d = e - enew;
      e = enew;
      if (std::fabs(d) < d0) return finish(e);
      break;
    }
  }
  return finish(e);
}
