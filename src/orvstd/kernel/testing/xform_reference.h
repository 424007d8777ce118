// Reads testdata/xform_reference.txt (testdata/gen_xform.py: numpy and
// OpenCV results) for the kernel transform tests. Test-only.
//
//   for (XformReference const& r : readXformReference("persp4")) ...
#ifndef ORVSTD_KERNEL_TESTING_XFORM_REFERENCE_H_
#define ORVSTD_KERNEL_TESTING_XFORM_REFERENCE_H_

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "orvstd/kernel/kmath_types.h"

// One line. Fields a form does not have stay empty.
struct XformReference {
  int order = 0;
  std::vector<kmath_vect> from, to;   // point pairs
  std::vector<double> numbers;        // coefficients or the nine values
  std::vector<kmath_vect> probes, probeImages;
};

inline std::vector<XformReference> readXformReference(std::string const& kind) {
  std::ifstream in(std::string(ORVSTD_TEST_DATA) + "/xform_reference.txt");
  std::vector<XformReference> cases;
  std::string line;
  auto readPairs = [](std::istream& f, int n, std::vector<kmath_vect>& a, std::vector<kmath_vect>& b) {
    for (int i = 0; i < n; ++i) {
      kmath_vect p{}, q{};
      f >> p.x >> p.y >> q.x >> q.y;
      a.push_back(p);
      b.push_back(q);
    }
  };
  while (std::getline(in, line)) {
    std::istringstream f(line);
    std::string k;
    f >> k;
    if (k != kind) continue;
    XformReference r;
    int n = 0, m = 0;
    if (k == "polycoef" || k == "polymap") {
      f >> r.order >> n;
      readPairs(f, n, r.from, r.to);
      f >> m;
      if (k == "polycoef") {
        r.numbers.resize(static_cast<std::size_t>(m));
        for (double& x : r.numbers) f >> x;
      } else {
        readPairs(f, m, r.probes, r.probeImages);
      }
    } else if (k == "persp4") {
      for (int i = 0; i < 4; ++i) {
        kmath_vect p{};
        f >> p.x >> p.y;
        r.to.push_back(p);
      }
      r.numbers.resize(9);
      for (double& x : r.numbers) f >> x;
    } else if (k == "perspn") {
      f >> n;
      readPairs(f, n, r.from, r.to);
      r.numbers.resize(9);
      for (double& x : r.numbers) f >> x;
    }
    if (f) cases.push_back(r);
  }
  return cases;
}

#endif  // ORVSTD_KERNEL_TESTING_XFORM_REFERENCE_H_
