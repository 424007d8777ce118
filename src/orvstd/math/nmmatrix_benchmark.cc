// ccNMMatrix and the decompositions under it beside Eigen on the same data:
// LU (the factorisation alone through determinant(), and inverse()) beside
// PartialPivLU; singular values with U and V beside JacobiSVD with thin U
// and V; symmetric eigenvalues, with and without vectors, beside
// SelfAdjointEigenSolver; general eigenvalues beside EigenSolver. The
// decompositions are timed through their row-pointer routines, with the
// copy into a work matrix and the allocation of the outputs that ccNMMatrix
// makes around them. Eigen is used here only.
#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <vector>

#include "orvstd/math/internal/nm_decompose.h"
#include "orvstd/math/nmmatrix.h"
#include "orvstd/math/testing/hashed_entries.h"

namespace {

// The same entries on both sides; symmetric ones mirror the lower triangle.
ccNMMatrix orvMatrix(int rows, int cols, bool symmetric = false) {
  ccNMMatrix a(rows, cols);
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < cols; ++j)
      a[i][j] = symmetric && j > i ? cfHashedEntry(cols, j, i, 5) : cfHashedEntry(cols, i, j, 5);
  return a;
}

Eigen::MatrixXd eigenMatrix(ccNMMatrix const& a) {
  Eigen::MatrixXd e(a.rows(), a.cols());
  for (int i = 0; i < a.rows(); ++i)
    for (int j = 0; j < a.cols(); ++j) e(i, j) = a[i][j];
  return e;
}

std::vector<double*> rowPointers(ccNMMatrix& m) {
  std::vector<double*> rows(static_cast<std::size_t>(m.rows()));
  for (int i = 0; i < m.rows(); ++i) rows[static_cast<std::size_t>(i)] = m[i];
  return rows;
}

void BM_LuFactor_Orv(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  ccNMMatrix const a = orvMatrix(n, n);
  for (auto _ : state) benchmark::DoNotOptimize(a.determinant());
}
BENCHMARK(BM_LuFactor_Orv)->Arg(6)->Arg(21);

void BM_LuFactor_Eigen(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  Eigen::MatrixXd const a = eigenMatrix(orvMatrix(n, n));
  for (auto _ : state) {
    Eigen::PartialPivLU<Eigen::MatrixXd> lu(a);
    benchmark::DoNotOptimize(lu.determinant());
  }
}
BENCHMARK(BM_LuFactor_Eigen)->Arg(6)->Arg(21);

void BM_LuInverse_Orv(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  ccNMMatrix const a = orvMatrix(n, n);
  for (auto _ : state) {
    ccNMMatrix inv = a.inverse();
    benchmark::DoNotOptimize(inv[0]);
  }
}
BENCHMARK(BM_LuInverse_Orv)->Arg(6)->Arg(21);

void BM_LuInverse_Eigen(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  Eigen::MatrixXd const a = eigenMatrix(orvMatrix(n, n));
  for (auto _ : state) {
    Eigen::MatrixXd inv = Eigen::PartialPivLU<Eigen::MatrixXd>(a).inverse();
    benchmark::DoNotOptimize(inv.data());
  }
}
BENCHMARK(BM_LuInverse_Eigen)->Arg(6)->Arg(21);

void BM_Svd_Orv(benchmark::State& state) {
  int const m = static_cast<int>(state.range(0)), n = static_cast<int>(state.range(1));
  ccNMMatrix const a = orvMatrix(m, n);
  for (auto _ : state) {
    ccNMMatrix u(a), v(n, n);
    std::vector<double> w(static_cast<std::size_t>(n)), work(static_cast<std::size_t>(n));
    bool const ok = cf_SvdDecompose(rowPointers(u).data(), m, n, w.data(), rowPointers(v).data(), work.data());
    benchmark::DoNotOptimize(ok);
    benchmark::DoNotOptimize(w.data());
  }
}
BENCHMARK(BM_Svd_Orv)->Args({6, 6})->Args({21, 21})->Args({200, 50});

void BM_Svd_EigenJacobi(benchmark::State& state) {
  int const m = static_cast<int>(state.range(0)), n = static_cast<int>(state.range(1));
  Eigen::MatrixXd const a = eigenMatrix(orvMatrix(m, n));
  for (auto _ : state) {
    Eigen::JacobiSVD<Eigen::MatrixXd> svd(a, Eigen::ComputeThinU | Eigen::ComputeThinV);
    benchmark::DoNotOptimize(svd.singularValues().data());
  }
}
BENCHMARK(BM_Svd_EigenJacobi)->Args({6, 6})->Args({21, 21})->Args({200, 50});

// Argument: n, and 1 for eigenvectors as well.
void BM_SymEigen_Orv(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  bool const vectors = state.range(1) != 0;
  ccNMMatrix const a = orvMatrix(n, n, true);
  for (auto _ : state) {
    ccNMMatrix x(a);
    std::vector<double> d(static_cast<std::size_t>(n)), work(static_cast<std::size_t>(n));
    bool const ok = cf_SymEigen(rowPointers(x).data(), n, d.data(), vectors, work.data());
    benchmark::DoNotOptimize(ok);
    benchmark::DoNotOptimize(d.data());
  }
}
BENCHMARK(BM_SymEigen_Orv)->Args({100, 0})->Args({100, 1});

void BM_SymEigen_Eigen(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  bool const vectors = state.range(1) != 0;
  Eigen::MatrixXd const a = eigenMatrix(orvMatrix(n, n, true));
  for (auto _ : state) {
    Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> es(a, vectors ? Eigen::ComputeEigenvectors : Eigen::EigenvaluesOnly);
    benchmark::DoNotOptimize(es.eigenvalues().data());
  }
}
BENCHMARK(BM_SymEigen_Eigen)->Args({100, 0})->Args({100, 1});

void BM_GeneralEigen_Orv(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  ccNMMatrix const a = orvMatrix(n, n);
  for (auto _ : state) {
    ccNMMatrix x(a);
    std::vector<double> re(static_cast<std::size_t>(n)), im(static_cast<std::size_t>(n));
    bool const ok = cf_GeneralEigen(rowPointers(x).data(), n, re.data(), im.data());
    benchmark::DoNotOptimize(ok);
    benchmark::DoNotOptimize(re.data());
  }
}
BENCHMARK(BM_GeneralEigen_Orv)->Arg(21)->Arg(100);

void BM_GeneralEigen_Eigen(benchmark::State& state) {
  int const n = static_cast<int>(state.range(0));
  Eigen::MatrixXd const a = eigenMatrix(orvMatrix(n, n));
  for (auto _ : state) {
    Eigen::EigenSolver<Eigen::MatrixXd> es(a, false);
    benchmark::DoNotOptimize(es.eigenvalues().data());
  }
}
BENCHMARK(BM_GeneralEigen_Eigen)->Arg(21)->Arg(100);

}  // namespace
