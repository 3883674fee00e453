// Triangular multiply, one body over the element traits:
//   ?trmm   B := alpha op(A) B (side 'L', A m x m) or alpha B op(A) (side
//           'R', A n x n), A upper or lower triangular, op(A) = A, A^T or
//           A^H ('C', complex only), unit diagonal ('U': never read);
//   ?ptrmm  the same with A in packed triangular storage (s and d).
//
// alpha 0 clears B with the engine's scaling, A unread. Empty shapes return.
//
// Side 'R' runs on kernel row 0 whatever the processor, because it hands
// the engine pre-packed blocks (plan 8) in that row's panel layout: one
// pooled A buffer for a row block of B (d and s 512 rows, c and z 192) and
// a depth of 128; without it the call returns with B unchanged. Below 9
// columns the direct kernel does all of B. Otherwise the diagonal of A in
// blocks of 128, in the order that leaves the columns still to be read
// intact (the last block first when op(A) is upper). For each row block of
// B the source block's columns, times alpha, are packed once; one plan 8
// product adds packed x op(A)(J, far side) to all columns on the far side of
// the block, then the block itself is multiplied by its diagonal block: in
// groups of four columns (below an order of 5, by the direct kernel alone),
// each group by the direct kernel on its 4 x 4 triangle and then by a plan 8
// product with the packed columns on its near side of the block.
// A plan 8 product that cannot get its buffers is replaced by the plain
// product on B's columns, which the order above keeps unread until then.
//
// Side 'L' runs on the optimal row: the pooled buffers of blocks 512 (c, z:
// 192), 1000, 128 are taken first (without them B is left unchanged), B is
// scaled by alpha once, and each chunk of 1000 columns of B goes through a
// recursion on the rows: above 64 rows, a first part of 128 (from 129 rows)
// or 64 is split off; one part is multiplied by its triangle, the rectangle
// of A is added by the engine's product (alpha 1, beta 1), then the other
// part, in the order that reads rows before they change. At 64 rows and
// below: the rows that whole tiles cover (a multiple of the A panel width:
// d 4, s 8, c 4, z 2) by the packed kernel (the triangle packed in tile
// rows, each tile formed from its packed rows and B in place, the tile shape
// of gemm/level3.hpp), the rectangle to the rest by the engine's small path,
// and the rest's triangle by the direct kernel.
//
// The direct kernels: side 'R' a column walk with the tier's ?scal and ?axpy
// on single columns; side 'L' a dot product per element of B, in the order
// that reads elements before they change.
//
// ?ptrmm: below 4 rows or columns the direct kernel on the packed storage.
// Otherwise one pooled buffer of 1,024,000 bytes (at 128; without it the
// direct kernel does the whole call with the same result): the triangle in
// diagonal blocks of 128, each copied dense into the buffer and multiplied
// by ?trmm (which itself falls back on its direct kernel rather than give
// up), and the rectangle beside it copied dense in chunks of 1000 rows or
// columns and added by the engine's product with alpha. On side 'L' above
// 1024 rows the products go to the blocked driver with a descriptor of the
// optimal row taken for the call.
#include <zor/level3.h>

#include "frame/imports.hpp"
#include "frame/memory.hpp"
#include "gemm/level3.hpp"

namespace zor::gemm {
namespace {

template <class E>
struct DenseGet {
  const E *a;
  int64_t lda;
  E operator()(int64_t i, int64_t j) const { return a[i + j * lda]; }
};

// Column-packed triangle of order n: upper A(i, j) at i + j (j + 1) / 2,
// lower at i + j (2 n - j - 1) / 2.
template <class E>
struct PackedGet {
  const E *ap;
  int64_t n;
  bool upper;
  E operator()(int64_t i, int64_t j) const {
    return upper ? ap[i + j * (j + 1) / 2] : ap[i + j * (2 * n - j - 1) / 2];
  }
};

template <class E, class Get>
OpTri<E, Get> op_tri(Get get, const TriLetters &f) {
  return {get, f.trans, f.conj, f.unit};
}

// B := alpha op(A) B ('L', B m x n) or alpha B op(A) ('R').
template <class T, class Op>
void trmm_direct(const TriLetters &f, int64_t m, int64_t n, typename T::elem alpha, const Op &A,
                 typename T::elem *b, int64_t ldb) {
  using E = typename T::elem;
  const bool up = f.op_upper();
  if (f.left) {
    for (int64_t j = 0; j < n; ++j) {
      E *col = b + j * ldb;
      for (int64_t x = 0; x < m; ++x) {
        const int64_t i = up ? x : m - 1 - x;  // rows it reads are still unchanged
        E s = f.unit ? col[i] : A(i, i) * col[i];
        const int64_t l0 = up ? i + 1 : 0, l1 = up ? m : i;
        for (int64_t l = l0; l < l1; ++l) s = s + A(i, l) * col[l];
        col[i] = alpha * s;
      }
    }
    return;
  }
  const int64_t one = 1;
  for (int64_t x = 0; x < n; ++x) {
    const int64_t j = up ? n - 1 - x : x;
    E *col = b + j * ldb;
    const E t = f.unit ? alpha : alpha * A(j, j);
    if (!is_one(t)) imports<T>::scal(&m, &t, col, &one);
    const int64_t c0 = up ? 0 : j + 1, c1 = up ? j : n;
    for (int64_t c = c0; c < c1; ++c) {
      const E s = alpha * A(c, j);
      if (!is_zero(s)) imports<T>::xaxpy(&m, &s, b + c * ldb, &one, col, &one);
    }
  }
}

template <class T>
struct Trmm {
  using E = typename T::elem;
  static constexpr int UM = TileShape<T>::UM, UB = TileShape<T>::UB;
  static constexpr E kOne = one_of<E>();
  TriLetters f;
  int64_t m, n;
  E alpha;
  const E *a;
  int64_t lda;
  E *b;
  int64_t ldb;

