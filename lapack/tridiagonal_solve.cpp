// Solves with the factors of the published ?gttrf (L U with row interchanges,
// U with two superdiagonals) and ?pttrf (L D L^T; complex L D L^H or
// U^H D U), for many right-hand sides.
//
// ?gtts2, itrans 0: forward through L, for i = 1 .. n-1
//   ipiv[i] = i:  b[i+1] -= dl[i] b[i]
//   otherwise:    (b[i], b[i+1]) := (b[i+1], b[i] - dl[i] b[i+1])
// then back through U: b[n] /= d[n]; b[n-1] := (b[n-1] - du[n-1] b[n]) / d[n-1];
// b[i] := (b[i] - du[i] b[i+1] - du2[i] b[i+2]) / d[i] below. itrans 1
// (and, for real forms, any other non-zero value): through U^T upwards from
// row 1, then L^T from row n-1 down, the interchange undone after the
// update. Complex forms: itrans 2 (any value but 0 and 1) conjugates
// every factor.
//
// ?ptts2: n = 1 scales the nrhs elements of row 1 (ldb apart) by 1 / d[1]
// with the level-1 scaling. Otherwise forward b[i] -= e[i-1] b[i-1], then
// b[n] := b[n] / d[n] and b[i] := b[i] / d[i] - e[i] b[i+1] upwards.
// Complex forms take iuplo first: 1 (A = U^H D U) runs conj(e) forward and
// e backward, 0 (A = L D L^H) the other way round; d is real.
//
// Reciprocals: from four right-hand sides on, a table of 1 / d[i] from the
// pooled allocator (128-byte aligned; vector division, four vectors a pass)
// turns every division into a multiplication; below four, or when the
// allocation fails, each element is divided, so that the results are those
// of the published routines bit for bit (real forms; complex quotients by
// the scaled formula). The table goes back before the return.
//
// Columns: ?gtts2 takes the nrhs mod 4 columns one at a time first, then
// groups of four; ?ptts2 pairs, and a last column alone. The columns of a
// group are independent chains through the same recurrence.
#include <zor/blas.h>
#include <zor/lapack.h>
#include <zor/serv.h>

#include <cstdint>

#include "frame/simd.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

// Divisor of row i: divide by d[i], or multiply by the table's 1 / d[i].
template <class E, class D, bool Conj>
struct Divisor {
  const D *d;
  const D *rec;  // null: divide
  E apply(E v, int64_t i) const {
    if (rec) return times(v, conj_if<Conj>(rec[i]));
    return quotient(v, conj_if<Conj>(d[i]));
  }
  static E times(E v, D r) {
    if constexpr (std::is_same_v<E, D>) return v * r;
    else return times_real(v, r);
  }
};

// 1 / d[i] for i < n into rec (16-byte aligned).
template <class D>
void fill_reciprocals(int64_t n, const D *d, D *rec) {
  if constexpr (is_complex_v<D>) {
    for (int64_t i = 0; i < n; ++i) rec[i] = reciprocal(d[i]);
  } else {
    using V = typename VectorOf<D>::type;
    constexpr int L = 16 / sizeof(D);
    const V one = simd::splat(D(1));
    int64_t i = 0;
    for (; i + 4 * L <= n; i += 4 * L)
      for (int k = 0; k < 4; ++k) simd::store_a(rec + i + k * L, simd::div(one, simd::load_u(d + i + k * L)));
    for (; i < n; ++i) rec[i] = D(1) / d[i];
  }
}

// A table of reciprocals for at least four right-hand sides, if the pool
// gives one; below four nothing is allocated. The block goes back with the
// object.
template <class D>
class ReciprocalTable {
 public:
  ReciprocalTable(int64_t n, int64_t nrhs, const D *d)
      : block_(nrhs >= 4 ? zor_serv_allocate(uint64_t(n) * sizeof(D), 128) : nullptr) {
    if (block_) fill_reciprocals(n, d, static_cast<D *>(block_));
  }
  ~ReciprocalTable() {
    if (block_) zor_serv_deallocate(block_);
  }
  ReciprocalTable(const ReciprocalTable &) = delete;
  ReciprocalTable &operator=(const ReciprocalTable &) = delete;
  const D *get() const { return static_cast<const D *>(block_); }

 private:
  void *block_;
};

template <class E, int W>
struct Cols {
  E *b;
  int64_t ldb;
  E &at(int64_t row, int c) const { return b[row + c * ldb]; }
};

