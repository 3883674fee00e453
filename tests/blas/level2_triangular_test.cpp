// Triangular products and solves against the reference BLAS: ?trsv, x?trmv,
// ?tbmv, ?tbsv, ?tpmv, ?tpsv over every uplo, trans and diag, sizes across
// the blocks of 32 and 64, band widths 0, 1, n - 1 and between, leading
// dimensions even and odd, offsets and increments. The orders of summation
// differ from the reference's (blocks, vector lanes), so results agree to
// rounding at the scale of the terms. Diagonals are dominant, so that the
// solves are well conditioned; a unit diagonal holds NaN, which must never
// be read, and 'N' columns the loop passes over (x element 0) hold NaN.
// Then the complex band routines across their choice of inner
// form and under both processor answers, and the product's slices on
// threads against the whole product.
#include <zor/blas.h>

#include <thread>

#include "level2_testing.hpp"

namespace zor::test::level2 {
namespace {

enum class Tri { trsv, trmv, tbmv, tbsv, tpmv, tpsv };
const char *const kTriNames[] = {"trsv", "trmv", "tbmv", "tbsv", "tpmv", "tpsv"};

struct TriCase {
  Tri kind;
  char uplo, trans, diag;
  int64_t n, k, lda, incx;
  size_t off_a, off_x;
};
std::ostream &operator<<(std::ostream &o, const TriCase &c) {
  return o << kTriNames[int(c.kind)] << " " << c.uplo << c.trans << c.diag << " n " << c.n << " k " << c.k
           << " lda " << c.lda << " incx " << c.incx << " offsets " << c.off_a << " " << c.off_x;
}

bool band(Tri t) { return t == Tri::tbmv || t == Tri::tbsv; }
bool packed(Tri t) { return t == Tri::tpmv || t == Tri::tpsv; }
bool solve(Tri t) { return t == Tri::trsv || t == Tri::tbsv || t == Tri::tpsv; }

TriCase random_tri(Tri kind, Rng &rng) {
  TriCase c{kind, random_letter(rng, "UuLl"), random_letter(rng, "NnTtCc"), random_letter(rng, "NnUu"),
            random_size(rng), 0, 0, random_inc(rng), random_offset(rng), random_offset(rng)};
  if (band(kind)) {
    const int64_t choice = rng.integer(0, 3), top = std::max<int64_t>(c.n - 1, 0);
    c.k = choice == 0 ? 0 : choice == 1 ? std::min<int64_t>(1, top) : choice == 2 ? top : rng.integer(0, top);
  }
  c.lda = (band(kind) ? c.k + 1 : std::max<int64_t>(c.n, 1)) + rng.integer(0, 3);
  return c;
}

// Position of a[i, j] of the triangle in the array.
int64_t element_at(const TriCase &c, int64_t i, int64_t j) {
  const bool upper = c.uplo == 'U' || c.uplo == 'u';
  if (packed(c.kind)) return upper ? i + j * (j + 1) / 2 : j * c.n - j * (j - 1) / 2 + (i - j);
  if (band(c.kind)) return (upper ? c.k : 0) + (i - j) + j * c.lda;
  return i + j * c.lda;
}

template <class E>
void run_tri(const TriCase &c, Rng &rng) {
  using R = real_of<E>;
  const int64_t n = c.n;
  const size_t count = size_t(packed(c.kind) ? n * (n + 1) / 2 : c.lda * n);
  GuardedBuffer<E> a = random_buffer<E>(count, c.off_a, rng);
  // Solves: off-diagonal terms small beside the diagonal's 1, so that
  // neither a unit nor a general diagonal lets the solution grow.
  if (solve(c.kind))
    for (size_t i = 0; i < count; ++i) a.set(i, tmul(a.get(i), R(1) / R(n + 2)));
  const bool unit = c.diag == 'U' || c.diag == 'u';
  for (int64_t j = 0; j < n; ++j)
    a.set(size_t(element_at(c, j, j)), unit ? E(R(NAN)) : E(R(solve(c.kind) ? 1 : n + 2)) + tmul(rng.value<E>(), R(0.25)));
  GuardedBuffer<E> x = random_buffer<E>(size_t(span(n, c.incx)), c.off_x, rng);
  // The band and packed 'N' loops pass over a column whose x element is 0
  // when its turn comes: such columns hold NaN off the diagonal, never to be
  // read. Products: any columns; solves: a stretch where the walk begins.
  const bool upper = c.uplo == 'U' || c.uplo == 'u', normal = c.trans == 'N' || c.trans == 'n';
  if ((band(c.kind) || packed(c.kind)) && normal && n > 0 && rng.integer(0, 2) == 0) {
    const int64_t stretch = rng.integer(1, std::min<int64_t>(n, 6)), reach = band(c.kind) ? c.k : n;
    for (int64_t s = 0; s < n; ++s) {
      const int64_t j = upper != solve(c.kind) ? s : n - 1 - s;
      if (solve(c.kind) ? s >= stretch : rng.integer(0, 3) != 0) continue;
      x.set(size_t(c.incx > 0 ? j * c.incx : (n - 1 - j) * -c.incx), E(0));
      for (int64_t i = upper ? std::max<int64_t>(0, j - reach) : j + 1; i < (upper ? j : std::min(n, j + reach + 1)); ++i)
        a.set(size_t(element_at(c, i, j)), E(R(NAN)));
    }
  }
  std::vector<E> want = x.copy();
  const std::vector<E> as = a.copy();
  const f_int fn = f_int(n), fk = f_int(c.k), flda = f_int(c.lda), fx = f_int(c.incx);
  const char *u = &c.uplo, *t = &c.trans, *d = &c.diag;
  const int64_t k = c.k, lda = c.lda, incx = c.incx;
  switch (c.kind) {
    case Tri::trsv:
      pick<E>(zor_blas_strsv, zor_blas_dtrsv, zor_blas_ctrsv, zor_blas_ztrsv)(u, t, d, &n, a.data(), &lda, x.data(), &incx);
      pick<E>(strsv_, dtrsv_, ctrsv_, ztrsv_)(u, t, d, &fn, as.data(), &flda, want.data(), &fx, 1, 1, 1);
      break;
    case Tri::trmv:
      pick<E>(zor_blas_xstrmv, zor_blas_xdtrmv, zor_blas_xctrmv, zor_blas_xztrmv)(u, t, d, &n, a.data(), &lda, x.data(), &incx);
      pick<E>(strmv_, dtrmv_, ctrmv_, ztrmv_)(u, t, d, &fn, as.data(), &flda, want.data(), &fx, 1, 1, 1);
      break;
    case Tri::tbmv:
      pick<E>(zor_blas_stbmv, zor_blas_dtbmv, zor_blas_ctbmv, zor_blas_ztbmv)(u, t, d, &n, &k, a.data(), &lda, x.data(), &incx);
      pick<E>(stbmv_, dtbmv_, ctbmv_, ztbmv_)(u, t, d, &fn, &fk, as.data(), &flda, want.data(), &fx, 1, 1, 1);
      break;
    case Tri::tbsv:
      pick<E>(zor_blas_stbsv, zor_blas_dtbsv, zor_blas_ctbsv, zor_blas_ztbsv)(u, t, d, &n, &k, a.data(), &lda, x.data(), &incx);
      pick<E>(stbsv_, dtbsv_, ctbsv_, ztbsv_)(u, t, d, &fn, &fk, as.data(), &flda, want.data(), &fx, 1, 1, 1);
      break;
    case Tri::tpmv:
      pick<E>(zor_blas_stpmv, zor_blas_dtpmv, zor_blas_ctpmv, zor_blas_ztpmv)(u, t, d, &n, a.data(), x.data(), &incx);
      pick<E>(stpmv_, dtpmv_, ctpmv_, ztpmv_)(u, t, d, &fn, as.data(), want.data(), &fx, 1, 1, 1);
      break;
    case Tri::tpsv:
      pick<E>(zor_blas_stpsv, zor_blas_dtpsv, zor_blas_ctpsv, zor_blas_ztpsv)(u, t, d, &n, a.data(), x.data(), &incx);
      pick<E>(stpsv_, dtpsv_, ctpsv_, ztpsv_)(u, t, d, &fn, as.data(), want.data(), &fx, 1, 1, 1);
      break;
  }
  ASSERT_TRUE(a.guards_intact());
  // Terms of a product reach n + 3 in size; a solve's stay near 1.
  // The band and packed 'N' forms update each element column after column,
  // as the reference does: the same bits.
  const bool exact = (band(c.kind) || packed(c.kind)) && (c.trans == 'N' || c.trans == 'n');
  expect_match(x, want, exact, 8.0 * double(n + 2), solve(c.kind) ? 4.0 : double(n + 4));
}

TEST(Level2Triangular, AgreeWithReference) {
  for_each_type([]<class E>() {
    for (Tri kind : {Tri::trsv, Tri::trmv, Tri::tbmv, Tri::tbsv, Tri::tpmv, Tri::tpsv}) {
      const uint64_t seed = 3300 + uint64_t(kind) * 10 + sizeof(E);
      Rng rng(seed);
      for (int trial = 0; trial < 300; ++trial) {
        const TriCase c = random_tri(kind, rng);
        SCOPED_TRACE(testing::Message() << "elem " << sizeof(E) << " seed " << seed << " trial " << trial << ": " << c);
        ASSERT_NO_FATAL_FAILURE(run_tri<E>(c, rng));
      }
    }
  });
}

// The complex band routines at the orders and widths where the choice of
// inner form changes, every letter, under both processor answers.
TEST(Level2Triangular, ComplexBandFormsAcrossTheirThresholds) {
  struct Shape {
    int64_t n, k;
    std::vector<const char *> letters;
  };
  const std::vector<const char *> all{"UNN", "LNU", "UTN", "LCN", "UCU", "LTN"}, wide{"UTN", "LCN"};
  const Shape shapes[] = {{63, 20, all}, {64, 20, all}, {255, 3, all}, {256, 3, all}, {1000, 501, wide}, {1001, 501, wide}};
  auto body = [&]<class E>() {
    Rng rng(77 + sizeof(E));
    for (const Shape &s : shapes)
      for (Tri kind : {Tri::tbmv, Tri::tbsv})
        for (const char *letters : s.letters) {
          const TriCase c{kind, letters[0], letters[1], letters[2], s.n, s.k, s.k + 1, int64_t(rng.integer(0, 1) ? 1 : -2),
                          8, 0};
          SCOPED_TRACE(testing::Message() << c);
          ASSERT_NO_FATAL_FAILURE(run_tri<E>(c, rng));
        }
  };
  body.template operator()<cfloat>();
  for_both_kernels([&] { body.template operator()<cdouble>(); });
}

// x?trmv_in_thread: 2 to 5 slices of one product on threads, each with its
// view of the triangle, against the whole product.
template <class E>
void run_trmv_slices(int slices, Rng &rng) {
  using R = real_of<E>;
  const int64_t n = rng.integer(slices, 150), lda = n + rng.integer(0, 1), incy = rng.integer(0, 1) ? 1 : -2;
  const char uplo = random_letter(rng, "UL"), trans = random_letter(rng, "NTC"), diag = random_letter(rng, "NU");
  SCOPED_TRACE(testing::Message() << "n " << n << " " << uplo << trans << diag << " slices " << slices);
  GuardedBuffer<E> a = random_buffer<E>(size_t(lda * n), 0, rng), x = random_buffer<E>(size_t(n), 0, rng);
  std::vector<E> whole = x.copy();
  const int64_t one = 1;
  pick<E>(zor_blas_xstrmv, zor_blas_xdtrmv, zor_blas_xctrmv, zor_blas_xztrmv)(&uplo, &trans, &diag, &n, a.data(), &lda, whole.data(), &one);
  std::vector<GuardedBuffer<E>> ys;
  std::vector<int64_t> cut{0};
  for (int s = 1; s <= slices; ++s) cut.push_back(n * s / slices);
  for (int s = 0; s < slices; ++s) {
    const int64_t m = cut[s + 1] - cut[s];
    ys.emplace_back(size_t(span(m, incy)), 0);
    for (int64_t i = 0; i < m; ++i) ys.back().set(size_t(incy > 0 ? i : (m - 1 - i) * -incy), x.get(size_t(cut[s] + i)));
  }
  std::vector<std::thread> threads;
  for (int s = 0; s < slices; ++s)
    threads.emplace_back([&, s] {
      const int64_t s0 = cut[s], m = cut[s + 1] - cut[s];
      // The view: the leading s0 + m for 'N' lower and transposed upper,
      // else the trailing part from the slice's diagonal element.
      const bool leading = (trans == 'N') != (uplo == 'U');
      const int64_t view = leading ? s0 + m : n - s0, at = leading ? 0 : s0;
      pick<E>(zor_blas_xstrmv_in_thread, zor_blas_xdtrmv_in_thread, zor_blas_xctrmv_in_thread, zor_blas_xztrmv_in_thread)(
          &uplo, &trans, &diag, &view, a.data() + at + at * lda, &lda, ys[s].data(), &incy, &m, x.data() + at);
    });
  for (auto &t : threads) t.join();
  for (int s = 0; s < slices; ++s) {
    const int64_t m = cut[s + 1] - cut[s];
    ASSERT_TRUE(ys[s].guards_intact());
    for (int64_t i = 0; i < m; ++i) {
      const E got = ys[s].get(size_t(incy > 0 ? i : (m - 1 - i) * -incy)), want = whole[size_t(cut[s] + i)];
      ASSERT_TRUE(close(got, want, R(n + 4), 8.0 * double(n))) << "element " << cut[s] + i << ": " << got << " vs " << want;
    }
  }
}

TEST(Level2Triangular, ProductSlicesOnThreads) {
  Rng rng(5151);
  for (int slices = 2; slices <= 5; ++slices)
    for (int trial = 0; trial < 12; ++trial) {
      run_trmv_slices<double>(slices, rng);
      run_trmv_slices<float>(slices, rng);
      run_trmv_slices<cdouble>(slices, rng);
      run_trmv_slices<cfloat>(slices, rng);
    }
}

}  // namespace
}  // namespace zor::test::level2