  OpTri<E, DenseGet<E>> op_at(int64_t i0) const { return op_tri<E>(DenseGet<E>{a + i0 + i0 * lda, lda}, f); }
  // op(A)(i0, j0) as the corner of a block the engine reads with op_letter().
  const E *block(int64_t i0, int64_t j0) const { return f.trans ? a + j0 + i0 * lda : a + i0 + j0 * lda; }

  // ---- side 'R'
  // B(i0.., f0 .. f0 + nf) += packed x op(A)(s0 .. s0 + k, f0..) by plan 8,
  // packed holding alpha B(i0.., s0 .. s0 + k); the plain product on B's
  // columns s0.. if plan 8 cannot run.
  void add_packed(GemmDesc *d, const E *packed, int64_t i0, int64_t mb, int64_t s0, int64_t k, int64_t f0,
                  int64_t nf) const {
    const char tb[2] = {f.op_letter(), 0};
    E *out = b + i0 + f0 * ldb;
    zor_blas_cgemm_set_blks_size(0, 0, 0, d);
    if (xgemm_par<T>("N", tb, &mb, &nf, &k, &kOne, packed, &d->a_panel_stride, block(s0, f0), &lda, &kOne, out,
                     &ldb, kPlanPrepackedA, d) != 0)
      gemm<T>('N', tb[0], mb, nf, k, alpha, b + i0 + s0 * ldb, ldb, block(s0, f0), lda, kOne, out, ldb);
  }

  void right(bool direct_on_failure) const {
    GemmDesc d;
    zor_blas_cgemm_zero_desc(&d);
    get_kernel<T>(0, &d);
    zor_blas_cgemm_set_blks_size(fixed::Level3Rule<T>::trmm_rows, 0, fixed::kTriDepth, &d);
    void *base = nullptr;
    d.get_bufs_size(kReqA, kModeWorking, &m, &n, &n, &d);
    d.get_bufs(kReqA, &base, &d);
    const frame::PooledBuffer bufs(base);
    if (zor_serv_check_ptr(base, "xtrmm") != 0) {
      if (direct_on_failure) trmm_direct<T>(f, m, n, alpha, op_at(0), b, ldb);
      return;
    }
    if (n < fixed::kTrmmDirectBelow) return trmm_direct<T>(f, m, n, alpha, op_at(0), b, ldb);
    const bool up = f.op_upper();
    const int64_t blocks = (n + fixed::kTriDepth - 1) / fixed::kTriDepth, rows = d.block_m;
    E *packed = static_cast<E *>(d.a_buffer);
    for (int64_t x = 0; x < blocks; ++x) {
      const int64_t j0 = (up ? blocks - 1 - x : x) * fixed::kTriDepth;
      int64_t kb = n - j0 < fixed::kTriDepth ? n - j0 : fixed::kTriDepth;
      const int64_t f0 = up ? j0 + kb : 0, nf = up ? n - j0 - kb : j0;
      for (int64_t i0 = 0; i0 < m; i0 += rows) {
        int64_t mb = m - i0 < rows ? m - i0 : rows;
        d.copy_an(&mb, &kb, b + i0 + j0 * ldb, &ldb, packed, &d.a_panel_stride, &alpha);
        if (nf > 0) add_packed(&d, packed, i0, mb, j0, kb, f0, nf);
        diagonal(&d, packed, i0, mb, j0, kb);
      }
    }
  }

