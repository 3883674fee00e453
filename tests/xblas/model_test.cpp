// Every extended-precision export against a scalar model, bit for bit: one
// result at a time, each a dot over the row of op(A) in ascending column,
// in the arithmetic the precision argument selects. The sweep takes every
// precision from 210 to 215, every trans or uplo, alpha and beta 0, 1, other
// and (0, 1), increments 1, 2, -1, -3 and 0, sizes 0 to 9 and 31 to 33, lda
// above its minimum, kl and ku 0, 1, m - 1 and n - 1. NaN fills the operands
// that must not be read: a and x when alpha is 0, y when beta is 0, when the
// precision is unknown, and when gbmv returns for alpha 0 and beta 1.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "common/testing.hpp"
#include "xblas/double_double.hpp"
#include "xblas/xblas_testing.hpp"

namespace {

using namespace zor::test::xblas;
using zor::test::GuardedBuffer;
using zor::test::Rng;

// ---- the arithmetic: a value is (h, t); plain precisions use h only

using Num = DD;

enum class Kind { single, dbl, extra };

struct Arith {
  Kind kind;
  bool float_data;
  Num product(double a, double b) const {  // two elements, or beta and an element of y
    if (kind == Kind::single) return {float(a) * float(b)};
    if (kind == Kind::dbl || float_data) return {a * b};
    return two_product(a, b);
  }
  Num plus(Num x, Num y) const {
    if (kind == Kind::single) return {float(x.h) + float(y.h)};
    if (kind == Kind::dbl) return {x.h + y.h};
    return dd_add(x, y);
  }
  Num times(Num x, double a) const {  // a finished sum times alpha
    if (kind == Kind::single) return {float(a) * float(x.h)};
    if (kind == Kind::dbl) return {a * x.h};
    return dd_mul(x, a);
  }
  double value(Num x) const { return kind == Kind::extra ? x.h + x.t : x.h; }
};

// A number of the model: real part and, for complex types, imaginary part.
struct Val {
  Num re, im;
};
template <class E>
class Model {
 public:
  using R = real_of<E>;
  static constexpr bool cplx = is_complex_v<E>;

  // Applies the call to y; false when the call leaves y untouched.
  static bool apply(const Call &c, E alpha, const E *a, const E *x, const E *xt, E beta, E *y, bool reverse = false) {
    Arith ar{Kind::extra, sizeof(R) == 4};
    if (c.prec == 214) ar.kind = Kind::extra;
    else if (c.prec == 211 && sizeof(R) == 4) ar.kind = Kind::single;
    else if (c.prec >= 211 && c.prec <= 213) ar.kind = Kind::dbl;
    else return false;
    if (c.fam == Fam::gbmv && alpha == E(0) && beta == E(1)) return false;
    const int64_t leny = c.leny(), lenx = c.lenx();
    for (int64_t i = 0; i < leny; ++i) {
      E &yi = y[first(leny, c.incy) + i * c.incy];
      if (alpha == E(0)) {
        yi = beta == E(0) ? E(0) : store(ar, scaled_y(ar, beta, yi));
        continue;
      }
      Val head{}, tail{};
      for (int64_t k = 0; k < lenx; ++k) {
        const int64_t j = reverse ? lenx - 1 - k : k;
        std::complex<double> aij;
        if (!element(c, a, i, j, aij)) continue;
        const int64_t jx = first(lenx, c.incx) + j * c.incx;
        head = add(ar, head, product(ar, aij, parts(x[jx])));
        if (c.two) tail = add(ar, tail, product(ar, aij, parts(xt[jx])));
      }
      Val s = c.two ? add(ar, head, tail) : head;
      if (alpha != E(1)) s = scale(ar, s, parts(alpha));
      if (beta != E(0)) s = add(ar, s, scaled_y(ar, beta, yi));
      yi = store(ar, s);
    }
    return true;
  }

