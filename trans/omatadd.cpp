// Scaled sum of two matrices, either or both transposed or conjugated:
//   C := alpha op(A) + beta op(B)
// in the row-major view; only 'C'/'c' as the ordering exchanges rows and
// cols, any other letter is read as row-major. The mode letters form a code
// (transa 'N' 'T' 'R' 'C' = 1 2 4 8, transb = 16 32 64 128) that picks one
// of four kernels: neither transposed, one transposed (the mixed kernel, with
// the operands exchanged when it is A), both transposed. Real types read 'R'
// as 'N' and 'C' as 'T'; complex types conjugate in the load for 'R' and 'C'.
#include "trans/element.hpp"

namespace zor::trans {
namespace {

// c[i, j] := op(a[i, j]) alpha + op(b[i, j]) beta; per row, a peel to a
// 16-byte boundary of c, eight elements a pass, then the tail.
template <class T, bool CA, bool CB>
void add_plain(u64 R, u64 C, typename T::elem alpha, const typename T::elem *a, u64 lda, typename T::elem beta,
               const typename T::elem *b, u64 ldb, typename T::elem *c, u64 ldc) {
  auto one = [&](const auto *ai, const auto *bi, auto *ci, u64 j) {
    ci[j] = scaled<T, CA>(ai[j], alpha) + scaled<T, CB>(bi[j], beta);
  };
  for (u64 i = 0; i < R; ++i) {
    const auto *ai = a + i * lda;
    const auto *bi = b + i * ldb;
    auto *ci = c + i * ldc;
    u64 j = 0;
    for (; j < C && j + 1 < T::elem_lanes && reinterpret_cast<uintptr_t>(ci + j) % 16 != 0; ++j) one(ai, bi, ci, j);
    for (; j + 8 <= C; j += 8)
      for (u64 k = j; k < j + 8; ++k) one(ai, bi, ci, k);
    for (; j < C; ++j) one(ai, bi, ci, j);
  }
}

// The mixed kernel: c[i, j] := op(x[i, j]) p + op(y[j, i]) q, m x n.
template <class T, bool CX, bool CY>
struct Mixed {
  using E = typename T::elem;

  static void one(u64 i, u64 j, E p, const E *x, u64 ldx, E q, const E *y, u64 ldy, E *c, u64 ldc) {
    c[i * ldc + j] = scaled<T, CX>(x[i * ldx + j], p) + scaled<T, CY>(y[j * ldy + i], q);
  }

  // Row after row, two elements a pass.
  static void rows(u64 m, u64 n, E p, const E *x, u64 ldx, E q, const E *y, u64 ldy, E *c, u64 ldc) {
    for (u64 i = 0; i < m; ++i) {
      u64 j = 0;
      for (; j + 1 < n; j += 2) {
        one(i, j, p, x, ldx, q, y, ldy, c, ldc);
        one(i, j + 1, p, x, ldx, q, y, ldy, c, ldc);
      }
      if (j < n) one(i, j, p, x, ldx, q, y, ldy, c, ldc);
    }
  }

  // x is c itself: each element of c is read and written once whatever the
  // order, so the recursion only tiles the access to y. Below 5 by 5 the
  // base loop; otherwise the longer side (n when m <= n) is cut into
  // n - n/2 and n/2, both halves by recursion.
  static void in_place(u64 m, u64 n, E p, E *c, u64 ldc, E q, const E *y, u64 ldy) {
    if (m < 5 && n < 5) return rows(m, n, p, c, ldc, q, y, ldy, c, ldc);
    if (m <= n) {
      u64 h = n - n / 2;
      in_place(m, h, p, c, ldc, q, y, ldy);
      in_place(m, n - h, p, c + h, ldc, q, y + h * ldy, ldy);
    } else {
      u64 h = m - m / 2;
      in_place(h, n, p, c, ldc, q, y, ldy);
      in_place(m - h, n, p, c + h * ldc, ldc, q, y + h, ldy);
    }
  }

