// Tridiagonal systems factored from both ends at once, without pivoting:
// ?dttrfb factors, x?dttrsb solves with the factors, ?dtsvb does both.
//
// Factorisation (rows 1-based, h := floor((n - 1) / 2)). For i = 1 .. h a
// top step on row i and a bottom step on row b := n + 1 - i, alternately:
//   top:    r := 1 / d[i];  dl[i] := dl[i] r;  d[i+1] -= dl[i] du[i];  d[i] := r
//   bottom: r := 1 / d[b];  dl[b-1] := dl[b-1] r;  d[b-1] -= dl[b-1] du[b-1];  d[b] := r
// then, for even n, one more top step on row h + 1; the middle row
// m := n - h is left, and d[m] := 1 / d[m]. Each step first tests its pivot:
// neither positive nor negative (zero or NaN; complex: both parts zero or
// either NaN) stops with info := that row (a bottom step's row is n + 1 - i),
// everything before it as it stands. The two ends are two independent
// dependency chains through the recurrence.
//
// What the factors mean. A top step is the row operation
// row[i+1] -= l_i row[i] with l_i = dl[i] / d[i] (the stored dl[i]); a
// bottom step scales row b by r_b (its entries become dl[b-1] r_b = the
// stored dl[b-1], and 1), then row[b-1] -= du[b-1] row[b]. After all steps
// E A = T, with E the product of these operations and T "twisted": rows
// above m upper bidiagonal (d[i], du[i]), row m its diagonal alone, rows
// below m unit lower bidiagonal (stored dl[j-1], 1). So, with d holding
// reciprocals, no division is left for the solves:
//   A x = b:   apply E to b in the factorisation's order,
//                top    b[i+1] -= dl[i] b[i]
//                bottom b[b] := b[b] d[b];  b[b-1] -= du[b-1] b[b]
//              then b[m] := b[m] d[m], and back out from the middle:
//                above  b[i] := (b[i] - du[i] b[i+1]) d[i],  i = m-1 .. 1
//                below  b[j] := b[j] - dl[j-1] b[j-1],        j = m+1 .. n
//   A^T x = b: T^T y = b inwards from both ends,
//                above  y[i] := (b[i] - du[i-1] y[i-1]) d[i],  i = 1 .. m-1
//                below  y[j] := b[j] - dl[j] y[j+1],           j = n-1 .. m+1
//                middle y[m] := (b[m] - du[m-1] y[m-1] - dl[m] y[m+1]) d[m]
//              then x = E^T y outwards from the middle,
//                above  y[i] -= dl[i] y[i+1],                  i = m-1 .. 1
//                below  y[j] := (y[j] - du[j-1] y[j-1]) d[j],  j = m+1 .. n
//   A^H x = b: the same with every factor conjugated.
// ?dtsvb with one right-hand side merges the application of E into the
// factorisation loop; its results are those of ?dttrfb followed by x?dttrsb
// bit for bit.
//
// info: all three clear it on entry (for n > 0 too) and write the failing
// row; x?dttrsb returns with info 0 for n or nrhs of 0 and for a trans
// letter other than N, T, C (either case). ?dtsvb returns for nrhs 0
// without factoring.
//
// Right-hand sides: groups of eight columns, the factors loaded once per row
// for all eight, then one body for the remaining 1 to 7 (the same template
// with the count as parameter); a single column is the count 1.
#include <zor/lapack.h>

#include <cstdint>

#include "frame/letters.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

// Rows are 0-based below: the middle is m = n - 1 - h.
inline int64_t steps_from_each_end(int64_t n) { return (n - 1) / 2; }

