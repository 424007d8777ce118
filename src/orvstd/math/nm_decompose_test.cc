// The dense decompositions against numpy/scipy (testdata/gen_nm_decompose.py
// and its output testdata/nm_decompose.inc): values to within the backward
// error the algorithms guarantee, reconstruction, orthonormal factors,
// eigen-residuals; exact power-of-two scaling, refused non-finite input,
// the lower triangle alone read, and no state shared between threads.
#include "orvstd/math/internal/nm_decompose.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

struct SvdCase {
  char const* name;
  int rows, cols;
  unsigned seed;        // hashed entries when `a` is null
  double const* a;      // row by row
  double const* values; // descending
};

struct SymCase {
  char const* name;
  int n;
  unsigned seed;
  double const* a;
  double const* values;  // ascending
};

struct GeneralCase {
  char const* name;
  int n;
  double const* a;
  double const* re;
  double const* im;
  double const* tol;  // each eigenvalue's own, from its condition
};

#include "testdata/nm_decompose.inc"

// The backward error of Householder and rotation sweeps is a modest
// multiple of size * eps * |A|; by Weyl's theorem singular values and
// symmetric eigenvalues move no further than that, and the factors
// reconstruct A to the same. The last term is the spacing of subnormals,
// to which a result below DBL_MIN is rounded.
constexpr double kBackward = 16;

double backwardBound(int size, double norm) {
  return kBackward * size * DBL_EPSILON * norm + size * std::numeric_limits<double>::denorm_min();
}

// The entries of gen_nm_decompose.py's hashed(), bit for bit.
double hashed(int cols, int i, int j, unsigned seed) {
  std::uint64_t const k =
      (static_cast<std::uint64_t>(i) * cols + j + seed) * 2654435761u % (std::uint64_t{1} << 32);
  return static_cast<double>(k) / 4294967296.0 - 0.5;
}

// A dense matrix with the row pointers the routines take.
class RowMatrix {
 public:
  RowMatrix(int rows, int cols, double fill = 0)
      : rows_(rows), cols_(cols), data_(static_cast<std::size_t>(rows) * cols, fill), ptr_(rows) {
    for (int i = 0; i < rows; ++i) ptr_[i] = data_.data() + static_cast<std::size_t>(i) * cols;
  }
  RowMatrix(RowMatrix const& o) : RowMatrix(o.rows_, o.cols_) { data_ = o.data_; }
  RowMatrix& operator=(RowMatrix const&) = delete;

  double* const* rows() { return ptr_.data(); }
  double& operator()(int i, int j) { return ptr_[i][j]; }
  double operator()(int i, int j) const { return ptr_[i][j]; }
  int rowCount() const { return rows_; }
  int colCount() const { return cols_; }
  std::vector<double> const& data() const { return data_; }

 private:
  int rows_, cols_;
  std::vector<double> data_;
  std::vector<double*> ptr_;
};

RowMatrix matrixOf(int rows, int cols, unsigned seed, double const* a) {
  RowMatrix m(rows, cols);
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < cols; ++j) m(i, j) = a ? a[i * cols + j] : hashed(cols, i, j, seed);
  return m;
}

RowMatrix symmetricOf(SymCase const& c) {
  RowMatrix m = matrixOf(c.n, c.n, c.seed, c.a);
  if (!c.a) {  // hashed_symmetric(): the lower triangle mirrored
    for (int i = 0; i < c.n; ++i)
      for (int j = i + 1; j < c.n; ++j) m(i, j) = m(j, i);
  }
  return m;
}

// Greatest |QᵀQ - I| over the columns of q.
double orthonormalityError(RowMatrix const& q) {
  double worst = 0;
  for (int i = 0; i < q.colCount(); ++i)
    for (int j = 0; j < q.colCount(); ++j) {
      double s = 0;
      for (int k = 0; k < q.rowCount(); ++k) s += q(k, i) * q(k, j);
      worst = std::max(worst, std::fabs(s - (i == j ? 1 : 0)));
    }
  return worst;
}

// ---- Singular values ------------------------------------------------------

struct SvdResult {
  bool ok = false;
  RowMatrix u, v;
  std::vector<double> w;
};

