// The three dense decompositions under ccNMMatrix, written on row-pointer
// arrays so the class and its tests share one set of inner loops:
// Golub-Kahan-Reinsch singular values, symmetric eigenvalues by Householder
// tridiagonalisation and implicit QL, and general eigenvalues by reduction
// to Hessenberg form and shifted QR. Internal: ccNMMatrix is the public face.
//
// Each refuses (returns false at once) a matrix with an entry that is not
// finite. A matrix whose entries are all far from 1 is first scaled by a
// power of two, exactly, so its magnitude alone never makes one fail.
//
//   std::vector<double> w(n), work(n);
//   if (!cf_SvdDecompose(a, m, n, w.data(), v, work.data())) throw ...;
#ifndef ORVSTD_MATH_INTERNAL_NM_DECOMPOSE_H_
#define ORVSTD_MATH_INTERNAL_NM_DECOMPOSE_H_

// A = U·diag(w)·Vᵀ for an m-by-n `a` with m ≥ n, given as m row pointers
// to n doubles. On return `a` holds U (m by n), `w` the n singular values
// (not negative, in no particular order) and `v` (n row pointers to n
// doubles) holds V. `work` has room for n doubles. False when a singular
// value did not converge within 100 implicit-QR iterations; the outputs
// are then unspecified.
bool cf_SvdDecompose(double* const* a, int m, int n, double* w, double* const* v, double* work);

// Eigenvalues of the symmetric n-by-n `a` (only what a symmetric matrix
// determines is read). On return `d` holds the eigenvalues, in no
// particular order; with `wantVectors` the columns of `a` are the
// orthonormal eigenvectors, column j belonging to d[j], else `a` is
// overwritten. `work` has room for n doubles. False when an eigenvalue
// did not converge within 30 QL iterations.
bool cf_SymEigen(double* const* a, int n, double* d, bool wantVectors, double* work);

// Eigenvalues of the general n-by-n `a` (destroyed): real parts into
// `re`, imaginary parts into `im`; a complex pair comes as two adjacent
// entries, positive imaginary part first. False when an eigenvalue did not
// converge within 30 shifted-QR iterations.
bool cf_GeneralEigen(double* const* a, int n, double* re, double* im);

#endif  // ORVSTD_MATH_INTERNAL_NM_DECOMPOSE_H_