  // B(i0.., j0 .. j0 + kb) := alpha B op(A)(J, J), packed holding alpha B.
  void diagonal(GemmDesc *d, const E *packed, int64_t i0, int64_t mb, int64_t j0, int64_t kb) const {
    E *bb = b + i0 + j0 * ldb;
    if (kb < fixed::kTrmmBlockDirectBelow) return trmm_direct<T>(f, mb, kb, alpha, op_at(j0), bb, ldb);
    const bool up = f.op_upper();
    const int64_t groups = (kb + 3) / 4;
    for (int64_t x = 0; x < groups; ++x) {
      const int64_t g = up ? groups - 1 - x : x, g0 = 4 * g, w = kb - g0 < 4 ? kb - g0 : 4;
      trmm_direct<T>(f, mb, w, alpha, op_at(j0 + g0), bb + g0 * ldb, ldb);
      // The block's columns on the near side: before the group (op(A)
      // upper) or after it.
      const int64_t s0 = up ? 0 : g0 + w, k = up ? g0 : kb - g0 - w;
      if (k > 0) add_packed(d, packed + s0 * UM, i0, mb, j0 + s0, k, j0 + g0, w);
    }
  }

  // ---- side 'L'
  void left(bool direct_on_failure) const {
    GemmDesc d;
    zor_blas_cgemm_zero_desc(&d);
    get_optimal_kernel<T>(&d);
    zor_blas_cgemm_set_blks_size(fixed::Level3Rule<T>::trmm_rows, fixed::kTrmmLeftChunk, fixed::kTriDepth, &d);
    void *base = nullptr;
    d.get_bufs_size(kReqABDup, kModeBlocks, &m, &n, &m, &d);
    d.get_bufs(kReqABDup, &base, &d);
    const frame::PooledBuffer bufs(base);
    if (zor_serv_check_ptr(base, "xtrmm") != 0) {
      if (direct_on_failure) trmm_direct<T>(f, m, n, alpha, op_at(0), b, ldb);
      return;
    }
    if (!is_one(alpha)) mscale<T>(&m, &n, &alpha, b, &ldb);
    for (int64_t c0 = 0; c0 < n; c0 += fixed::kTrmmLeftChunk)
      rows(static_cast<E *>(d.a_buffer), 0, m, c0, n - c0 < fixed::kTrmmLeftChunk ? n - c0 : fixed::kTrmmLeftChunk);
  }

  // B(r0 .. r0 + mr, c0 .. c0 + nc) := op(A)(R, R) B(R, ...).
  void rows(E *work, int64_t r0, int64_t mr, int64_t c0, int64_t nc) const {
    if (mr <= fixed::kTrmmLeaf) return leaf(work, r0, mr, c0, nc);
    const int64_t m1 = mr > fixed::kTrmmSplitLarge ? fixed::kTrmmSplitLarge : fixed::kTrmmLeaf, m2 = mr - m1;
    const int64_t r1 = r0 + m1;
    if (f.op_upper()) {
      rows(work, r0, m1, c0, nc);
      gemm<T>(f.op_letter(), 'N', m1, nc, m2, kOne, block(r0, r1), lda, b + r1 + c0 * ldb, ldb, kOne,
              b + r0 + c0 * ldb, ldb);
      rows(work, r1, m2, c0, nc);
    } else {
      rows(work, r1, m2, c0, nc);
      gemm<T>(f.op_letter(), 'N', m2, nc, m1, kOne, block(r1, r0), lda, b + r0 + c0 * ldb, ldb, kOne,
              b + r1 + c0 * ldb, ldb);
      rows(work, r0, m1, c0, nc);
    }
  }

  void leaf(E *work, int64_t r0, int64_t mr, int64_t c0, int64_t nc) const {
    const int64_t m4 = round_down(mr, UM), r = mr - m4, re = r0 + m4;
    E *top = b + r0 + c0 * ldb, *rest = b + re + c0 * ldb;
    const char ta[2] = {f.op_letter(), 0};
    if (f.op_upper()) {
      if (m4 > 0) packed_kernel(work, r0, m4, c0, nc);
      if (m4 > 0 && r > 0) small_path<T>(ta, "N", m4, nc, r, kOne, block(r0, re), lda, rest, ldb, kOne, top, ldb);
      if (r > 0) trmm_direct<T>(f, r, nc, kOne, op_at(re), rest, ldb);
    } else {
      if (r > 0) trmm_direct<T>(f, r, nc, kOne, op_at(re), rest, ldb);
      if (m4 > 0 && r > 0) small_path<T>(ta, "N", r, nc, m4, kOne, block(re, r0), lda, top, ldb, kOne, rest, ldb);
      if (m4 > 0) packed_kernel(work, r0, m4, c0, nc);
    }
  }

