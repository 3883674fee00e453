// Extended-precision products at n = 1000 against two peers, in the same
// run, ours and the peer's timings interleaved over several rounds:
// - double-double (214): dgemv_x 'N' and 'T', zgemv_x 'T', dsymv_x (lower)
//   against a plain loop here that runs the same double-double sequences
//   one result at a time (the bits of both are compared);
// - double (212): dgemv_x 'T' and 'N' against the reference BLAS dgemv (the
//   Fortran reference build, linked by its path; it has no kernel choice),
//   and the cost of 214 over 212.
// Rates are nominal GFLOP/s (2 n^2 a call, 8 n^2 complex); a ratio above 1
// means ours is faster. The figure printed is the median ratio with the
// range over the rounds.
#include <zor/xblas.h>

#include <algorithm>
#include <complex>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common.hpp"
#include "tests/xblas/double_double.hpp"

extern "C" void dgemv_(const char *, const int *, const int *, const double *, const double *, const int *,
                       const double *, const int *, const double *, double *, const int *, size_t);

namespace {

// ---- the one-result loop: the double-double sequences of the tests' model

using zor::test::xblas::DD;
using zor::test::xblas::neg;
using zor::test::xblas::two_product;
inline DD add(DD x, DD y) { return zor::test::xblas::dd_add(x, y); }
inline DD mul(DD x, double a) { return zor::test::xblas::dd_mul(x, a); }

// Result i of a real product: the element at a + first + j step for j < n,
// or, for the symmetric product, two strips around the diagonal.
void loop_gemv(bool plain, int n, const double *a, const double *x, double alpha, double beta, double *y) {
  for (int i = 0; i < n; ++i) {
    DD s{0, 0};
    const double *row = plain ? a + i : a + size_t(i) * n;
    const size_t step = plain ? n : 1;
    for (int j = 0; j < n; ++j) s = add(s, two_product(row[j * step], x[j]));
    y[i] = [&] {
      DD r = add(mul(s, alpha), two_product(beta, y[i]));
      return r.h + r.t;
    }();
  }
}
void loop_symv_lower(int n, const double *a, const double *x, double alpha, double beta, double *y) {
  for (int i = 0; i < n; ++i) {
    DD s{0, 0};
    for (int j = 0; j < i; ++j) s = add(s, two_product(a[i + size_t(j) * n], x[j]));
    for (int j = i; j < n; ++j) s = add(s, two_product(a[j + size_t(i) * n], x[j]));
    y[i] = [&] {
      DD r = add(mul(s, alpha), two_product(beta, y[i]));
      return r.h + r.t;
    }();
  }
}
using Z = std::complex<double>;
void loop_zgemv_t(int n, const Z *a, const Z *x, Z alpha, Z beta, Z *y) {
  for (int i = 0; i < n; ++i) {
    DD re{0, 0}, im{0, 0};
    for (int j = 0; j < n; ++j) {
      const Z e = a[j + size_t(i) * n], v = x[j];
      re = add(re, add(two_product(e.real(), v.real()), neg(two_product(e.imag(), v.imag()))));
      im = add(im, add(two_product(e.imag(), v.real()), two_product(e.real(), v.imag())));
    }
    const DD sr = add(mul(re, alpha.real()), neg(mul(im, alpha.imag())));
    const DD si = add(mul(im, alpha.real()), mul(re, alpha.imag()));
    const DD br = add(two_product(beta.real(), y[i].real()), neg(two_product(beta.imag(), y[i].imag())));
    const DD bi = add(two_product(beta.imag(), y[i].real()), two_product(beta.real(), y[i].imag()));
    const DD r = add(sr, br), m = add(si, bi);
    y[i] = Z(r.h + r.t, m.h + m.t);
  }
}

// ---- timing

struct Ratio {
  double ours, peer, median, lo, hi;
};
template <class Ours, class Peer>
Ratio measure(double flops, Ours ours, Peer peer) {
  std::vector<double> r;
  Ratio out{};
  for (int round = 0; round < 5; ++round) {
    out.ours = flops / zor::bench::best_seconds(ours, 3, 0.05);
    out.peer = flops / zor::bench::best_seconds(peer, 3, 0.05);
    r.push_back(out.ours / out.peer);
  }
  std::sort(r.begin(), r.end());
  out.median = r[2], out.lo = r.front(), out.hi = r.back();
  return out;
}
void print(const char *what, const char *peer_name, const Ratio &r, const char *note = "") {
  std::printf("%-28s ours %7.3f GFLOP/s  %-18s %7.3f GFLOP/s  ratio %5.2fx (%4.2f-%4.2f)%s\n", what, r.ours, peer_name,
              r.peer, r.median, r.lo, r.hi, note);
  zor::bench::record("xblas", what, 1000, "ours", r.ours, "GFLOP/s");
  zor::bench::record("xblas", what, 1000, peer_name, r.peer, "GFLOP/s");
  zor::bench::record("xblas", what, 1000, std::string("ours / ") + peer_name, r.median, "x");
}

}  // namespace

