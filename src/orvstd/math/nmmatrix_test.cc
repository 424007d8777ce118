// ccNMMatrix: storage and allocation counts, shapes and their errors,
// arithmetic and products, the comparison tolerance, row and column tools,
// printing, and the archive format byte for byte.
#include "orvstd/math/nmmatrix.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <new>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "orvstd/archive/testing/value_archive.h"
#include "orvstd/math/testing/nmmatrix_helpers.h"

// Every allocation of this thread is counted, the library's included (its
// operator new binds to this one), so a test can see how many blocks and
// bytes an operation asked for. Not inlined, so that the compiler does not
// pair a new expression with the free() inside.
namespace {
thread_local std::size_t tAllocations = 0;
thread_local std::size_t tAllocatedBytes = 0;
}  // namespace

[[gnu::noinline]] void* operator new(std::size_t n) {
  ++tAllocations;
  tAllocatedBytes += n;
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
// The no-throw forms too: left to a sanitizer's own, they would hand out
// blocks that the plain delete above frees as malloc's.
[[gnu::noinline]] void* operator new(std::size_t n, std::nothrow_t const&) noexcept {
  ++tAllocations;
  tAllocatedBytes += n;
  return std::malloc(n ? n : 1);
}
[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, std::nothrow_t const&) noexcept { std::free(p); }

namespace {

struct AllocationCount {
  std::size_t blocks = tAllocations;
  std::size_t bytes = tAllocatedBytes;
  std::size_t newBlocks() const { return tAllocations - blocks; }
  std::size_t newBytes() const { return tAllocatedBytes - bytes; }
};

// Storage ---------------------------------------------------------------------------------

TEST(NMMatrixStorage, OneAllocationHoldsRowPointersAndElements) {
  struct Case {
    int rows, cols;
    std::size_t blocks, bytes;
  } const cases[] = {
      {0, 0, 0, 0}, {3, 0, 0, 0}, {0, 5, 0, 0}, {1, 1, 1, 16}, {3, 4, 1, 3 * 8 + 12 * 8}, {7, 1, 1, 7 * 8 + 7 * 8},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.rows << "x" << c.cols);
    AllocationCount const before;
    {
      ccNMMatrix m(c.rows, c.cols, 2.5);
      ccNMMatrix const copy(m);
      ccNMMatrix moved(std::move(m));
      moved = copy;  // same shape: the storage is reused
      std::size_t const blocks = before.newBlocks(), bytes = before.newBytes();
      EXPECT_EQ(blocks, 2 * c.blocks);
      EXPECT_EQ(bytes, 2 * c.bytes);
      EXPECT_EQ(m.rows(), 0);
      EXPECT_EQ(m.cols(), 0);
      EXPECT_EQ(moved.rows(), c.rows);
      EXPECT_EQ(moved.cols(), c.cols);
      EXPECT_TRUE(moved == 2.5);
    }
  }
}

TEST(NMMatrixStorage, OutFormsOfProductsAllocateNothing) {
  ccNMMatrix const a = nmMatrix(3, 2, {1, 2, 3, 4, 5, 6});
  ccNMMatrix const b = nmMatrix(3, 1, {1, -1, 2});
  ccNMMatrix aTb(2, 1), aTa(2, 2);
  AllocationCount const before;
  a.Tmultiply(b, aTb);
  a.square(aTa);
  std::size_t const blocks = before.newBlocks();
  EXPECT_EQ(blocks, 0u);
  EXPECT_TRUE(sameElements(aTb, nmMatrix(2, 1, {8, 10})));
  EXPECT_TRUE(sameElements(aTa, nmMatrix(2, 2, {35, 44, 44, 56})));
}

TEST(NMMatrixStorage, CopiesAreDeepAndAssignmentsSafe) {
  ccNMMatrix a = nmMatrix(2, 2, {1, 2, 3, 4});
  ccNMMatrix b(a);
  b.element(0, 0, 9);
  EXPECT_EQ(a.element(0, 0), 1);

  ccNMMatrix& alias = a;
  a = alias;  // self-assignment keeps the values
  EXPECT_TRUE(sameElements(a, nmMatrix(2, 2, {1, 2, 3, 4})));
  a = std::move(alias);
  EXPECT_TRUE(sameElements(a, nmMatrix(2, 2, {1, 2, 3, 4})));

  ccNMMatrix c(5, 1, 0.0);
  c = a;  // another shape: new storage
  EXPECT_TRUE(sameElements(c, a));
  c = ccNMMatrix();
  EXPECT_TRUE(c.isSizeEqual(0, 0));
  c = b;
  c = ccNMMatrix(0, 3);
  EXPECT_TRUE(c.isSizeEqual(0, 3));
  c = 4.0;  // no elements to fill
  EXPECT_TRUE(c.isSizeEqual(0, 3));
}

TEST(NMMatrixStorage, NegativeOrOverflowingSizes) {
  EXPECT_THROW(ccNMMatrix(-1, 2), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix(2, -1, 0.0), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix::I(-3), ccNMMatrix::sizeErr);
  // 2^62 elements cannot be counted in bytes: refused before allocating.
  AllocationCount const before;
  EXPECT_THROW(ccNMMatrix(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()), std::bad_alloc);
  EXPECT_LT(before.newBytes(), 4096u);
  // No elements, any number of rows: nothing to allocate.
  ccNMMatrix tall(std::numeric_limits<int>::max(), 0);
  EXPECT_EQ(tall.rows(), std::numeric_limits<int>::max());
  EXPECT_EQ(tall.fnorm2(), 0);
}

// Elements and shape ---------------------------------------------------------------------

TEST(NMMatrixShape, ElementAccessIsCheckedBothWays) {
  ccNMMatrix m(2, 3, 0.0);
  m.element(1, 2, 7.5);
  EXPECT_EQ(m.element(1, 2), 7.5);
  EXPECT_EQ(m[1][2], 7.5);
  std::pair<int, int> const bad[] = {{2, 0}, {0, 3}, {-1, 0}, {0, -1}, {2, 3}, {std::numeric_limits<int>::min(), 0}};
  for (auto [i, j] : bad) {
    SCOPED_TRACE(::testing::Message() << i << ", " << j);
    EXPECT_THROW(m.element(i, j), ccNMMatrix::sizeErr);
    EXPECT_THROW(m.element(i, j, 1.0), ccNMMatrix::sizeErr);
  }
  EXPECT_THROW(ccNMMatrix().element(0, 0), ccNMMatrix::sizeErr);
  try {
    m.element(2, 0);
    ADD_FAILURE() << "no error";
  } catch (ccNMMatrix::Errors const& e) {
    EXPECT_EQ(e.errorNumber(), 1);
  }
  EXPECT_EQ(ccNMMatrix::unstableErr().errorNumber(), 2);
}

TEST(NMMatrixShape, ShapePredicatesFillsAndIdentity) {
  ccNMMatrix m(2, 3, 1.5);
  EXPECT_TRUE(m.isSizeEqual(2, 3));
  EXPECT_FALSE(m.isSizeEqual(3, 2));
  EXPECT_TRUE(m.isSizeEqual(ccNMMatrix(2, 3)));
  EXPECT_FALSE(m.isSquare());
  EXPECT_FALSE(m.isSymmetric());
  EXPECT_TRUE(m == 1.5);
  m.identity();
  EXPECT_TRUE(sameElements(m, nmMatrix(2, 3, {1, 0, 0, 0, 1, 0})));
  m.reset();
  EXPECT_TRUE(m == 0.0);
  m = -2.0;
  EXPECT_TRUE(sameElements(m, nmMatrix(2, 3, {-2, -2, -2, -2, -2, -2})));
  EXPECT_TRUE(sameElements(ccNMMatrix::I(3), nmMatrix(3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1})));
  EXPECT_TRUE(ccNMMatrix::I(0).isSizeEqual(0, 0));
  EXPECT_TRUE(ccNMMatrix().isSquare());
  EXPECT_TRUE(ccNMMatrix().isSymmetric());
}

