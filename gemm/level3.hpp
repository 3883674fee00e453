// What the symmetric, Hermitian and triangular operations share: calls into
// the engine with plain values, the letters they read, scalar factors that
// may be real (Hermitian alpha and beta) or of the element type, the beta
// pass over one triangle, and the register tile of the diagonal kernels.
//
// The tile
// --------
// Every diagonal kernel of this family (the rank-k direct kernel, the packed
// kernel of the triangular multiply, the leaves of the triangular solve)
// forms small products
//     acc(u, v) = sum over l < k of x(u, l) y(v, l)     (y conjugated: ConjY)
// over a tile of UM x UB elements, UM the GEMM A panel width (d 4, s 8,
// c 4, z 2) and UB its B panel width (4 real, 2 complex). x(u, l) stands at
// x[u + l xs], the UM elements of a depth step side by side (two vector
// loads at any alignment); y(v, l) at y[v ys + l yl] is broadcast. Real
// tiles keep 2 UB accumulators; complex ones 4 UB, the products with the
// real and with the imaginary part of y apart, joined once at the end (no
// shuffle in the depth loop). product_part computes the same sums for a
// partial tile (fewer rows or columns, or x not contiguous) element by
// element, in the same order of operations, so both give the same bits.
#pragma once
#include <cstdint>

#include "frame/element.hpp"
#include "frame/letters.hpp"
#include "frame/simd.hpp"
#include "gemm/driver.hpp"
#include "gemm/panels.hpp"
#include "gemm/parameters.hpp"

