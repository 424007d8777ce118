// Fixed matrices: the stored determinant, decompositions of matrices built
// from known scale, aspect, shear and rotation (singular ones included),
// inverses, the 3x3 adjugate, and the archive format.
#include "orvstd/math/matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>

#include "orvstd/archive/testing/value_archive.h"
#include "orvstd/kernel/kmath_types.h"

namespace {

using M2 = ccMatrix<2>;
using M3 = ccMatrix<3>;
using V2 = ccVector<2>;
using V3 = ccVector<3>;

constexpr double kPi = ccRadian::kTurn / 2;

TEST(Matrix2, DeterminantIsStoredAndKeptUpToDate) {
  M2 const id;
  EXPECT_TRUE(id.isIdentity());
  EXPECT_EQ(id.determinant(), 1);
  M2 m(1, 2, 3, 4);
  EXPECT_EQ(m.determinant(), -2);
  m.element(1, 1, 6);
  EXPECT_EQ(m.determinant(), 0);
  EXPECT_TRUE(m.isSingular());
  EXPECT_EQ(m.element(1, 0), 3);
  // Exact test: tiny is regular.
  M2 const tiny(1e-150, 0, 0, 1e-150);
  EXPECT_EQ(tiny.determinant(), 1e-300);
  EXPECT_FALSE(tiny.isSingular());
  EXPECT_EQ(tiny.inverse() * V2(1e-150, 0), V2(1, 0));
  EXPECT_EQ(m.transpose(), M2(1, 3, 2, 6));
}

TEST(Matrix2DeathTest, IndexOutOfRangeAsserts) {
  M2 m;
  M3 n;
  EXPECT_DEATH((void)m.element(2, 0), "");
  EXPECT_DEATH(m.element(0, -1, 1.0), "");
  EXPECT_DEATH((void)n.element(0, 3), "");
}

TEST(Matrix2, Arithmetic) {
  M2 const a(1, 2, 3, 4), b(0, 1, -1, 2);
  EXPECT_EQ(a + b, M2(1, 3, 2, 6));
  EXPECT_EQ(a - b, M2(1, 1, 4, 2));
  EXPECT_EQ(-a, M2(-1, -2, -3, -4));
  EXPECT_EQ(a * 2, M2(2, 4, 6, 8));
  EXPECT_EQ(a / 4, M2(0.25, 0.5, 0.75, 1));
  EXPECT_EQ(a * b, M2(-2, 5, -4, 11));
  EXPECT_EQ((a * b).determinant(), a.determinant() * b.determinant());
  EXPECT_EQ(a * V2(1, -1), V2(-1, -1));
  EXPECT_TRUE(cfRealEq(a / b, a * b.inverse(), 0));
  EXPECT_TRUE(cfRealEq((a / b) * b, a, 1e-15));
  M2 c = a;
  c += b;
  c -= b;
  c *= b;
  c /= b;
  c *= 3.0;
  c /= 3.0;
  EXPECT_TRUE(cfRealEq(c, a, 1e-14));
  V2 row(1, 1);
  row *= a;  // the row vector: (1 + 3, 2 + 4)
  EXPECT_EQ(row, V2(4, 6));
  EXPECT_TRUE(std::isinf((a / 0.0).element(0, 0)));  // no test of the divisor
  EXPECT_NE(a, b);
}

TEST(Matrix2, InverseByTheStoredDeterminant) {
  M2 const a(4, 7, 2, 6);
  EXPECT_EQ(a.inverse(), M2(6 * 0.1, -7 * 0.1, -2 * 0.1, 4 * 0.1));
  EXPECT_TRUE(cfRealEq(a * a.inverse(), M2(), 1e-15));
  EXPECT_THROW(M2(1, 2, 2, 4).inverse(), ccMathError::Singular);
  EXPECT_THROW((void)(a / M2(0, 0, 0, 0)), ccMathError::Singular);
}

// Matrices built from known parts; the decomposition gives them back.
struct Parts {
  double scale, aspect, shearDeg, rotDeg;
};
void PrintTo(Parts const& p, std::ostream* os) {
  *os << "scale " << p.scale << " aspect " << p.aspect << " shear " << p.shearDeg << " rotation " << p.rotDeg;
}

class Matrix2Decomposition : public ::testing::TestWithParam<Parts> {};

TEST_P(Matrix2Decomposition, RecoversScaleAspectShearRotation) {
  Parts const p = GetParam();
  ccRadian const shear = ccDegree(p.shearDeg), rot = ccDegree(p.rotDeg);
  M2 const m(p.scale, p.aspect, shear, rot);
  double const tol = 1e-12;
  // Relative to the size of each value.
  auto near = [tol](double got, double want) { return std::fabs(got - want) <= tol * std::fmax(1, std::fabs(want)); };
  EXPECT_TRUE(near(m.scale(), p.scale));
  EXPECT_EQ(m.scale(), m.xScale());
  EXPECT_TRUE(near(m.aspect(), p.aspect));
  EXPECT_TRUE(cfRealEq(m.shear(), shear, ccRadian(tol)));
  EXPECT_TRUE(cfRealEq(m.rotation(), rot, ccRadian(tol)));
  EXPECT_EQ(m.rotation(), m.xRot());
  // The y column leans by the shear: yRot = rotation + shear, and its length
  // is |aspect|·scale / cos shear; a reflection turns it round.
  ccRadian const flip(p.aspect < 0 ? kPi : 0);
  EXPECT_TRUE(cfRealEq(m.yRot(), rot + shear + flip, ccRadian(tol)));
  EXPECT_TRUE(near(m.yScale(), std::fabs(p.aspect) * p.scale / std::cos(shear.plain())));
  EXPECT_TRUE(near(m.determinant(), p.aspect * p.scale * p.scale));
  // The same matrix from its rotations and scales.
  M2 const again(m.xRot(), m.yRot(), m.xScale(), m.yScale());
  if (p.aspect > 0) {
    EXPECT_TRUE(cfRealEq(again, m, 1e-12));
  }
}

INSTANTIATE_TEST_SUITE_P(KnownParts, Matrix2Decomposition,
                         ::testing::Values(Parts{1, 1, 0, 0}, Parts{2, 0.5, 10, 30}, Parts{0.25, 3, -40, 135},
                                           Parts{5, 1, 0, 179}, Parts{1.5, -1, 20, -90},  // reflection
                                           Parts{3, 2, 89, -179}, Parts{1e-6, 1e6, -5, 45}));

TEST(Matrix2, RotationAndScaleConstructor) {
  M2 const m(ccRadian(ccDegree(30)), ccRadian(ccDegree(100)), 2.0, 3.0);
  EXPECT_EQ(m.element(0, 0), 2 * std::cos(ccRadian(ccDegree(30)).plain()));
  EXPECT_EQ(m.element(0, 1), -3 * std::sin(ccRadian(ccDegree(100)).plain()));
  EXPECT_TRUE(cfRealEq(m.xRot(), ccDegree(30), ccRadian(1e-15)));
  EXPECT_TRUE(cfRealEq(m.yRot(), ccDegree(100), ccRadian(1e-15)));
  EXPECT_NEAR(m.xScale(), 2, 1e-15);
  EXPECT_NEAR(m.yScale(), 3, 1e-15);
  // Rows of different scales: scale() still is the x column's length.
  M2 const rows(1, 2, 30, 40);
  EXPECT_EQ(rows.scale(), std::sqrt(901.0));
  EXPECT_EQ(rows.aspect(), -20 / 901.0);  // dt / xScale², not yScale / xScale
}

TEST(Matrix2, RotationAtTheHalfTurn) {
  EXPECT_EQ(M2(-1, 0, 0, -1).rotation().plain(), kPi);
  EXPECT_EQ(M2(-1, 0, -0.0, -1).rotation().plain(), -kPi);
  EXPECT_EQ(M2(0, -1, 1, 0).rotation().plain(), kPi / 2);
}

TEST(Matrix2, EveryDecompositionOfASingularMatrixThrows) {
  // Rank one, zero aspect, zero scale, and the zero matrix.
  for (M2 const& m : {M2(1, 2, 2, 4), M2(2, 0.0, ccRadian(0.3), ccRadian(1)), M2(0.0, 1, ccRadian(0), ccRadian(0)),
                      M2(0, 0, 0, 0)}) {
    ASSERT_EQ(m.determinant(), 0);
    EXPECT_THROW((void)m.xRot(), ccMathError::Singular);
    EXPECT_THROW((void)m.yRot(), ccMathError::Singular);
    EXPECT_THROW((void)m.rotation(), ccMathError::Singular);
    EXPECT_THROW((void)m.xScale(), ccMathError::Singular);
    EXPECT_THROW((void)m.yScale(), ccMathError::Singular);
    EXPECT_THROW((void)m.scale(), ccMathError::Singular);
    EXPECT_THROW((void)m.aspect(), ccMathError::Singular);
    EXPECT_THROW((void)m.shear(), ccMathError::Singular);
    EXPECT_THROW((void)m.inverse(), ccMathError::Singular);
  }
  try {
    (void)M2(0, 0, 0, 0).inverse();
  } catch (ccMathError::Errors const& e) {
    EXPECT_EQ(e.errorNumber(), 0x10000f00);
  }
}

TEST(Matrix2, KernelConversionsRecomputeTheDeterminant) {
  M2 const m(1, 2, 3, 4);
  kmath_matrix const k = m;
  kx2Matrix const x = m;
  EXPECT_EQ(k.e01, 2);
  EXPECT_EQ(x.e10, 3);
  EXPECT_EQ(M2(k), m);
  EXPECT_EQ(M2(kx2Matrix{2, 0, 0, 3}).determinant(), 6);
}

TEST(MatrixArchive, Matrix2BytesCarryTheStoredDeterminant) {
  ValueBytes const msb{0,    0x3F, 0xF0, 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0, 0x40, 0x08, 0, 0,
                       0,    0,    0,    0, 0x40, 0x10, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(valueBytes(ccArchive::eMsbFirst, M2(1, 2, 3, 4)), msb);
  ValueBytes lsb = valueBytes(ccArchive::eLsbFirst, M2(1, 2, 3, 4));
  ASSERT_EQ(lsb.size(), 41u);
  EXPECT_EQ(lsb[8], 0x3F);
  EXPECT_EQ(lsb[40], 0xC0);
  // An edited determinant is loaded as it stands until a setter runs.
  ValueBytes edited = msb;
  edited[33] = 0x40;  // dt = +2
  M2 m = loadValue<M2>(ccArchive::eMsbFirst, edited);
  EXPECT_EQ(m.determinant(), 2);
  EXPECT_EQ(m, M2(1, 2, 3, 4));
  EXPECT_THROW(m.repInvariant(), ccInvariantFailure);
  m.element(0, 0, 1);
  EXPECT_EQ(m.determinant(), -2);
  EXPECT_NO_THROW(m.repInvariant());
  // A stored zero determinant makes a regular-looking matrix singular.
  ValueBytes zero = msb;
  zero[33] = 0;
  EXPECT_THROW((void)loadValue<M2>(ccArchive::eMsbFirst, zero).inverse(), ccMathError::Singular);
}

TEST(MatrixArchive, RoundTripsAndRefusesOtherVersions) {
  for (M2 const& m : roundTrips(M2(0.1, -2, 3e-300, 4))) {
    EXPECT_EQ(m, M2(0.1, -2, 3e-300, 4));
    EXPECT_EQ(m.determinant(), M2(0.1, -2, 3e-300, 4).determinant());
  }
  M3 const n(1, 2, 3, 0, 1, 4, 5, 6, 0);
  for (M3 const& m : roundTrips(n)) {
    EXPECT_EQ(m, n);
    EXPECT_EQ(m.determinant(), 1);
  }
  // Least significant byte first: 1.0, 0, -2.0 along the diagonal of a
  // diagonal matrix, then dt = -2.
  ValueBytes const one{0, 0, 0, 0, 0, 0, 0xF0, 0x3F}, zero(8, 0), minusTwo{0, 0, 0, 0, 0, 0, 0, 0xC0};
  ValueBytes want{0};
  for (ValueBytes const* e : {&one, &zero, &zero, &zero, &one, &zero, &zero, &zero, &minusTwo, &minusTwo})
    want.insert(want.end(), e->begin(), e->end());
  EXPECT_EQ(valueBytes(ccArchive::eLsbFirst, M3(1, 0, 0, 0, 1, 0, 0, 0, -2)), want);
  // Its determinant edited to 0: loaded as it stands.
  ValueBytes edited = want;
  edited.back() = 0;
  M3 const flat = loadValue<M3>(ccArchive::eLsbFirst, edited);
  EXPECT_TRUE(flat.isSingular());
  EXPECT_THROW(flat.repInvariant(), ccInvariantFailure);
  EXPECT_THROW((void)flat.inverse(), ccMathError::Singular);
  ValueBytes bad(41, 0);
  bad[0] = 2;
  EXPECT_THROW(loadValue<M2>(ccArchive::eLsbFirst, bad), ccArchive::UnknownVersion);
  EXPECT_THROW(loadValue<M3>(ccArchive::eLsbFirst, ValueBytes(80, 0)), ccArchive::Eof);
}

TEST(Matrix3, DeterminantInverseAndProducts) {
  M3 const a(1, 2, 3, 0, 1, 4, 5, 6, 0);
  EXPECT_EQ(a.determinant(), 1);
  EXPECT_EQ(a.inverse(), M3(-24, 18, 5, 20, -15, -4, -5, 4, 1));
  EXPECT_TRUE(cfRealEq(a * a.inverse(), M3(), 1e-13));
  M3 const b(2, 0, 0, 0, 3, 0, 0, 0, 4);
  EXPECT_EQ(b.inverse(), M3(0.5, 0, 0, 0, 1 / 3.0, 0, 0, 0, 0.25));
  EXPECT_EQ(a * V3(1, 1, 1), V3(6, 5, 11));
  EXPECT_EQ(V3(1, 1, 1) * a, V3(6, 9, 7));  // the row vector
  EXPECT_EQ(a.transpose().element(0, 2), 5);
  EXPECT_EQ(a.transpose().determinant(), 1);
  EXPECT_EQ(b.xScale(), 2);
  EXPECT_EQ(b.yScale(), 3);
  EXPECT_EQ(M3(0, 0, 1, 0, 3, 0, 4, 0, 0).zScale(), 1);
  EXPECT_EQ(M3(0, 0, 1, 0, 3, 0, 4, 0, 0).xScale(), 4);
  EXPECT_EQ(a + b - b, a);
  EXPECT_EQ(-b * 2, M3(-4, 0, 0, 0, -6, 0, 0, 0, -8));
  EXPECT_EQ(b / 2, M3(1, 0, 0, 0, 1.5, 0, 0, 0, 2));
  EXPECT_TRUE(cfRealEq(a / b * b, a, 1e-15));
  EXPECT_TRUE(M3().isIdentity());
  EXPECT_FALSE(b.isIdentity());
  M3 c = a;
  c *= b;
  c /= b;
  c += b;
  c -= b;
  EXPECT_TRUE(cfRealEq(c, a, 1e-15));
}

TEST(Matrix3, SingularThrowsAndRepInvariant) {
  M3 m(1, 2, 3, 4, 5, 6, 7, 8, 9);
  EXPECT_EQ(m.determinant(), 0);
  EXPECT_THROW((void)m.inverse(), ccMathError::Singular);
  EXPECT_THROW((void)m.xScale(), ccMathError::Singular);
  EXPECT_THROW((void)m.yScale(), ccMathError::Singular);
  EXPECT_THROW((void)m.zScale(), ccMathError::Singular);
  EXPECT_THROW((void)(M3() / m), ccMathError::Singular);
  m.element(2, 2, 10);
  EXPECT_EQ(m.determinant(), -3);
  EXPECT_NO_THROW(m.repInvariant());
}

}  // namespace