// ---------------------------------------------------------------- gtts2
template <class E, int W, bool Conj>
void gtts2_lu(int64_t n, const E *dl, const E *du, const E *du2, const int64_t *ipiv, Divisor<E, E, Conj> div,
              Cols<E, W> x) {
  for (int64_t i = 0; i + 1 < n; ++i) {
    const E l = dl[i];
    if (ipiv[i] == i + 1) {
      for (int c = 0; c < W; ++c) x.at(i + 1, c) = x.at(i + 1, c) - l * x.at(i, c);
    } else {
      for (int c = 0; c < W; ++c) {
        E t = x.at(i, c);
        x.at(i, c) = x.at(i + 1, c);
        x.at(i + 1, c) = t - l * x.at(i, c);
      }
    }
  }
  for (int c = 0; c < W; ++c) x.at(n - 1, c) = div.apply(x.at(n - 1, c), n - 1);
  if (n > 1) {
    const E u = du[n - 2];
    for (int c = 0; c < W; ++c) x.at(n - 2, c) = div.apply(x.at(n - 2, c) - u * x.at(n - 1, c), n - 2);
  }
  for (int64_t i = n - 3; i >= 0; --i) {
    const E u = du[i], u2 = du2[i];
    for (int c = 0; c < W; ++c)
      x.at(i, c) = div.apply(x.at(i, c) - u * x.at(i + 1, c) - u2 * x.at(i + 2, c), i);
  }
}

template <class E, int W, bool Conj>
void gtts2_lu_transposed(int64_t n, const E *dl, const E *du, const E *du2, const int64_t *ipiv,
                         Divisor<E, E, Conj> div, Cols<E, W> x) {
  auto f = [](E v) { return conj_if<Conj>(v); };
  for (int c = 0; c < W; ++c) x.at(0, c) = div.apply(x.at(0, c), 0);
  if (n > 1) {
    const E u = f(du[0]);
    for (int c = 0; c < W; ++c) x.at(1, c) = div.apply(x.at(1, c) - u * x.at(0, c), 1);
  }
  for (int64_t i = 2; i < n; ++i) {
    const E u = f(du[i - 1]), u2 = f(du2[i - 2]);
    for (int c = 0; c < W; ++c)
      x.at(i, c) = div.apply(x.at(i, c) - u * x.at(i - 1, c) - u2 * x.at(i - 2, c), i);
  }
  for (int64_t i = n - 2; i >= 0; --i) {
    const E l = f(dl[i]);
    if (ipiv[i] == i + 1) {
      for (int c = 0; c < W; ++c) x.at(i, c) = x.at(i, c) - l * x.at(i + 1, c);
    } else {
      for (int c = 0; c < W; ++c) {
        E t = x.at(i, c) - l * x.at(i + 1, c);
        x.at(i, c) = x.at(i + 1, c);
        x.at(i + 1, c) = t;
      }
    }
  }
}

template <class E, int W, int Form>
void gtts2_block(int64_t n, const E *dl, const E *d, const E *du, const E *du2, const int64_t *ipiv,
                 const E *rec, E *b, int64_t ldb) {
  const Cols<E, W> x{b, ldb};
  if constexpr (Form == 0) gtts2_lu<E, W, false>(n, dl, du, du2, ipiv, {d, rec}, x);
  else if constexpr (Form == 1) gtts2_lu_transposed<E, W, false>(n, dl, du, du2, ipiv, {d, rec}, x);
  else gtts2_lu_transposed<E, W, true>(n, dl, du, du2, ipiv, {d, rec}, x);
}

template <class E, int Form>
void gtts2_columns(int64_t n, int64_t nrhs, const E *dl, const E *d, const E *du, const E *du2,
                   const int64_t *ipiv, const E *rec, E *b, int64_t ldb) {
  const int64_t single = nrhs % 4;
  for (int64_t j = 0; j < single; ++j) gtts2_block<E, 1, Form>(n, dl, d, du, du2, ipiv, rec, b + j * ldb, ldb);
  for (int64_t j = single; j < nrhs; j += 4) gtts2_block<E, 4, Form>(n, dl, d, du, du2, ipiv, rec, b + j * ldb, ldb);
}

template <class E>
void gtts2(int64_t itrans, int64_t n, int64_t nrhs, const E *dl, const E *d, const E *du, const E *du2,
           const int64_t *ipiv, E *b, int64_t ldb) {
  if (n <= 0 || nrhs <= 0) return;
  const ReciprocalTable<E> table(n, nrhs, d);
  if (itrans == 0) gtts2_columns<E, 0>(n, nrhs, dl, d, du, du2, ipiv, table.get(), b, ldb);
  else if (itrans == 1 || !is_complex_v<E>) gtts2_columns<E, 1>(n, nrhs, dl, d, du, du2, ipiv, table.get(), b, ldb);
  else gtts2_columns<E, 2>(n, nrhs, dl, d, du, du2, ipiv, table.get(), b, ldb);
}

// ---------------------------------------------------------------- ptts2
template <class R> void scale_row(int64_t count, R a, R *x, int64_t inc);
template <> void scale_row(int64_t count, float a, float *x, int64_t inc) { zor_blas_sscal(&count, &a, x, &inc); }
template <> void scale_row(int64_t count, double a, double *x, int64_t inc) { zor_blas_dscal(&count, &a, x, &inc); }
template <class R> void scale_row(int64_t count, R a, cplx<R> *x, int64_t inc) {
  if constexpr (sizeof(R) == 4) zor_blas_csscal(&count, &a, x, &inc);
  else zor_blas_zdscal(&count, &a, x, &inc);
}

