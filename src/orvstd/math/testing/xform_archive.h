// Test helpers for plane transforms through archives: round trips of a
// handle through plain and seekable memory archives in both byte orders,
// and a comparison of two transforms on a spread of points. Test-only.
//
//   for (auto const& loaded : roundTripHandles(h)) expectSameMap(*h, *loaded);
#ifndef ORVSTD_MATH_TESTING_XFORM_ARCHIVE_H_
#define ORVSTD_MATH_TESTING_XFORM_ARCHIVE_H_

#include <gtest/gtest.h>

#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent_handle.h"
#include "orvstd/math/xform_base.h"

// Stores `h` and loads it back through a plain and a seekable archive in
// both orderings; the four loaded handles.
inline std::vector<cc2XformBasePtrh_const> roundTripHandles(cc2XformBasePtrh_const const& h) {
  std::vector<cc2XformBasePtrh_const> out;
  for (auto ordering : {ccArchive::eMsbFirst, ccArchive::eLsbFirst}) {
    for (bool seekable : {false, true}) {
      ccMemoryArchive store(ordering, seekable);
      cc2XformBasePtrh_const copy = h;
      store || copy;
      ccMemoryArchive load(store.storage(), static_cast<c_Int32>(store.size()), seekable, false);
      cc2XformBasePtrh_const loaded;
      load || loaded;
      out.push_back(loaded);
    }
  }
  return out;
}

// The same images, bit for bit, of a grid of points, and the same linearity.
inline void expectSameMap(cc2XformBase const& a, cc2XformBase const& b) {
  EXPECT_EQ(a.isLinear(), b.isLinear());
  for (double x = -3; x <= 3; x += 1.5)
    for (double y = -2; y <= 2; y += 1) {
      ccVector<2> const p(x, y);
      EXPECT_EQ(a.mapPoint(p), b.mapPoint(p)) << x << "," << y;
    }
}

#endif  // ORVSTD_MATH_TESTING_XFORM_ARCHIVE_H_
