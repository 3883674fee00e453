// The C interface of the BLAS front, one body per routine family for all
// precisions. Each body takes the C arguments (enumerations as int,
// integers widened to 64 bits, scalars by value) and
//   1. checks the order and the enumerations itself, reporting a bad one at
//      its place in the C argument list (order is 1);
//   2. forms the column-major image of a row-major call: operands and
//      dimensions exchanged, uplo, side and transposition flipped;
//   3. hands the image to the Fortran front's body (front/bodies.hpp),
//      which checks the rest by the shared rules; a bad argument found there
//      is reported at its place in the image plus one, under the image's
//      Fortran name ("cblas_dgemm ", blank-padded to six letters as the
//      reference names it), with RowMajorStrg telling a handler that the
//      place is that of the image.
// Row-major complex calls whose image is a conjugated product run on
// conjugated data: a pooled copy of x (increment 1), y conjugated in place
// before and after, conjugated scalars. Arguments are checked before any
// of that, so a refused call changes nothing.
// The reference interface has a few irregular places, kept here because
// handlers are written against them: a bad transb of a row-major ?gemm is
// reported at 2, a bad uplo of a row-major ?syrk, ?syr2k or ?herk at 3, and
// the increment of a vector that a row-major call conjugates into a copy is
// not checked at all (the copy has increment 1).
#pragma once
#include <zor/cblas.h>
#include <zor/serv.h>

#include <cstdint>

#include "core/blas_rules.hpp"
#include "front/bodies.hpp"
#include "front/front.hpp"

namespace zor::front::cblas {

// ---- reports (front/cblas_errors.cpp)

// A bad argument found by the C layer: position from order = 1, the C
// routine's name, the reference's message and the bad value.
void report(int position, const char *routine, bool row_major, const char *message, int value);
// A bad argument found in the image (Fortran position p): reported at p + 1
// under "cblas_" and the image's name padded to six letters; `image` names
// it when it is not the routine's own (the row-major ?gerc runs ?geru).
void report_image(int fortran_position, const char *routine, bool row_major, const char *image = nullptr);

// ---- arguments

template <class E, class V>
inline E scalar(V v) {
  if constexpr (is_complex_v<E>) return *static_cast<const E *>(static_cast<const void *>(v));
  else return E(v);
}

template <class E>
inline E conj_of(E v) {
  if constexpr (is_complex_v<E>) return conj(v);
  else return v;
}

inline bool valid_order(int order) { return order == CblasRowMajor || order == CblasColMajor; }
// The letter of an enumeration value, 0 for none.
inline char trans_letter(int t) { return t == CblasNoTrans ? 'N' : t == CblasTrans ? 'T' : t == CblasConjTrans ? 'C' : 0; }
inline char uplo_letter(int u) { return u == CblasUpper ? 'U' : u == CblasLower ? 'L' : 0; }
inline char diag_letter(int d) { return d == CblasNonUnit ? 'N' : d == CblasUnit ? 'U' : 0; }
inline char side_letter(int s) { return s == CblasLeft ? 'L' : s == CblasRight ? 'R' : 0; }
inline char flip_uplo(char u) { return u == 'U' ? 'L' : 'U'; }
inline char flip_side(char s) { return s == 'L' ? 'R' : 'L'; }

// x conjugated into pooled storage with increment 1 (element i of x at
// i incx, counted from the far end for a negative increment).
template <class E>
class ConjugatedCopy {
 public:
  ConjugatedCopy(zor_int n, const E *x, zor_int incx)
      : data_(static_cast<E *>(zor_serv_allocate(uint64_t(n > 0 ? n : 1) * sizeof(E), 64))) {
    if (!data_) return;
    const zor_int step = incx < 0 ? -incx : incx;
    for (zor_int i = 0; i < n; ++i) data_[i] = conj_of(x[(incx < 0 ? n - 1 - i : i) * step]);
  }
  ~ConjugatedCopy() { zor_serv_deallocate(data_); }
  ConjugatedCopy(const ConjugatedCopy &) = delete;
  ConjugatedCopy &operator=(const ConjugatedCopy &) = delete;
  const E *get() const { return data_; }
  explicit operator bool() const { return data_ != nullptr; }