  // Tile rows of op(A)(R, R), R = r0 .. r0 + m4: row panel p holds, for
  // each depth l of its range (op(A) upper: p UM .. m4; lower: 0 ..
  // (p + 1) UM), UM elements side by side, zero outside the triangle.
  void packed_kernel(E *work, int64_t r0, int64_t m4, int64_t c0, int64_t nc) const {
    const bool up = f.op_upper();
    const auto A = op_at(r0);
    const int64_t panels = m4 / UM;
    auto range = [&](int64_t p, int64_t *l0) {
      *l0 = up ? p * UM : 0;
      return up ? m4 - p * UM : (p + 1) * UM;
    };
    auto offset = [&](int64_t p) {  // elements before panel p
      return up ? UM * (p * m4 - UM * p * (p - 1) / 2) : UM * UM * p * (p + 1) / 2;
    };
    for (int64_t p = 0; p < panels; ++p) {
      int64_t l0;
      const int64_t depth = range(p, &l0);
      E *panel = work + offset(p);
      for (int64_t l = 0; l < depth; ++l)
        for (int64_t u = 0; u < UM; ++u) {
          const int64_t i = p * UM + u, j = l0 + l;
          panel[u + l * UM] = (up ? j >= i : j <= i) ? A(i, j) : E{};
        }
    }
    E tile[UM * UB];
    for (int64_t v0 = 0; v0 < nc; v0 += UB) {
      const int64_t ub = nc - v0 < UB ? nc - v0 : UB;
      E *col = b + r0 + (c0 + v0) * ldb;
      for (int64_t x = 0; x < panels; ++x) {
        const int64_t p = up ? x : panels - 1 - x;  // rows read are still unchanged
        int64_t l0;
        const int64_t depth = range(p, &l0);
        const E *panel = work + offset(p);
        if (ub == UB) product_full<T, false>(depth, panel, UM, col + l0, ldb, 1, tile);
        else product_part<T, false>(UM, ub, depth, panel, 1, UM, col + l0, ldb, 1, tile);
        for (int64_t v = 0; v < ub; ++v)
          for (int64_t u = 0; u < UM; ++u) col[p * UM + u + v * ldb] = tile[u + v * UM];
      }
    }
  }
};

template <class T>
void trmm(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m_,
          const int64_t *n_, const void *alpha_, const void *a_, const int64_t *lda_, void *b_, const int64_t *ldb_,
          bool direct_on_failure = false) {
  using E = typename T::elem;
  const E alpha = load_any(static_cast<const E *>(alpha_));
  E *b = static_cast<E *>(b_);
  if (is_zero(alpha)) return mscale<T>(m_, n_, &alpha, b, ldb_);
  if (*m_ < 1 || *n_ < 1) return;
  const Trmm<T> t{read_tri<T>(side, uplo, transa, diag), *m_, *n_, alpha, static_cast<const E *>(a_), *lda_, b, *ldb_};
  if (t.f.left) t.left(direct_on_failure);
  else t.right(direct_on_failure);
}

// ---- packed A
template <class T>
void ptrmm(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m_,
           const int64_t *n_, const typename T::elem *alpha_, const typename T::elem *ap, typename T::elem *b,
           const int64_t *ldb_) {
  using E = typename T::elem;
  constexpr int64_t kB = fixed::kTriDepth, kChunk = fixed::kPtrmmChunk;
  static_assert(kB * kChunk * sizeof(E) <= fixed::kPtrmmBufferBytes, "a chunk fits the buffer");
  const int64_t m = *m_, n = *n_, ldb = *ldb_;
  const E alpha = load_any(alpha_);
  if (m < 1 || n < 1) return;
  if (is_zero(alpha)) return mscale<T>(m_, n_, alpha_, b, ldb_);
  const TriLetters f = read_tri<T>(side, uplo, transa, diag);
  const int64_t order = f.left ? m : n;
  const PackedGet<E> get{ap, order, f.upper};
  const frame::PooledBuffer buffer(m < fixed::kPtrmmDirectBelow || n < fixed::kPtrmmDirectBelow
                                       ? nullptr
                                       : zor_serv_allocate(fixed::kPtrmmBufferBytes, fixed::kTrsmAlignment));
  if (!buffer) return trmm_direct<T>(f, m, n, alpha, op_tri<E>(get, f), b, ldb);
  E *w = static_cast<E *>(buffer.get());
  GemmDesc large;
  const bool use_large = f.left && m > fixed::kPtrmmLargeRows;
  if (use_large) {
    zor_blas_cgemm_zero_desc(&large);
    get_optimal_kernel<T>(&large);
  }
  // Dense copy of A(r0 .. r0 + rows, c0 .. c0 + cols), wholly inside the
  // stored triangle (the diagonal block: its stored half only).
  auto unpack = [&](int64_t r0, int64_t rows, int64_t c0, int64_t cols, bool diagonal) {
    for (int64_t j = 0; j < cols; ++j)
      for (int64_t i = 0; i < rows; ++i)
        if (!diagonal || (f.upper ? i <= j : i >= j)) w[i + j * rows] = get(r0 + i, c0 + j);
  };
  static constexpr E kOne = one_of<E>();
  const char op = f.op_letter();
  const bool forward = f.left == f.op_upper();  // the other part lies after the block
  const int64_t blocks = (order + kB - 1) / kB;
  for (int64_t x = 0; x < blocks; ++x) {
    const int64_t j0 = (forward ? x : blocks - 1 - x) * kB, nb = order - j0 < kB ? order - j0 : kB;
    unpack(j0, nb, j0, nb, true);
    const int64_t bm = f.left ? nb : m, bn = f.left ? n : nb;
    E *bj = f.left ? b + j0 : b + j0 * ldb;
    trmm<T>(side, uplo, transa, diag, &bm, &bn, &alpha, w, &nb, bj, &ldb, true);
    const int64_t o0 = forward ? j0 + nb : 0, o1 = forward ? order : j0;
    for (int64_t q0 = o0; q0 < o1; q0 += kChunk) {
      int64_t q = o1 - q0 < kChunk ? o1 - q0 : kChunk;
      // The stored rectangle between the block's rows or columns and the
      // chunk's, dense: op(A)(J, chunk) ('L') or op(A)(chunk, J) ('R').
      const bool block_rows = f.left != f.trans;  // A(J, chunk) rather than A(chunk, J)
      int64_t ld = block_rows ? nb : q;
      if (block_rows) unpack(j0, nb, q0, q, false);
      else unpack(q0, q, j0, nb, false);
      if (f.left) {
        if (use_large) {
          const char ta[2] = {op, 0};
          int64_t rows_j = nb, cols = n;
          zor_blas_cgemm_set_blks_size(0, 0, 0, &large);
          xgemm_par<T>(ta, "N", &rows_j, &cols, &q, &alpha, w, &ld, b + q0, ldb_, &kOne, bj, ldb_, kPlanChoose,
                       &large);
        } else {
          gemm<T>(op, 'N', nb, n, q, alpha, w, ld, b + q0, ldb, kOne, bj, ldb);
        }
      } else {
        gemm<T>('N', op, m, nb, q, alpha, b + q0 * ldb, ldb, w, ld, kOne, bj, ldb);
      }
    }
  }
}

}  // namespace
}  // namespace zor::gemm

