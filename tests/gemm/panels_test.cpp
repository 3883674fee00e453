// Panel layouts of the real copies, written from the layout rules, and the
// micro-kernels on packed operands: row tails, column tails, C alignment and
// the two ways of reading B all give the same sums.
#include <cstring>

#include "gemm_testing.hpp"

namespace {

using namespace zor::test;

template <class R>
struct AlignedVec {
  std::vector<R> store;
  R *p;
  explicit AlignedVec(size_t n, R fill = R(-777)) : store(n + 64, fill) {
    auto a = (reinterpret_cast<uintptr_t>(store.data()) + 127) & ~uintptr_t(127);
    p = reinterpret_cast<R *>(a);
  }
};

int64_t up(int64_t x, int64_t u) { return (x + u - 1) / u * u; }

// alpha x op(A) in panels of width um, depth padded to 4, lanes past m zero.
template <class R>
std::vector<R> expected_a(int64_t m, int64_t k, const R *a, int64_t lda, bool trans, R alpha, int64_t um) {
  const int64_t kp = up(k, 4), stride = um * kp;
  std::vector<R> out(size_t(up(m, um) / um * stride), R(0));
  for (int64_t i = 0; i < m; ++i)
    for (int64_t l = 0; l < k; ++l) out[size_t(i / um * stride + l * um + i % um)] = alpha * op_at(a, lda, trans ? 'T' : 'N', i, l);
  return out;
}

// op(B) in panels of four columns; tails compact (row 0) or in whole vectors.
template <class R>
std::vector<R> expected_b(int64_t k, int64_t n, const R *b, int64_t ldb, bool trans, int row) {
  const int64_t kp = up(k, 4), stride = 4 * kp, lanes = 16 / sizeof(R);
  std::vector<R> out(size_t(up(n, 4) / 4 * stride), R(-777));
  for (int64_t q = 0; q * 4 < n; ++q) {
    const int64_t c = n - 4 * q < 4 ? n - 4 * q : 4;
    const int64_t w = c == 4 ? 4 : (row == 0 ? c : up(c, lanes));
    for (int64_t l = 0; l < kp; ++l)
      for (int64_t j = 0; j < w; ++j)
        out[size_t(q * stride + l * w + j)] = (j < c && l < k) ? op_at(b, ldb, trans ? 'T' : 'N', l, 4 * q + j) : R(0);
  }
  return out;
}

template <class R>
void check_copies() {
  using G = Gemm<R>;
  const int64_t um = 32 / int64_t(sizeof(R));
  Rng rng(11);
  const R alpha = R(0.75);
  for (bool trans : {false, true})
    for (int64_t m = 1; m <= 2 * um + 1; ++m)
      for (int64_t k = 1; k <= 9; ++k)
        for (int64_t pad : {0, 1}) {  // odd leading dimension: the unaligned source form
          const int64_t rows = trans ? k : m, cols = trans ? m : k, lda = rows + pad;
          Matrix<R> a(rows, cols, lda, pad * sizeof(R));
          a.fill(rng);
          const auto want = expected_a(m, k, a.data(), lda, trans, alpha, um);
          const int64_t stride = um * up(k, 4);
          for (int row : {0, 1}) {
            AlignedVec<R> buf(want.size());
            auto copy = trans ? (row ? G::copyat_bvr : G::copyat) : (row ? G::copyan_bvr : G::copyan);
            copy(&m, &k, a.data(), &lda, buf.p, &stride, &alpha);
            ASSERT_EQ(std::memcmp(buf.p, want.data(), want.size() * sizeof(R)), 0)
                << "trans " << trans << " m " << m << " k " << k << " lda " << lda << " row " << row;
            EXPECT_EQ(buf.p[want.size()], R(-777));
          }
        }
  for (bool trans : {false, true})
    for (int64_t n = 1; n <= 9; ++n)
      for (int64_t k = 1; k <= 9; ++k) {
        const int64_t rows = trans ? n : k, cols = trans ? k : n, ldb = rows + (k & 1);
        Matrix<R> b(rows, cols, ldb);
        b.fill(rng);
        const int64_t stride = 4 * up(k, 4);
        for (int row : {0, 1}) {
          const auto want = expected_b(k, n, b.data(), ldb, trans, row);
          AlignedVec<R> buf(want.size());
          auto copy = trans ? (row ? G::copybt_bvr : G::copybt) : (row ? G::copybn_bvr : G::copybn);
          copy(&k, &n, b.data(), &ldb, buf.p, &stride, nullptr);
          ASSERT_EQ(std::memcmp(buf.p, want.data(), want.size() * sizeof(R)), 0)
              << "trans " << trans << " n " << n << " k " << k << " row " << row;
        }
      }
}

TEST(GemmPanels, DoubleCopiesMatchTheLayout) { check_copies<double>(); }
TEST(GemmPanels, SingleCopiesMatchTheLayout) { check_copies<float>(); }

// The kernel entry on packed A (and packed or in-place B) through plans 64
// and 16: every combination of row, B form, C alignment and remaining rows
// gives the same bits as the full-panel run, since each element is one sum
// in depth order from zero. Depths 512 and 513 put row 1 on both sides of
// its stack buffer of lane swaps (formed once per column group, or at every
// depth step past 512).
template <class R>
void check_kernels_agree() {
  using G = Gemm<R>;
  const int64_t um = 32 / int64_t(sizeof(R));
  Rng rng(23);
  for (int64_t m : {um - 1, um, 2 * um + 3})
    for (int64_t n : {1, 2, 3, 4, 6, 11})
      for (int64_t k : {1, 4, 7, 64, 512, 513}) {
        const int64_t kp = up(k, 4), astride = um * kp, bstride = 4 * kp, mp = up(m, um);
        Matrix<R> a(m, k, m), b(k, n, k);
        a.fill(rng);
        b.fill(rng);
        AlignedVec<R> pa(size_t(mp * kp)), pb(size_t(up(n, 4) * kp) + 8);
        R alpha = R(1), beta = R(1);
        Desc d = Desc::row<R>(0);
        zor_blas_cgemm_set_blks_size(mp, up(n, 4), kp, d.get());
        G::copyan(&m, &k, a.data(), &m, pa.p, &astride, &alpha);
        std::vector<R> first;
        for (int row : {0, 1})
          for (int plan : {64, 16})
            for (size_t off : {size_t(0), sizeof(R)}) {
              SCOPED_TRACE(testing::Message() << "m " << m << " n " << n << " k " << k << " row " << row << " plan "
                                              << plan << " offset " << off);
              Desc dr = Desc::row<R>(row);
              zor_blas_cgemm_set_blks_size(mp, up(n, 4), kp, dr.get());
              (row ? G::copybn_bvr : G::copybn)(&k, &n, b.data(), &k, pb.p, &bstride, nullptr);
              Matrix<R> c(m, n, m + 1, off);
              for (int64_t j = 0; j < n; ++j)
                for (int64_t i = 0; i < m; ++i) c.at(i, j) = R(i - j) / R(4);
              const R *bsrc = plan == 64 ? pb.p : b.data();
              const int64_t ldb = plan == 64 ? bstride : k, ldc = c.ld;
              ASSERT_EQ(G::xgemm_par("N", "N", &m, &n, &k, &alpha, pa.p, &astride, bsrc, &ldb, &beta, c.data(), &ldc,
                                     plan, dr.get()),
                        0);
              EXPECT_TRUE(c.buf.guards_intact());
              std::vector<R> got;
              for (int64_t j = 0; j < n; ++j)
                for (int64_t i = 0; i < m; ++i) got.push_back(c.at(i, j));
              if (first.empty()) {
                first = got;
                // and the sums are right
                for (int64_t j = 0; j < n; ++j)
                  for (int64_t i = 0; i < m; ++i) {
                    double s = 0, abs_sum = 0;
                    for (int64_t l = 0; l < k; ++l) {
                      s += double(a.at(i, l)) * double(b.at(l, j));
                      abs_sum += std::fabs(double(a.at(i, l)) * double(b.at(l, j)));
                    }
                    const double want = double(i - j) / 4 + s;
                    ASSERT_NEAR(got[size_t(i + j * m)], want, gemm_bound<R>(k, abs_sum, std::fabs(want)));
                  }
              } else {
                ASSERT_EQ(std::memcmp(got.data(), first.data(), got.size() * sizeof(R)), 0);
              }
            }
      }
}

TEST(GemmKernels, DoubleRowsFormsAndTailsAgreeBitForBit) { check_kernels_agree<double>(); }
TEST(GemmKernels, SingleRowsFormsAndTailsAgreeBitForBit) { check_kernels_agree<float>(); }

// The kernel entry with beta zero and NaN in C stores clean results; 'n' and
// 't' as the in-place B flag of plan 16 read B as not transposed and
// transposed.
TEST(GemmKernels, BetaZeroKernelsNeverReadC) {
  for (int row : {0, 1}) {
    int64_t m = 7, n = 6, k = 5, kp = 8, astride = 4 * kp, bstride = 4 * kp, ldc = 8;
    double a[35], b[30];
    for (int i = 0; i < 35; ++i) a[i] = i % 5 - 2;
    for (int i = 0; i < 30; ++i) b[i] = i % 3 - 1;
    AlignedVec<double> pa(8 * kp), pb(8 * kp);
    double alpha = 1, beta = 0;
    zor_blas_dgemm_copyan(&m, &k, a, &m, pa.p, &astride, &alpha);
    (row ? zor_blas_dgemm_copybn_bvr : zor_blas_dgemm_copybn)(&k, &n, b, &k, pb.p, &bstride, nullptr);
    std::vector<double> c(size_t(ldc * n), std::nan(""));
    Desc d = Desc::row<double>(row);
    zor_blas_cgemm_set_blks_size(8, 8, 8, d.get());
    AlignedVec<double> dup(size_t(kp * 4 * 2));
    d->kernel("N", "N", &m, &n, &kp, nullptr, pa.p, &astride, pb.p, &bstride, &beta, c.data(), &ldc, dup.p, 2);
    for (int64_t j = 0; j < n; ++j)
      for (int64_t i = 0; i < m; ++i) {
        double s = 0;
        for (int64_t l = 0; l < k; ++l) s += a[i + l * m] * b[l + j * k];
        EXPECT_EQ(c[size_t(i + j * ldc)], s) << row << " " << i << " " << j;
      }
    // plan 16 with 'n' reads B as not transposed, 't' as transposed
    std::vector<double> bt(size_t(n * k));
    for (int64_t l = 0; l < k; ++l)
      for (int64_t j = 0; j < n; ++j) bt[size_t(j + l * n)] = b[l + j * k];
    std::vector<double> c1(size_t(ldc * n), 0.0), c2(size_t(ldc * n), 0.0);
    double one = 1;
    int64_t ldbt = n;
    ASSERT_EQ(zor_blas_xdgemm_par("N", "n", &m, &n, &k, &alpha, pa.p, &astride, b, &k, &one, c1.data(), &ldc, 16,
                                  d.get()),
              0);
    ASSERT_EQ(zor_blas_xdgemm_par("N", "t", &m, &n, &k, &alpha, pa.p, &astride, bt.data(), &ldbt, &one, c2.data(),
                                  &ldc, 16, d.get()),
              0);
    for (int64_t j = 0; j < n; ++j)
      for (int64_t i = 0; i < m; ++i) {
        EXPECT_EQ(c1[size_t(i + j * ldc)], c[size_t(i + j * ldc)]);
        EXPECT_EQ(c2[size_t(i + j * ldc)], c[size_t(i + j * ldc)]);
      }
  }
}

}  // namespace

