// Matrix-vector products beyond the general one against the reference BLAS:
// ?gbmv; x?symv, ?hemv, ?sbmv, ?hbmv, ?spmv, ?hpmv; and ?gem2vu/?gem2vc
// against two reference ?gemv calls. Random sizes, band widths, letters,
// leading dimensions, offsets and increments; alpha and beta 0, 1 or
// random. A zero beta meets NaN in y (never read), a zero alpha NaN in A
// (never read), and a Hermitian diagonal carries NaN in its imaginary part
// (never read). Sums run in another order than the reference's, so results
// agree to rounding at the scale of the terms; ?gbmv 'N' keeps the
// reference's order and agrees bit for bit.
#include <zor/blas.h>

#include "level2_testing.hpp"

namespace zor::test::level2 {
namespace {

enum class Prod { gbmv, symv, sbmv, spmv, gem2v };
const char *const kProdNames[] = {"gbmv", "symv", "sbmv", "spmv", "gem2v"};

struct ProdCase {
  Prod kind;
  char letter;  // trans for gbmv, uplo for the symmetric ones
  int64_t m, n, kl, ku, lda, incx, incy, incx2, incy2;
  size_t off_a, off_x, off_y;
  int alpha_kind, beta_kind;
};
std::ostream &operator<<(std::ostream &o, const ProdCase &c) {
  return o << kProdNames[int(c.kind)] << " " << c.letter << " m " << c.m << " n " << c.n << " kl " << c.kl << " ku "
           << c.ku << " lda " << c.lda << " inc " << c.incx << " " << c.incy << " " << c.incx2 << " " << c.incy2
           << " offsets " << c.off_a << " " << c.off_x << " " << c.off_y << " alpha " << c.alpha_kind << " beta "
           << c.beta_kind;
}

int64_t random_width(Rng &rng, int64_t n) {
  const int64_t top = std::max<int64_t>(n - 1, 0), choice = rng.integer(0, 3);
  return choice == 0 ? 0 : choice == 1 ? std::min<int64_t>(1, top) : choice == 2 ? top : rng.integer(0, top);
}

ProdCase random_prod(Prod kind, Rng &rng) {
  ProdCase c{};
  c.kind = kind;
  c.letter = kind == Prod::gbmv ? random_letter(rng, "NnTtCc") : random_letter(rng, "UuLl");
  c.n = random_size(rng);
  c.m = kind == Prod::gbmv || kind == Prod::gem2v ? random_size(rng) : c.n;
  c.kl = random_width(rng, c.m), c.ku = random_width(rng, c.n);
  if (kind == Prod::sbmv) c.kl = c.ku;
  const int64_t rows = kind == Prod::gbmv ? c.kl + c.ku + 1 : kind == Prod::sbmv ? c.ku + 1 : std::max<int64_t>(c.m, 1);
  c.lda = rows + rng.integer(0, 3);
  c.incx = random_inc(rng), c.incy = random_inc(rng), c.incx2 = random_inc(rng), c.incy2 = random_inc(rng);
  c.off_a = random_offset(rng), c.off_x = random_offset(rng), c.off_y = random_offset(rng);
  c.alpha_kind = int(rng.integer(0, 5) == 0 ? 0 : rng.integer(1, 2));
  c.beta_kind = int(rng.integer(0, 2));
  return c;
}

template <class E>
void run_prod(const ProdCase &c, Rng &rng) {
  using R = real_of<E>;
  const bool gem2v = c.kind == Prod::gem2v, trans = c.kind == Prod::gbmv && c.letter != 'N' && c.letter != 'n';
  const int64_t m = c.m, n = c.n, leny = trans ? n : m, lenx = trans ? m : n;
  const size_t count = size_t(c.kind == Prod::spmv ? n * (n + 1) / 2 : c.lda * n);
  const E alpha = scalar<E>(rng, c.alpha_kind), beta = scalar<E>(rng, c.beta_kind);
  GuardedBuffer<E> a = random_buffer<E>(count, c.off_a, rng);
  if (c.alpha_kind == 0)  // not read
    for (size_t i = 0; i < count; i += 3) a.set(i, E(R(NAN)));
  if constexpr (is_complex_v<E>) {  // a Hermitian diagonal's imaginary part is not read
    const bool upper = c.letter == 'U' || c.letter == 'u';
    for (int64_t j = 0; j < n && (c.kind == Prod::symv || c.kind == Prod::sbmv || c.kind == Prod::spmv); ++j) {
      const int64_t d = c.kind == Prod::spmv ? (upper ? j * (j + 3) / 2 : j * n - j * (j - 1) / 2)
                        : c.kind == Prod::sbmv ? (upper ? c.ku : 0) + j * c.lda
                                               : j + j * c.lda;
      a.set(size_t(d), E(a.get(size_t(d)).real(), R(NAN)));
    }
  }
  GuardedBuffer<E> x = random_buffer<E>(size_t(span(lenx, c.incx)), c.off_x, rng);
  GuardedBuffer<E> y = random_buffer<E>(size_t(span(leny, c.incy)), c.off_y, rng);
  GuardedBuffer<E> x2 = random_buffer<E>(size_t(span(m, c.incx2)), c.off_x, rng);
  GuardedBuffer<E> y2 = random_buffer<E>(size_t(span(n, c.incy2)), c.off_y, rng);
  if (c.beta_kind == 0)  // not read
    for (GuardedBuffer<E> *v : {&y, &y2})
      for (size_t i = 0; i < v->size(); i += 2) v->set(i, E(R(NAN)));
  const std::vector<E> as = a.copy(), xs = x.copy(), x2s = x2.copy();
  std::vector<E> want = y.copy(), want2 = y2.copy();
  const f_int fm = f_int(m), fn = f_int(n), fkl = f_int(c.kl), fku = f_int(c.ku), flda = f_int(c.lda),
              fx = f_int(c.incx), fy = f_int(c.incy), fx2 = f_int(c.incx2), fy2 = f_int(c.incy2);
  const int64_t kl = c.kl, ku = c.ku, lda = c.lda, incx = c.incx, incy = c.incy, incx2 = c.incx2, incy2 = c.incy2;
  const char *l = &c.letter;
  const bool work = m > 0 && n > 0;
  switch (c.kind) {
    case Prod::gbmv:
      pick<E>(zor_blas_sgbmv, zor_blas_dgbmv, zor_blas_cgbmv, zor_blas_zgbmv)(l, &m, &n, &kl, &ku, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
      if (work) pick<E>(sgbmv_, dgbmv_, cgbmv_, zgbmv_)(l, &fm, &fn, &fkl, &fku, &alpha, as.data(), &flda, xs.data(), &fx, &beta, want.data(), &fy, 1);
      break;
    case Prod::symv:
      pick<E>(zor_blas_xssymv, zor_blas_xdsymv, zor_blas_chemv, zor_blas_zhemv)(l, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
      pick<E>(ssymv_, dsymv_, chemv_, zhemv_)(l, &fn, &alpha, as.data(), &flda, xs.data(), &fx, &beta, want.data(), &fy, 1);
      break;
    case Prod::sbmv:
      pick<E>(zor_blas_ssbmv, zor_blas_dsbmv, zor_blas_chbmv, zor_blas_zhbmv)(l, &n, &ku, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
      pick<E>(ssbmv_, dsbmv_, chbmv_, zhbmv_)(l, &fn, &fku, &alpha, as.data(), &flda, xs.data(), &fx, &beta, want.data(), &fy, 1);
      break;
    case Prod::spmv:
      pick<E>(zor_blas_sspmv, zor_blas_dspmv, zor_blas_chpmv, zor_blas_zhpmv)(l, &n, &alpha, a.data(), x.data(), &incx, &beta, y.data(), &incy);
      pick<E>(sspmv_, dspmv_, chpmv_, zhpmv_)(l, &fn, &alpha, as.data(), xs.data(), &fx, &beta, want.data(), &fy, 1);
      break;
    case Prod::gem2v: {
      pick<E>(zor_blas_sgem2vu, zor_blas_dgem2vu, zor_blas_cgem2vc, zor_blas_zgem2vc)(&m, &n, &alpha, a.data(), &lda, x.data(), &incx, x2.data(), &incx2, &beta, y.data(), &incy, y2.data(), &incy2);
      if (work) {
        auto ref = pick<E>(sgemv_, dgemv_, cgemv_, zgemv_);
        ref("N", &fm, &fn, &alpha, as.data(), &flda, xs.data(), &fx, &beta, want.data(), &fy, 1);
        ref("C", &fm, &fn, &alpha, as.data(), &flda, x2s.data(), &fx2, &beta, want2.data(), &fy2, 1);
      }
      break;
    }
  }
  ASSERT_TRUE(a.guards_intact());
  const int64_t terms = std::max<int64_t>(m, n) + 2;
  // ?gbmv 'N' updates each element of y column after column, as the
  // reference does: the same bits.
  const bool exact = c.kind == Prod::gbmv && !trans;
  expect_match(y, want, exact, 8.0 * double(terms), 4.0 * double(terms));
  if (gem2v) expect_match(y2, want2, false, 8.0 * double(terms), 4.0 * double(terms));
}

TEST(Level2Product, AgreeWithReference) {
  for_each_type([]<class E>() {
    for (Prod kind : {Prod::gbmv, Prod::symv, Prod::sbmv, Prod::spmv, Prod::gem2v}) {
      const uint64_t seed = 4400 + uint64_t(kind) * 10 + sizeof(E);
      Rng rng(seed);
      for (int trial = 0; trial < 300; ++trial) {
        const ProdCase c = random_prod(kind, rng);
        SCOPED_TRACE(testing::Message() << "elem " << sizeof(E) << " seed " << seed << " trial " << trial << ": "
                                        << c);
        ASSERT_NO_FATAL_FAILURE(run_prod<E>(c, rng));
      }
    }
  });
}

}  // namespace
}  // namespace zor::test::level2