 private:
  E *data_;
};

// y conjugated in place while it lives: on construction and again on exit.
template <class E>
class ConjugatedInPlace {
 public:
  ConjugatedInPlace(zor_int n, E *y, zor_int incy) : n_(n), y_(y), step_(incy < 0 ? -incy : incy) { flip(); }
  ~ConjugatedInPlace() { flip(); }
  ConjugatedInPlace(const ConjugatedInPlace &) = delete;
  ConjugatedInPlace &operator=(const ConjugatedInPlace &) = delete;

 private:
  void flip() {
    for (zor_int i = 0; i < n_; ++i) y_[i * step_] = conj_of(y_[i * step_]);
  }
  zor_int n_;
  E *y_;
  zor_int step_;
};

// A refused image: reported, true.
inline bool refused(int fortran_position, const char *routine, bool row_major, const char *image = nullptr) {
  if (!fortran_position) return false;
  report_image(fortran_position, routine, row_major, image);
  return true;
}

#define ZOR_CBLAS_ORDER(routine, order)                                                  \
  if (!valid_order(order)) return report(1, routine, false, "Illegal layout setting, %d\n", order); \
  const bool row = (order) == CblasRowMajor
#define ZOR_CBLAS_LETTER(var, fn, value, position, message, routine) \
  const char var = fn(value);                                        \
  if (!var) return report(position, routine, row, message, value)

// ------------------------------------------------------------------ level 1
// No argument of these is ever refused.
template <class E>
inline void axpy(const char *, zor_int n, E alpha, const E *x, zor_int incx, E *y, zor_int incy) {
  zor::front::axpy(n, &alpha, x, incx, y, incy);
}
template <class E>
inline void axpby(const char *, zor_int n, E alpha, const E *x, zor_int incx, E beta, E *y, zor_int incy) {
  zor::front::axpby(n, &alpha, x, incx, &beta, y, incy);
}
template <class E>
inline void copy(const char *, zor_int n, const E *x, zor_int incx, E *y, zor_int incy) {
  zor::front::copy(n, x, incx, y, incy);
}
template <class E>
inline void swap(const char *, zor_int n, E *x, zor_int incx, E *y, zor_int incy) {
  zor::front::swap(n, x, incx, y, incy);
}
template <class E>
inline void scal(const char *, zor_int n, E alpha, E *x, zor_int incx) {
  zor::front::scal(n, &alpha, x, incx);
}
template <class E>
inline void rscal(const char *, zor_int n, real_t<E> alpha, E *x, zor_int incx) {
  zor::front::rscal(n, &alpha, x, incx);
}
template <class E>
inline E dot(const char *, zor_int n, const E *x, zor_int incx, const E *y, zor_int incy) {
  return zor::front::dotu(n, x, incx, y, incy);
}
template <class E>
inline void dotu_sub(const char *, zor_int n, const E *x, zor_int incx, const E *y, zor_int incy, E *dotu) {
  *dotu = zor::front::dotu(n, x, incx, y, incy);
}
template <class E>
inline void dotc_sub(const char *, zor_int n, const E *x, zor_int incx, const E *y, zor_int incy, E *dotc) {
  *dotc = zor::front::dotc(n, x, incx, y, incy);
}
inline double dsdot(const char *, zor_int n, const float *x, zor_int incx, const float *y, zor_int incy) {
  return zor::front::dsdot(n, x, incx, y, incy);
}
inline float sdsdot(const char *, zor_int n, float alpha, const float *x, zor_int incx, const float *y,
                    zor_int incy) {
  return zor::front::sdsdot(n, &alpha, x, incx, y, incy);
}
template <class E>
inline real_t<E> nrm2(const char *, zor_int n, const E *x, zor_int incx) {
  return zor::front::nrm2(n, x, incx);
}
template <class E>
inline real_t<E> asum(const char *, zor_int n, const E *x, zor_int incx) {
  return zor::front::asum(n, x, incx);
}
// Indices count from 0 here; 0 also for no elements.
template <class E>
inline CBLAS_INDEX iamax(const char *, zor_int n, const E *x, zor_int incx) {
  const zor_int i = zor::front::iamax(n, x, incx);
  return CBLAS_INDEX(i > 0 ? i - 1 : 0);
}
template <class E>
inline CBLAS_INDEX iamin(const char *, zor_int n, const E *x, zor_int incx) {
  const zor_int i = zor::front::iamin(n, x, incx);
  return CBLAS_INDEX(i > 0 ? i - 1 : 0);
}
template <class E>
inline real_t<E> cabs1(const char *, const E *z) {
  return zor::front::cabs1(z);
}
template <class E>
inline void rot(const char *, zor_int n, E *x, zor_int incx, E *y, zor_int incy, real_t<E> c, real_t<E> s) {
  zor::front::rot(n, x, incx, y, incy, &c, &s);
}
template <class E>
inline void rotg(const char *, E *a, E *b, real_t<E> *c, E *s) {
  zor::front::rotg(a, b, c, s);
}
template <class E>
inline void rotm(const char *, zor_int n, E *x, zor_int incx, E *y, zor_int incy, const E *p) {
  zor::front::rotm(n, x, incx, y, incy, p);
}
template <class E>
inline void rotmg(const char *, E *d1, E *d2, E *b1, E b2, E *p) {
  zor::front::rotmg(d1, d2, b1, &b2, p);
}

// ------------------------------------------------------------------ level 2
// y := alpha op(A) x + beta y, A general (gemv) or banded (gbmv).
template <class E>
inline void gemv(const char *routine, int order, int trans, zor_int m, zor_int n, E alpha, const E *a, zor_int lda,
                 const E *x, zor_int incx, E beta, E *y, zor_int incy) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(t, trans_letter, trans, 2, "Illegal TransA setting, %d\n", routine);
  if (!row) {
    refused(zor::front::gemv(t, m, n, &alpha, a, lda, x, incx, &beta, y, incy), routine, row);
    return;
  }
  if (t != 'C' || !is_complex_v<E>) {
    refused(zor::front::gemv(t == 'N' ? 'T' : 'N', n, m, &alpha, a, lda, x, incx, &beta, y, incy), routine, row);
    return;
  }
  // A^H of row-major storage: conj(A') with A' its column-major view.
  const zor_int v[12] = {0, 'N', n, m, 0, 0, lda, 0, 1, 0, 0, incy};
  if (refused(rules::first_bad<rules::kGemv>(v), routine, row)) return;
  if (m == 0 || n == 0) return;
  const ConjugatedCopy<E> xc(m, x, incx);
  if (!xc) return;
  const ConjugatedInPlace<E> yc(n, y, incy);
  const E ca = conj_of(alpha), cb = conj_of(beta);
  zor::front::gemv('N', n, m, &ca, a, lda, xc.get(), 1, &cb, y, incy);
}

