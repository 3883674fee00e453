// ?gtsv_small: a tridiagonal system by Gaussian elimination with partial
// pivoting, the published ?gtsv in one small routine; results agree with it
// bit for bit.
//
// For i = 1 .. n-2: if |d[i]| >= |dl[i]|, no interchange: a zero d[i]
// stops with info := i; else fact := dl[i] / d[i], d[i+1] -= fact du[i],
// b[i+1] -= fact b[i], dl[i] := 0. Otherwise rows i and i+1 change places:
// fact := d[i] / dl[i]; d[i] := dl[i]; d[i+1] := du[i] - fact d[i+1] (the
// old du[i] moving to du[i]'s place as the old d[i+1]); dl[i] := du[i+1],
// the second superdiagonal; du[i+1] := -fact dl[i]; and b[i], b[i+1] :=
// b[i+1], b[i] - fact b[i+1]. Row n-1 takes the same step without the
// second superdiagonal; a zero d[n] stops with info := n. Back
// substitution: b[n] /= d[n]; b[n-1] := (b[n-1] - du[n-1] b[n]) / d[n-1];
// b[i] := (b[i] - du[i] b[i+1] - dl[i] b[i+2]) / d[i] downwards.
//
// info is written only on failure (the caller has cleared it); the system
// is left as far as it was reduced. One right-hand side has its own loop;
// more are updated inside the same pivot loop, two columns a pass and an
// odd one after.
#include <zor/lapack.h>

#include <cmath>
#include <cstdint>

namespace zor::lapack {
namespace {

// The right-hand sides as the pivot loop updates them: one column, or
// pairs and an odd one.
template <class R, bool Single>
struct RightHandSides {
  int64_t nrhs;
  R *b;
  int64_t ldb;
  template <class Op> void each(Op &&op) const {
    if constexpr (Single) {
      op(b);
    } else {
      int64_t j = 0;
      for (; j + 2 <= nrhs; j += 2) {
        op(b + j * ldb);
        op(b + (j + 1) * ldb);
      }
      if (j < nrhs) op(b + j * ldb);
    }
  }
};

// Eliminates row i+1 from row i; false (after setting info) on a zero
// pivot. Second: whether the second superdiagonal exists (i < n-2).
template <class R, bool Single>
bool eliminate(int64_t i, bool second, R *dl, R *d, R *du, const RightHandSides<R, Single> &rhs, int64_t *info) {
  if (std::fabs(d[i]) >= std::fabs(dl[i])) {
    if (d[i] == R(0)) {
      *info = i + 1;
      return false;
    }
    const R fact = dl[i] / d[i];
    d[i + 1] = d[i + 1] - fact * du[i];
    rhs.each([&](R *b) { b[i + 1] = b[i + 1] - fact * b[i]; });
    if (second) dl[i] = R(0);
  } else {
    const R fact = d[i] / dl[i];
    d[i] = dl[i];
    const R temp = d[i + 1];
    d[i + 1] = du[i] - fact * temp;
    if (second) {
      dl[i] = du[i + 1];
      du[i + 1] = -fact * dl[i];
    }
    du[i] = temp;
    rhs.each([&](R *b) {
      const R t = b[i];
      b[i] = b[i + 1];
      b[i + 1] = t - fact * b[i + 1];
    });
  }
  return true;
}

template <class R, bool Single>
void solve(int64_t n, R *dl, R *d, R *du, const RightHandSides<R, Single> &rhs, int64_t *info) {
  for (int64_t i = 0; i + 2 < n; ++i)
    if (!eliminate(i, true, dl, d, du, rhs, info)) return;
  if (n > 1 && !eliminate(n - 2, false, dl, d, du, rhs, info)) return;
  if (d[n - 1] == R(0)) {
    *info = n;
    return;
  }
  for (int64_t j = 0; j < rhs.nrhs; ++j) {
    R *b = rhs.b + j * rhs.ldb;
    b[n - 1] = b[n - 1] / d[n - 1];
    if (n > 1) b[n - 2] = (b[n - 2] - du[n - 2] * b[n - 1]) / d[n - 2];
    for (int64_t i = n - 3; i >= 0; --i) b[i] = (b[i] - du[i] * b[i + 1] - dl[i] * b[i + 2]) / d[i];
  }
}

template <class R>
void gtsv(int64_t n, int64_t nrhs, R *dl, R *d, R *du, R *b, int64_t ldb, int64_t *info) {
  if (n <= 0) return;
  if (nrhs == 1) solve<R, true>(n, dl, d, du, {1, b, ldb}, info);
  else solve<R, false>(n, dl, d, du, {nrhs, b, ldb}, info);
}

}  // namespace
}  // namespace zor::lapack

// clang-format off
ZOR_API void zor_lapack_ps_sgtsv_small(const zor_int *n, const zor_int *nrhs, float *dl, float *d, float *du, float *b, const zor_int *ldb, zor_int *info) { zor::lapack::gtsv(*n, *nrhs, dl, d, du, b, *ldb, info); }
ZOR_API void zor_lapack_ps_dgtsv_small(const zor_int *n, const zor_int *nrhs, double *dl, double *d, double *du, double *b, const zor_int *ldb, zor_int *info) { zor::lapack::gtsv(*n, *nrhs, dl, d, du, b, *ldb, info); }
// clang-format on
