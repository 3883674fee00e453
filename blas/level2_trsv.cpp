// Dense triangular solves ?trsv and products x?trmv, x?trmv_in_thread:
// blocked, a fixed block on the diagonal (32 for the solve, 64 for the
// product) done without blocks, and everything off it through gemv.
//
// The solve, blocks in the order of the solve, each taken from the end at
// which the solve begins, so that the short block is always the last one:
//   'N', upper: bottom to top; solve the block, then the rows above take
//     -A[above, block] x[block] (gemv 'N');
//   'N', lower: top to bottom; solve, then the rows below;
//   transposed, lower: bottom to top; the block first takes
//     -A[below, block]^T x[below] (gemv with the caller's letter), then is
//     solved; transposed, upper: top to bottom, from the rows above.
// The gemv is the provider's checked zor_blas_?gemv with alpha -1, beta 1
// and the caller's increment, on x in place.
//
// The product, the mirror walk, through the tier's x?gemv (alpha 1, beta 1):
//   'N', lower: from the bottom; the rows below take A[below, block]
//     x[block], then x[block] := L x[block]; 'N', upper: from the top;
//   transposed, upper: from the bottom; x[block] := U^T x[block], then it
//     takes A[above, block]^T x[above]; transposed, lower: from the top.
// So an element of x is read by a gemv only before its own block changes,
// or, transposed, after every block that reads it is done. No workspace.
//
// The slice form computes m consecutive elements of the product of a
// larger triangle: y (m elements) holds a copy of the slice of the source
// vector, x (unit stride) a copy of the whole vector over the thread's view
// of order n. The slice's diagonal block stands at the end of the view for
// 'N' lower and transposed upper (a and x from the start of the matrix),
// at the start of the view for 'N' upper and transposed lower (a and x
// from the slice's first diagonal element). The walk above runs over the
// m elements with the gemv reading x, the diagonal blocks multiplied in
// place in y; then one gemv adds the rectangle of m by n - m outside the
// slice's triangle. Threads on disjoint slices write disjoint y.
#include <zor/blas.h>

#include "blas/level2_triangular.hpp"