int main() {
  const int n = 1000;
  const zor_int n64 = n, one64 = 1;
  const int one = 1;
  const int32_t no_trans = blas_no_trans, trans = blas_trans, lower = blas_lower;
  const int32_t extra = blas_prec_extra, dbl = blas_prec_double;
  std::vector<double> a(size_t(n) * n), x(n), y0(n);
  for (size_t i = 0; i < a.size(); ++i) a[i] = double((i * 7919) % 1013) / 1013.0 - 0.5;
  for (int i = 0; i < n; ++i) x[i] = double((i * 31) % 97) / 97.0 - 0.5, y0[i] = double(i % 11) / 11.0;
  // The symmetric product reads the lower triangle only.
  const double alpha = 1.25, beta = 0.5, flops = 2.0 * n * n * 1e-9;
  std::vector<double> y = y0, z = y0;

  auto bits = [](const void *p, const void *q, size_t bytes) {
    return std::memcmp(p, q, bytes) == 0 ? "" : "  BITS DIFFER";
  };
  for (const int32_t *t : {&no_trans, &trans}) {
    const bool plain = t == &no_trans;
    auto ours = [&] {
      zor_xblas_blas_dgemv_x(t, &n64, &n64, &alpha, a.data(), &n64, x.data(), &one64, &beta, y.data(), &one64, &extra);
    };
    auto peer = [&] { loop_gemv(plain, n, a.data(), x.data(), alpha, beta, z.data()); };
    y = y0, z = y0, ours(), peer();
    const char *same = bits(y.data(), z.data(), n * sizeof(double));
    print(plain ? "dgemv_x N 214" : "dgemv_x T 214", "one-result loop", measure(flops, ours, peer), same);
  }
  {
    auto ours = [&] {
      zor_xblas_blas_dsymv_x(&lower, &n64, &alpha, a.data(), &n64, x.data(), &one64, &beta, y.data(), &one64, &extra);
    };
    auto peer = [&] { loop_symv_lower(n, a.data(), x.data(), alpha, beta, z.data()); };
    y = y0, z = y0, ours(), peer();
    const char *same = bits(y.data(), z.data(), n * sizeof(double));
    print("dsymv_x L 214", "one-result loop", measure(flops, ours, peer), same);
  }
  {
    std::vector<Z> za(size_t(n) * n), zx(n), zy0(n);
    for (size_t i = 0; i < za.size(); ++i) za[i] = Z(a[i], a[(i * 13) % a.size()]);
    for (int i = 0; i < n; ++i) zx[i] = Z(x[i], x[(i * 7) % n]), zy0[i] = Z(y0[i], -y0[i]);
    const Z zalpha(1.25, -0.5), zbeta(0.5, 0.25);
    std::vector<Z> zy = zy0, zz = zy0;
    auto p = [](const Z *v) { return reinterpret_cast<const zor_complex16 *>(v); };
    auto ours = [&] {
      zor_xblas_blas_zgemv_x(&trans, &n64, &n64, p(&zalpha), p(za.data()), &n64, p(zx.data()), &one64, p(&zbeta),
                             reinterpret_cast<zor_complex16 *>(zy.data()), &one64, &extra);
    };
    auto peer = [&] { loop_zgemv_t(n, za.data(), zx.data(), zalpha, zbeta, zz.data()); };
    ours(), peer();
    const char *same = bits(zy.data(), zz.data(), n * sizeof(Z));
    print("zgemv_x T 214", "one-result loop", measure(4 * flops, ours, peer), same);
  }
  for (const int32_t *t : {&trans, &no_trans}) {
    const char *letter = t == &trans ? "T" : "N";
    auto ours = [&] {
      zor_xblas_blas_dgemv_x(t, &n64, &n64, &alpha, a.data(), &n64, x.data(), &one64, &beta, y.data(), &one64, &dbl);
    };
    auto peer = [&] { dgemv_(letter, &n, &n, &alpha, a.data(), &n, x.data(), &one, &beta, z.data(), &one, 1); };
    print(t == &trans ? "dgemv_x T 212" : "dgemv_x N 212", "reference dgemv", measure(flops, ours, peer));
    auto precise = [&] {
      zor_xblas_blas_dgemv_x(t, &n64, &n64, &alpha, a.data(), &n64, x.data(), &one64, &beta, y.data(), &one64, &extra);
    };
    print(t == &trans ? "dgemv_x T 214 over 212" : "dgemv_x N 214 over 212", "dgemv_x at 212",
          measure(flops, precise, ours));
  }
}