// With WithRhs the application of E to one right-hand side b rides along.
template <class E, bool WithRhs>
int64_t factor(int64_t n, E *dl, E *d, E *du, E *b) {
  const int64_t h = steps_from_each_end(n);
  auto top = [&](int64_t i) {
    if (unusable_pivot(d[i])) return i + 1;
    E r = reciprocal(d[i]);
    dl[i] = dl[i] * r;
    d[i + 1] = d[i + 1] - dl[i] * du[i];
    d[i] = r;
    if constexpr (WithRhs) b[i + 1] = b[i + 1] - dl[i] * b[i];
    return int64_t(0);
  };
  auto bottom = [&](int64_t p) {
    if (unusable_pivot(d[p])) return p + 1;
    E r = reciprocal(d[p]);
    dl[p - 1] = dl[p - 1] * r;
    d[p - 1] = d[p - 1] - dl[p - 1] * du[p - 1];
    d[p] = r;
    if constexpr (WithRhs) {
      b[p] = b[p] * r;
      b[p - 1] = b[p - 1] - du[p - 1] * b[p];
    }
    return int64_t(0);
  };
  for (int64_t i = 0; i < h; ++i) {
    if (int64_t bad = top(i)) return bad;
    if (int64_t bad = bottom(n - 1 - i)) return bad;
  }
  if (n > 2 * h + 1)
    if (int64_t bad = top(h)) return bad;
  const int64_t m = n - 1 - h;
  if (unusable_pivot(d[m])) return m + 1;
  d[m] = reciprocal(d[m]);
  if constexpr (WithRhs) b[m] = b[m] * d[m];
  return 0;
}

// W right-hand sides starting at b, ldb apart.
template <class E, int W>
struct Columns {
  E *b;
  int64_t ldb;
  E &at(int64_t row, int c) const { return b[row + c * ldb]; }
};

// The operations of the no-transposition solve, on W columns.
template <class E, int W>
struct Apply {
  const E *dl, *d, *du;
  Columns<E, W> x;
  void top(int64_t i) const {
    const E l = dl[i];
    for (int c = 0; c < W; ++c) x.at(i + 1, c) = x.at(i + 1, c) - l * x.at(i, c);
  }
  void bottom(int64_t p) const {
    const E r = d[p], u = du[p - 1];
    for (int c = 0; c < W; ++c) {
      x.at(p, c) = x.at(p, c) * r;
      x.at(p - 1, c) = x.at(p - 1, c) - u * x.at(p, c);
    }
  }
  void middle(int64_t m) const {
    const E r = d[m];
    for (int c = 0; c < W; ++c) x.at(m, c) = x.at(m, c) * r;
  }
  void back_above(int64_t i) const {
    const E u = du[i], r = d[i];
    for (int c = 0; c < W; ++c) x.at(i, c) = (x.at(i, c) - u * x.at(i + 1, c)) * r;
  }
  void back_below(int64_t j) const {
    const E l = dl[j - 1];
    for (int c = 0; c < W; ++c) x.at(j, c) = x.at(j, c) - l * x.at(j - 1, c);
  }
  // From the middle outwards, both sides in one pass.
  void back_out(int64_t n, int64_t h) const {
    const int64_t m = n - 1 - h;
    int64_t i = m - 1, j = m + 1;
    for (; j < n; --i, ++j) {
      back_above(i);
      back_below(j);
    }
    for (; i >= 0; --i) back_above(i);
  }
};

template <class E, int W>
void solve_plain(int64_t n, const E *dl, const E *d, const E *du, Columns<E, W> x) {
  const int64_t h = steps_from_each_end(n);
  const Apply<E, W> op{dl, d, du, x};
  for (int64_t i = 0; i < h; ++i) {
    op.top(i);
    op.bottom(n - 1 - i);
  }
  if (n > 2 * h + 1) op.top(h);
  op.middle(n - 1 - h);
  op.back_out(n, h);
}

