// Block-row kernels of the grammar: a CSR pattern of lb x lb blocks (block
// p at vals + p lb lb), element (r, c) of a block at c*lb + r in base 1
// (by columns) and at r*lb + c in base 0 (by rows). x and y hold lb
// elements per block row or column. The bodies take LB as a template
// argument: 2 to 6 give every index as a constant, 0 reads lb at run time
// (lb 1 and above 6).
//
//   symmetric mv, part l (u mirrors): a block left of the diagonal block
//   (block column below the block row) gives y(row)_r += (sum_c B(r,c) u_c)
//   alpha and y(col)_c += (sum_r B(r,c) x_r) alpha, u and x the parts of x
//   at the block column and row; the diagonal block gives y(row)_r +=
//   (sum_c S(r,c) x_c) alpha, S its lower triangle mirrored (the other half
//   is not read); blocks of the other triangle are passed over. Each sum
//   runs over its index in order from the first product.
//   gemv: y(row) := the sum over the row's blocks, in order, of B x(col),
//   each block by columns (acc_r += B(r,c) x_c for c, then r), from zero.
#pragma once
#include "spblas/csr_common.hpp"

namespace zor::spblas {

template <int Base, int LB>
struct Block {
  const void *unused;
  int64_t lb;
  int64_t n() const { return LB ? LB : lb; }
  template <class E>
  E at(const E *blk, int64_t r, int64_t c) const {
    return Base == 0 ? blk[r * n() + c] : blk[c * n() + r];
  }
};

template <Kind K, int LB, class E, class I>
inline void bsr_symmetric_rows(int64_t lb, E alpha, const E *vals, const I *cols, const I *row_begin,
                               const I *row_end, const E *x, E *y, int64_t lo, int64_t hi) {
  const Block<K.base, LB> blk{nullptr, lb};
  const int64_t n = blk.n(), b = row_begin[0];
  for (int64_t i = lo; i <= hi; ++i) {
    const E *xi = x + (i - 1) * n;
    E *yi = y + (i - 1) * n;
    for (int64_t k = int64_t(row_begin[i - 1]) - b; k < int64_t(row_end[i - 1]) - b; ++k) {
      const int64_t bc = int64_t(cols[k]) - K.base;
      const E *B = vals + k * n * n;
      if (K.part == 'l' ? bc < i - 1 : bc > i - 1) {
        const E *u = x + bc * n;
        E *yc = y + bc * n;
        for (int64_t r = 0; r < n; ++r) {
          E s = u[0] * blk.at(B, r, 0);
          for (int64_t c = 1; c < n; ++c) s = s + u[c] * blk.at(B, r, c);
          yi[r] = yi[r] + s * alpha;
        }
        for (int64_t c = 0; c < n; ++c) {
          E s = xi[0] * blk.at(B, 0, c);
          for (int64_t r = 1; r < n; ++r) s = s + xi[r] * blk.at(B, r, c);
          yc[c] = yc[c] + s * alpha;
        }
      } else if (bc == i - 1) {
        auto sym = [&](int64_t r, int64_t c) {
          const bool stored = K.part == 'l' ? r >= c : r <= c;
          return stored ? blk.at(B, r, c) : blk.at(B, c, r);
        };
        for (int64_t r = 0; r < n; ++r) {
          E s = xi[0] * sym(r, 0);
          for (int64_t c = 1; c < n; ++c) s = s + xi[c] * sym(r, c);
          yi[r] = yi[r] + s * alpha;
        }
      }
    }
  }
}

template <class T, Kind K, class I, class P>
void bsr_mv_par(const I *first, const I *last, const void *, const I *lb, const P *alpha, const P *vals,
                const I *cols, const I *row_begin, const I *row_end, const P *x, P *y) {
  const int64_t lo = *first, hi = *last, n = *lb;
  if (hi < lo) return;
  auto run = [&](auto LB) {
    bsr_symmetric_rows<K, decltype(LB)::value>(n, *elems(alpha), elems(vals), cols, row_begin, row_end, elems(x),
                                               elems(y), lo, hi);
  };
  switch (n) {
    case 2: return run(std::integral_constant<int, 2>{});
    case 3: return run(std::integral_constant<int, 3>{});
    case 4: return run(std::integral_constant<int, 4>{});
    case 5: return run(std::integral_constant<int, 5>{});
    case 6: return run(std::integral_constant<int, 6>{});
    default: return run(std::integral_constant<int, 0>{});
  }
}

template <Kind K, int LB, class E, class I>
inline void bsr_product_rows(int64_t lb, const E *vals, const I *cols, const I *row_ptr, const E *x, E *y,
                             int64_t lo, int64_t hi) {
  const Block<K.base, LB> blk{nullptr, lb};
  const int64_t n = blk.n(), b = row_ptr[0];
  for (int64_t i = lo; i <= hi; ++i) {
    E acc[LB ? LB : 1];
    E *out = LB ? acc : y + (i - 1) * n;  // the general body sums in y itself
    for (int64_t r = 0; r < n; ++r) out[r] = E{};
    for (int64_t k = int64_t(row_ptr[i - 1]) - b; k < int64_t(row_ptr[i]) - b; ++k) {
      const E *B = vals + k * n * n, *u = x + (int64_t(cols[k]) - K.base) * n;
      for (int64_t c = 0; c < n; ++c)
        for (int64_t r = 0; r < n; ++r) out[r] = out[r] + blk.at(B, r, c) * u[c];
    }
    if (LB)
      for (int64_t r = 0; r < n; ++r) y[(i - 1) * n + r] = out[r];
  }
}

template <class T, Kind K, class I, class P>
void bsr_gemv_par(const I *first, const I *last, const void *, const I *lb, const void *, const void *,
                  const P *vals, const I *cols, const I *row_ptr, const P *x, P *y) {
  const int64_t lo = *first, hi = *last, n = *lb;
  if (hi < lo) return;
  auto run = [&](auto LB) {
    bsr_product_rows<K, decltype(LB)::value>(n, elems(vals), cols, row_ptr, elems(x), elems(y), lo, hi);
  };
  switch (n) {
    case 2: return run(std::integral_constant<int, 2>{});
    case 3: return run(std::integral_constant<int, 3>{});
    case 4: return run(std::integral_constant<int, 4>{});
    case 5: return run(std::integral_constant<int, 5>{});
    case 6: return run(std::integral_constant<int, 6>{});
    default: return run(std::integral_constant<int, 0>{});
  }
}

}  // namespace zor::spblas