template <class E>
inline void gbmv(const char *routine, int order, int trans, zor_int m, zor_int n, zor_int kl, zor_int ku, E alpha,
                 const E *a, zor_int lda, const E *x, zor_int incx, E beta, E *y, zor_int incy) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(t, trans_letter, trans, 2, "Illegal TransA setting, %d\n", routine);
  if (!row) {
    refused(zor::front::gbmv(t, m, n, kl, ku, &alpha, a, lda, x, incx, &beta, y, incy), routine, row);
    return;
  }
  if (t != 'C' || !is_complex_v<E>) {
    refused(zor::front::gbmv(t == 'N' ? 'T' : 'N', n, m, ku, kl, &alpha, a, lda, x, incx, &beta, y, incy), routine,
            row);
    return;
  }
  const zor_int v[14] = {0, 'N', n, m, ku, kl, 0, 0, lda, 0, 1, 0, 0, incy};
  if (refused(rules::first_bad<rules::kGbmv>(v), routine, row)) return;
  if (m == 0 || n == 0) return;
  const ConjugatedCopy<E> xc(m, x, incx);
  if (!xc) return;
  const ConjugatedInPlace<E> yc(n, y, incy);
  const E ca = conj_of(alpha), cb = conj_of(beta);
  zor::front::gbmv('N', n, m, ku, kl, &ca, a, lda, xc.get(), 1, &cb, y, incy);
}

