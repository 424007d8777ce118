// Reading the text output of the reference generators in testdata/: lines
// of the form "kind n c0 .. c(n-1) rest...", all numbers written by Python.
// Test-only.
//
//   for (ReferenceLine const& l : readReferenceLines("roots_reference.txt", "cubic"))
//     SCOPED_TRACE(describe(l.coefficients)); ... l.rest ...
#ifndef ORVSTD_MATH_TESTING_REFERENCE_LINES_H_
#define ORVSTD_MATH_TESTING_REFERENCE_LINES_H_

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

struct ReferenceLine {
  std::vector<double> coefficients;  // the n numbers after the count
  std::vector<double> rest;          // every number after them
};

// The lines of `kind` in testdata file `name`, in file order.
inline std::vector<ReferenceLine> readReferenceLines(std::string const& name, std::string const& kind) {
  std::ifstream in(std::string(ORVSTD_TEST_DATA) + "/" + name);
  std::vector<ReferenceLine> lines;
  std::string text;
  while (std::getline(in, text)) {
    std::istringstream f(text);
    std::string k;
    int n = 0;
    f >> k >> n;
    if (k != kind) continue;
    ReferenceLine line;
    line.coefficients.resize(static_cast<std::size_t>(n));
    for (double& x : line.coefficients) f >> x;
    line.rest.assign(std::istream_iterator<double>(f), std::istream_iterator<double>());
    lines.push_back(line);
  }
  return lines;
}

// The numbers to 17 digits, for traces.
inline std::string describe(std::vector<double> const& v) {
  std::ostringstream os;
  os.precision(17);
  for (double x : v) os << x << ' ';
  return os.str();
}

#endif  // ORVSTD_MATH_TESTING_REFERENCE_LINES_H_