  static void run(u64 m, u64 n, E p, const E *x, u64 ldx, E q, const E *y, u64 ldy, E *c, u64 ldc) {
    if (x == c && ldx == ldc) in_place(m, n, p, c, ldc, q, y, ldy);
    else rows(m, n, p, x, ldx, q, y, ldy, c, ldc);
  }
};

// c[i, j] := op(a[j, i]) alpha + op(b[j, i]) beta; a double loop, two
// elements a pass.
template <class T, bool CA, bool CB>
void add_transposed(u64 R, u64 C, typename T::elem alpha, const typename T::elem *a, u64 lda, typename T::elem beta,
                    const typename T::elem *b, u64 ldb, typename T::elem *c, u64 ldc) {
  auto one = [&](u64 i, u64 j) {
    c[i * ldc + j] = scaled<T, CA>(a[j * lda + i], alpha) + scaled<T, CB>(b[j * ldb + i], beta);
  };
  for (u64 i = 0; i < R; ++i) {
    u64 j = 0;
    for (; j + 1 < C; j += 2) {
      one(i, j);
      one(i, j + 1);
    }
    if (j < C) one(i, j);
  }
}

template <class T, bool CA, bool CB>
void add(bool ta, bool tb, u64 R, u64 C, typename T::elem alpha, const typename T::elem *a, u64 lda,
         typename T::elem beta, const typename T::elem *b, u64 ldb, typename T::elem *c, u64 ldc) {
  if (!ta && !tb) add_plain<T, CA, CB>(R, C, alpha, a, lda, beta, b, ldb, c, ldc);
  else if (ta && !tb) Mixed<T, CB, CA>::run(R, C, beta, b, ldb, alpha, a, lda, c, ldc);
  else if (!ta && tb) Mixed<T, CA, CB>::run(R, C, alpha, a, lda, beta, b, ldb, c, ldc);
  else add_transposed<T, CA, CB>(R, C, alpha, a, lda, beta, b, ldb, c, ldc);
}

template <class T>
void omatadd(char ordering, char transa, char transb, u64 rows, u64 cols, typename T::elem alpha,
             const typename T::elem *a, u64 lda, typename T::elem beta, const typename T::elem *b, u64 ldb,
             typename T::elem *c, u64 ldc) {
  if (read_letter<Order>(ordering) == Order::C) std::swap(rows, cols);
  if (rows == 0 || cols == 0) return;
  const Trans la = copy_trans<T::complex>(transa), lb = copy_trans<T::complex>(transb);
  if (la == Trans::none || lb == Trans::none) return;
  const bool ta = transposes(la), tb = transposes(lb);
  if constexpr (T::complex) {
    const bool ca = conjugates(la), cb = conjugates(lb);
    if (ca && cb) add<T, true, true>(ta, tb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
    else if (ca) add<T, true, false>(ta, tb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
    else if (cb) add<T, false, true>(ta, tb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
    else add<T, false, false>(ta, tb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
  } else {
    add<T, false, false>(ta, tb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
  }
}

}  // namespace
}  // namespace zor::trans

using namespace zor::trans;
using zor::S, zor::D, zor::C, zor::Z, zor::elems, zor::elem_value;

ZOR_API void zor_trans_zor_somatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    float alpha, const float *a, uint64_t lda, float beta, const float *b,
                                    uint64_t ldb, float *c, uint64_t ldc) {
  omatadd<S>(ordering, transa, transb, rows, cols, elem_value(alpha), elems(a), lda, elem_value(beta), elems(b), ldb,
             elems(c), ldc);
}
ZOR_API void zor_trans_zor_domatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    double alpha, const double *a, uint64_t lda, double beta, const double *b,
                                    uint64_t ldb, double *c, uint64_t ldc) {
  omatadd<D>(ordering, transa, transb, rows, cols, elem_value(alpha), elems(a), lda, elem_value(beta), elems(b), ldb,
             elems(c), ldc);
}
ZOR_API void zor_trans_zor_comatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    zor_complex8 alpha, const zor_complex8 *a, uint64_t lda, zor_complex8 beta,
                                    const zor_complex8 *b, uint64_t ldb, zor_complex8 *c, uint64_t ldc) {
  omatadd<C>(ordering, transa, transb, rows, cols, elem_value(alpha), elems(a), lda, elem_value(beta), elems(b), ldb,
             elems(c), ldc);
}
ZOR_API void zor_trans_zor_zomatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    const zor_complex16 *alpha, const zor_complex16 *a, uint64_t lda,
                                    const zor_complex16 *beta, const zor_complex16 *b, uint64_t ldb,
                                    zor_complex16 *c, uint64_t ldc) {
  omatadd<Z>(ordering, transa, transb, rows, cols, *elems(alpha), elems(a), lda, *elems(beta), elems(b), ldb,
             elems(c), ldc);
}
