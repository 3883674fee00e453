// The block kernels without the grammar against the dense expansion of the
// same random block matrix: products of every structure and mode, the
// block solves by rows and by columns, the diagonal division; block sizes 1
// to 7, both layouts, garbage (NaN) wherever a kernel must not read.
#include "spblas/others.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class P>
struct BlockKernels : ::testing::Test {};
TYPED_TEST_SUITE(BlockKernels, AllTypes);

// mb block rows of distinct block columns (ascending), element (r, c) of a
// block at c*lb + r (base 1) or r*lb + c (base 0). value(i, bc, r, c) gives
// each element; the dense matrix holds what it returns unless it is NaN.
template <class E, class I>
struct BlockMatrix {
  int64_t mb, lb;
  int base;
  std::vector<E> vals;
  std::vector<I> cols, begin, end;
  Dense dense;  // the stored elements that are not NaN, n x n

  template <class Pick, class Value>
  BlockMatrix(Rng &rng, int64_t mb_, int64_t lb_, int base_, Pick pick, Value value)
      : mb(mb_), lb(lb_), base(base_), dense{mb_ * lb_, mb_ * lb_, std::vector<W>(mb_ * lb_ * mb_ * lb_)} {
    const int64_t data_base = rng.integer(0, 1);
    for (int64_t i = 0; i < mb; ++i) {
      begin.push_back(I(cols.size() + data_base));
      for (int64_t bc = 0; bc < mb; ++bc) {
        if (!pick(i, bc)) continue;
        cols.push_back(I(bc + base));
        for (int64_t e = 0; e < lb * lb; ++e) {
          const int64_t r = base == 0 ? e / lb : e % lb, c = base == 0 ? e % lb : e / lb;
          const E v = value(i, bc, r, c);
          vals.push_back(v);
          if (v == v) dense(i * lb + r, bc * lb + c) = widen(v);
        }
      }
      end.push_back(I(cols.size() + data_base));
    }
    vals.push_back(E{}), cols.push_back(0);
  }
};

// A dense n x k operand, column-major (base 1) or row-major (base 0), ld
// with room to spare unless packed.
template <class E>
struct Operand {
  int64_t n, k, ld;
  bool by_rows;
  std::vector<E> v;
  Operand(Rng &rng, int64_t n_, int64_t k_, int base, bool packed = false)
      : n(n_), k(k_), ld(base == 0 ? k_ + 2 * !packed : n_ + !packed), by_rows(base == 0),
        v(ld * (base == 0 ? n_ : k_) + 1) {
    for (E &e : v) e = random_value<E>(rng);
  }
  E &operator()(int64_t i, int64_t j) { return by_rows ? v[i * ld + j] : v[j * ld + i]; }
};

