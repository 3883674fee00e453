// Out-of-place scaled copy and transposition, plain and strided:
//   B := alpha op(A),  A(i, j) = a[i lda + j stridea],  B(i, j) = b[i ldb + j strideb]
// in the row-major view (column-major exchanges rows and cols). The plain
// form is the strided one with both strides 1 and runs the same kernels.
//
// 'T' and 'C' run the recursion of transpose_recursive.hpp, the copy-only
// family when alpha is one. 'N' and 'R' are a double loop over rows, two
// elements a pass, alpha applied at every store whatever its value.
#include "trans/element.hpp"
#include "trans/transpose_recursive.hpp"

namespace zor::trans {
namespace {

template <class T, bool Conj>
void copy_rows(u64 r, u64 c, typename T::elem alpha, const typename T::elem *a, u64 lda, u64 sa,
               typename T::elem *b, u64 ldb, u64 sb) {
  for (u64 i = 0; i < r; ++i) {
    const auto *ai = a + i * lda;
    auto *bi = b + i * ldb;
    u64 j = 0;
    for (; j + 1 < c; j += 2) {
      auto x0 = ai[j * sa], x1 = ai[(j + 1) * sa];
      bi[j * sb] = scaled<T, Conj>(x0, alpha);
      bi[(j + 1) * sb] = scaled<T, Conj>(x1, alpha);
    }
    if (j < c) bi[j * sb] = scaled<T, Conj>(ai[j * sa], alpha);
  }
}

template <class T, bool Conj>
void transpose(u64 r, u64 c, typename T::elem alpha, const typename T::elem *a, u64 lda, u64 sa,
               typename T::elem *b, u64 ldb, u64 sb) {
  if (is_one(alpha))
    RecursiveTranspose<T, false, Conj>::run(r, c, alpha, a, lda, sa, b, ldb, sb);
  else
    RecursiveTranspose<T, true, Conj>::run(r, c, alpha, a, lda, sa, b, ldb, sb);
}

template <class T>
void omatcopy2(char ordering, char trans, u64 rows, u64 cols, typename T::elem alpha, const typename T::elem *a,
               u64 lda, u64 sa, typename T::elem *b, u64 ldb, u64 sb) {
  if (!row_major_view(ordering, rows, cols)) return;
  if (rows == 0 || cols == 0) return;
  switch (copy_trans<T::complex>(trans)) {
    case Trans::N: return copy_rows<T, false>(rows, cols, alpha, a, lda, sa, b, ldb, sb);
    case Trans::R: return copy_rows<T, true>(rows, cols, alpha, a, lda, sa, b, ldb, sb);
    case Trans::T: return transpose<T, false>(rows, cols, alpha, a, lda, sa, b, ldb, sb);
    case Trans::C: return transpose<T, true>(rows, cols, alpha, a, lda, sa, b, ldb, sb);
    case Trans::none: return;
  }
}

}  // namespace
}  // namespace zor::trans

using namespace zor::trans;
using zor::S, zor::D, zor::C, zor::Z, zor::elems, zor::elem_value;

ZOR_API void zor_trans_zor_somatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, float alpha,
                                     const float *a, uint64_t lda, float *b, uint64_t ldb) {
  omatcopy2<S>(ordering, trans, rows, cols, elem_value(alpha), elems(a), lda, 1, elems(b), ldb, 1);
}
ZOR_API void zor_trans_zor_domatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, double alpha,
                                     const double *a, uint64_t lda, double *b, uint64_t ldb) {
  omatcopy2<D>(ordering, trans, rows, cols, elem_value(alpha), elems(a), lda, 1, elems(b), ldb, 1);
}
ZOR_API void zor_trans_zor_comatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, zor_complex8 alpha,
                                     const zor_complex8 *a, uint64_t lda, zor_complex8 *b, uint64_t ldb) {
  omatcopy2<C>(ordering, trans, rows, cols, elem_value(alpha), elems(a), lda, 1, elems(b), ldb, 1);
}
ZOR_API void zor_trans_zor_zomatcopy(char ordering, char trans, uint64_t rows, uint64_t cols,
                                     const zor_complex16 *alpha, const zor_complex16 *a, uint64_t lda,
                                     zor_complex16 *b, uint64_t ldb) {
  omatcopy2<Z>(ordering, trans, rows, cols, *elems(alpha), elems(a), lda, 1, elems(b), ldb, 1);
}

ZOR_API void zor_trans_zor_somatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols, float alpha,
                                      const float *a, uint64_t lda, uint64_t stridea, float *b, uint64_t ldb,
                                      uint64_t strideb) {
  omatcopy2<S>(ordering, trans, rows, cols, elem_value(alpha), elems(a), lda, stridea, elems(b), ldb, strideb);
}
ZOR_API void zor_trans_zor_domatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols, double alpha,
                                      const double *a, uint64_t lda, uint64_t stridea, double *b, uint64_t ldb,
                                      uint64_t strideb) {
  omatcopy2<D>(ordering, trans, rows, cols, elem_value(alpha), elems(a), lda, stridea, elems(b), ldb, strideb);
}
ZOR_API void zor_trans_zor_comatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols, zor_complex8 alpha,
                                      const zor_complex8 *a, uint64_t lda, uint64_t stridea, zor_complex8 *b,
                                      uint64_t ldb, uint64_t strideb) {
  omatcopy2<C>(ordering, trans, rows, cols, elem_value(alpha), elems(a), lda, stridea, elems(b), ldb, strideb);
}
ZOR_API void zor_trans_zor_zomatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols,
                                      const zor_complex16 *alpha, const zor_complex16 *a, uint64_t lda,
                                      uint64_t stridea, zor_complex16 *b, uint64_t ldb, uint64_t strideb) {
  omatcopy2<Z>(ordering, trans, rows, cols, *elems(alpha), elems(a), lda, stridea, elems(b), ldb, strideb);
}
