// The four-sum row dot, the shape of every inner loop of the CSR kernels.
//
// Entries p..q-1 of a row against a dense vector x: four independent sums
// s0..s3 take entries p, p+1, p+2, p+3, then p+4.. and so on, in count/4
// passes; then s = ((s0 + s1) + s2) + s3, and the count mod 4 entries left
// are added to s one at a time, in order. Each term is vals[k] * x(col),
// the value conjugated when the kernel conjugates. Sums stay in the element
// type (no wider accumulator in single precision). Every element of x is
// loaded singly: there is no gather.
//
// Double precision with contiguous x keeps s0, s1 and s2, s3 as two vector
// sums (same additions in the same order, so the same bits). The general
// products touch each row's value and column streams ahead (touch_streams)
// and, when a sample of rows shows scattered columns, prefetch the gathered
// x elements a fixed number of entries ahead (GatherAhead).
//
// Measured on this machine (AMD EPYC, 2-core VM, shared; bench_spblas,
// thread time, best of 10 interleaved rounds, three runs): the random 1e6 x
// 1e6 matrix of 10 entries a row at 1.47 to 1.60 times a plain one-sum loop
// and 1.37 to 1.57 times Eigen; the 5-point Laplacian of a 1000 x 1000 grid
// at 1.00 to 1.12 times the same-run bandwidth bound with 64-bit indices
// (the lp64 twin 0.85 to 1.04 of its own).
#pragma once
#include <algorithm>
#include <cstdint>

#include "frame/simd.hpp"
#include "spblas/csr_common.hpp"
#include "spblas/parameters.hpp"

namespace zor::spblas {

// No look-ahead: the solves and the two-pass forms.
struct NoAhead {
  void step() {}
  void step4() {}
};

template <bool Conj, class E, class I, int Base, class X, class Ahead = NoAhead>
inline E row_dot(const Csr<E, I, Base> &a, int64_t p, int64_t q, X x, Ahead &&ahead = Ahead{}) {
  const E *v = a.vals;
  const I *cols = a.cols;
  int64_t k = p;
  if constexpr (std::is_same_v<E, double> && std::is_same_v<X, Contiguous<const double>>) {
    using namespace zor::simd;
    const double *xp = x.p;
    f64x2 s01 = zero<f64x2>(), s23 = zero<f64x2>();
    for (; k + 4 <= q; k += 4) {
      ahead.step4();
      f64x2 x01 = load_half_hi(load_lo(xp + (int64_t(cols[k]) - Base)), xp + (int64_t(cols[k + 1]) - Base));
      f64x2 x23 = load_half_hi(load_lo(xp + (int64_t(cols[k + 2]) - Base)), xp + (int64_t(cols[k + 3]) - Base));
      s01 = add(s01, mul(load_u(v + k), x01));
      s23 = add(s23, mul(load_u(v + k + 2), x23));
    }
    double s = ((lane0(s01) + lane0(dup_hi(s01))) + lane0(s23)) + lane0(dup_hi(s23));
    for (; k < q; ++k) {
      ahead.step();
      s += v[k] * xp[int64_t(cols[k]) - Base];
    }
    return s;
  } else if constexpr (std::is_same_v<E, cplx<double>> && std::is_same_v<X, Contiguous<const cplx<double>>>) {
    // One complex number a vector; the complex layer's product, which
    // rounds as the scalar formula.
    using namespace zor::simd;
    const double *xp = reinterpret_cast<const double *>(x.p);
    const double *vp = reinterpret_cast<const double *>(v);
    auto term = [&](int64_t kk) {
      f64x2 vv = load_u(vp + 2 * kk);
      if constexpr (Conj) vv = conj(vv);
      return cmul(vv, load_u(xp + 2 * (int64_t(cols[kk]) - Base)));
    };
    f64x2 s0 = zero<f64x2>(), s1 = s0, s2 = s0, s3 = s0;
    for (; k + 4 <= q; k += 4) {
      ahead.step4();
      s0 = add(s0, term(k));
      s1 = add(s1, term(k + 1));
      s2 = add(s2, term(k + 2));
      s3 = add(s3, term(k + 3));
    }
    f64x2 s = add(add(add(s0, s1), s2), s3);
    for (; k < q; ++k) {
      ahead.step();
      s = add(s, term(k));
    }
    E out;
    store_u(reinterpret_cast<double *>(&out), s);
    return out;
  } else {
    E s0 = E{}, s1 = E{}, s2 = E{}, s3 = E{};
    for (; k + 4 <= q; k += 4) {
      ahead.step4();
      s0 = s0 + conj_if<Conj>(v[k]) * x(int64_t(cols[k]) - Base);
      s1 = s1 + conj_if<Conj>(v[k + 1]) * x(int64_t(cols[k + 1]) - Base);
      s2 = s2 + conj_if<Conj>(v[k + 2]) * x(int64_t(cols[k + 2]) - Base);
      s3 = s3 + conj_if<Conj>(v[k + 3]) * x(int64_t(cols[k + 3]) - Base);
    }
    E s = ((s0 + s1) + s2) + s3;
    for (; k < q; ++k) {
      ahead.step();
      s = s + conj_if<Conj>(v[k]) * x(int64_t(cols[k]) - Base);
    }
    return s;
  }
}

// The row dot against NC dense columns at once, element (c, j) of the dense
// operand at b[c*rs + j*cs]: each column keeps its own four sums in the
// order of row_dot, so each result has the bits of the one-column dot; the
// row is read once for all of them.
template <bool Conj, int NC, class E, class I, int Base>
inline void row_dot_columns(const Csr<E, I, Base> &a, int64_t p, int64_t q, const E *b, int64_t rs, int64_t cs,
                            E *out) {
  E s[4][NC];
  for (auto &row : s)
    for (E &e : row) e = E{};
  int64_t k = p;
  for (; k + 4 <= q; k += 4)
    for (int u = 0; u < 4; ++u) {
      E v = conj_if<Conj>(a.vals[k + u]);
      const E *brow = b + a.col(k + u) * rs;
      for (int j = 0; j < NC; ++j) s[u][j] = s[u][j] + v * brow[j * cs];
    }
  for (int j = 0; j < NC; ++j) out[j] = ((s[0][j] + s[1][j]) + s[2][j]) + s[3][j];
  for (; k < q; ++k) {
    E v = conj_if<Conj>(a.vals[k]);
    const E *brow = b + a.col(k) * rs;
    for (int j = 0; j < NC; ++j) out[j] = out[j] + v * brow[j * cs];
  }
}

// An address `bytes` past p, for a prefetch (which never faults): formed as
// an integer, since it may lie past the end of the caller's array.
template <class P>
inline const void *ahead_of(const P *p, int64_t bytes) {
  return reinterpret_cast<const void *>(reinterpret_cast<uintptr_t>(p) + uintptr_t(bytes));
}

// The value and column streams of a row starting at entry p, kStreamAhead
// entries on: with short rows the per-row work leaves the processor's own
// prefetcher behind the streams.
template <class E, class I, int Base>
inline void touch_streams(const Csr<E, I, Base> &a, int64_t p) {
  zor::simd::prefetch_t0(ahead_of(a.vals + p, tuned::kStreamAhead * int64_t(sizeof(E))));
  zor::simd::prefetch_t0(ahead_of(a.cols + p, tuned::kStreamAhead * int64_t(sizeof(I))));
}

// The gathered reads of x wait on memory: a cursor walks the entries of the
// rows lo..hi `distance` entries ahead of the product and prefetches the x
// element each one will read. It follows the row arrays, so it reads only
// positions inside rows (rows may lie anywhere in the arrays), and it
// changes no value.
template <class E, class I, int Base>
struct GatherAhead {
  const E *x;
  const I *cols;
  const I *row_begin, *row_end;
  int64_t b, i, hi, k, q;