SvdResult svdOf(RowMatrix const& a) {
  int const m = a.rowCount(), n = a.colCount();
  SvdResult r{false, a, RowMatrix(n, n, -7), std::vector<double>(n, -7)};
  std::vector<double> work(n, -7);
  r.ok = cf_SvdDecompose(r.u.rows(), m, n, r.w.data(), r.v.rows(), work.data());
  return r;
}

class SvdAgainstNumpy : public testing::TestWithParam<SvdCase> {};

TEST_P(SvdAgainstNumpy, ValuesFactorsAndReconstruction) {
  SvdCase const& c = GetParam();
  int const m = c.rows, n = c.cols;
  RowMatrix const a = matrixOf(m, n, c.seed, c.a);
  SvdResult const r = svdOf(a);
  ASSERT_TRUE(r.ok);

  double const tol = backwardBound(m, c.values[0]);
  std::vector<double> sorted = r.w;
  for (double s : sorted) EXPECT_GE(s, 0.0);
  std::sort(sorted.rbegin(), sorted.rend());
  for (int i = 0; i < n; ++i) EXPECT_NEAR(sorted[i], c.values[i], tol) << "value " << i;

  double worst = 0;
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) {
      double s = 0;
      for (int k = 0; k < n; ++k) s += r.u(i, k) * r.w[k] * r.v(j, k);
      worst = std::max(worst, std::fabs(s - a(i, j)));
    }
  EXPECT_LE(worst, tol) << "A - U·W·Vᵀ";
  EXPECT_LE(orthonormalityError(r.u), backwardBound(m, 1)) << "UᵀU - I";
  EXPECT_LE(orthonormalityError(r.v), backwardBound(n, 1)) << "VᵀV - I";
}

INSTANTIATE_TEST_SUITE_P(Cases, SvdAgainstNumpy, testing::ValuesIn(kSvdCases),
                         [](auto const& p) { return std::string(p.param.name); });

TEST(SvdDecompose, EmptyMatrixIsDoneAtOnce) {
  double* none = nullptr;
  EXPECT_TRUE(cf_SvdDecompose(&none, 3, 0, nullptr, &none, nullptr));
}

TEST(SvdDecomposeDeathTest, MoreColumnsThanRowsAsserts) {
  RowMatrix a(2, 3, 1), v(3, 3);
  std::vector<double> w(3), work(3);
  EXPECT_DEATH(cf_SvdDecompose(a.rows(), 2, 3, w.data(), v.rows(), work.data()), "");
}

// ---- Symmetric eigenvalues ------------------------------------------------

class SymAgainstNumpy : public testing::TestWithParam<SymCase> {};

TEST_P(SymAgainstNumpy, ValuesVectorsAndResiduals) {
  SymCase const& c = GetParam();
  int const n = c.n;
  RowMatrix const a = symmetricOf(c);
  double const norm = std::max(std::fabs(c.values[0]), std::fabs(c.values[n - 1]));
  double const tol = backwardBound(n, norm);

  // Values alone, with the upper triangle spoilt: only the lower one counts.
  RowMatrix lower = a;
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j) lower(i, j) = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> d(n, -7), work(n, -7);
  ASSERT_TRUE(cf_SymEigen(lower.rows(), n, d.data(), false, work.data()));
  std::vector<double> sorted = d;
  std::sort(sorted.begin(), sorted.end());
  for (int i = 0; i < n; ++i) EXPECT_NEAR(sorted[i], c.values[i], tol) << "value " << i;

  // With vectors: the same values, bit for bit (vectors do not feed back).
  RowMatrix x = a;
  std::vector<double> dv(n, -7);
  ASSERT_TRUE(cf_SymEigen(x.rows(), n, dv.data(), true, work.data()));
  EXPECT_EQ(dv, d);
  EXPECT_LE(orthonormalityError(x), backwardBound(n, 1));
  double worst = 0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      double s = -dv[j] * x(i, j);
      for (int k = 0; k < n; ++k) s += a(i, k) * x(k, j);
      worst = std::max(worst, std::fabs(s));
    }
  EXPECT_LE(worst, tol) << "A·v - λ·v";
}

INSTANTIATE_TEST_SUITE_P(Cases, SymAgainstNumpy, testing::ValuesIn(kSymCases),
                         [](auto const& p) { return std::string(p.param.name); });

