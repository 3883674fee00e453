// Rank-one and rank-two updates against the reference BLAS: ?ger, ?geru,
// ?gerc; x?syr, ?her, ?spr, ?hpr; x?syr2, ?her2, ?spr2, ?hpr2. Each element
// of A is updated once by the same formula as the reference's, so the whole
// array (the other triangle and the gaps below lda included) must agree bit
// for bit. Zeros in x and y check the skipped columns (NaN elsewhere in the
// vector must not reach them), NaN on a Hermitian diagonal's imaginary part
// checks that it is never read. Then the slices on threads, and the
// provider's checked ssyr.
#include <zor/blas.h>

#include <thread>

#include "level2_testing.hpp"

namespace zor::test::level2 {
namespace {

struct Update {
  char uplo;
  int64_t m, n, lda, incx, incy;
  size_t off_a, off_x, off_y;
  int alpha_kind;
};
std::ostream &operator<<(std::ostream &o, const Update &c) {
  return o << c.uplo << " m " << c.m << " n " << c.n << " lda " << c.lda << " incx " << c.incx << " incy "
           << c.incy << " offsets " << c.off_a << " " << c.off_x << " " << c.off_y << " alpha " << c.alpha_kind;
}
Update random_update(Rng &rng) {
  Update c;
  c.uplo = random_letter(rng, "UuLl");
  c.m = random_size(rng), c.n = random_size(rng);
  c.lda = std::max<int64_t>({1, c.m, c.n}) + rng.integer(0, 3);
  c.incx = random_inc(rng), c.incy = random_inc(rng);
  c.off_a = random_offset(rng), c.off_x = random_offset(rng), c.off_y = random_offset(rng);
  c.alpha_kind = rng.integer(0, 7) == 0 ? 0 : int(rng.integer(1, 2));
  return c;
}

// Vectors with some elements exactly 0 and, when asked, NaN in others.
template <class E>
GuardedBuffer<E> update_vector(int64_t len, int64_t inc, size_t off, Rng &rng, bool nan) {
  GuardedBuffer<E> v = random_buffer<E>(size_t(span(len, inc)), off, rng);
  for (size_t i = 0; i < v.size(); ++i) {
    const int64_t r = rng.integer(0, 9);
    if (r == 0) v.set(i, E(0));
    if (r == 1 && nan) v.set(i, E(real_of<E>(NAN)));
  }
  return v;
}

enum class Kind { ger, gerc, syr, spr, syr2, spr2 };

template <class E>
void run_update(Kind kind, const Update &c, Rng &rng) {
  using R = real_of<E>;
  const bool packed = kind == Kind::spr || kind == Kind::spr2, two = kind == Kind::syr2 || kind == Kind::spr2;
  const bool general = kind == Kind::ger || kind == Kind::gerc;
  const int64_t m = general ? c.m : c.n, n = c.n;
  GuardedBuffer<E> a = random_buffer<E>(size_t(packed ? n * (n + 1) / 2 : c.lda * n), c.off_a, rng);
  if constexpr (is_complex_v<E>)  // a Hermitian diagonal's imaginary part is never read
    if (!general)
      for (int64_t j = 0; j < n; ++j) {
        const int64_t d = packed ? (c.uplo == 'U' || c.uplo == 'u' ? j * (j + 3) / 2 : j * n - j * (j - 1) / 2)
                                 : j + j * c.lda;
        a.set(size_t(d), E(a.get(size_t(d)).real(), R(NAN)));
      }
  // NaN in x only where a zero y[j] (general) keeps it away, so not for the symmetric forms.
  GuardedBuffer<E> x = update_vector<E>(m, c.incx, c.off_x, rng, general);
  GuardedBuffer<E> y = update_vector<E>(n, c.incy, c.off_y, rng, false);
  const E alpha = scalar<E>(rng, c.alpha_kind);
  const R ralpha = real_of<E>(c.alpha_kind == 0 ? 0.0 : c.alpha_kind == 1 ? 1.0 : 1.75);
  std::vector<E> want = a.copy();
  const std::vector<E> xs = x.copy(), ys = y.copy();
  const f_int fm = f_int(m), fn = f_int(n), flda = f_int(c.lda), fx = f_int(c.incx), fy = f_int(c.incy);
  const int64_t lda = c.lda, incx = c.incx, incy = c.incy;
  const char *u = &c.uplo;
  // The symmetric rank-one forms take a real alpha.
  auto one_alpha = [&]() -> const void * {
    if constexpr (is_complex_v<E>) return &ralpha;
    else return &alpha;
  };
  switch (kind) {
    case Kind::ger:
      pick<E>(zor_blas_sger, zor_blas_dger, zor_blas_cgeru, zor_blas_zgeru)(&m, &n, &alpha, x.data(), &incx, y.data(), &incy, a.data(), &lda);
      if (m > 0 && n > 0) pick<E>(sger_, dger_, cgeru_, zgeru_)(&fm, &fn, &alpha, xs.data(), &fx, ys.data(), &fy, want.data(), &flda);
      break;
    case Kind::gerc:
      pick<E>(zor_blas_sger, zor_blas_dger, zor_blas_cgerc, zor_blas_zgerc)(&m, &n, &alpha, x.data(), &incx, y.data(), &incy, a.data(), &lda);
      if (m > 0 && n > 0) pick<E>(sger_, dger_, cgerc_, zgerc_)(&fm, &fn, &alpha, xs.data(), &fx, ys.data(), &fy, want.data(), &flda);
      break;
    case Kind::syr:
      pick<E>(zor_blas_xssyr, zor_blas_xdsyr, zor_blas_cher, zor_blas_zher)(u, &n, static_cast<const R *>(one_alpha()), x.data(), &incx, a.data(), &lda);
      pick<E>(ssyr_, dsyr_, cher_, zher_)(u, &fn, static_cast<const R *>(one_alpha()), xs.data(), &fx, want.data(), &flda, 1);
      break;
    case Kind::spr:
      pick<E>(zor_blas_sspr, zor_blas_dspr, zor_blas_chpr, zor_blas_zhpr)(u, &n, static_cast<const R *>(one_alpha()), x.data(), &incx, a.data());
      pick<E>(sspr_, dspr_, chpr_, zhpr_)(u, &fn, static_cast<const R *>(one_alpha()), xs.data(), &fx, want.data(), 1);
      break;
    case Kind::syr2:
      pick<E>(zor_blas_xssyr2, zor_blas_xdsyr2, zor_blas_cher2, zor_blas_zher2)(u, &n, &alpha, x.data(), &incx, y.data(), &incy, a.data(), &lda);
      pick<E>(ssyr2_, dsyr2_, cher2_, zher2_)(u, &fn, &alpha, xs.data(), &fx, ys.data(), &fy, want.data(), &flda, 1);
      break;
    case Kind::spr2:
      pick<E>(zor_blas_sspr2, zor_blas_dspr2, zor_blas_chpr2, zor_blas_zhpr2)(u, &n, &alpha, x.data(), &incx, y.data(), &incy, a.data());
      pick<E>(sspr2_, dspr2_, chpr2_, zhpr2_)(u, &fn, &alpha, xs.data(), &fx, ys.data(), &fy, want.data(), 1);
      break;
  }
  expect_match(a, want, true, 0);
}

TEST(Level2Update, AgreeWithReferenceBitForBit) {
  for_each_type([]<class E>() {
    for (Kind kind : {Kind::ger, Kind::gerc, Kind::syr, Kind::spr, Kind::syr2, Kind::spr2}) {
      const uint64_t seed = 1200 + uint64_t(kind) * 10 + sizeof(E);
      Rng rng(seed);
      for (int trial = 0; trial < 400; ++trial) {
        const Update c = random_update(rng);
        SCOPED_TRACE(testing::Message() << "kind " << int(kind) << " elem " << sizeof(E) << " seed " << seed
                                        << " trial " << trial << ": " << c);
        ASSERT_NO_FATAL_FAILURE(run_update<E>(kind, c, rng));
      }
    }
  });
}

// Slices of x?syr and x?syr2 on threads, 2 to 5 of them, against the whole
// update: every element of A is updated once, so the bits are the same.
template <class E>
void run_slices(bool two, int slices, Rng &rng) {
  const int64_t n = rng.integer(slices, 90), lda = n + rng.integer(0, 2), incx = random_inc(rng),
                incy = random_inc(rng);
  const char uplo = random_letter(rng, "UL");
  SCOPED_TRACE(testing::Message() << "n " << n << " lda " << lda << " uplo " << uplo << " incx " << incx << " incy "
                                  << incy << " slices " << slices);
  GuardedBuffer<E> whole = random_buffer<E>(size_t(lda * n), 8, rng), parts(whole.size(), 8);
  for (size_t i = 0; i < whole.size(); ++i) parts.set(i, whole.get(i));
  GuardedBuffer<E> x = random_buffer<E>(size_t(span(n, incx)), 0, rng), y = random_buffer<E>(size_t(span(n, incy)), 0, rng);
  const E alpha = E(0.75);
  if (two) pick<E>(zor_blas_xssyr2, zor_blas_xdsyr2, 0, 0)(&uplo, &n, &alpha, x.data(), &incx, y.data(), &incy, whole.data(), &lda);
  else pick<E>(zor_blas_xssyr, zor_blas_xdsyr, 0, 0)(&uplo, &n, &alpha, x.data(), &incx, whole.data(), &lda);
  // Column boundaries of the slices, and one thread each.
  std::vector<int64_t> cut{0};
  for (int s = 1; s < slices; ++s) cut.push_back(n * s / slices);
  cut.push_back(n);
  std::vector<std::thread> threads;
  for (int s = 0; s < slices; ++s) {
    threads.emplace_back([&, s] {
      const int64_t c0 = cut[s], cols = cut[s + 1] - cut[s];
      // The vector from the element the slice starts at (lower) or from its start (upper), as the standard passes a part of a vector.
      const int64_t first = uplo == 'U' ? 0 : c0, off = uplo == 'U' ? c0 : n - c0 - cols, len = cols + off;
      auto base = [&](E *p, int64_t inc) { return p + (inc > 0 ? first * inc : (n - first - len) * -inc); };
      E *a = parts.data() + (uplo == 'U' ? c0 * lda : c0 + c0 * lda);
      if (two) pick<E>(zor_blas_xssyr2_in_thread, zor_blas_xdsyr2_in_thread, 0, 0)(&uplo, &cols, &alpha, base(x.data(), incx), &incx, base(y.data(), incy), &incy, a, &lda, &off);
      else pick<E>(zor_blas_xssyr_in_thread, zor_blas_xdsyr_in_thread, 0, 0)(&uplo, &cols, &alpha, base(x.data(), incx), &incx, a, &lda, &off);
    });
  }
  for (auto &t : threads) t.join();
  expect_match(parts, whole.copy(), true, 0);
}

TEST(Level2Update, SlicesOnThreadsMatchTheWholeUpdate) {
  Rng rng(4242);
  for (int slices = 2; slices <= 5; ++slices)
    for (int trial = 0; trial < 20; ++trial) {
      run_slices<double>(trial % 2, slices, rng);
      run_slices<float>(trial % 2, slices, rng);
    }
}

// The provider's checked ssyr: forwards to the update (the first byte of a
// long letter), each bad argument reported with its position, nothing
// written.
TEST(Level2Checked, Ssyr) {
  auto syr = [](const char *uplo, int64_t n, int64_t incx, int64_t lda, float *a) {
    const float x[3] = {1, 2, 3}, alpha = 2;
    testing::internal::CaptureStderr();
    zor_blas_ssyr(uplo, &n, &alpha, x, &incx, a, &lda, 5);
    return testing::internal::GetCapturedStderr();
  };
  float a[9] = {};
  EXPECT_EQ(syr("lower", 3, 1, 3, a), "");
  EXPECT_EQ(a[2], 6.0f);   // a[2, 0] = 2 x2 x0
  EXPECT_EQ(a[6], 0.0f);   // the upper triangle untouched
  EXPECT_EQ(syr("Upper", 2, -1, 3, a), "");
  EXPECT_EQ(a[3], 2 * 2 * 1.0f);      // x runs backwards: (x0, x1) = (2, 1)
  EXPECT_EQ(a[0], 2 + 2 * 2 * 2.0f);  // the diagonal adds to the lower call's
  struct Bad {
    const char *uplo;
    int64_t n, incx, lda;
    int position;
  } bad[] = {{"N", 3, 1, 3, 1}, {"L", -1, 1, 3, 2}, {"U", 3, 0, 3, 5}, {"L", 3, 1, 2, 7}};
  for (const Bad &b : bad) {
    float z[9] = {7, 7, 7, 7, 7, 7, 7, 7, 7};
    const std::string text = syr(b.uplo, b.n, b.incx, b.lda, z);
    EXPECT_NE(text.find("SSYR parameter number " + std::to_string(b.position)), std::string::npos) << text;
    for (float v : z) EXPECT_EQ(v, 7.0f);
  }
}

}  // namespace
}  // namespace zor::test::level2