template <class E, int W, bool Conj>
void solve_transposed(int64_t n, const E *dl, const E *d, const E *du, Columns<E, W> x) {
  const int64_t h = steps_from_each_end(n), m = n - 1 - h;
  auto f = [](E v) { return conj_if<Conj>(v); };
  // T^T y = b, inwards: rows 0 .. m-1 from the top, n-2 .. m+1 from the bottom.
  {
    const E r = f(d[0]);
    if (m > 0)
      for (int c = 0; c < W; ++c) x.at(0, c) = x.at(0, c) * r;
  }
  int64_t i = 1, j = n - 2;
  auto above = [&](int64_t i) {
    const E u = f(du[i - 1]), r = f(d[i]);
    for (int c = 0; c < W; ++c) x.at(i, c) = (x.at(i, c) - u * x.at(i - 1, c)) * r;
  };
  auto below = [&](int64_t j) {
    const E l = f(dl[j]);
    for (int c = 0; c < W; ++c) x.at(j, c) = x.at(j, c) - l * x.at(j + 1, c);
  };
  for (; j > m; ++i, --j) {
    above(i);
    below(j);
  }
  for (; i < m; ++i) above(i);
  {
    const E r = f(d[m]);
    const E u = m > 0 ? f(du[m - 1]) : E{};
    const E l = m + 1 < n ? f(dl[m]) : E{};
    for (int c = 0; c < W; ++c) {
      E v = x.at(m, c);
      if (m > 0) v = v - u * x.at(m - 1, c);
      if (m + 1 < n) v = v - l * x.at(m + 1, c);
      x.at(m, c) = v * r;
    }
  }
  // x = E^T y, outwards.
  i = m - 1, j = m + 1;
  auto out_above = [&](int64_t i) {
    const E l = f(dl[i]);
    for (int c = 0; c < W; ++c) x.at(i, c) = x.at(i, c) - l * x.at(i + 1, c);
  };
  auto out_below = [&](int64_t j) {
    const E u = f(du[j - 1]), r = f(d[j]);
    for (int c = 0; c < W; ++c) x.at(j, c) = (x.at(j, c) - u * x.at(j - 1, c)) * r;
  };
  for (; j < n; --i, ++j) {
    out_above(i);
    out_below(j);
  }
  for (; i >= 0; --i) out_above(i);
}

template <class E, int W>
void solve_block(Trans op, int64_t n, const E *dl, const E *d, const E *du, E *b, int64_t ldb) {
  const Columns<E, W> x{b, ldb};
  if (op == Trans::N) solve_plain<E, W>(n, dl, d, du, x);
  else if (op == Trans::T || !is_complex_v<E>) solve_transposed<E, W, false>(n, dl, d, du, x);
  else solve_transposed<E, W, true>(n, dl, d, du, x);
}

template <class E, int... Counts>
void solve_remainder(int count, Trans op, int64_t n, const E *dl, const E *d, const E *du, E *b, int64_t ldb,
                     std::integer_sequence<int, Counts...>) {
  ((count == Counts + 1 ? solve_block<E, Counts + 1>(op, n, dl, d, du, b, ldb) : void()), ...);
}

template <class E>
void solve(Trans op, int64_t n, int64_t nrhs, const E *dl, const E *d, const E *du, E *b, int64_t ldb) {
  const int64_t grouped = nrhs & ~int64_t(7);
  for (int64_t j = 0; j < grouped; j += 8) solve_block<E, 8>(op, n, dl, d, du, b + j * ldb, ldb);
  if (nrhs > grouped)
    solve_remainder<E>(int(nrhs - grouped), op, n, dl, d, du, b + grouped * ldb, ldb,
                       std::make_integer_sequence<int, 7>{});
}

template <class E>
void dttrfb(int64_t n, E *dl, E *d, E *du, int64_t *info) {
  *info = 0;
  if (n > 0) *info = factor<E, false>(n, dl, d, du, nullptr);
}

template <class E>
void dttrsb(char trans, int64_t n, int64_t nrhs, const E *dl, const E *d, const E *du, E *b, int64_t ldb,
            int64_t *info) {
  *info = 0;
  if (n <= 0 || nrhs <= 0) return;
  const Trans op = read_letter<Trans>(trans);
  if (op == Trans::N || op == Trans::T || op == Trans::C) solve(op, n, nrhs, dl, d, du, b, ldb);
}