TYPED_TEST(BlockKernels, ProductsOfEveryStructure) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  using O = Others<E, I>;
  const long double eps = std::numeric_limits<real_of<E>>::epsilon();
  Rng rng(31);
  for (int trial = 0; trial < 24; ++trial)
    for (char kind : {'g', 's', 't', 'a', 'd'}) {
      const int base = trial % 2, lb = 1 + trial % 7, mb = int(rng.integer(1, 5)), ncol = trial % 3 ? 3 : 1;
      const I mode = I(trial % 4 == 1 ? 0 : 1), part = I(rng.integer(0, 1));
      const bool lower = part != 0;
      SCOPED_TRACE(::testing::Message() << "seed 31 trial " << trial << " kind " << kind << " lb " << lb << " mode "
                                        << mode << " part " << part);
      // Diagonal blocks of s and t hold NaN outside the part's triangle; d
      // reads only their diagonal.
      BlockMatrix<E, I> a(
          rng, mb, lb, base, [&](int64_t, int64_t) { return rng.integer(0, 2) == 0; },
          [&](int64_t i, int64_t bc, int64_t r, int64_t c) {
            const bool unread = i == bc && ((kind == 's' || kind == 't') ? (lower ? c > r : c < r) : kind == 'd' && r != c);
            return unread ? nan_value<E>() : random_value<E>(rng);
          });
      const int64_t n = mb * lb;
      Dense m{n, n, std::vector<W>(n * n)};  // the operator
      auto in_part = [&](int64_t r, int64_t c) { return lower ? c <= r : c >= r; };
      for (int64_t r = 0; r < n; ++r)
        for (int64_t c = 0; c < n; ++c) {
          const int64_t br = r / lb, bcol = c / lb;
          const W v = a.dense(r, c), t = a.dense(c, r);
          const bool inside = lower ? bcol < br : bcol > br, mirror = lower ? br < bcol : br > bcol;
          switch (kind) {
            case 'g': m(r, c) = v; break;
            case 's': m(r, c) = br == bcol ? (in_part(r, c) ? v : t) : inside ? v : mirror ? t : W(0); break;
            case 't': m(r, c) = (inside || (br == bcol && in_part(r, c))) ? v : W(0); break;
            case 'a': m(r, c) = br == bcol ? W(0) : v - t; break;
            case 'd': m(r, c) = mode == 1 ? (r == c ? v : W(0)) : W(r == c); break;
          }
        }
      Operand<E> b(rng, n, ncol, base), c(rng, n, ncol, base);
      auto c0 = c;
      const E alpha = random_value<E>(rng, 2.0);
      const I mbi = I(mb), nc = I(ncol), lbi = I(lb), ldb = I(b.ld), ldc = I(c.ld);
      auto args = [&](auto fn, auto... lead) {
        call(fn, lead..., &mbi, &nc, &lbi, &alpha, a.vals.data(), a.cols.data(), a.begin.data(), a.end.data(),
             b.v.data(), &ldb, c.v.data(), &ldc);
      };
      switch (kind) {
        case 'g': args(base ? O::bsrmmgen : O::cspblas_bsrmmgen, &mode); break;
        case 's': args(base ? O::bsrmmsym : O::cspblas_bsrmmsym, &mode, &part); break;
        case 't': args(base ? O::bsrmmtr : O::cspblas_bsrmmtr, &mode, &part); break;
        case 'a': args(base ? O::bsrmmskew : O::cspblas_bsrmmskew, &mode); break;
        case 'd': args(base ? O::bsrmmdiag : O::cspblas_bsrmmdiag, &mode); break;
      }
      for (int64_t j = 0; j < ncol; ++j) {
        std::vector<W> want(n);
        std::vector<long double> scale(n);
        for (int64_t i = 0; i < n; ++i) {
          W s = 0;
          long double size = std::abs(widen(c0(i, j)));
          for (int64_t k = 0; k < n; ++k) {
            const W e = mode == 1 || kind == 's' ? m(i, k) : m(k, i);
            s += e * widen(b(k, j));
            size += std::abs(widen(alpha)) * std::abs(e) * std::abs(widen(b(k, j)));
          }
          want[i] = widen(c0(i, j)) + widen(alpha) * s, scale[i] = size + 1e-30L;
        }
        std::vector<E> got(n);
        for (int64_t i = 0; i < n; ++i) got[i] = c(i, j);
        ASSERT_TRUE(close(got.data(), 1, want, scale, 8 * n * eps)) << "column " << j;
      }
    }
}