  GatherAhead(const Csr<E, I, Base> &a, const E *xp, int64_t lo, int64_t last, int64_t distance)
      : x(xp), cols(a.cols), row_begin(a.row_begin), row_end(a.row_end), b(a.b), i(lo - 1), hi(last), k(0), q(0) {
    for (int64_t t = 0; t < distance; ++t) step();
  }
  // Moves to the next row with entries; false past the last row.
  bool next_row() {
    while (i < hi) {
      ++i;
      k = int64_t(row_begin[i - 1]) - b;
      q = int64_t(row_end[i - 1]) - b;
      if (k < q) return true;
    }
    k = q;
    return false;
  }
  void step() {
    if (k >= q) [[unlikely]]
      if (!next_row()) return;
    zor::simd::prefetch_t0(x + (int64_t(cols[k]) - Base));
    ++k;
  }
  // Four entries: without a test per entry while the row has them.
  void step4() {
    if (k + 4 > q) [[unlikely]] {
      step(), step(), step(), step();
      return;
    }
    zor::simd::prefetch_t0(x + (int64_t(cols[k]) - Base));
    zor::simd::prefetch_t0(x + (int64_t(cols[k + 1]) - Base));
    zor::simd::prefetch_t0(x + (int64_t(cols[k + 2]) - Base));
    zor::simd::prefetch_t0(x + (int64_t(cols[k + 3]) - Base));
    k += 4;
  }
};

// Whether the x reads of rows lo..hi look gathered: in a sample of pairs of
// neighbouring rows at the start of the range, fewer than half of the
// entries at equal positions in the two rows lie within kNearBytes of each
// other. Banded and stencil matrices walk x in a few streams that the
// processor's own prefetcher follows, and there the cursor above only costs
// instructions; scattered columns are what it is for.
template <class E, class I, int Base>
inline bool gathered_x(const Csr<E, I, Base> &a, int64_t lo, int64_t hi) {
  int64_t near = 0, total = 0;
  int64_t last = lo + tuned::kSampleRows < hi ? lo + tuned::kSampleRows : hi;
  for (int64_t i = lo; i < last; ++i) {
    int64_t p0 = a.begin(i), p1 = a.begin(i + 1);
    int64_t n = std::min(std::min(a.end(i) - p0, a.end(i + 1) - p1), int64_t(8));
    for (int64_t t = 0; t < n; ++t) {
      int64_t d = a.col(p1 + t) - a.col(p0 + t);
      near += (d < 0 ? -d : d) * int64_t(sizeof(E)) <= tuned::kNearBytes;
    }
    total += n > 0 ? n : 0;
  }
  return 2 * near < total;
}

// The same for the dense columns j (NC of them) of row i's entries.
template <class E, class I, int Base>
inline void touch_row_columns(const Csr<E, I, Base> &a, int64_t i, const E *b, int64_t rs, int64_t cs, int nc) {
  int64_t p = a.begin(i), q = a.end(i);
  int lines = cs == 1 ? 1 : nc;  // row-major: the columns share a line
  for (int64_t k = p; k < q; ++k)
    for (int t = 0; t < lines; ++t) zor::simd::prefetch_t0(b + a.col(k) * rs + t * cs);
}

}  // namespace zor::spblas