// ---- General eigenvalues --------------------------------------------------

class GeneralAgainstNumpy : public testing::TestWithParam<GeneralCase> {};

TEST_P(GeneralAgainstNumpy, ValuesWithinTheirConditionAndPairsInOrder) {
  GeneralCase const& c = GetParam();
  int const n = c.n;
  RowMatrix a = matrixOf(n, n, 0, c.a);
  std::vector<double> re(n, -7), im(n, -7);
  ASSERT_TRUE(cf_GeneralEigen(a.rows(), n, re.data(), im.data()));

  for (int i = 0; i < n; ++i) {
    if (im[i] == 0) continue;
    ASSERT_LT(i + 1, n);
    EXPECT_GT(im[i], 0) << "a pair starts with its positive imaginary part";
    EXPECT_EQ(im[i + 1], -im[i]);
    EXPECT_EQ(re[i + 1], re[i]);
    ++i;
  }
  // Each reference eigenvalue takes the nearest computed one not yet taken.
  std::vector<bool> taken(n, false);
  for (int i = 0; i < n; ++i) {
    int best = -1;
    double bestDistance = 0;
    for (int j = 0; j < n; ++j) {
      double const dist = std::hypot(re[j] - c.re[i], im[j] - c.im[i]);
      if (!taken[j] && (best < 0 || dist < bestDistance)) {
        best = j;
        bestDistance = dist;
      }
    }
    taken[best] = true;
    EXPECT_LE(bestDistance, c.tol[i]) << "eigenvalue " << c.re[i] << " + " << c.im[i] << "i";
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, GeneralAgainstNumpy, testing::ValuesIn(kGeneralCases),
                         [](auto const& p) { return std::string(p.param.name); });

// ---- All three ------------------------------------------------------------

// What each routine returns, flattened, for bitwise comparison.
std::vector<double> svdOutputs(RowMatrix const& a) {
  SvdResult const r = svdOf(a);
  std::vector<double> out = r.u.data();
  out.insert(out.end(), r.w.begin(), r.w.end());
  out.insert(out.end(), r.v.data().begin(), r.v.data().end());
  out.push_back(r.ok);
  return out;
}

std::vector<double> symOutputs(RowMatrix const& a) {
  RowMatrix x = a;
  int const n = a.rowCount();
  std::vector<double> d(n), work(n);
  bool const ok = cf_SymEigen(x.rows(), n, d.data(), true, work.data());
  std::vector<double> out = x.data();
  out.insert(out.end(), d.begin(), d.end());
  out.push_back(ok);
  return out;
}

std::vector<double> generalOutputs(RowMatrix const& a) {
  RowMatrix x = a;
  int const n = a.rowCount();
  std::vector<double> re(n), im(n);
  bool const ok = cf_GeneralEigen(x.rows(), n, re.data(), im.data());
  std::vector<double> out = re;
  out.insert(out.end(), im.begin(), im.end());
  out.push_back(ok);
  return out;
}

struct Routine {
  char const* name;
  std::vector<double> (*run)(RowMatrix const&);
  bool afterFactor;  // the values follow an n-by-n factor in the outputs
  bool complex;      // real parts, then imaginary parts

  // Where the values of an n-by-n matrix lie in the outputs, and how many.
  int valuesAt(int n) const { return afterFactor ? n * n : 0; }
  int valueCount(int n) const { return complex ? 2 * n : n; }
};

Routine const kRoutines[] = {
    {"svd", svdOutputs, true, false}, {"symmetric", symOutputs, true, false}, {"general", generalOutputs, false, true}};

// A 6x6 matrix, symmetric so that every routine takes it, whose greatest
// entry lies in [0.5, 1).
RowMatrix scaleTestMatrix() {
  RowMatrix a(6, 6);
  for (int i = 0; i < 6; ++i)
    for (int j = 0; j <= i; ++j) a(i, j) = a(j, i) = hashed(6, i, j, 3) + (i == j ? 0.4 : 0);
  return a;
}

// A matrix far from 1 is scaled by a power of two, which is exact: its
// values are those of the matrix near 1, scaled back, bit for bit, and its
// factors are the same.
TEST(Decompositions, PowerOfTwoScalingIsExact) {
  RowMatrix const a = scaleTestMatrix();
  for (Routine const& r : kRoutines) {
    std::vector<double> const base = r.run(a);
    for (int e : {300, -300, 900, -900}) {
      SCOPED_TRACE(std::string(r.name) + " 2^" + std::to_string(e));
      RowMatrix b = a;
      for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j) b(i, j) = std::ldexp(a(i, j), e);
      std::vector<double> expected = base;
      for (int k = r.valuesAt(6); k < r.valuesAt(6) + r.valueCount(6); ++k) expected[k] = std::ldexp(base[k], e);
      EXPECT_EQ(r.run(b), expected);
    }
  }
}