namespace {

// The extended copies give the panels that splitting the complex block into
// real, imaginary (conjugated for 'C') and sum arrays and packing each with
// the row's own copy gives.
template <class R>
void check_extended_copies() {
  using G = Gemm<R>;
  using Ext = int32_t (*)(int32_t, const char *, const int64_t *, const int64_t *, const void *, const int64_t *,
                          void *, void *, void *, const int64_t *);
  Rng rng(41);
  for (int row : {0, 1})
    for (char form : {'N', 'T', 'C'})
      for (int64_t rows : {1, 5, 9})
        for (int64_t cols : {1, 6}) {
          SCOPED_TRACE(testing::Message() << "row " << row << " form " << form << " " << rows << "x" << cols);
          Desc d = Desc::row<R>(row);
          const bool plain = form == 'N';
          const int64_t ld = (plain ? rows : cols) + 1;
          std::vector<R> src(size_t(2 * ld * (plain ? cols : rows)));
          for (auto &x : src) x = R(rng.uniform());
          std::vector<R> parts[3];
          for (auto &p : parts) p.assign(size_t(rows * cols), R(0));
          for (int64_t c = 0; c < cols; ++c)
            for (int64_t r = 0; r < rows; ++r) {
              const R *e = &src[size_t(2 * (plain ? r + c * ld : c + r * ld))];
              const R re = e[0], im = form == 'C' ? -e[1] : e[1];
              parts[0][size_t(r + c * rows)] = re;
              parts[1][size_t(r + c * rows)] = im;
              parts[2][size_t(r + c * rows)] = re + im;
            }
          const int64_t kdepth = 16, astride = d->unroll_m * kdepth, bstride = 4 * kdepth;
          for (bool is_a : {true, false}) {
            const int64_t stride = is_a ? astride : bstride;
            std::vector<AlignedVec<R>> got, want;
            for (int t = 0; t < 3; ++t) {
              got.emplace_back(size_t(stride * 4), R(-5));
              want.emplace_back(size_t(stride * 4), R(-5));
            }
            Ext ext = reinterpret_cast<Ext>(is_a ? d->copy_a_ext : d->copy_b_ext);
            ASSERT_EQ(ext(256, &form, &rows, &cols, src.data(), &ld, got[0].p, got[1].p, got[2].p, &stride), 0);
            const R one = 1;
            for (int t = 0; t < 3; ++t) {
              if (is_a)
                reinterpret_cast<void (*)(const int64_t *, const int64_t *, const R *, const int64_t *, R *,
                                          const int64_t *, const R *)>(d->copy_an)(&rows, &cols, parts[t].data(),
                                                                                   &rows, want[t].p, &stride, &one);
              else
                reinterpret_cast<void (*)(const int64_t *, const int64_t *, const R *, const int64_t *, R *,
                                          const int64_t *, const void *)>(d->copy_bn)(&rows, &cols, parts[t].data(),
                                                                                      &rows, want[t].p, &stride,
                                                                                      nullptr);
              ASSERT_EQ(std::memcmp(got[t].p, want[t].p, size_t(stride * 4) * sizeof(R)), 0) << is_a << t;
            }
            EXPECT_EQ(ext(4096, &form, &rows, &cols, src.data(), &ld, got[0].p, got[1].p, got[2].p, &stride), 1);
          }
        }
}

TEST(GemmPanels, ExtendedCopiesSplitComplexBlocks) {
  check_extended_copies<double>();
  check_extended_copies<float>();
}

}  // namespace
