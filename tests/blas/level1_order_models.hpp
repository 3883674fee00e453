// Models of the reductions' orders of summation, written from their
// contracts. They read their operands as the kernels do, at byte offsets
// that may leave a double 4 bytes off its alignment, so they live in their
// own file, built without the undefined-behaviour sanitizer.
#pragma once
#include <complex>
#include <cstdint>

namespace zor::test {

using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

double ddot_model(int64_t n, const double *x, int64_t incx, const double *y, int64_t incy);
float sdot_model(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy);
cfloat cdot_model(int64_t n, const cfloat *x, int64_t incx, const cfloat *y, int64_t incy, bool conj);
cdouble zdot_model(int64_t n, const cdouble *x, int64_t incx, const cdouble *y, int64_t incy, bool conj, bool second);
double dsdot_model(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy);
float snrm2_model(int64_t n, const float *x, int64_t incx, bool pairs);
double dnrm2_model(int64_t n, const double *x, int64_t incx, bool complex);
double dasum_model(int64_t n, const double *x, int64_t incx);
float sasum_model(int64_t n, const float *x, int64_t incx);

}  // namespace zor::test