namespace zor::gemm {

// C := alpha op(A) op(B) + beta C through the engine's entry.
template <class T>
void gemm(char ta, char tb, int64_t m, int64_t n, int64_t k, typename T::elem alpha, const typename T::elem *a,
          int64_t lda, const typename T::elem *b, int64_t ldb, typename T::elem beta, typename T::elem *c,
          int64_t ldc) {
  if (m < 1 || n < 1) return;
  const char sa[2] = {ta, 0}, sb[2] = {tb, 0};
  xgemm<T>(sa, sb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}

// The transposition letter of the symmetric (T) or Hermitian (C) forms.
template <bool Herm>
inline constexpr char kTransposed = Herm ? 'C' : 'T';

// The scalar type of a factor: real for the Hermitian alpha and beta that
// are real, else the element.
template <class T, bool Real>
using Factor = std::conditional_t<Real, typename T::real, typename T::elem>;

// s x: a real factor scales both parts; a complex one multiplies.
template <class R>
inline R times(R s, R x) { return s * x; }
template <class R>
inline cplx<R> times(R s, cplx<R> x) { return {s * x.re, s * x.im}; }
template <class R>
inline cplx<R> times(cplx<R> s, cplx<R> x) { return s * x; }

// The diagonal of a Hermitian matrix: the imaginary part dropped.
template <class E>
inline void real_diagonal(E &x) {
  if constexpr (is_complex_v<E>) x.im = 0;
}

// beta C over one triangle of an n x n matrix (upper: i <= j): beta 0 stores
// zeros without reading C; Herm: the diagonal leaves real.
template <bool Herm, class S, class E>
void scale_triangle(bool upper, int64_t n, S beta, E *c, int64_t ldc) {
  const bool zero = is_zero(beta);
  for (int64_t j = 0; j < n; ++j) {
    const int64_t i0 = upper ? 0 : j, i1 = upper ? j + 1 : n;
    E *col = c + j * ldc;
    for (int64_t i = i0; i < i1; ++i) col[i] = zero ? E{} : times(beta, col[i]);
    if constexpr (Herm) real_diagonal(col[j]);
  }
}

// The rank-k and rank-2k updates' op(): A (n x k) for 'N' and any other
// byte but 'T' and 'C' (either case), which transpose (conjugate in the
// Hermitian forms).
inline bool rank_k_transposed(const char *trans) { return is_letter(trans, 'C') || is_letter(trans, 'T'); }

// ---- the tile
template <class T>
struct TileShape {
  static constexpr int UM = Panels<T>::UM;  // rows: x side, vector loads
  static constexpr int UB = Panels<T>::UN;  // columns: y side, broadcast
};

inline simd::f64x2 broadcast(const double *p) { return simd::dup_load(p); }
inline simd::f32x4 broadcast(const float *p) { return simd::splat(*p); }

// out[u + v UM] = acc(u, v) over a full tile; x contiguous in u.
template <class T, bool ConjY>
ZOR_HOT inline void product_full(int64_t k, const typename T::elem *x, int64_t xs, const typename T::elem *y,
                                 int64_t ys, int64_t yl, typename T::elem *out) {
  using namespace zor::simd;
  using R = typename T::real;
  using V = typename T::vec;
  constexpr int L = T::real_lanes, W = T::complex ? 2 : 1, UM = TileShape<T>::UM, UB = TileShape<T>::UB;
  const R *xp = reals(x), *yp = reals(y);
  const int64_t xr = xs * W, yr = ys * W, lr = yl * W;
  R *o = reals(out);
  if constexpr (!T::complex) {
    V acc[UB][2];
#pragma GCC unroll 8
    for (int v = 0; v < UB; ++v) acc[v][0] = acc[v][1] = zero<V>();
    for (int64_t l = 0; l < k; ++l, xp += xr, yp += lr) {
      const V x0 = load_u(xp), x1 = load_u(xp + L);
#pragma GCC unroll 8
      for (int v = 0; v < UB; ++v) {
        const V b = broadcast(yp + v * yr);
        acc[v][0] = add(acc[v][0], mul(x0, b));
        acc[v][1] = add(acc[v][1], mul(x1, b));
      }
    }
#pragma GCC unroll 8
    for (int v = 0; v < UB; ++v) {
      store_u(o + v * UM, acc[v][0]);
      store_u(o + v * UM + L, acc[v][1]);
    }
  } else {
    V re[UB][2], im[UB][2];
#pragma GCC unroll 8
    for (int v = 0; v < UB; ++v) re[v][0] = re[v][1] = im[v][0] = im[v][1] = zero<V>();
    for (int64_t l = 0; l < k; ++l, xp += xr, yp += lr) {
      const V x0 = load_u(xp), x1 = load_u(xp + L);
#pragma GCC unroll 8
      for (int v = 0; v < UB; ++v) {
        const V br = broadcast(yp + v * yr), bi = broadcast(yp + v * yr + 1);
        re[v][0] = add(re[v][0], mul(x0, br));
        re[v][1] = add(re[v][1], mul(x1, br));
        im[v][0] = add(im[v][0], mul(x0, bi));
        im[v][1] = add(im[v][1], mul(x1, bi));
      }
    }
#pragma GCC unroll 8
    for (int v = 0; v < UB; ++v)
      for (int h = 0; h < 2; ++h) {
        const V t = flip(im[v][h]);
        store_u(o + 2 * v * UM + h * L, ConjY ? add(re[v][h], conj(t)) : addsub(re[v][h], t));
      }
  }
}

// The same sums for um <= UM rows and ub <= UB columns, element by element,
// x(u, l) at x[u xu + l xs].
template <class T, bool ConjY>
void product_part(int64_t um, int64_t ub, int64_t k, const typename T::elem *x, int64_t xu, int64_t xs,
                  const typename T::elem *y, int64_t ys, int64_t yl, typename T::elem *out) {
  using E = typename T::elem;
  using R = typename T::real;
  constexpr int UM = TileShape<T>::UM;
  for (int64_t v = 0; v < ub; ++v)
    for (int64_t u = 0; u < um; ++u) {
      const E *xp = x + u * xu, *yp = y + v * ys;
      if constexpr (!T::complex) {
        R s = 0;
        for (int64_t l = 0; l < k; ++l) s = s + xp[l * xs] * yp[l * yl];
        out[u + v * UM] = s;
      } else {
        R rr = 0, ir = 0, ri = 0, ii = 0;  // x part, y part
        for (int64_t l = 0; l < k; ++l) {
          const E a = xp[l * xs], b = yp[l * yl];
          rr = rr + a.re * b.re;
          ir = ir + a.im * b.re;
          ri = ri + a.re * b.im;
          ii = ii + a.im * b.im;
        }
        out[u + v * UM] = ConjY ? E{rr + ii, ir + (-ri)} : E{rr - ii, ir + ri};
      }
    }
}

// One tile at any extent: the vector form when x may be read whole.
template <class T, bool ConjY>
ZOR_HOT inline void product(int64_t um, int64_t ub, int64_t k, const typename T::elem *x, int64_t xs,
                            const typename T::elem *y, int64_t ys, int64_t yl, typename T::elem *out) {
  if (um == TileShape<T>::UM) product_full<T, ConjY>(k, x, xs, y, ys, yl, out);
  else product_part<T, ConjY>(um, ub, k, x, 1, xs, y, ys, yl, out);
}

// ---- triangular operands
// op(A)(i, j) of a triangular matrix in any storage: Get(i, j) reads the
// stored element A(i, j); transposition, conjugation and the unit diagonal
// (never read) are applied here.
template <class E, class Get>
struct OpTri {
  Get get;
  bool trans, conj, unit;
  E operator()(int64_t i, int64_t j) const {
    if (unit && i == j) return one_of<E>();
    return trans ? conj_if(get(j, i), conj) : get(i, j);
  }
};

// The letters of a triangular operation.
struct TriLetters {
  bool left, upper, trans, conj, unit;
  // op(A) is upper triangular: A upper and not transposed, or lower and
  // transposed.
  bool op_upper() const { return upper != trans; }
  char op_letter() const { return trans ? (conj ? 'C' : 'T') : 'N'; }
};
template <class T>
inline TriLetters read_tri(const char *side, const char *uplo, const char *transa, const char *diag) {
  const Trans t = product_trans<T::complex>(transa);
  return {is_letter(side, 'L'), is_letter(uplo, 'U'), t != Trans::N, t == Trans::C, is_letter(diag, 'U')};
}

}  // namespace zor::gemm