// ConjForward: the forward sweep takes conj(e), the backward e; otherwise
// the reverse.
template <class E, int W, bool ConjForward>
void ptts2_block(int64_t n, const real_t<E> *d, const E *e, const real_t<E> *rec, E *b, int64_t ldb) {
  using R = real_t<E>;
  const Divisor<E, R, false> div{d, rec};
  const Cols<E, W> x{b, ldb};
  for (int64_t i = 1; i < n; ++i) {
    const E l = conj_if<ConjForward>(e[i - 1]);
    for (int c = 0; c < W; ++c) x.at(i, c) = x.at(i, c) - x.at(i - 1, c) * l;
  }
  for (int c = 0; c < W; ++c) x.at(n - 1, c) = div.apply(x.at(n - 1, c), n - 1);
  for (int64_t i = n - 2; i >= 0; --i) {
    const E u = conj_if<!ConjForward>(e[i]);
    for (int c = 0; c < W; ++c) x.at(i, c) = div.apply(x.at(i, c), i) - x.at(i + 1, c) * u;
  }
}

template <class E, bool ConjForward>
void ptts2(int64_t n, int64_t nrhs, const real_t<E> *d, const E *e, E *b, int64_t ldb) {
  using R = real_t<E>;
  if (n <= 0 || nrhs <= 0) return;
  if (n == 1) {
    scale_row(nrhs, R(1) / d[0], b, ldb);
    return;
  }
  const ReciprocalTable<R> table(n, nrhs, d);
  int64_t j = 0;
  for (; j + 2 <= nrhs; j += 2) ptts2_block<E, 2, ConjForward>(n, d, e, table.get(), b + j * ldb, ldb);
  if (j < nrhs) ptts2_block<E, 1, ConjForward>(n, d, e, table.get(), b + j * ldb, ldb);
}

template <class E>
void ptts2_complex(int64_t iuplo, int64_t n, int64_t nrhs, const real_t<E> *d, const E *e, E *b, int64_t ldb) {
  if (iuplo == 1) ptts2<E, true>(n, nrhs, d, e, b, ldb);
  else ptts2<E, false>(n, nrhs, d, e, b, ldb);
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using C8 = zor::cplx<float>;
using C16 = zor::cplx<double>;
// clang-format off
ZOR_API void zor_lapack_ps_sgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const float *dl, const float *d, const float *du, const float *du2, const zor_int *ipiv, float *b, const zor_int *ldb) { gtts2(*itrans, *n, *nrhs, dl, d, du, du2, ipiv, b, *ldb); }
ZOR_API void zor_lapack_ps_dgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const double *dl, const double *d, const double *du, const double *du2, const zor_int *ipiv, double *b, const zor_int *ldb) { gtts2(*itrans, *n, *nrhs, dl, d, du, du2, ipiv, b, *ldb); }
ZOR_API void zor_lapack_ps_cgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const void *dl, const void *d, const void *du, const void *du2, const zor_int *ipiv, void *b, const zor_int *ldb) { gtts2(*itrans, *n, *nrhs, static_cast<const C8 *>(dl), static_cast<const C8 *>(d), static_cast<const C8 *>(du), static_cast<const C8 *>(du2), ipiv, static_cast<C8 *>(b), *ldb); }
ZOR_API void zor_lapack_ps_zgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const void *dl, const void *d, const void *du, const void *du2, const zor_int *ipiv, void *b, const zor_int *ldb) { gtts2(*itrans, *n, *nrhs, static_cast<const C16 *>(dl), static_cast<const C16 *>(d), static_cast<const C16 *>(du), static_cast<const C16 *>(du2), ipiv, static_cast<C16 *>(b), *ldb); }
ZOR_API void zor_lapack_ps_sptts2(const zor_int *n, const zor_int *nrhs, const float *d, const float *e, float *b, const zor_int *ldb) { ptts2<float, false>(*n, *nrhs, d, e, b, *ldb); }
ZOR_API void zor_lapack_ps_dptts2(const zor_int *n, const zor_int *nrhs, const double *d, const double *e, double *b, const zor_int *ldb) { ptts2<double, false>(*n, *nrhs, d, e, b, *ldb); }
ZOR_API void zor_lapack_ps_cptts2(const zor_int *iuplo, const zor_int *n, const zor_int *nrhs, const float *d, const void *e, void *b, const zor_int *ldb) { ptts2_complex(*iuplo, *n, *nrhs, d, static_cast<const C8 *>(e), static_cast<C8 *>(b), *ldb); }
ZOR_API void zor_lapack_ps_zptts2(const zor_int *iuplo, const zor_int *n, const zor_int *nrhs, const double *d, const void *e, void *b, const zor_int *ldb) { ptts2_complex(*iuplo, *n, *nrhs, d, static_cast<const C16 *>(e), static_cast<C16 *>(b), *ldb); }
// clang-format on