TYPED_TEST(BlockKernels, SolvesByRowsAndByColumns) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  using O = Others<E, I>;
  const long double eps = std::numeric_limits<real_of<E>>::epsilon();
  Rng rng(32);
  for (int trial = 0; trial < 32; ++trial) {
    const int base = trial % 2, lb = 1 + trial % 7, mb = int(rng.integer(1, 5)), ncol = trial % 3 ? 2 : 1;
    const bool by_columns = trial & 2, forward = trial & 4, unit = trial & 8;
    const I part = forward, nonunit = !unit;
    // From trial 16 on, block row `gap` has no diagonal block but block
    // column gap + 1, when there is one (finite throughout): the unit solve
    // takes the identity there, the non-unit one takes that block as the
    // diagonal one (its part's triangle), or the identity without it.
    const int64_t gap = trial & 16 ? rng.integer(0, mb - 1) : -1;
    const bool moved = !unit && gap >= 0 && gap + 1 < mb;
    SCOPED_TRACE(::testing::Message() << "seed 32 trial " << trial << " lb " << lb << (by_columns ? " bsc" : " bsr")
                                      << " gap " << gap);
    // The stored side: lower for a forward solve by rows, upper by columns
    // (the operator is the stored matrix transposed); the other side NaN.
    const bool stored_lower = forward != by_columns;
    auto on_side = [&](int64_t gr, int64_t gc) { return stored_lower ? gc < gr : gc > gr; };
    BlockMatrix<E, I> a(
        rng, mb, lb, base,
        [&](int64_t i, int64_t bc) { return i == gap ? bc == gap + 1 || (bc != gap && rng.integer(0, 2) == 0)
                                                     : i == bc || rng.integer(0, 2) == 0; },
        [&](int64_t i, int64_t bc, int64_t r, int64_t c) {
          const int64_t gr = i * lb + r, gc = bc * lb + c;
          if (i == gap && bc == gap + 1) return r == c ? E(real_of<E>(3)) + random_value<E>(rng, 0.5) : random_value<E>(rng, 0.4 / lb);
          if (gr == gc) return unit ? nan_value<E>() : E(real_of<E>(3)) + random_value<E>(rng, 0.5);
          return on_side(gr, gc) ? random_value<E>(rng, 0.4 / lb) : nan_value<E>();
        });
    const int64_t n = mb * lb;
    // The stored matrix as the solve sees it, then the operator.
    Dense s{n, n, std::vector<W>(n * n)};
    for (int64_t r = 0; r < n; ++r)
      for (int64_t c = 0; c < n; ++c) {
        const int64_t br = r / lb, bcol = c / lb;
        if (br == gap && moved) {
          if (bcol == gap && (r == c || on_side(r, c))) s(r, c) = a.dense(r, c + lb);
          else if (bcol != gap + 1 && on_side(r, c)) s(r, c) = a.dense(r, c);
        } else if (br == bcol || on_side(r, c)) {
          s(r, c) = a.dense(r, c);
        }
      }
    Dense m{n, n, std::vector<W>(n * n)};
    for (int64_t r = 0; r < n; ++r)
      for (int64_t c = 0; c < n; ++c)
        m(r, c) = r == c && (unit || (r / lb == gap && !moved)) ? W(1) : by_columns ? s(c, r) : s(r, c);
    Operand<E> x(rng, n, ncol, base, ncol == 1), y = x;
    for (int64_t j = 0; j < ncol; ++j)
      for (int64_t i = 0; i < n; ++i) {
        W s = 0;
        for (int64_t k = 0; k < n; ++k) s += m(i, k) * widen(x(k, j));
        y(i, j) = narrow<E>(s);
      }
    const I mbi = I(mb), nc = I(ncol), lbi = I(lb), ldy = I(ncol == 1 ? 999 : y.ld);  // one column: ldy unread
    auto fn = by_columns ? (base ? O::bsc_gauss : O::bsc_cspblas_gauss) : (base ? O::bsr_gauss : O::bsr_cspblas_gauss);
    call(fn, &part, &nonunit, &mbi, &nc, &lbi, a.vals.data(), a.cols.data(), a.begin.data(), a.end.data(),
         y.v.data(), &ldy);
    for (int64_t j = 0; j < ncol; ++j)
      for (int64_t i = 0; i < n; ++i) {
        const long double err = std::abs(widen(y(i, j)) - widen(x(i, j)));
        ASSERT_LE(err, 64 * n * eps) << "row " << i << " column " << j;
      }
  }
}

TYPED_TEST(BlockKernels, DiagonalDivision) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(33);
  for (int trial = 0; trial < 8; ++trial) {
    const int base = trial % 2, lb = 1 + trial % 5, mb = 5, ncol = 1 + trial % 3;
    // Row 1 has no diagonal block (its last block divides), row 3 no block.
    BlockMatrix<E, I> a(
        rng, mb, lb, base, [&](int64_t i, int64_t bc) { return i != 3 && (i == 1 ? bc != 1 && bc < 3 : bc == i || bc == 4); },
        [&](int64_t, int64_t, int64_t r, int64_t c) { return r == c ? random_value<E>(rng) + E(real_of<E>(2)) : nan_value<E>(); });
    const int64_t n = mb * lb;
    std::vector<E> y(n * ncol), y0;
    for (E &e : y) e = random_value<E>(rng);
    y0 = y;
    const I mbi = I(mb), nc = I(ncol), lbi = I(lb);
    call(base ? Others<E, I>::bsr_invdiag : Others<E, I>::bsr_cspblas_invdiag, &mbi, &nc, &lbi, a.vals.data(),
         a.cols.data(), a.begin.data(), a.end.data(), y.data());
    for (int64_t i = 0; i < n; ++i) {
      const int64_t br = i / lb, bc = br == 1 ? 2 : br;
      for (int64_t j = 0; j < ncol; ++j) {
        const int64_t at = base ? j * n + i : i * ncol + j;
        const W want = br == 3 ? widen(y0[at]) : widen(y0[at]) / a.dense(i, bc * lb + i % lb);
        ASSERT_LE(std::abs(widen(y[at]) - want), 4 * std::numeric_limits<real_of<E>>::epsilon() * std::abs(want))
            << "row " << i << " trial " << trial;
      }
    }
  }
}

}  // namespace
