// Shared pieces of the matrix-vector kernels beyond the general product:
// vectors as the kernels address them, the frame that opens every product,
// and the row pass that runs a few columns over the rows of a vector.
//
// Vectors. A vector argument is (base, increment) as the caller passes it;
// its logical element i stands at start + i inc, where start is the base for
// a positive increment and the far end, base + (1 - len) inc, for a negative
// one. A kernel that passes part of a vector on to another routine passes the
// base that routine will turn back into the same elements (segment_base).
//
// Vector paths need every operand on its element's real-type boundary (4
// bytes for float data, 8 for double) and unit strides; everything else runs
// scalar loops that read and write through load_any/store_any, so that a
// double 4 bytes off its alignment is never touched as a plain lvalue.
//
// Row pass. Cols columns c[0..Cols) run down the same rows together: with
// Update each element of y becomes ((y + t0 c0) + t1 c1) + ..., and with Dot
// each column's running sum s[k] takes conj_if(c[k][i]) x[i]. Rows are taken
// singly, in order, until the leading stream (y when updated, else x) stands
// on a 16-byte boundary; then whole registers of rows, the lanes of each sum
// kept apart (two sets of lanes, alternating registers, when there are at
// most two columns) and joined into s[k] once at the end of the registers:
// lanes in order ((l0 + l1) + (l2 + l3)), the sets first; then the last rows
// singly. The matrix and the other vector are read wherever they stand, and
// so is everything when a register holds one element (no boundary to reach).
#pragma once
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include <zor/blas.h>

#include "blas/level1_skeleton.hpp"
#include "blas/level2_gemv.hpp"
#include "blas/parameters.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "frame/letters.hpp"
#include "frame/simd.hpp"