// Triangular products and solves (dense, band, packed): x in place. The
// row-major conjugate transpose runs on conjugated x. check(u, t, d) gives
// the image's first bad position, run(u, t, d) checks and runs it.
template <class E, class Check, class Run>
inline void triangular_v(const char *routine, int order, int uplo, int trans, int diag, zor_int n, E *x,
                         zor_int incx, const Check &check, const Run &run) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, 2, "Illegal Uplo setting, %d\n", routine);
  ZOR_CBLAS_LETTER(t, trans_letter, trans, 3, "Illegal TransA setting, %d\n", routine);
  ZOR_CBLAS_LETTER(d, diag_letter, diag, 4, "Illegal Diag setting, %d\n", routine);
  if (!row) {
    refused(run(u, t, d), routine, row);
    return;
  }
  if (t != 'C' || !is_complex_v<E>) {
    refused(run(flip_uplo(u), t == 'N' ? 'T' : 'N', d), routine, row);
    return;
  }
  if (refused(check(flip_uplo(u), 'N', d), routine, row)) return;
  const ConjugatedInPlace<E> xc(n, x, incx);
  run(flip_uplo(u), 'N', d);
}
template <Tri Op, class E>
inline void trxv(const char *routine, int order, int uplo, int trans, int diag, zor_int n, const E *a, zor_int lda,
                 E *x, zor_int incx) {
  triangular_v(
      routine, order, uplo, trans, diag, n, x, incx,
      [&](char u, char t, char d) {
        const zor_int v[9] = {0, u, t, d, n, 0, lda, 0, incx};
        return rules::first_bad<rules::kTrmv>(v);
      },
      [&](char u, char t, char d) { return zor::front::trxv<Op>(u, t, d, n, a, lda, x, incx); });
}
template <Tri Op, class E>
inline void tbxv(const char *routine, int order, int uplo, int trans, int diag, zor_int n, zor_int k, const E *a,
                 zor_int lda, E *x, zor_int incx) {
  triangular_v(
      routine, order, uplo, trans, diag, n, x, incx,
      [&](char u, char t, char d) {
        const zor_int v[10] = {0, u, t, d, n, k, 0, lda, 0, incx};
        return rules::first_bad<rules::kTbmv>(v);
      },
      [&](char u, char t, char d) { return zor::front::tbxv<Op>(u, t, d, n, k, a, lda, x, incx); });
}
template <Tri Op, class E>
inline void tpxv(const char *routine, int order, int uplo, int trans, int diag, zor_int n, const E *ap, E *x,
                 zor_int incx) {
  triangular_v(
      routine, order, uplo, trans, diag, n, x, incx,
      [&](char u, char t, char d) {
        const zor_int v[8] = {0, u, t, d, n, 0, 0, incx};
        return rules::first_bad<rules::kTpmv>(v);
      },
      [&](char u, char t, char d) { return zor::front::tpxv<Op>(u, t, d, n, ap, x, incx); });
}
template <class E>
inline void trmv(const char *r, int o, int u, int t, int d, zor_int n, const E *a, zor_int lda, E *x, zor_int incx) {
  trxv<Tri::mv>(r, o, u, t, d, n, a, lda, x, incx);
}
template <class E>
inline void trsv(const char *r, int o, int u, int t, int d, zor_int n, const E *a, zor_int lda, E *x, zor_int incx) {
  trxv<Tri::sv>(r, o, u, t, d, n, a, lda, x, incx);
}
template <class E>
inline void tbmv(const char *r, int o, int u, int t, int d, zor_int n, zor_int k, const E *a, zor_int lda, E *x,
                 zor_int incx) {
  tbxv<Tri::mv>(r, o, u, t, d, n, k, a, lda, x, incx);
}
template <class E>
inline void tbsv(const char *r, int o, int u, int t, int d, zor_int n, zor_int k, const E *a, zor_int lda, E *x,
                 zor_int incx) {
  tbxv<Tri::sv>(r, o, u, t, d, n, k, a, lda, x, incx);
}
template <class E>
inline void tpmv(const char *r, int o, int u, int t, int d, zor_int n, const E *ap, E *x, zor_int incx) {
  tpxv<Tri::mv>(r, o, u, t, d, n, ap, x, incx);
}
template <class E>
inline void tpsv(const char *r, int o, int u, int t, int d, zor_int n, const E *ap, E *x, zor_int incx) {
  tpxv<Tri::sv>(r, o, u, t, d, n, ap, x, incx);
}

