// Fixed-length kernels of the powers of two (see fixed.hpp), one body per
// precision and direction.
#include "dft/fixed.hpp"

#include <cmath>

#include "dft/butterfly.hpp"

namespace zor::dft {
namespace {

// Rows t = 1..7 of w_128^(t j), j = 1..7, as constants.
template <class R>
struct Rows128 {
  DupRoot<R> r[7 * 7];
};
template <class R>
constexpr Rows128<R> make_rows128() {
  Rows128<R> t{};
  for (int row = 1; row <= 7; ++row)
    for (int j = 1; j <= 7; ++j) {
      R c = R(root_cos(row * j, 128)), s = R(-root_sin(row * j, 128));
      t.r[(row - 1) * 7 + j - 1] = {{c, c}, {s, s}};
    }
  return t;
}
template <class R>
inline constexpr Rows128<R> kRows128 = make_rows128<R>();

template <class R, bool Fwd, int N>
void join(const cplx<R> *src, cplx<R> *dst, const DupRoot<R> *rows, int step) {
  using CV = Narrow<R>;
  using V = typename CV::V;
  constexpr int M = N / 8;
  V x[8];
  for (int j = 0; j < 8; ++j) x[j] = CV::load(src + j * M);
  bf8<CV, Fwd>(x);
  for (int r = 0; r < 8; ++r) CV::store(dst + r * M, x[r]);
  [&]<int... J>(std::integer_sequence<int, J...>) __attribute__((always_inline)) {
    ((x[J] = turn<CV, Fwd, J, 16>(CV::load(src + M / 2 + J * M))), ...);
  }(std::make_integer_sequence<int, 8>{});
  bf8<CV, Fwd>(x);
  for (int r = 0; r < 8; ++r) CV::store(dst + M / 2 + r * M, x[r]);
  for (int k = 1; k < M / 2; ++k) {
    const DupRoot<R> *row = rows + (k * step - 1) * 7;
    x[0] = CV::load(src + k);
    for (int j = 1; j < 8; ++j) x[j] = twiddle<CV, Fwd>(CV::load(src + k + j * M), row[j - 1]);
    bf8<CV, Fwd>(x);
    for (int r = 0; r < 8; ++r) CV::store(dst + k + r * M, x[r]);
    const int kk = M - k;
    x[0] = CV::load(src + kk);
    for (int j = 1; j < 8; ++j) x[j] = twiddle<CV, !Fwd>(CV::load(src + kk + j * M), row[j - 1]);
    bf8<CV, Fwd>(x);
    for (int r = 0; r < 8; ++r) CV::store(dst + kk + ((r + 7) & 7) * M, x[r]);
  }
}

// N points read at stride `is`, written contiguously to o.
template <class R, bool Fwd, int N>
void sub(const cplx<R> *in, int64_t is, cplx<R> *o, const DupRoot<R> *rows, int table_n) {
  if constexpr (N <= 32) {
    using CV = Narrow<R>;
    typename CV::V x[N];
    for (int j = 0; j < N; ++j) x[j] = CV::load(in + j * is);
    small_dft<CV, Fwd, N>(x);
    for (int j = 0; j < N; ++j) CV::store(o + j, x[j]);
  } else {
    constexpr int M = N / 8;
    for (int j = 0; j < 8; ++j) sub<R, Fwd, M>(in + j * is, is * 8, o + j * M, rows, table_n);
    join<R, Fwd, N>(o, o, rows, table_n / N);
  }
}

template <class R, bool Fwd, int N>
void fixed(const cplx<R> *in, cplx<R> *out, const void *table, cplx<R> *buffer) {
  if constexpr (N <= 32) {
    using CV = Narrow<R>;
    typename CV::V x[N];
    for (int j = 0; j < N; ++j) x[j] = CV::load(in + j);
    small_dft<CV, Fwd, N>(x);
    for (int j = 0; j < N; ++j) CV::store(out + j, x[j]);
  } else {
    constexpr int M = N / 8;
    const DupRoot<R> *rows = N <= 128 ? kRows128<R>.r : static_cast<const DupRoot<R> *>(table);
    const int table_n = N <= 128 ? 128 : N;
    cplx<R> local[N <= 128 ? N : 1];
    cplx<R> *buf = in != out ? out : (buffer ? buffer : local);
    for (int j = 0; j < 8; ++j) sub<R, Fwd, M>(in + j, 8, buf + j * M, rows, table_n);
    join<R, Fwd, N>(buf, out, rows, table_n / N);
  }
}

template <class R, bool Fwd>
FixedKernel<R> by_length(int64_t n) {
  switch (n) {
    case 2: return fixed<R, Fwd, 2>;
    case 4: return fixed<R, Fwd, 4>;
    case 8: return fixed<R, Fwd, 8>;
    case 16: return fixed<R, Fwd, 16>;
    case 32: return fixed<R, Fwd, 32>;
    case 64: return fixed<R, Fwd, 64>;
    case 128: return fixed<R, Fwd, 128>;
    case 256: return fixed<R, Fwd, 256>;
    case 512: return fixed<R, Fwd, 512>;
    case 1024: return fixed<R, Fwd, 1024>;
    default: return nullptr;
  }
}

}  // namespace

int64_t fixed_table_bytes(int64_t n) { return (n / 16 - 1) * 7 * int64_t(sizeof(DupRoot<double>)); }

void fixed_table_fill(void *table, int64_t n) {
  constexpr long double kTwoPi = 6.28318530717958647692528676655900577L;
  auto *t = static_cast<DupRoot<double> *>(table);
  for (int64_t row = 1; row < n / 16; ++row)
    for (int j = 1; j <= 7; ++j, ++t) {
      double a = double(kTwoPi * (long double)(row * j) / (long double)n);
      double c = std::cos(a), s = -std::sin(a);
      *t = {{c, c}, {s, s}};
    }
}

template <class R>
FixedKernel<R> fixed_kernel(int64_t n, bool forward) {
  return forward ? by_length<R, true>(n) : by_length<R, false>(n);
}

template FixedKernel<float> fixed_kernel<float>(int64_t, bool);
template FixedKernel<double> fixed_kernel<double>(int64_t, bool);

}  // namespace zor::dft