using zor::S;
using zor::D;
using zor::C;
using zor::Z;
using zor::gemm::ptrmm;
using zor::gemm::trmm;
using I = const int64_t *;
using P = const void *;

// clang-format off
ZOR_API void zor_blas_xstrmm(const char *s, const char *u, const char *t, const char *d, I m, I n, const float *alpha, const float *a, I lda, float *b, I ldb) { trmm<S>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
ZOR_API void zor_blas_xdtrmm(const char *s, const char *u, const char *t, const char *d, I m, I n, const double *alpha, const double *a, I lda, double *b, I ldb) { trmm<D>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
ZOR_API void zor_blas_xctrmm(const char *s, const char *u, const char *t, const char *d, I m, I n, P alpha, P a, I lda, void *b, I ldb) { trmm<C>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
ZOR_API void zor_blas_xztrmm(const char *s, const char *u, const char *t, const char *d, I m, I n, P alpha, P a, I lda, void *b, I ldb) { trmm<Z>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
ZOR_API void zor_blas_xsptrmm(const char *s, const char *u, const char *t, const char *d, I m, I n, const float *alpha, const float *ap, float *b, I ldb) { ptrmm<S>(s, u, t, d, m, n, alpha, ap, b, ldb); }
ZOR_API void zor_blas_xdptrmm(const char *s, const char *u, const char *t, const char *d, I m, I n, const double *alpha, const double *ap, double *b, I ldb) { ptrmm<D>(s, u, t, d, m, n, alpha, ap, b, ldb); }
// clang-format on