namespace zor::blas::level2 {
namespace {

using namespace fixed;

char trans_letter(Trans op) { return op == Trans::N ? 'N' : op == Trans::T ? 'T' : 'C'; }

// Blocks [p, p + len) of an order-n walk, in walk order: from the top
// (forward) or from the bottom, whole blocks first, the short one last.
template <class Block>
void walk_blocks(int64_t n, int64_t nb, bool forward, Block &&block) {
  for (int64_t done = 0; done < n;) {
    const int64_t len = n - done < nb ? n - done : nb;
    block(forward ? done : n - done - len, len);
    done += len;
  }
}

template <class T>
void trsv(const char *uplo, const char *trans, const char *diag, const zor_int *n_, const void *a_,
          const zor_int *lda_, void *x_, const zor_int *incx_) {
  using E = typename T::elem;
  const int64_t n = *n_, lda = *lda_, inc = *incx_;
  if (n < 1) return;
  const Triangle g = read_triangle<T>(uplo, trans, diag, n, n);
  const E *a = static_cast<const E *>(a_);
  E *xs = vector_start(static_cast<E *>(x_), n, inc);
  const E minus_one = E{} - one_of<E>(), one = one_of<E>();
  const char letter = trans_letter(g.op), no = 'N';
  // Solved first: 'N' upper and transposed lower from the bottom.
  const bool forward = (g.op == Trans::N) != g.upper;
  walk_blocks(n, kSolveBlock, forward, [&](int64_t p, int64_t len) {
    const E *blk = a + p + p * lda;
    const Strided<E> xb{xs + p * inc, inc};
    auto solve = [&] {
      const Triangle d{g.upper, g.op, g.unit, len, len};
      triangular_solve<T, InRows<T>>(d, DenseColumns<E>{const_cast<E *>(blk), lda}, xb);
    };
    // The rows outside the block on the side the walk has not reached
    // ('N') or has already solved (transposed).
    const bool above = g.upper;
    const int64_t r0 = above ? 0 : p + len, rows = above ? p : n - p - len;
    const zor_int m = rows, cols = len;
    E *xr = segment_base(xs, r0, rows, inc), *xbb = segment_base(xs, p, len, inc);
    const E *rect = a + r0 + p * lda;
    if (g.op == Trans::N) {
      solve();
      if (rows > 0) imports<T>::gemv(&no, &m, &cols, &minus_one, rect, lda_, xbb, incx_, &one, xr, incx_, 1);
    } else {
      if (rows > 0) imports<T>::gemv(&letter, &m, &cols, &minus_one, rect, lda_, xr, incx_, &one, xbb, incx_, 1);
      solve();
    }
  });
}

// The blocked product of order n on y (at its logical start, increment
// incy), the off-diagonal products reading their right-hand side from
// src (base and increment as gemv takes them): y itself for the whole
// product, the unchanged copy x for a slice.
template <class T>
void blocked_product(const Triangle &g, const typename T::elem *a, int64_t lda, typename T::elem *ys, int64_t incy,
                     const typename T::elem *src, int64_t incs) {
  using E = typename T::elem;
  const int64_t n = g.n;
  const E one = one_of<E>();
  const char letter = trans_letter(g.op), no = 'N';
  const zor_int ld = lda, iy = incy, is = incs;
  const E *srcs = vector_start(src, n, incs);
  // Walked first: 'N' lower and transposed upper from the bottom.
  const bool forward = (g.op == Trans::N) == g.upper;
  walk_blocks(n, kProductBlock, forward, [&](int64_t p, int64_t len) {
    const E *blk = a + p + p * lda;
    auto multiply = [&] {
      const Triangle d{g.upper, g.op, g.unit, len, len};
      triangular_product<T, InRows<T>>(d, DenseColumns<E>{const_cast<E *>(blk), lda}, Strided<E>{ys + p * incy, incy});
    };
    const bool above = g.upper;
    const int64_t r0 = above ? 0 : p + len, rows = above ? p : n - p - len;
    const zor_int m = rows, cols = len;
    const E *rect = a + r0 + p * lda;
    if (g.op == Trans::N) {
      if (rows > 0)
        imports<T>::xgemv(&no, &m, &cols, &one, rect, &ld, segment_base(srcs, p, len, incs), &is, &one,
                          segment_base(ys, r0, rows, incy), &iy);
      multiply();
    } else {
      multiply();
      if (rows > 0)
        imports<T>::xgemv(&letter, &m, &cols, &one, rect, &ld, segment_base(srcs, r0, rows, incs), &is, &one,
                          segment_base(ys, p, len, incy), &iy);
    }
  });
}

template <class T>
void trmv(const char *uplo, const char *trans, const char *diag, const zor_int *n_, const void *a_,
          const zor_int *lda_, void *x_, const zor_int *incx_) {
  using E = typename T::elem;
  const int64_t n = *n_, inc = *incx_;
  if (n < 1) return;
  E *x = static_cast<E *>(x_);
  blocked_product<T>(read_triangle<T>(uplo, trans, diag, n, n), static_cast<const E *>(a_), *lda_,
                     vector_start(x, n, inc), inc, x, inc);
}

template <class T>
void trmv_in_thread(const char *uplo, const char *trans, const char *diag, const zor_int *n_, const void *a_,
                    const zor_int *lda_, void *y_, const zor_int *incy_, const zor_int *m_, const void *x_) {
  using E = typename T::elem;
  const int64_t n = *n_, m = *m_, lda = *lda_, incy = *incy_;
  if (n < 1 || m < 1) return;
  const Triangle g = read_triangle<T>(uplo, trans, diag, m, m);
  const E *a = static_cast<const E *>(a_), *x = static_cast<const E *>(x_);
  // The slice's diagonal block at the end of the view, or at its start.
  const bool at_end = (g.op == Trans::N) != g.upper;
  const int64_t d = at_end ? n - m : 0, rest = n - m;
  E *ys = vector_start(static_cast<E *>(y_), m, incy);
  blocked_product<T>(g, a + d + d * lda, lda, ys, incy, x + d, 1);
  if (rest < 1) return;
  const E one = one_of<E>();
  const zor_int rows = m, cols = rest, unit = 1;
  const char letter = trans_letter(g.op);
  if (g.op == Trans::N) {
    // The columns left (lower) or right (upper) of the block.
    const int64_t c0 = at_end ? 0 : m;
    imports<T>::xgemv(&letter, &rows, &cols, &one, a + d + c0 * lda, lda_, x + c0, &unit, &one, static_cast<E *>(y_), incy_);
  } else {
    // The rows above (upper) or below (lower) the block.
    const int64_t r0 = at_end ? 0 : m;
    imports<T>::xgemv(&letter, &cols, &rows, &one, a + r0 + d * lda, lda_, x + r0, &unit, &one, static_cast<E *>(y_), incy_);
  }
}

}  // namespace
}  // namespace zor::blas::level2

using namespace zor;
using namespace zor::blas::level2;

// clang-format off
#define ZOR_TRIANGULAR(L, T, E)                                                                                                                                                                                                   \
  ZOR_API void zor_blas_##L##trsv(const char *uplo, const char *trans, const char *diag, const zor_int *n, const E *a, const zor_int *lda, E *x, const zor_int *incx) { trsv<T>(uplo, trans, diag, n, a, lda, x, incx); }      \
  ZOR_API void zor_blas_x##L##trmv(const char *uplo, const char *trans, const char *diag, const zor_int *n, const E *a, const zor_int *lda, E *x, const zor_int *incx) { trmv<T>(uplo, trans, diag, n, a, lda, x, incx); }     \
  ZOR_API void zor_blas_x##L##trmv_in_thread(const char *uplo, const char *trans, const char *diag, const zor_int *n, const E *a, const zor_int *lda, E *y, const zor_int *incy, const zor_int *m, const E *x) { trmv_in_thread<T>(uplo, trans, diag, n, a, lda, y, incy, m, x); }
ZOR_TRIANGULAR(s, S, float)
ZOR_TRIANGULAR(d, D, double)
ZOR_TRIANGULAR(c, C, void)
ZOR_TRIANGULAR(z, Z, void)
#undef ZOR_TRIANGULAR
// clang-format on