TEST(NMMatrixShape, CopySubAndTheSubBlockConstructor) {
  ccNMMatrix const src = nmMatrix(3, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  ccNMMatrix dst(3, 3, 0.0);
  dst.copySub(src, 1, 2, 0, 1, 2, 2);
  EXPECT_TRUE(sameElements(dst, nmMatrix(3, 3, {0, 7, 8, 0, 11, 12, 0, 0, 0})));
  // The constructor: zeros around the block at (dstRow, dstCol).
  EXPECT_TRUE(sameElements(ccNMMatrix(src, 1, 2, 1, 0, 2, 2), nmMatrix(3, 2, {0, 0, 7, 8, 11, 12})));
  EXPECT_TRUE(sameElements(ccNMMatrix(src, 0, 0, 0, 0, 3, 4), src));
  EXPECT_TRUE(ccNMMatrix(src, 3, 4, 0, 0, 0, 0).isSizeEqual(0, 0));
  // Overlapping blocks of one matrix move as if through a copy.
  ccNMMatrix m = nmMatrix(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  m.copySub(m, 0, 0, 1, 1, 2, 2);
  EXPECT_TRUE(sameElements(m, nmMatrix(3, 3, {1, 2, 3, 4, 1, 2, 7, 4, 5})));
  m = nmMatrix(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  m.copySub(m, 1, 1, 0, 0, 2, 2);
  EXPECT_TRUE(sameElements(m, nmMatrix(3, 3, {5, 6, 3, 8, 9, 6, 7, 8, 9})));

  struct Bad {
    int srcRow, srcCol, dstRow, dstCol, rows, cols;
  } const bad[] = {
      {2, 0, 0, 0, 2, 1},   // leaves the source's rows
      {0, 3, 0, 0, 1, 2},   // leaves the source's columns
      {0, 0, 2, 0, 2, 1},   // leaves the destination's rows
      {0, 0, 0, 2, 1, 2},   // leaves the destination's columns
      {-1, 0, 0, 0, 1, 1},  // negative positions and extents
      {0, 0, 0, -1, 1, 1},
      {0, 0, 0, 0, -1, 1},
      {0, 0, 0, 0, 1, -1},
      {1, 0, 0, 0, std::numeric_limits<int>::max(), 1},  // sums past the int range
  };
  for (Bad const& b : bad) {
    SCOPED_TRACE(::testing::Message() << b.srcRow << " " << b.srcCol << " " << b.dstRow << " " << b.dstCol << " "
                                      << b.rows << " " << b.cols);
    ccNMMatrix d(3, 3, 0.0);
    EXPECT_THROW(d.copySub(src, b.srcRow, b.srcCol, b.dstRow, b.dstCol, b.rows, b.cols), ccNMMatrix::sizeErr);
    EXPECT_TRUE(d == 0.0);
  }
  EXPECT_THROW(ccNMMatrix(src, 2, 0, 0, 0, 2, 1), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix(src, 0, 0, -1, 0, 1, 1), ccNMMatrix::sizeErr);
  EXPECT_THROW(ccNMMatrix(src, 0, 0, std::numeric_limits<int>::max(), 0, 1, 1), ccNMMatrix::sizeErr);
}

// Arithmetic ------------------------------------------------------------------------------

TEST(NMMatrixArithmetic, ElementWiseOperations) {
  ccNMMatrix const a = nmMatrix(2, 3, {1, 2, 3, 4, 5, 6});
  ccNMMatrix const b = nmMatrix(2, 3, {0.5, -1, 2, 8, 0, -6});
  EXPECT_TRUE(sameElements(a + b, nmMatrix(2, 3, {1.5, 1, 5, 12, 5, 0})));
  EXPECT_TRUE(sameElements(a - b, nmMatrix(2, 3, {0.5, 3, 1, -4, 5, 12})));
  EXPECT_TRUE(sameElements(a * 2.0, nmMatrix(2, 3, {2, 4, 6, 8, 10, 12})));
  EXPECT_TRUE(sameElements(a / 4.0, nmMatrix(2, 3, {0.25, 0.5, 0.75, 1, 1.25, 1.5})));
  // Division is by d itself, not by a rounded reciprocal: 0.1/7 and
  // 0.1·(1/7) differ in the last place.
  ASSERT_NE(0.1 / 7.0, 0.1 * (1 / 7.0));
  EXPECT_EQ((nmMatrix(1, 1, {0.1}) / 7.0).element(0, 0), 0.1 / 7.0);
  ccNMMatrix c(a);
  c += b;
  c -= a;
  EXPECT_TRUE(sameElements(c, b));
  c *= -1.0;
  EXPECT_TRUE(sameElements(c, nmMatrix(2, 3, {-0.5, 1, -2, -8, -0.0, 6})));
  c += c;  // itself as operand
  EXPECT_TRUE(sameElements(c, nmMatrix(2, 3, {-1, 2, -4, -16, 0, 12})));
  EXPECT_DOUBLE_EQ(a.fnorm2(), 91.0);
  EXPECT_EQ(ccNMMatrix().fnorm2(), 0.0);
  ccNMMatrix d(2, 3, 1.0);
  d.addDiag(0.5);  // the main diagonal of a non-square matrix
  EXPECT_TRUE(sameElements(d, nmMatrix(2, 3, {1.5, 1, 1, 1, 1.5, 1})));
}

TEST(NMMatrixArithmetic, Products) {
  ccNMMatrix const a = nmMatrix(2, 3, {1, 2, 3, 4, 5, 6});
  ccNMMatrix const b = nmMatrix(3, 2, {7, 8, 9, 10, 11, 12});
  EXPECT_TRUE(sameElements(a * b, nmMatrix(2, 2, {58, 64, 139, 154})));
  EXPECT_TRUE(sameElements(b * a, nmMatrix(3, 3, {39, 54, 69, 49, 68, 87, 59, 82, 105})));
  EXPECT_TRUE(sameElements(a.transpose(), nmMatrix(3, 2, {1, 4, 2, 5, 3, 6})));
  EXPECT_TRUE(sameElements(a.square(), nmMatrix(3, 3, {17, 22, 27, 22, 29, 36, 27, 36, 45})));
  EXPECT_TRUE(sameElements(b.Tmultiply(b), b.square()));
  EXPECT_TRUE(sameElements(b.Tmultiply(nmMatrix(3, 1, {1, 0, -1})), nmMatrix(2, 1, {-4, -4})));
  EXPECT_TRUE(sameElements(a.multiplyT(a), nmMatrix(2, 2, {14, 32, 32, 77})));
  EXPECT_TRUE(sameElements(a.multiplyT(b.transpose()), a * b));
  // Empty inner dimension: zeros of the outer shape.
  EXPECT_TRUE(sameElements(ccNMMatrix(3, 0) * ccNMMatrix(0, 2), ccNMMatrix(3, 2, 0.0)));
  EXPECT_TRUE(sameElements(ccNMMatrix(0, 3).square(), ccNMMatrix(3, 3, 0.0)));
  EXPECT_TRUE(sameElements(ccNMMatrix(0, 2).Tmultiply(ccNMMatrix(0, 4)), ccNMMatrix(2, 4, 0.0)));
  EXPECT_TRUE(sameElements(ccNMMatrix(2, 0).multiplyT(ccNMMatrix(4, 0)), ccNMMatrix(2, 4, 0.0)));
  EXPECT_TRUE(ccNMMatrix(3, 0).transpose().isSizeEqual(0, 3));
  EXPECT_TRUE((ccNMMatrix(0, 3) * ccNMMatrix(3, 2, 1.0)).isSizeEqual(0, 2));
  // The out forms overwrite whatever out held.
  ccNMMatrix out(3, 3, 99.0);
  a.square(out);
  EXPECT_TRUE(sameElements(out, a.square()));
  ccNMMatrix out2(3, 2, 99.0);
  a.Tmultiply(nmMatrix(2, 2, {1, 0, 0, 1}), out2);
  EXPECT_TRUE(sameElements(out2, a.transpose()));
}

TEST(NMMatrixArithmetic, ShapeMismatchesRaiseSizeErr) {
  ccNMMatrix const a(2, 3, 1.0), b(3, 2, 1.0), c(2, 2, 1.0);
  std::vector<std::pair<char const*, std::function<void()>>> const cases{
      {"+", [&] { (void)(a + b); }},
      {"-", [&] { (void)(a - b); }},
      {"+=", [&] { ccNMMatrix x(a); x += c; }},
      {"-=", [&] { ccNMMatrix x(a); x -= c; }},
      {"*", [&] { (void)(a * a); }},
      {"Tmultiply", [&] { (void)a.Tmultiply(b); }},
      {"multiplyT", [&] { (void)a.multiplyT(b); }},
      {"Tmultiply out shape", [&] { ccNMMatrix out(3, 2); a.Tmultiply(a, out); }},
      {"Tmultiply rows", [&] { ccNMMatrix out(3, 2); a.Tmultiply(b, out); }},
      {"square out shape", [&] { ccNMMatrix out(2, 2); a.square(out); }},
  };
  for (auto const& [name, op] : cases) {
    SCOPED_TRACE(name);
    EXPECT_THROW(op(), ccNMMatrix::sizeErr);
  }
}

// Comparison ------------------------------------------------------------------------------

TEST(NMMatrixCompare, MixedToleranceBoundaries) {
  struct Case {
    double a, b;
    bool equal;
  } const cases[] = {
      {0, 0.9e-12, true},       // absolute below |a| + |b| = 1
      {0, 1.1e-12, false},
      {1e-13, 5e-13, true},     // a relative test would refuse this
      {-0.4e-12, 0.4e-12, true},
      {-0.6e-12, 0.6e-12, false},
      {0.25, 0.25 + 0.9e-12, true},
      {0.25, 0.25 + 1.1e-12, false},
      {1e6, 1e6 + 1e-7, true},  // relative above 1: tolerance 2e-6
      {1e6, 1e6 + 1.8e-6, true},
      {1e6, 1e6 + 2.2e-6, false},
      {-1e6, -1e6 - 1.8e-6, true},
      {-3, 3, false},
      {1.0, 1.0 + 1.9e-12, true},  // |a| + |b| just above 2
      {1.0, 1.0 + 2.2e-12, false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.a << " vs " << c.b);
    ccNMMatrix const x(1, 2, c.a), y(1, 2, c.b);
    EXPECT_EQ(x == y, c.equal);
    EXPECT_EQ(x != y, !c.equal);
    EXPECT_EQ(x == c.b, c.equal);
    EXPECT_EQ(x != c.b, !c.equal);
    ccNMMatrix s = nmMatrix(2, 2, {1, c.a, c.b, 1});
    EXPECT_EQ(s.isSymmetric(), c.equal);
  }
  // Different shapes differ; one differing element is enough.
  EXPECT_TRUE(ccNMMatrix(2, 3, 0.0) != ccNMMatrix(3, 2, 0.0));
  EXPECT_FALSE(ccNMMatrix(0, 3) == ccNMMatrix(3, 0));
  EXPECT_TRUE(ccNMMatrix() == ccNMMatrix());
  ccNMMatrix b = nmMatrix(2, 2, {1, 2, 3, 4});
  b.element(1, 1, 4.001);
  EXPECT_FALSE(b == nmMatrix(2, 2, {1, 2, 3, 4}));
}

// Rows and columns -------------------------------------------------------------------------

TEST(NMMatrixRows, RowAndColumnTools) {
  ccNMMatrix const start = nmMatrix(3, 2, {1, 2, 3, 4, 5, 6});
  struct Case {
    char const* name;
    std::function<void(ccNMMatrix&)> op;
    std::vector<double> expected;
  } const cases[] = {
      {"addRows", [](ccNMMatrix& m) { m.addRows(0, 2); }, {6, 8, 3, 4, 5, 6}},
      {"subRows", [](ccNMMatrix& m) { m.subRows(2, 1); }, {1, 2, 3, 4, 2, 2}},
      {"swapRows", [](ccNMMatrix& m) { m.swapRows(0, 2); }, {5, 6, 3, 4, 1, 2}},
      {"addRows self", [](ccNMMatrix& m) { m.addRows(1, 1); }, {1, 2, 6, 8, 5, 6}},
      {"subRows self", [](ccNMMatrix& m) { m.subRows(1, 1); }, {1, 2, 0, 0, 5, 6}},
      {"addColumns", [](ccNMMatrix& m) { m.addColumns(1, 0); }, {1, 3, 3, 7, 5, 11}},
      {"subColumns", [](ccNMMatrix& m) { m.subColumns(0, 1); }, {-1, 2, -1, 4, -1, 6}},
      {"swapColumns", [](ccNMMatrix& m) { m.swapColumns(1, 0); }, {2, 1, 4, 3, 6, 5}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ccNMMatrix m(start);
    c.op(m);
    EXPECT_TRUE(sameElements(m, nmMatrix(3, 2, c.expected)));
  }
  std::vector<std::function<void(ccNMMatrix&)>> const bad{
      [](ccNMMatrix& m) { m.addRows(3, 0); },    [](ccNMMatrix& m) { m.subRows(0, -1); },
      [](ccNMMatrix& m) { m.swapRows(0, 3); },   [](ccNMMatrix& m) { m.addColumns(2, 0); },
      [](ccNMMatrix& m) { m.subColumns(0, 2); }, [](ccNMMatrix& m) { m.swapColumns(-1, 1); },
  };
  for (auto const& op : bad) {
    ccNMMatrix m(start);
    EXPECT_THROW(op(m), ccNMMatrix::sizeErr);
    EXPECT_TRUE(sameElements(m, start));
  }
}

// Output ------------------------------------------------------------------------------------

TEST(NMMatrixPrint, TenWideGeneralFormatRowByRow) {
  ccNMMatrix const m = nmMatrix(2, 3, {1, -2.5, 1e-7, 123456789, 0, 3.25});
  std::string const expected =
      "         1       -2.5      1e-07 \n"
      "1.23457e+08          0       3.25 \n";
  ::testing::internal::CaptureStdout();
  m.print();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), expected);

  std::string const path = ::testing::TempDir() + "nmmatrix_print.txt";
  std::remove(path.c_str());
  m.print(path.c_str());
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_EQ(text.str(), expected);
  std::remove(path.c_str());

  // An unopenable path: nothing, and no error.
  std::string const noDir = ::testing::TempDir() + "no_such_dir_nmmatrix/m.txt";
  EXPECT_NO_THROW(m.print(noDir.c_str()));
  EXPECT_FALSE(std::ifstream(noDir).good());
  EXPECT_NO_THROW(m.print(static_cast<char const*>(nullptr)));
}

// Archive ------------------------------------------------------------------------------------

ValueBytes lsbInt(c_Int32 v) {
  auto const u = static_cast<c_UInt32>(v);
  return {static_cast<unsigned char>(u), static_cast<unsigned char>(u >> 8), static_cast<unsigned char>(u >> 16),
          static_cast<unsigned char>(u >> 24)};
}

ValueBytes cat(std::vector<ValueBytes> const& parts) {
  ValueBytes out;
  for (auto const& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

TEST(NMMatrixArchive, BytesInBothOrders) {
  ccNMMatrix const m = nmMatrix(2, 3, {1, -2, 0.5, 0, 3, 1e300});
  ValueBytes const msb{
      0x00,                                            // version
      0x00, 0x00, 0x00, 0x02,                          // rows
      0x00, 0x00, 0x00, 0x03,                          // cols
      0x3F, 0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 1
      0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // -2
      0x3F, 0xE0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 0.5
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 0
      0x40, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 3
      0x7E, 0x37, 0xE4, 0x3C, 0x88, 0x00, 0x75, 0x9C,  // 1e300
  };
  ValueBytes lsb{0x00, 0x02, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00};
  for (std::size_t d = 9; d < msb.size(); d += 8)
    for (int k = 7; k >= 0; --k) lsb.push_back(msb[d + static_cast<std::size_t>(k)]);
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, m), msb);
  EXPECT_EQ(valueBytes(ccArchive::eLsbFirst, m), lsb);
  EXPECT_TRUE(sameElements(loadValue<ccNMMatrix>(ccArchive::eMsbFirst, msb), m));
  EXPECT_TRUE(sameElements(loadValue<ccNMMatrix>(ccArchive::eLsbFirst, lsb), m));
  EXPECT_EQ(valueBytes(ccArchive::eLsbFirst, ccNMMatrix()), (ValueBytes{0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(NMMatrixArchive, RoundTripsIncludingEmptyShapes) {
  ccNMMatrix const shapes[] = {nmMatrix(2, 2, {1, 2, 3, 4}), ccNMMatrix(), ccNMMatrix(0, 4), ccNMMatrix(5, 0),
                               ccNMMatrix(1, 7, -0.125)};
  for (ccNMMatrix const& m : shapes)
    for (ccNMMatrix const& back : roundTrips(m)) EXPECT_TRUE(sameElements(back, m));
  // Loading replaces what the target held, shape and all.
  ccNMMatrix target(4, 4, 9.0);
  loadValueInto(ccArchive::eLsbFirst, valueBytes(ccArchive::eLsbFirst, shapes[0]), target);
  EXPECT_TRUE(sameElements(target, shapes[0]));
  loadValueInto(ccArchive::eLsbFirst, valueBytes(ccArchive::eLsbFirst, ccNMMatrix(3, 0)), target);
  EXPECT_TRUE(target.isSizeEqual(3, 0));
}

TEST(NMMatrixArchive, UnknownVersionNamesItsSource) {
  ValueBytes b = valueBytes(ccArchive::eLsbFirst, nmMatrix(1, 1, {2}));
  for (unsigned char v : {1, 0x80, 0xFF}) {
    b[0] = v;
    try {
      loadValue<ccNMMatrix>(ccArchive::eLsbFirst, b);
      ADD_FAILURE() << "version " << int{v} << " loaded";
    } catch (ccArchive::UnknownVersion const& e) {
      EXPECT_EQ(e.file(), "std/cfit/clin");
    }
  }
}

TEST(NMMatrixArchive, HostileSizesRaiseTypedErrorsWithoutHugeAllocations) {
  ValueBytes const someDoubles(64, 0x11);
  struct Case {
    char const* name;
    c_Int32 rows, cols;
    bool badContent;  // else the stream ends first
  } const cases[] = {
      {"negative rows", -1, 2, true},
      {"negative cols", 2, std::numeric_limits<c_Int32>::min(), true},
      {"both negative", -5, -5, true},
      {"2^62 elements", std::numeric_limits<c_Int32>::max(), std::numeric_limits<c_Int32>::max(), true},
      {"2^30 elements", 1 << 15, 1 << 15, false},
      {"one element more than given", 3, 3, false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ValueBytes const body = cat({{0}, lsbInt(c.rows), lsbInt(c.cols), someDoubles});
    ccNMMatrix target = nmMatrix(1, 2, {4, 5});
    AllocationCount const before;
    try {
      loadValueInto(ccArchive::eLsbFirst, body, target);
      ADD_FAILURE() << "loaded";
    } catch (ccArchive::BadContent const& e) {
      EXPECT_TRUE(c.badContent);
      EXPECT_EQ(e.file(), "std/cfit/clin");
    } catch (ccArchive::Eof const&) {
      EXPECT_FALSE(c.badContent);
    }
    std::size_t const bytes = before.newBytes();
    EXPECT_LT(bytes, std::size_t{1} << 20);
    // A failed load leaves the target as it was.
    EXPECT_TRUE(sameElements(target, nmMatrix(1, 2, {4, 5})));
  }
  // No elements at all is a valid matrix whatever the row count.
  ValueBytes const wide = cat({{0}, lsbInt(std::numeric_limits<c_Int32>::max()), lsbInt(0)});
  AllocationCount const before;
  ccNMMatrix const m = loadValue<ccNMMatrix>(ccArchive::eLsbFirst, wide);
  EXPECT_LT(before.newBytes(), std::size_t{1} << 20);
  EXPECT_TRUE(m.isSizeEqual(std::numeric_limits<c_Int32>::max(), 0));
}

}  // namespace
