// Double matrix-vector product against the serial OpenBLAS in the same run:
// dgemv 'N' and 'T' at n = 1000 (an 8 MB matrix: from memory) and n = 300
// (in the second-level cache), unit strides, lda even and odd; zgemv and cgemv 'N'
// and 'C' at n = 1000. Rates are GFLOP/s (2 m n per call, 8 m n complex). For the peer's SSE-era kernels:
//   OPENBLAS_CORETYPE=Nehalem bench_blas_gemv
#include <zor/blas.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "common.hpp"

extern "C" {
void dgemv_(const char *, const int *, const int *, const double *, const double *, const int *, const double *,
            const int *, const double *, double *, const int *, size_t);
void zgemv_(const char *, const int *, const int *, const void *, const void *, const int *, const void *,
            const int *, const void *, void *, const int *, size_t);
void cgemv_(const char *, const int *, const int *, const void *, const void *, const int *, const void *,
            const int *, const void *, void *, const int *, size_t);
char *openblas_get_corename(void);
}

int main() {
  std::printf("peer kernel: %s\n", openblas_get_corename());
  for (int n : {300, 1000}) {
    for (int pad : {0, 1}) {
      const int lda = n + pad;
      auto a = static_cast<double *>(std::aligned_alloc(64, size_t(lda) * n * sizeof(double) + 64));
      auto x = static_cast<double *>(std::aligned_alloc(64, n * sizeof(double) + 64));
      auto y = static_cast<double *>(std::aligned_alloc(64, n * sizeof(double) + 64));
      for (int64_t i = 0; i < int64_t(lda) * n; ++i) a[i] = double(i % 13) / 13.0;
      for (int i = 0; i < n; ++i) x[i] = double(i % 5) / 5.0, y[i] = 0.0;
      const double alpha = 1.0, beta = 0.5, flops = 2.0 * n * n * 1e-9;
      for (const char *t : {"N", "T"}) {
        const int64_t m64 = n, n64 = n, lda64 = lda, one64 = 1;
        const int one = 1;
        // Neighbouring timings, several rounds; the ratio is the median.
        double ratios[5], ours = 0, peer = 0;
        for (double &r : ratios) {
          ours = flops / zor::bench::best_seconds(
                             [&] { zor_blas_xdgemv(t, &m64, &n64, &alpha, a, &lda64, x, &one64, &beta, y, &one64); }, 3,
                             0.02);
          peer = flops / zor::bench::best_seconds(
                             [&] { dgemv_(t, &n, &n, &alpha, a, &lda, x, &one, &beta, y, &one, 1); }, 3, 0.02);
          r = ours / peer;
        }
        std::sort(ratios, ratios + 5);
        char what[64];
        std::snprintf(what, sizeof what, "dgemv %s n=%d lda=%d", t, n, lda);
        std::printf("%-40s ours %8.3f GFLOP/s  OpenBLAS %8.3f GFLOP/s  median ratio %6.2fx\n", what, ours, peer,
                    ratios[2]);
      }
      std::free(a), std::free(x), std::free(y);
    }
  }
  auto complex_product = [&]<class R>() {
    const int n = 1000;
    auto a = static_cast<std::complex<R> *>(std::aligned_alloc(64, size_t(n) * n * sizeof(std::complex<R>)));
    auto x = static_cast<std::complex<R> *>(std::aligned_alloc(64, n * sizeof(std::complex<R>)));
    auto y = static_cast<std::complex<R> *>(std::aligned_alloc(64, n * sizeof(std::complex<R>)));
    for (int64_t i = 0; i < int64_t(n) * n; ++i) a[i] = {R(i % 13) / R(13), R(i % 7) / R(7)};
    for (int i = 0; i < n; ++i) x[i] = {R(i % 5) / R(5), R(0.25)}, y[i] = R(0);
    const std::complex<R> alpha(R(1), R(0.5)), beta(R(0.5), R(0));
    const double flops = 8.0 * n * n * 1e-9;
    for (const char *t : {"N", "C"}) {
      const int64_t n64 = n, one64 = 1;
      const int one = 1;
      double ratios[5], ours = 0, peer = 0;
      for (double &r : ratios) {
        ours = flops / zor::bench::best_seconds(
                           [&] {
                             if constexpr (sizeof(R) == 8)
                               zor_blas_xzgemv(t, &n64, &n64, &alpha, a, &n64, x, &one64, &beta, y, &one64);
                             else
                               zor_blas_xcgemv(t, &n64, &n64, &alpha, a, &n64, x, &one64, &beta, y, &one64);
                           },
                           3, 0.02);
        peer = flops / zor::bench::best_seconds(
                           [&] {
                             if constexpr (sizeof(R) == 8)
                               zgemv_(t, &n, &n, &alpha, a, &n, x, &one, &beta, y, &one, 1);
                             else
                               cgemv_(t, &n, &n, &alpha, a, &n, x, &one, &beta, y, &one, 1);
                           },
                           3, 0.02);
        r = ours / peer;
      }
      std::sort(ratios, ratios + 5);
      std::printf("%cgemv %s n=%-33d ours %8.3f GFLOP/s  OpenBLAS %8.3f GFLOP/s  median ratio %6.2fx\n",
                  sizeof(R) == 8 ? 'z' : 'c', t, n, ours, peer, ratios[2]);
    }
    std::free(a), std::free(x), std::free(y);
  };
  complex_product.template operator()<double>();
  complex_product.template operator()<float>();
}