namespace zor::blas::level2 {

// ---------------------------------------------------------------- vectors

using gemv::vector_start;
// The base to pass for the logical elements [first, first + len) of a vector
// whose logical start is `start`.
template <class E>
inline E *segment_base(E *start, int64_t first, int64_t len, int64_t inc) {
  return start + first * inc + (inc < 0 && len > 0 ? (len - 1) * inc : 0);
}

// True when p may be read by the vector paths.
template <class E>
inline bool on_boundary(const E *p) {
  return aligned_to(p, sizeof(real_t<E>));
}

// A vector at its logical start with an increment, read and written at any
// byte offset.
template <class E>
struct Strided {
  E *p;
  int64_t inc;
  E get(int64_t i) const { return load_any(p + i * inc); }
  void set(int64_t i, E v) const { store_any(p + i * inc, v); }
};

// An element times a real: both parts scaled. A Hermitian diagonal is the
// real part of its element.
template <class R>
inline R scaled_by_real(R a, R r) {
  return a * r;
}
template <class R>
inline cplx<R> scaled_by_real(cplx<R> a, R r) {
  return {a.re * r, a.im * r};
}
template <class E>
inline real_t<E> real_part(E a) {
  if constexpr (is_complex_v<E>) return a.re;
  else return a;
}

// ---------------------------------------------------------------- the frame

// y := beta y over len elements at inc, y at its logical start. A zero beta
// stores zeros and never reads y. Real types: the general product's loops
// (byte fill from 13 doubles or 25 floats). Complex types: element by
// element, in order, so that an increment of 0 scales its one element len
// times.
template <class E>
void scale_by_beta(int64_t len, E beta, E *ys, int64_t incy) {
  if constexpr (is_complex_v<E>) {
    const bool zero = is_zero(beta);
    for (int64_t i = 0; i < len; ++i) store_any(ys + i * incy, zero ? E{0, 0} : beta * load_any(ys + i * incy));
  } else {
    constexpr int fill = sizeof(E) == 8 ? fixed::kFillFromDouble : fixed::kFillFromSingle;
    gemv::scale_y<E, fill>(len, beta, ys, incy);
  }
}

// The opening of every product y := alpha op(A) x + beta y once its sizes
// are known not to be 0: alpha 0 with beta 1 returns; y is scaled unless
// beta is 1; alpha 0 returns. True when the product is still to be added.
template <class E>
bool open_product(int64_t leny, E alpha, E beta, E *ys, int64_t incy) {
  if (is_zero(alpha) && is_one(beta)) return false;
  if (!is_one(beta)) scale_by_beta(leny, beta, ys, incy);
  return !is_zero(alpha);
}

// ---------------------------------------------------------------- registers

template <class E>
struct Pack {
  using R = real_t<E>;
  using V = vec_t<E>;
  static constexpr int n = int(16 / sizeof(E));  // elements a register
  static ZOR_HOT V load(const E *p) { return simd::load_u(reals(p)); }
  static ZOR_HOT V load_a(const E *p) { return simd::load_a(reals(p)); }
  static ZOR_HOT void store(E *p, V v) { simd::store_u(reals(p), v); }
  static ZOR_HOT void store_a(E *p, V v) { simd::store_a(reals(p), v); }
};

// A running sum of conj_if(a_i) x_i over registers. Complex: the column
// times the real parts of x and times the imaginary parts, lane by lane,
// joined only at the end, so that no row needs a shuffle of the matrix.
template <class E, bool Conj>
struct DotLanes {
  using V = vec_t<E>;
  using R = real_t<E>;
  V p = simd::zero<V>(), q = simd::zero<V>();
  ZOR_HOT void add(V a, V x) {
    if constexpr (is_complex_v<E>) {
      p = simd::add(p, simd::mul(a, simd::dup_re(x)));
      q = simd::add(q, simd::mul(a, simd::dup_im(x)));
    } else {
      p = simd::add(p, simd::mul(a, x));
    }
  }
  ZOR_HOT void add(const DotLanes &o) {
    p = simd::add(p, o.p);
    if constexpr (is_complex_v<E>) q = simd::add(q, o.q);
  }
  // The lanes joined: ((l0 + l1) + (l2 + l3)) for floats, l0 + l1 for
  // doubles; complex: the parts first ((p0, p1) the sums of a re(x), (q0,
  // q1) of a im(x)), then a x = (p0 - q1, p1 + q0), conj(a) x = (p0 + q1,
  // q0 - p1).
  E total() const {
    alignas(16) R pl[4 / (sizeof(R) / 4)], ql[4 / (sizeof(R) / 4)];
    simd::store_a(pl, p);
    if constexpr (!is_complex_v<E>) {
      if constexpr (sizeof(R) == 4) return (pl[0] + pl[1]) + (pl[2] + pl[3]);
      else return pl[0] + pl[1];
    } else {
      simd::store_a(ql, q);
      R p0 = pl[0], p1 = pl[1], q0 = ql[0], q1 = ql[1];
      if constexpr (sizeof(R) == 4) p0 = p0 + pl[2], p1 = p1 + pl[3], q0 = q0 + ql[2], q1 = q1 + ql[3];
      if constexpr (Conj) return E{p0 + q1, q0 - p1};
      else return E{p0 - q1, p1 + q0};
    }
  }
};

// conj_if(a) x for one element, as the scalar rows form it.
template <bool Conj, class E>
ZOR_HOT inline E times(E a, E x) {
  return conj_if<Conj>(a) * x;
}

// The row pass told above, on unit strides over len rows; c, x, y on their
// element boundaries. t[k].s is the factor of column k, s[k] its running sum.
template <class E, int Cols, bool Update, bool Dot, bool Conj = false>
ZOR_HOT inline void row_pass(int64_t len, const E *const *c, const Factor<E> *t, const E *x, E *y, E *s) {
  using P = Pack<E>;
  using V = vec_t<E>;
  constexpr int L = P::n;
  constexpr int Sets = Cols <= 2 ? 2 : 1;
  auto row = [&](int64_t i) ZOR_HOT {
    if constexpr (Update) {
      E v = y[i];
      for (int k = 0; k < Cols; ++k) v = v + t[k].s * c[k][i];
      y[i] = v;
    }
    if constexpr (Dot) {
      const E xi = x[i];
      for (int k = 0; k < Cols; ++k) s[k] = s[k] + times<Conj>(c[k][i], xi);
    }
  };
  int64_t i = 0;
  if constexpr (L > 1) {
    const E *lead = Update ? static_cast<const E *>(y) : x;
    while (i < len && !aligned_to(lead + i, 16)) row(i++);
  }
  int64_t nv = (len - i) / L;
  if (nv > 0) {
    DotLanes<E, Conj> acc[Sets][Cols];
    // The factors formed again here from their scalars: y's stores could
    // otherwise alias them, and they would be read again after every store
    // (a plain copy would read the padding after the scalar too, which no
    // store forwards).
    [[maybe_unused]] const auto tk = [&]<size_t... K>(std::index_sequence<K...>) {
      if constexpr (Update) return std::array<Factor<E>, Cols>{Factor<E>(t[K].s)...};
      else return 0;
    }(std::make_index_sequence<Cols>());
    const E *ck[Cols];
    for (int k = 0; k < Cols; ++k) ck[k] = c[k] + i;
    const E *xp = x + i;
    E *yp = y + i;
    auto one = [&](int set) ZOR_HOT {
      V a[Cols];
      for (int k = 0; k < Cols; ++k) a[k] = P::load(ck[k]), ck[k] += L;
      if constexpr (Update) {
        V v = L > 1 ? P::load_a(yp) : P::load(yp);
        for (int k = 0; k < Cols; ++k) v = simd::add(v, tk[k].times(a[k]));
        if (L > 1) P::store_a(yp, v);
        else P::store(yp, v);
        yp += L;
      }
      if constexpr (Dot) {
        const V xv = Update || L == 1 ? P::load(xp) : P::load_a(xp);
        for (int k = 0; k < Cols; ++k) acc[set][k].add(a[k], xv);
        xp += L;
      }
    };
    ladder<(Cols >= 4 && Update && Dot ? 1 : 2)>(nv, [&]<int Count>() ZOR_HOT {
      for (int u = 0; u < Count; ++u) one(u % Sets);
    });
    if constexpr (Dot) {
      for (int k = 0; k < Cols; ++k) {
        if constexpr (Sets == 2) acc[0][k].add(acc[1][k]);
        s[k] = s[k] + acc[0][k].total();
      }
    }
    i += int64_t((len - i) / L) * L;
  }
  for (; i < len; ++i) row(i);
}

// sum conj_if(a_i) x_i over len elements in the order of the row pass
// (started from 0).
template <class E, bool Conj>
ZOR_HOT inline E dot(int64_t len, const E *a, const E *x) {
  E s{};
  const E *c[1] = {a};
  row_pass<E, 1, false, true, Conj>(len, c, nullptr, x, nullptr, &s);
  return s;
}
// y_i := y_i + t a_i over len elements.
template <class E>
ZOR_HOT inline void axpy(int64_t len, E t, const E *a, E *y) {
  const E *c[1] = {a};
  const Factor<E> f(t);
  row_pass<E, 1, true, false>(len, c, &f, nullptr, y, nullptr);
}


// Runs of band columns updating y ('N' band products and solves): `groups`
// groups of G adjacent columns, each column len rows long and column q of a
// group starting q rows after the group's first row (c0: the group's column
// 0 at that row, its columns lda apart; y: the vector at that row); t: the
// columns' factors, G a group in column order. Every element takes its
// columns' terms in column order, the last column first when Down. The
// first G - 1 rows belong to the leading columns only, the last G - 1 to the
// trailing ones, the rows between to all: those go singly up to y's 16-byte
// boundary, then by registers, then singly. Skip 1 or 2 leaves the first or
// the last G - 1 rows alone (the caller's). The next group stands G columns
// on (Down: G columns before).
template <class E, int G, bool Down, int Skip>
ZOR_HOT inline void band_run(int64_t groups, int64_t len, const E *c0, int64_t lda, const E *t, E *y) {
  using P = Pack<E>;
  using V = vec_t<E>;
  constexpr int L = P::n;
  const int64_t step = Down ? -G : G;
  for (int64_t p = 0; p < groups; ++p, c0 += step * lda, y += step, t += G) {
    // a[q][r]: column q at row r of the group.
    const E *a[G];
    for (int q = 0; q < G; ++q) a[q] = c0 + q * lda - q;
    // Row r with the columns [q0, q1) of the group, in the order of terms.
    auto row = [&](int64_t r, int q0, int q1) ZOR_HOT {
      E v = y[r];
      for (int e = 0; e < q1 - q0; ++e) {
        const int q = Down ? q1 - 1 - e : q0 + e;
        v = v + t[q] * a[q][r];
      }
      y[r] = v;
    };
    if constexpr (Skip != 1)
      for (int h = 0; h < G - 1; ++h) row(h, 0, h + 1);
    int64_t r = G - 1;
    if constexpr (L > 1)
      while (r < len && !aligned_to(y + r, 16)) row(r++, 0, G);
    const auto f = [&]<size_t... Q>(std::index_sequence<Q...>) {
      return std::array<Factor<E>, G>{Factor<E>(t[Q])...};
    }(std::make_index_sequence<G>());
    for (; r + L <= len; r += L) {
      V v = L > 1 ? P::load_a(y + r) : P::load(y + r);
      for (int e = 0; e < G; ++e) {
        const int q = Down ? G - 1 - e : e;
        v = simd::add(v, f[q].times(P::load(a[q] + r)));
      }
      if constexpr (L > 1) P::store_a(y + r, v);
      else P::store(y + r, v);
    }
    for (; r < len; ++r) row(r, 0, G);
    if constexpr (Skip != 2)
      for (int h = 0; h < G - 1; ++h) row(len + h, h + 1, G);
  }
}

// ---------------------------------------------------------------- storage

// Column j of a matrix as an array indexed by row: col(j)[i] is a[i, j] for
// the rows the storage holds. Dense: lda apart. Packed: the triangle column
// after column; upper column j starts at j (j + 1) / 2, lower at
// j n - j (j - 1) / 2 where its row j stands. Band: column j at j lda, its
// diagonal in row `diag` of the array (k for upper or ku, 0 for lower).
template <class E>
struct DenseColumns {
  E *a;
  int64_t lda;
  E *operator()(int64_t j) const { return a + j * lda; }
};
template <class E>
struct PackedColumns {
  E *ap;
  int64_t n;
  bool upper;
  E *operator()(int64_t j) const { return upper ? ap + j * (j + 1) / 2 : ap + (j * n - j * (j + 1) / 2); }
};
template <class E>
struct BandColumns {
  E *a;
  int64_t lda, diag;
  E *operator()(int64_t j) const { return a + j * lda + diag - j; }
};

// ---------------------------------------------------------------- row ranges

// The three operations on a range of rows [lo, hi) of one column c (indexed
// by row) against vectors at their logical starts:
//   add(lo, hi, t, c, y)             y_i := y_i + t c_i
//   dot<Conj>(lo, hi, c, x)          sum conj_if(c_i) x_i, from 0
//   add_dot<Conj>(lo, hi, t, c, x, y, s)   both in one touch of c
// InRows runs them here: the row pass when the strides are 1 and everything
// stands on its element boundary, else scalar loops in row order. Level1
// runs add and dot through the tier's own x?axpy and dots (which is how
// their processor choices reach a caller).
template <class T>
struct InRows {
  using E = typename T::elem;
  static bool unit(const E *c, const Strided<E> &v) { return v.inc == 1 && on_boundary(c) && on_boundary(v.p); }
  static void add(int64_t lo, int64_t hi, E t, const E *c, const Strided<E> &y) {
    if (hi <= lo) return;
    if (unit(c, y)) return level2::axpy(hi - lo, t, c + lo, y.p + lo);
    for (int64_t i = lo; i < hi; ++i) y.set(i, y.get(i) + t * load_any(c + i));
  }
  template <bool Conj>
  static E dot(int64_t lo, int64_t hi, const E *c, const Strided<E> &x) {
    if (hi <= lo) return E{};
    if (unit(c, x)) return level2::dot<E, Conj>(hi - lo, c + lo, x.p + lo);
    E s{};
    for (int64_t i = lo; i < hi; ++i) s = s + times<Conj>(load_any(c + i), x.get(i));
    return s;
  }
  template <bool Conj>
  static void add_dot(int64_t lo, int64_t hi, E t, const E *c, const Strided<E> &x, const Strided<E> &y, E &s) {
    if (hi <= lo) return;
    if (unit(c, x) && unit(c, y)) {
      const E *cs[1] = {c + lo};
      const Factor<E> f(t);
      return row_pass<E, 1, true, true, Conj>(hi - lo, cs, &f, x.p + lo, y.p + lo, &s);
    }
    for (int64_t i = lo; i < hi; ++i) {
      const E ci = load_any(c + i);
      y.set(i, y.get(i) + t * ci);
      s = s + times<Conj>(ci, x.get(i));
    }
  }
};
template <class T>
struct Level1 {
  using E = typename T::elem;
  static void add(int64_t lo, int64_t hi, E t, const E *c, const Strided<E> &y) {
    if (hi <= lo) return;
    const zor_int len = hi - lo, one = 1, inc = y.inc;
    imports<T>::xaxpy(&len, &t, c + lo, &one, segment_base(y.p, lo, len, y.inc), &inc);
  }
  template <bool Conj>
  static E dot(int64_t lo, int64_t hi, const E *c, const Strided<E> &x) {
    if (hi <= lo) return E{};
    const zor_int len = hi - lo, one = 1, inc = x.inc;
    E *xb = segment_base(x.p, lo, len, x.inc);
    return Conj ? imports<T>::dotc_of(&len, c + lo, &one, xb, &inc) : imports<T>::dotu_of(&len, c + lo, &one, xb, &inc);
  }
};

}  // namespace zor::blas::level2