// y := alpha A x + beta y, A symmetric (real data) or Hermitian (complex):
// dense, band, packed. Row-major storage holds A^T = conj(A): the image
// reads the other triangle and, for complex data, runs on conj(x), conj(y)
// and the conjugated scalars. check(u) / run(u, alpha, beta, x, incx) as
// above.
template <class E, class Check, class Run>
inline void hermitian_v(const char *routine, int order, int uplo, zor_int n, E alpha, const E *x, zor_int incx,
                        E beta, E *y, zor_int incy, const Check &check, const Run &run) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, 2, "Illegal Uplo setting, %d\n", routine);
  if (!row) {
    refused(run(u, alpha, beta, x, incx), routine, row);
    return;
  }
  if constexpr (!is_complex_v<E>) {
    refused(run(flip_uplo(u), alpha, beta, x, incx), routine, row);
  } else {
    if (refused(check(flip_uplo(u)), routine, row) || n == 0) return;
    const ConjugatedCopy<E> xc(n, x, incx);
    if (!xc) return;
    const ConjugatedInPlace<E> yc(n, y, incy);
    run(flip_uplo(u), conj_of(alpha), conj_of(beta), xc.get(), zor_int(1));
  }
}
template <class E>
inline void hemv(const char *routine, int order, int uplo, zor_int n, E alpha, const E *a, zor_int lda, const E *x,
                 zor_int incx, E beta, E *y, zor_int incy) {
  hermitian_v(
      routine, order, uplo, n, alpha, x, incx, beta, y, incy,
      [&](char u) {
        const zor_int v[11] = {0, u, n, 0, 0, lda, 0, 1, 0, 0, incy};
        return rules::first_bad<rules::kSymv>(v);
      },
      [&](char u, E al, E be, const E *xx, zor_int ix) {
        return zor::front::hemv(u, n, &al, a, lda, xx, ix, &be, y, incy);
      });
}
template <class E>
inline void hbmv(const char *routine, int order, int uplo, zor_int n, zor_int k, E alpha, const E *a, zor_int lda,
                 const E *x, zor_int incx, E beta, E *y, zor_int incy) {
  hermitian_v(
      routine, order, uplo, n, alpha, x, incx, beta, y, incy,
      [&](char u) {
        const zor_int v[12] = {0, u, n, k, 0, 0, lda, 0, 1, 0, 0, incy};
        return rules::first_bad<rules::kSbmv>(v);
      },
      [&](char u, E al, E be, const E *xx, zor_int ix) {
        return zor::front::hbmv(u, n, k, &al, a, lda, xx, ix, &be, y, incy);
      });
}
template <class E>
inline void hpmv(const char *routine, int order, int uplo, zor_int n, E alpha, const E *ap, const E *x, zor_int incx,
                 E beta, E *y, zor_int incy) {
  hermitian_v(
      routine, order, uplo, n, alpha, x, incx, beta, y, incy,
      [&](char u) {
        const zor_int v[10] = {0, u, n, 0, 0, 0, 1, 0, 0, incy};
        return rules::first_bad<rules::kSpmv>(v);
      },
      [&](char u, E al, E be, const E *xx, zor_int ix) {
        return zor::front::hpmv(u, n, &al, ap, xx, ix, &be, y, incy);
      });
}

// A := alpha x y^T + A (geru, and ger of real data) or alpha x y^H + A
// (gerc). Row-major: A^T := alpha y x^T + A^T, so x and y change places;
// for gerc the image is geru on conj(y).
template <class E>
inline void geru(const char *routine, int order, zor_int m, zor_int n, E alpha, const E *x, zor_int incx, const E *y,
                 zor_int incy, E *a, zor_int lda) {
  ZOR_CBLAS_ORDER(routine, order);
  if (!row) refused(zor::front::ger<false>(m, n, &alpha, x, incx, y, incy, a, lda), routine, row);
  else refused(zor::front::ger<false>(n, m, &alpha, y, incy, x, incx, a, lda), routine, row);
}
template <class E>
inline void gerc(const char *routine, int order, zor_int m, zor_int n, E alpha, const E *x, zor_int incx, const E *y,
                 zor_int incy, E *a, zor_int lda) {
  ZOR_CBLAS_ORDER(routine, order);
  if (!row) {
    refused(zor::front::ger<true>(m, n, &alpha, x, incx, y, incy, a, lda), routine, row);
    return;
  }
  const zor_int v[10] = {0, n, m, 0, 0, 1, 0, incx, 0, lda};
  if (refused(rules::first_bad<rules::kGer>(v), routine, row, "geru") || m == 0 || n == 0) return;
  const ConjugatedCopy<E> yc(n, y, incy);
  if (!yc) return;
  zor::front::ger<false>(n, m, &alpha, yc.get(), 1, x, incx, a, lda);
}