// NaN or an infinity anywhere the routine reads makes it refuse at once.
TEST(Decompositions, NonFiniteEntriesAreRefused) {
  double const bad[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                        -std::numeric_limits<double>::infinity()};
  for (Routine const& r : kRoutines) {
    for (double x : bad) {
      for (auto [i, j] : {std::pair{0, 0}, std::pair{5, 2}, std::pair{4, 4}}) {
        SCOPED_TRACE(std::string(r.name) + " " + std::to_string(x) + " at " + std::to_string(i) + "," +
                     std::to_string(j));
        RowMatrix a = scaleTestMatrix();
        a(i, j) = x;
        EXPECT_EQ(r.run(a).back(), 0.0);
      }
    }
  }
}

// A block of small values beside a 1 is not scaled as a whole: its squares
// underflow, so its norms, rotations and shifts must be formed with scaling
// of their own. Near 1e-200 the block keeps its digits: its values, those
// of t·[2 1 0; 1 2 1; 0 1 2], come out to relative accuracy. Subnormal
// values cannot keep them; there they come out to within the spacing near
// DBL_MIN, and without overflow.
TEST(Decompositions, SmallBlockBesideUnit) {
  double const root2 = std::sqrt(2.0);
  for (double t : {1e-200, 1e-310}) {
    RowMatrix a(4, 4);
    a(0, 0) = 1;
    for (int i = 1; i < 4; ++i) {
      a(i, i) = 2 * t;
      if (i < 3) a(i, i + 1) = a(i + 1, i) = t;
    }
    std::vector<double> const expected{(2 - root2) * t, 2 * t, (2 + root2) * t, 1};
    for (Routine const& r : kRoutines) {
      SCOPED_TRACE(std::string(r.name) + " at " + std::to_string(std::log10(t)));
      std::vector<double> const out = r.run(a);
      ASSERT_EQ(out.back(), 1.0);
      std::vector<double> values(out.begin() + r.valuesAt(4), out.begin() + r.valuesAt(4) + 4);
      std::sort(values.begin(), values.end());
      for (int i = 0; i < 4; ++i) {
        double const tol = t < DBL_MIN ? 4 * DBL_MIN : 32 * DBL_EPSILON * expected[i];
        EXPECT_NEAR(values[i], expected[i], tol) << i;
      }
      if (r.complex) {
        for (int i = 4; i < 8; ++i) EXPECT_EQ(out[i], 0);
      }
    }
  }
}

TEST(Decompositions, OneByOne) {
  RowMatrix a(1, 1, -2.5);
  EXPECT_EQ(svdOutputs(a), (std::vector<double>{1, 2.5, -1, 1}));
  EXPECT_EQ(symOutputs(a), (std::vector<double>{1, -2.5, 1}));
  EXPECT_EQ(generalOutputs(a), (std::vector<double>{-2.5, 0, 1}));
}

// The routines keep no state: many threads at once get what one gets alone.
TEST(Decompositions, ThreadsShareNoState) {
  RowMatrix const tall = matrixOf(40, 12, 9, nullptr);
  RowMatrix square = matrixOf(20, 20, 4, nullptr);
  for (int i = 0; i < 20; ++i)
    for (int j = i + 1; j < 20; ++j) square(i, j) = square(j, i);
  std::vector<double> const svd = svdOutputs(tall), sym = symOutputs(square), general = generalOutputs(square);
  std::vector<int> mismatches(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 25; ++round) {
        mismatches[t] += svdOutputs(tall) != svd;
        mismatches[t] += symOutputs(square) != sym;
        mismatches[t] += generalOutputs(square) != general;
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
