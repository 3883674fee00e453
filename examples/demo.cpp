// A first look at the library: who it is, what the provider says about the
// processor, the working-memory pool at work, and one call into each family.
#include <cmath>
#include <complex>
#include <cstdio>
#include <vector>

#include <zor/blas.h>
#include <zor/core.h>
#include <zor/dft.h>
#include <zor/gemm.h>
#include <zor/serv.h>
#include <zor/spblas.h>
#include <zor/trans.h>

namespace {

// Vector kernels: y := 2x + y, then x . y. Every argument by reference.
void vectors() {
  const zor_int n = 5, one = 1;
  const double two = 2.0;
  double x[] = {1, 2, 3, 4, 5}, y[] = {1, 1, 1, 1, 1};
  zor_blas_xdaxpy(&n, &two, x, &one, y, &one);
  std::printf("daxpy: y = 2x + 1 = [%g %g %g %g %g], x . y = %g\n", y[0], y[1], y[2], y[3], y[4],
              zor_blas_xddot(&n, x, &one, y, &one));
}

// The packed GEMM engine: C := A B for 300 x 300 matrices of ones.
void matrix_multiply() {
  const int64_t n = 300;
  const double alpha = 1.0, beta = 0.0;
  std::vector<double> a(n * n, 1.0), b(n * n, 1.0), c(n * n, -1.0);
  zor_blas_xdgemm("N", "N", &n, &n, &n, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n);
  std::printf("dgemm: 300 x 300 ones times ones, every entry %g (c[0] = %g, c[last] = %g)\n", double(n), c[0],
              c[n * n - 1]);
}

// Matrix copy: the transpose of a 2 x 3 row-major matrix.
void transpose() {
  const double a[] = {1, 2, 3, 4, 5, 6};
  double b[6] = {};
  zor_trans_zor_domatcopy('R', 'T', 2, 3, 1.0, a, 3, b, 2);
  std::printf("domatcopy: [1 2 3; 4 5 6]^T = [%g %g; %g %g; %g %g]\n", b[0], b[1], b[2], b[3], b[4], b[5]);
}

// Sparse: y += A x for the 3 x 3 second-difference matrix in zero-based CSR.
void sparse() {
  const double vals[] = {2, -1, -1, 2, -1, -1, 2};
  const int64_t cols[] = {0, 1, 0, 1, 2, 1, 2};
  const int64_t row_begin[] = {0, 2, 5}, row_end[] = {2, 5, 7};
  const int64_t first = 1, last = 3, m = 3;
  const double alpha = 1.0, x[] = {1, 2, 3};
  double y[3] = {0, 0, 0};
  zor_spblas_dcsr0ng__c__mvout_par(&first, &last, &m, &alpha, vals, cols, row_begin, row_end, x, y);
  std::printf("sparse mv: tridiag(-1, 2, -1) [1 2 3] = [%g %g %g]\n", y[0], y[1], y[2]);
}

// Fourier transform: 1000 points forward and back (the backward scale 1/n
// makes the round trip the identity), then a setting the descriptor refuses.
void fourier() {
  int64_t n = 1000;
  DftNode *d = nullptr;
  zor_fft_create(&d, DFT_DOUBLE, DFT_COMPLEX, 1, &n);
  zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(n));
  zor_fft_commit(d);
  std::vector<std::complex<double>> x(n), y;
  for (int64_t k = 0; k < n; ++k) x[k] = {std::cos(0.3 * double(k)), std::sin(0.01 * double(k * k))};
  y = x;
  zor_fft_forward(d, y.data());
  zor_fft_backward(d, y.data());
  double err = 0;
  for (int64_t k = 0; k < n; ++k) err = std::fmax(err, std::abs(y[k] - x[k]));
  std::printf("dft: 1000 points forward and back, largest error %.2e\n", err);
  int64_t status = zor_fft_set_value(d, DFT_PLACEMENT, 12345);
  std::printf("dft: placement 12345 refused with status %lld: %s\n", static_cast<long long>(status),
              zor_fft_status_text(status));
  zor_fft_free(&d);
  // A real line of 16 points, cos(2 pi 3 j / 16): its spectrum, in the ccs
  // layout, holds 8 at frequency 3.
  int64_t m = 16;
  DftNode *r = nullptr;
  zor_fft_create(&r, DFT_DOUBLE, DFT_REAL, 1, &m);
  zor_fft_commit(r);
  double line[18];
  for (int j = 0; j < 16; ++j) line[j] = std::cos(2 * 3.14159265358979323846 * 3 * j / 16);
  zor_fft_forward(r, line);
  std::printf("dft: real cos(2 pi 3 j / 16), spectrum at 3 = %.3f%+.3fi\n", line[6], line[7]);
  zor_fft_free(&r);

  // The wave cos(2 pi (j0 / 8 + j1 / 4)) on an 8-by-4 real grid, into its
  // half spectrum of 5 x 4 complex values, out of place: 16 at (1, 1).
  int64_t plane[2] = {8, 4}, spectrum_strides[3] = {0, 1, 5};
  zor_fft_create(&r, DFT_DOUBLE, DFT_REAL, 2, plane);
  zor_fft_set_value(r, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX);
  zor_fft_set_value(r, DFT_PLACEMENT, DFT_NOT_INPLACE);
  zor_fft_set_output_strides(r, spectrum_strides);
  zor_fft_commit(r);
  double grid[32], half[2 * 5 * 4];
  for (int j1 = 0; j1 < 4; ++j1)
    for (int j0 = 0; j0 < 8; ++j0)
      grid[j1 * 8 + j0] = std::cos(2 * 3.14159265358979323846 * (j0 / 8.0 + j1 / 4.0));
  zor_fft_forward_out(r, grid, half);
  std::printf("dft: real 8 x 4 wave (1, 1), half spectrum at (1, 1) = %.3f%+.3fi\n", half[2 * (1 * 5 + 1)],
              half[2 * (1 * 5 + 1) + 1]);
  zor_fft_free(&r);
}

}  // namespace

int main() {
  char version[198];
  zor_serv_getversionstring_c(version, sizeof version);
  std::printf("%s\n", version);
  std::printf("processor tier: %d\n", dll_cpu_version());

  int32_t cache[3];
  zor_serv_cache_info(cache);
  std::printf("later generation (cpuhasqlx): %d, microarchitecture: %d, class: %d\n", zor_serv_cpuhasqlx(),
              zor_serv_get_microarchitecture(), zor_serv_cpu_detect());
  std::printf("caches: %d levels known, L1 %d bytes, L2 %d bytes\n", cache[0], cache[1], cache[2]);

  int32_t buffers = 0;
  int64_t bytes = zor_serv_zor_memstat(&buffers);
  std::printf("pool before: %d buffers, %lld bytes\n", buffers, static_cast<long long>(bytes));
  for (int round = 0; round < 3; ++round) {
    void *packing = zor_serv_allocate(4 << 20, 128);  // a GEMM-sized packing buffer
    std::printf("round %d: 4 MiB buffer at %p\n", round, packing);
    zor_serv_deallocate(packing);  // back to the pool: the next round reuses it
  }
  bytes = zor_serv_zor_memstat(&buffers);
  std::printf("pool after: %d buffers, %lld bytes\n", buffers, static_cast<long long>(bytes));
  zor_serv_freebuffers();
  bytes = zor_serv_zor_memstat(&buffers);
  std::printf("after freebuffers: %d buffers, %lld bytes\n", buffers, static_cast<long long>(bytes));

  vectors();
  matrix_multiply();
  transpose();
  sparse();
  fourier();
  return 0;
}