// A := alpha x x^H + A, alpha real (her, hpr; syr, spr of real data), and
// A := alpha x y^H + conj(alpha) y x^H + A (her2, hpr2; syr2, spr2).
// Row-major complex: conj(A) takes alpha conj(x) conj(x)^H, and
// alpha conj(y) conj(x)^H + conj(alpha) conj(x) conj(y)^H.
template <class E, class Check, class Run>
inline void rank_update(const char *routine, int order, int uplo, zor_int n, const Check &check, const Run &run) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, 2, "Illegal Uplo setting, %d\n", routine);
  if (!row) refused(run(u, false), routine, row);
  else if constexpr (!is_complex_v<E>) refused(run(flip_uplo(u), false), routine, row);
  else if (!refused(check(flip_uplo(u)), routine, row) && n > 0) run(flip_uplo(u), true);
}
template <class E>
inline void her(const char *routine, int order, int uplo, zor_int n, real_t<E> alpha, const E *x, zor_int incx, E *a,
                zor_int lda) {
  rank_update<E>(
      routine, order, uplo, n,
      [&](char u) {
        const zor_int v[8] = {0, u, n, 0, 0, 1, 0, lda};
        return rules::first_bad<rules::kSyr>(v);
      },
      [&](char u, bool conjugated) {
        if (!conjugated) return zor::front::her(u, n, &alpha, x, incx, a, lda);
        const ConjugatedCopy<E> xc(n, x, incx);
        return xc ? zor::front::her(u, n, &alpha, xc.get(), 1, a, lda) : 0;
      });
}
template <class E>
inline void hpr(const char *routine, int order, int uplo, zor_int n, real_t<E> alpha, const E *x, zor_int incx,
                E *ap) {
  rank_update<E>(
      routine, order, uplo, n,
      [&](char u) {
        const zor_int v[6] = {0, u, n, 0, 0, 1};
        return rules::first_bad<rules::kSpr>(v);
      },
      [&](char u, bool conjugated) {
        if (!conjugated) return zor::front::hpr(u, n, &alpha, x, incx, ap);
        const ConjugatedCopy<E> xc(n, x, incx);
        return xc ? zor::front::hpr(u, n, &alpha, xc.get(), 1, ap) : 0;
      });
}
template <class E>
inline void her2(const char *routine, int order, int uplo, zor_int n, E alpha, const E *x, zor_int incx, const E *y,
                 zor_int incy, E *a, zor_int lda) {
  rank_update<E>(
      routine, order, uplo, n,
      [&](char u) {
        const zor_int v[10] = {0, u, n, 0, 0, 1, 0, 1, 0, lda};
        return rules::first_bad<rules::kSyr2>(v);
      },
      [&](char u, bool conjugated) {
        if (!conjugated) return zor::front::her2(u, n, &alpha, x, incx, y, incy, a, lda);
        const ConjugatedCopy<E> xc(n, x, incx), yc(n, y, incy);
        return xc && yc ? zor::front::her2(u, n, &alpha, yc.get(), 1, xc.get(), 1, a, lda) : 0;
      });
}
template <class E>
inline void hpr2(const char *routine, int order, int uplo, zor_int n, E alpha, const E *x, zor_int incx, const E *y,
                 zor_int incy, E *ap) {
  rank_update<E>(
      routine, order, uplo, n,
      [&](char u) {
        const zor_int v[8] = {0, u, n, 0, 0, 1, 0, 1};
        return rules::first_bad<rules::kSpr2>(v);
      },
      [&](char u, bool conjugated) {
        if (!conjugated) return zor::front::hpr2(u, n, &alpha, x, incx, y, incy, ap);
        const ConjugatedCopy<E> xc(n, x, incx), yc(n, y, incy);
        return xc && yc ? zor::front::hpr2(u, n, &alpha, yc.get(), 1, xc.get(), 1, ap) : 0;
      });
}