template <class E>
void dtsvb(int64_t n, int64_t nrhs, E *dl, E *d, E *du, E *b, int64_t ldb, int64_t *info) {
  *info = 0;
  if (n <= 0 || nrhs <= 0) return;
  if (nrhs == 1) {
    if ((*info = factor<E, true>(n, dl, d, du, b)) == 0)
      Apply<E, 1>{dl, d, du, {b, 0}}.back_out(n, steps_from_each_end(n));
    return;
  }
  if ((*info = factor<E, false>(n, dl, d, du, nullptr)) == 0) solve(Trans::N, n, nrhs, dl, d, du, b, ldb);
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using C8 = zor::cplx<float>;
using C16 = zor::cplx<double>;
// clang-format off
ZOR_API void zor_lapack_ps_sdttrfb(const zor_int *n, float *dl, float *d, float *du, zor_int *info) { dttrfb(*n, dl, d, du, info); }
ZOR_API void zor_lapack_ps_ddttrfb(const zor_int *n, double *dl, double *d, double *du, zor_int *info) { dttrfb(*n, dl, d, du, info); }
ZOR_API void zor_lapack_ps_cdttrfb(const zor_int *n, void *dl, void *d, void *du, zor_int *info) { dttrfb(*n, static_cast<C8 *>(dl), static_cast<C8 *>(d), static_cast<C8 *>(du), info); }
ZOR_API void zor_lapack_ps_zdttrfb(const zor_int *n, void *dl, void *d, void *du, zor_int *info) { dttrfb(*n, static_cast<C16 *>(dl), static_cast<C16 *>(d), static_cast<C16 *>(du), info); }
ZOR_API void zor_lapack_ps_xsdttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const float *dl, const float *d, const float *du, float *b, const zor_int *ldb, zor_int *info) { dttrsb(*trans, *n, *nrhs, dl, d, du, b, *ldb, info); }
ZOR_API void zor_lapack_ps_xddttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const double *dl, const double *d, const double *du, double *b, const zor_int *ldb, zor_int *info) { dttrsb(*trans, *n, *nrhs, dl, d, du, b, *ldb, info); }
ZOR_API void zor_lapack_ps_xcdttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const void *dl, const void *d, const void *du, void *b, const zor_int *ldb, zor_int *info) { dttrsb(*trans, *n, *nrhs, static_cast<const C8 *>(dl), static_cast<const C8 *>(d), static_cast<const C8 *>(du), static_cast<C8 *>(b), *ldb, info); }
ZOR_API void zor_lapack_ps_xzdttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const void *dl, const void *d, const void *du, void *b, const zor_int *ldb, zor_int *info) { dttrsb(*trans, *n, *nrhs, static_cast<const C16 *>(dl), static_cast<const C16 *>(d), static_cast<const C16 *>(du), static_cast<C16 *>(b), *ldb, info); }
ZOR_API void zor_lapack_ps_sdtsvb(const zor_int *n, const zor_int *nrhs, float *dl, float *d, float *du, float *b, const zor_int *ldb, zor_int *info) { dtsvb(*n, *nrhs, dl, d, du, b, *ldb, info); }
ZOR_API void zor_lapack_ps_ddtsvb(const zor_int *n, const zor_int *nrhs, double *dl, double *d, double *du, double *b, const zor_int *ldb, zor_int *info) { dtsvb(*n, *nrhs, dl, d, du, b, *ldb, info); }
ZOR_API void zor_lapack_ps_cdtsvb(const zor_int *n, const zor_int *nrhs, void *dl, void *d, void *du, void *b, const zor_int *ldb, zor_int *info) { dtsvb(*n, *nrhs, static_cast<C8 *>(dl), static_cast<C8 *>(d), static_cast<C8 *>(du), static_cast<C8 *>(b), *ldb, info); }
ZOR_API void zor_lapack_ps_zdtsvb(const zor_int *n, const zor_int *nrhs, void *dl, void *d, void *du, void *b, const zor_int *ldb, zor_int *info) { dtsvb(*n, *nrhs, static_cast<C16 *>(dl), static_cast<C16 *>(d), static_cast<C16 *>(du), static_cast<C16 *>(b), *ldb, info); }
// clang-format on
