// Reads math/testdata/poly_fits_reference.txt (gen_poly_fits.py, numpy's
// least squares): for each order 1 to 5, the point pairs and the images of
// probe points under the fit a -> b and under the fit b -> a. Test-only.
#ifndef ORVSTD_MATH_TESTING_POLY_FITS_REFERENCE_H_
#define ORVSTD_MATH_TESTING_POLY_FITS_REFERENCE_H_

#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "orvstd/math/vector.h"

struct csPolyFitReference {
  int order = 0;
  std::vector<ccVector<2>> a, b;
  // (probe, image) under the fit taking a to b, and under the one taking b to a.
  std::vector<std::pair<ccVector<2>, ccVector<2>>> ab, ba;
};

inline std::vector<csPolyFitReference> loadPolyFitReference(std::string const& path) {
  std::ifstream in(path);
  std::vector<csPolyFitReference> cases;
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream s(line);
    std::string kind;
    s >> kind;
    if (kind == "order") {
      cases.emplace_back();
      s >> cases.back().order;
      continue;
    }
    double w = 0, x = 0, y = 0, z = 0;
    s >> w >> x >> y >> z;
    if (cases.empty() || !s) return {};
    auto& c = cases.back();
    if (kind == "pair") {
      c.a.emplace_back(w, x);
      c.b.emplace_back(y, z);
    } else if (kind == "ab") {
      c.ab.emplace_back(ccVector<2>(w, x), ccVector<2>(y, z));
    } else if (kind == "ba") {
      c.ba.emplace_back(ccVector<2>(w, x), ccVector<2>(y, z));
    } else {
      return {};
    }
  }
  return cases;
}

#endif  // ORVSTD_MATH_TESTING_POLY_FITS_REFERENCE_H_