// ------------------------------------------------------------------ level 3
// Row-major: C^T = op(B)^T op(A)^T, the operands exchanged.
template <bool ThreeM, class E>
inline void gemm_of(const char *routine, int order, int transa, int transb, zor_int m, zor_int n, zor_int k, E alpha,
                    const E *a, zor_int lda, const E *b, zor_int ldb, E beta, E *c, zor_int ldc) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(ta, trans_letter, transa, 2, "Illegal TransA setting, %d\n", routine);
  ZOR_CBLAS_LETTER(tb, trans_letter, transb, row ? 2 : 3, "Illegal TransB setting, %d\n", routine);
  if (!row) refused(zor::front::gemm<ThreeM>(ta, tb, m, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc), routine, row);
  else refused(zor::front::gemm<ThreeM>(tb, ta, n, m, k, &alpha, b, ldb, a, lda, &beta, c, ldc), routine, row);
}
template <class E>
inline void gemm(const char *r, int o, int ta, int tb, zor_int m, zor_int n, zor_int k, E alpha, const E *a,
                 zor_int lda, const E *b, zor_int ldb, E beta, E *c, zor_int ldc) {
  gemm_of<false>(r, o, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
template <class E>
inline void gemm3m(const char *r, int o, int ta, int tb, zor_int m, zor_int n, zor_int k, E alpha, const E *a,
                   zor_int lda, const E *b, zor_int ldb, E beta, E *c, zor_int ldc) {
  gemm_of<true>(r, o, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// Row-major: C^T = B^T A^T (side L) with A^T stored in the other triangle;
// a Hermitian A^T is read as Hermitian as it stands.
template <bool Hermitian, class E>
inline void symm_of(const char *routine, int order, int side, int uplo, zor_int m, zor_int n, E alpha, const E *a,
                    zor_int lda, const E *b, zor_int ldb, E beta, E *c, zor_int ldc) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(s, side_letter, side, 2, "Illegal Side setting, %d\n", routine);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, 3, "Illegal Uplo setting, %d\n", routine);
  if (!row) refused(zor::front::symm<Hermitian>(s, u, m, n, &alpha, a, lda, b, ldb, &beta, c, ldc), routine, row);
  else
    refused(zor::front::symm<Hermitian>(flip_side(s), flip_uplo(u), n, m, &alpha, a, lda, b, ldb, &beta, c, ldc),
            routine, row);
}
template <class E>
inline void symm(const char *r, int o, int s, int u, zor_int m, zor_int n, E alpha, const E *a, zor_int lda,
                 const E *b, zor_int ldb, E beta, E *c, zor_int ldc) {
  symm_of<false>(r, o, s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
template <class E>
inline void hemm(const char *r, int o, int s, int u, zor_int m, zor_int n, E alpha, const E *a, zor_int lda,
                 const E *b, zor_int ldb, E beta, E *c, zor_int ldc) {
  symm_of<true>(r, o, s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The transposition of a rank-k image: row-major exchanges 'N' with the
// transposed form ('C' for the Hermitian ones); any other row-major value
// runs as 'N'.
template <bool Hermitian>
inline char rank_k_image(char t, bool row) {
  if (!row) return t;
  return t == 'N' ? (Hermitian ? 'C' : 'T') : 'N';
}
template <class E>
inline void syrk(const char *routine, int order, int uplo, int trans, zor_int n, zor_int k, E alpha, const E *a,
                 zor_int lda, E beta, E *c, zor_int ldc) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, row ? 3 : 2, "Illegal Uplo setting, %d\n", routine);
  ZOR_CBLAS_LETTER(t, trans_letter, trans, 3, "Illegal Trans setting, %d\n", routine);
  refused(zor::front::syrk<false>(row ? flip_uplo(u) : u, rank_k_image<false>(t, row), n, k, &alpha, a, lda, &beta,
                                  c, ldc),
          routine, row);
}
template <class E>
inline void herk(const char *routine, int order, int uplo, int trans, zor_int n, zor_int k, real_t<E> alpha,
                 const E *a, zor_int lda, real_t<E> beta, E *c, zor_int ldc) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, row ? 3 : 2, "Illegal Uplo setting, %d\n", routine);
  ZOR_CBLAS_LETTER(t, trans_letter, trans, 3, "Illegal Trans setting, %d\n", routine);
  refused(zor::front::syrk<true>(row ? flip_uplo(u) : u, rank_k_image<true>(t, row), n, k, &alpha, a, lda, &beta, c,
                                 ldc),
          routine, row);
}
template <class E>
inline void syr2k(const char *routine, int order, int uplo, int trans, zor_int n, zor_int k, E alpha, const E *a,
                  zor_int lda, const E *b, zor_int ldb, E beta, E *c, zor_int ldc) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, row ? 3 : 2, "Illegal Uplo setting, %d\n", routine);
  ZOR_CBLAS_LETTER(t, trans_letter, trans, 3, "Illegal Trans setting, %d\n", routine);
  refused(zor::front::syr2k<false>(row ? flip_uplo(u) : u, rank_k_image<false>(t, row), n, k, &alpha, a, lda, b, ldb,
                                   &beta, c, ldc),
          routine, row);
}
// Row-major: conj(C) takes conj(alpha) A'^H B' + alpha B'^H A'.
template <class E>
inline void her2k(const char *routine, int order, int uplo, int trans, zor_int n, zor_int k, E alpha, const E *a,
                  zor_int lda, const E *b, zor_int ldb, real_t<E> beta, E *c, zor_int ldc) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, 2, "Illegal Uplo setting, %d\n", routine);
  ZOR_CBLAS_LETTER(t, trans_letter, trans, 3, "Illegal Trans setting, %d\n", routine);
  const E image_alpha = row ? conj_of(alpha) : alpha;
  refused(zor::front::syr2k<true>(row ? flip_uplo(u) : u, rank_k_image<true>(t, row), n, k, &image_alpha, a, lda, b,
                                  ldb, &beta, c, ldc),
          routine, row);
}