 private:
  static std::complex<double> parts(E v) {
    if constexpr (cplx) return {double(v.real()), double(v.imag())};
    else return {double(v), 0.0};
  }
  // op(A)(i, j), false outside the band.
  static bool element(const Call &c, const E *a, int64_t i, int64_t j, std::complex<double> &v) {
    const bool conj = c.op == blas_conj_trans;
    int64_t r = c.no_trans() ? i : j, col = c.no_trans() ? j : i;
    if (c.fam == Fam::gemv) {
      v = parts(a[r + col * c.lda]);
    } else if (c.fam == Fam::gbmv) {
      if (r < col - c.ku || r > col + c.kl) return false;
      v = parts(a[c.ku + r - col + col * c.lda]);
    } else {
      const bool stored = c.op == blas_upper ? i <= j : i >= j;
      v = stored ? parts(a[i + j * c.lda]) : parts(a[j + i * c.lda]);
      if (c.fam == Fam::hemv) {
        if (i == j) v = {v.real(), 0.0};
        else if (!stored) v = std::conj(v);
      }
      return true;
    }
    if (conj && (c.fam == Fam::gemv || c.fam == Fam::gbmv)) v = std::conj(v);
    return true;
  }
  // re: ar br and -(ai bi); im: ai br and ar bi, each pair joined first.
  static Val product(const Arith &ar, std::complex<double> a, std::complex<double> b) {
    if constexpr (!cplx) return {ar.product(a.real(), b.real()), {}};
    return {ar.plus(ar.product(a.real(), b.real()), neg(ar.product(a.imag(), b.imag()))),
            ar.plus(ar.product(a.imag(), b.real()), ar.product(a.real(), b.imag()))};
  }
  static Val add(const Arith &ar, Val s, Val p) { return {ar.plus(s.re, p.re), cplx ? ar.plus(s.im, p.im) : Num{}}; }
  static Val scale(const Arith &ar, Val s, std::complex<double> alpha) {
    if constexpr (!cplx) return {ar.times(s.re, alpha.real()), {}};
    return {ar.plus(ar.times(s.re, alpha.real()), neg(ar.times(s.im, alpha.imag()))),
            ar.plus(ar.times(s.im, alpha.real()), ar.times(s.re, alpha.imag()))};
  }
  static Val scaled_y(const Arith &ar, E beta, E y) { return product(ar, parts(beta), parts(y)); }
  static E store(const Arith &ar, Val s) {
    if constexpr (cplx) return E(R(ar.value(s.re)), R(ar.value(s.im)));
    else return R(ar.value(s.re));
  }
};

// ---- the sweep

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

template <class E>
E scalar(Rng &rng, int kind) {
  if (kind == 0) return E(0);
  if (kind == 1) return E(1);
  if constexpr (is_complex_v<E>) {
    if (kind == 3) return E(0, 1);
  }
  return random_value<E>(rng, -2, 2);
}

// Magnitudes over many binades, so that sums in another order round otherwise.
template <class E>
E element(Rng &rng) {
  using R = real_of<E>;
  const int spread = sizeof(R) == 4 ? 40 : 24;
  auto part = [&] { return R(std::ldexp(rng.uniform(), int(rng.integer(-spread, spread)))); };
  if constexpr (is_complex_v<E>) return E(part(), part());
  else return part();
}

// Made from its bits at run time: folded as a constant it may come out quiet.
template <class R>
R signalling_nan() {
  using U = std::conditional_t<sizeof(R) == 8, uint64_t, uint32_t>;
  volatile U bits = sizeof(R) == 8 ? U(0x7ff4000000000000) : U(0x7fa00000);
  return std::bit_cast<R>(U(bits));
}

template <class R> bool same(R a, R b) { return zor::test::same_bits(a, b) || (std::isnan(a) && std::isnan(b)); }
template <class R> bool same(std::complex<R> a, std::complex<R> b) {
  return same(a.real(), b.real()) && same(a.imag(), b.imag());
}

int64_t pick(Rng &rng, std::initializer_list<int64_t> values) {
  return values.begin()[rng.integer(0, int64_t(values.size()) - 1)];
}

std::string describe(const Call &c, uint64_t seed, int trial) {
  char text[256];
  std::snprintf(text, sizeof text,
                "seed %llu trial %d: family %d two %d op %d m %lld n %lld kl %lld ku %lld lda %lld incx %lld "
                "incy %lld prec %d",
                (unsigned long long)seed, trial, int(c.fam), int(c.two), c.op, (long long)c.m, (long long)c.n,
                (long long)c.kl, (long long)c.ku, (long long)c.lda, (long long)c.incx, (long long)c.incy, c.prec);
  return text;
}

template <class E>
void sweep(Fam fam, bool two, uint64_t seed) {
  using R = real_of<E>;
  Rng rng(seed);
  const std::vector<int32_t> ops = fam == Fam::gemv || fam == Fam::gbmv ? std::vector<int32_t>{111, 112, 113}
                                                                        : std::vector<int32_t>{121, 122};
  const int kinds = is_complex_v<E> ? 4 : 3;
  int trial = 0, order_told = 0;
  for (int32_t prec = 210; prec <= 215; ++prec) {
    for (int32_t op : ops) {
      for (int ka = 0; ka < kinds; ++ka) {
        for (int kb = 0; kb < kinds; ++kb) {
          for (int rep = 0; rep < 8; ++rep, ++trial) {
            auto size = [&] { return rng.integer(0, 4) == 0 ? rng.integer(31, 33) : rng.integer(0, 9); };
            Call c{fam, two, op, size(), size(), 0, 0, 0, pick(rng, {1, 2, -1, -3, 0}), pick(rng, {1, 2, -1, -3, 0}),
                   prec};
            if (fam == Fam::symv || fam == Fam::hemv) c.m = c.n;
            c.kl = pick(rng, {0, 1, c.m - 1, c.n - 1});
            c.ku = pick(rng, {0, 1, c.m - 1, c.n - 1});
            const int64_t rows = fam == Fam::gbmv ? std::max<int64_t>(0, c.kl) + std::max<int64_t>(0, c.ku) + 1 : c.m;
            c.lda = std::max<int64_t>(1, rows) + rng.integer(0, 3);
            SCOPED_TRACE(describe(c, seed, trial));

            const E alpha = scalar<E>(rng, ka), beta = scalar<E>(rng, kb);
            // Under the sanitizers a double 4 bytes off a boundary is an error of its own.
            const size_t offs[] = {0, 4, 8, 12};
            auto off = [&] { return offs[rng.integer(0, 3)] & ~(kSanitized ? alignof(R) - 1 : 0); };
            GuardedBuffer<E> a(std::max<int64_t>(1, c.lda * c.n), off());
            GuardedBuffer<E> x(span(c.lenx(), c.incx), off()), xt(span(c.lenx(), c.incx), off());
            GuardedBuffer<E> y(span(c.leny(), c.incy), off());
            const R nan_part = std::numeric_limits<R>::quiet_NaN();
            E nan;
            if constexpr (is_complex_v<E>) nan = E(nan_part, nan_part);
            else nan = nan_part;
            for (size_t i = 0; i < a.size(); ++i) a.set(i, ka == 0 ? nan : element<E>(rng));
            for (size_t i = 0; i < x.size(); ++i) x.set(i, ka == 0 ? nan : element<E>(rng));
            for (size_t i = 0; i < xt.size(); ++i) xt.set(i, ka == 0 ? nan : E(R(1e-7) * element<E>(rng)));
            const bool y_unread = kb == 0 || prec == 210 || prec == 215 || (fam == Fam::gbmv && ka == 0 && kb == 1);
            // Signalling NaNs: any arithmetic on them leaves other bits.
            const R snan_part = signalling_nan<R>();
            E snan;
            if constexpr (is_complex_v<E>) snan = E(snan_part, snan_part);
            else snan = snan_part;
            for (size_t i = 0; i < y.size(); ++i) y.set(i, y_unread ? snan : element<E>(rng));

            // The model reads aligned copies.
            const std::vector<E> ma = a.copy(), mx = x.copy(), mxt = xt.copy(), before = y.copy();
            std::vector<E> want = before, reversed = before;
            const bool touched = Model<E>::apply(c, alpha, ma.data(), mx.data(), mxt.data(), beta, want.data());
            call<E>(c, &alpha, a.data(), x.data(), xt.data(), &beta, y.data());
            const std::vector<E> got = y.copy();
            ASSERT_TRUE(y.guards_intact());
            for (size_t i = 0; i < y.size(); ++i) {
              ASSERT_TRUE(same(got[i], want[i])) << "y[" << i << "] " << got[i] << " vs " << want[i];
              if (!touched) ASSERT_TRUE(zor::test::same_bits(got[i], before[i])) << "y[" << i << "] written";
            }
            // The data tell the order of the sums apart in the working
            // precision (wider sums need cancelling data: ExtraPrecisionOrder).
            if (prec == (sizeof(R) == 4 ? 211 : 212) && ka > 0 && c.lenx() > 3) {
              Model<E>::apply(c, alpha, ma.data(), mx.data(), mxt.data(), beta, reversed.data(), true);
              for (size_t i = 0; i < y.size(); ++i) order_told += !same(reversed[i], want[i]);
            }
          }
        }
      }
    }
  }
  EXPECT_GT(order_told, 0);
}

template <class E>
void sweep_all(uint64_t seed) {
  for (bool two : {false, true}) {
    sweep<E>(Fam::gemv, two, seed + 1 + two);
    sweep<E>(Fam::gbmv, two, seed + 3 + two);
    sweep<E>(Fam::symv, two, seed + 5 + two);
    if constexpr (is_complex_v<E>) sweep<E>(Fam::hemv, two, seed + 7 + two);
  }
}

// Double-double sums differ by order only where they cancel: each row of
// op(A) holds terms up to 2^60 (floats: 2^100), their negatives and terms
// below 1 in a random order, so that partial sums run far above the result.
template <class E>
void extra_precision_order(uint64_t seed) {
  using R = real_of<E>;
  Rng rng(seed);
  const int64_t leny = 9, lenx = 33;
  const int big = sizeof(R) == 4 ? 100 : 60;
  int told = 0, rows = 0;
  for (int32_t trans : {111, 112, 113}) {
    for (bool two : {false, true}) {
      const bool plain = trans == 111;
      const Call c{Fam::gemv, two, trans, plain ? leny : lenx, plain ? lenx : leny, 0, 0, plain ? leny : lenx,
                   1, 1, 214};
      SCOPED_TRACE(describe(c, seed, 0));
      std::vector<E> a(c.lda * c.n), x(lenx, E(1)), xt(lenx, E(R(0x1p-30))), y(leny);
      if constexpr (is_complex_v<E>) x.assign(lenx, E(1, 1));
      for (int64_t i = 0; i < leny; ++i) {
        std::vector<R> re(lenx), im(lenx);
        for (auto *row : {&re, &im}) {
          for (int64_t j = 0; j < lenx; ++j) (*row)[j] = R(rng.uniform());
          for (int64_t j = 0; j < 10; ++j)
            (*row)[j] = R(std::ldexp(rng.uniform(), int(rng.integer(0, big)))), (*row)[10 + j] = -(*row)[j];
          std::shuffle(row->begin(), row->end(), rng.engine);
        }
        for (int64_t j = 0; j < lenx; ++j) {
          E v;
          if constexpr (is_complex_v<E>) v = E(re[j], im[j]);
          else v = re[j];
          a[plain ? i + j * c.lda : j + i * c.lda] = v;
        }
      }
      for (auto &v : y) v = E(R(0x1p-20)) * scalar<E>(rng, 2);
      const E alpha = scalar<E>(rng, 2), beta = scalar<E>(rng, 2);
      std::vector<E> want = y, reversed = y;
      Model<E>::apply(c, alpha, a.data(), x.data(), xt.data(), beta, want.data());
      Model<E>::apply(c, alpha, a.data(), x.data(), xt.data(), beta, reversed.data(), true);
      call<E>(c, &alpha, a.data(), x.data(), xt.data(), &beta, y.data());
      for (int64_t i = 0; i < leny; ++i, ++rows) {
        ASSERT_TRUE(same(y[i], want[i])) << "y[" << i << "] " << y[i] << " vs " << want[i];
        told += !same(reversed[i], want[i]);
      }
    }
  }
  EXPECT_GT(told, rows / 2);
}

TEST(XblasModel, ExtraPrecisionOrder) {
  extra_precision_order<float>(51);
  extra_precision_order<double>(52);
  extra_precision_order<std::complex<float>>(53);
  extra_precision_order<std::complex<double>>(54);
}

TEST(XblasModel, Single) { sweep_all<float>(1100); }
TEST(XblasModel, Double) { sweep_all<double>(2200); }
TEST(XblasModel, SingleComplex) { sweep_all<std::complex<float>>(3300); }
TEST(XblasModel, DoubleComplex) { sweep_all<std::complex<double>>(4400); }

}  // namespace