// Row-major: B^T := alpha B^T op(A)^T (side L), A^T in the other triangle.
template <Tri Op, class E>
inline void trxm(const char *routine, int order, int side, int uplo, int transa, int diag, zor_int m, zor_int n,
                 E alpha, const E *a, zor_int lda, E *b, zor_int ldb) {
  ZOR_CBLAS_ORDER(routine, order);
  ZOR_CBLAS_LETTER(s, side_letter, side, 2, "Illegal Side setting, %d\n", routine);
  ZOR_CBLAS_LETTER(u, uplo_letter, uplo, 3, "Illegal Uplo setting, %d\n", routine);
  ZOR_CBLAS_LETTER(t, trans_letter, transa, 4, "Illegal Trans setting, %d\n", routine);
  ZOR_CBLAS_LETTER(d, diag_letter, diag, 5, "Illegal Diag setting, %d\n", routine);
  if (!row) refused(zor::front::trxm<Op>(s, u, t, d, m, n, &alpha, a, lda, b, ldb), routine, row);
  else refused(zor::front::trxm<Op>(flip_side(s), flip_uplo(u), t, d, n, m, &alpha, a, lda, b, ldb), routine, row);
}
template <class E>
inline void trmm(const char *r, int o, int s, int u, int t, int d, zor_int m, zor_int n, E alpha, const E *a,
                 zor_int lda, E *b, zor_int ldb) {
  trxm<Tri::mv>(r, o, s, u, t, d, m, n, alpha, a, lda, b, ldb);
}
template <class E>
inline void trsm(const char *r, int o, int s, int u, int t, int d, zor_int m, zor_int n, E alpha, const E *a,
                 zor_int lda, E *b, zor_int ldb) {
  trxm<Tri::sv>(r, o, s, u, t, d, m, n, alpha, a, lda, b, ldb);
}

#undef ZOR_CBLAS_ORDER
#undef ZOR_CBLAS_LETTER

}  // namespace zor::front::cblas
