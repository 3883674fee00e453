/* Scaled matrix copy, transposition and sum of zor_tier2.
 *
 * Unlike the rest of the library these routines take their arguments by
 * value: the mode characters, sizes, leading dimensions and strides as
 * unsigned 64-bit integers, and the scalars as values of the element type,
 * except the double-complex scalars, which are given by pointer to their two
 * parts.
 *
 *   ordering  'R'/'r' row-major, 'C'/'c' column-major; any other letter does
 *             nothing (omatadd tests only for 'C'/'c' and treats anything
 *             else as row-major).
 *   trans     'N' plain, 'T' transposed, 'R' conjugated, 'C' conjugated and
 *             transposed, in either case; real types read 'R' as 'N' and 'C'
 *             as 'T'; any other letter does nothing.
 *
 *   imatcopy   AB := alpha op(AB), in place, from leading dimension lda to ldb
 *   omatcopy   B := alpha op(A)
 *   omatcopy2  B := alpha op(A), element (i, j) of A at a[i lda + j stridea]
 *              and of B at b[i ldb + j strideb] (row-major view)
 *   omatadd    C := alpha op(A) + beta op(B)
 *
 * Nothing is checked and nothing is allocated. rows or cols of 0 do nothing;
 * lda of 0 in an in-place transposition that is not square is not allowed.
 * A and B of omatcopy must not overlap.
 */
#ifndef ZOR_TRANS_H
#define ZOR_TRANS_H

#include <stdint.h>
#include <zor/export.h>

ZOR_API void zor_trans_zor_simatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, float alpha,
                                     float *ab, uint64_t lda, uint64_t ldb);
ZOR_API void zor_trans_zor_dimatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, double alpha,
                                     double *ab, uint64_t lda, uint64_t ldb);
ZOR_API void zor_trans_zor_cimatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, zor_complex8 alpha,
                                     zor_complex8 *ab, uint64_t lda, uint64_t ldb);
ZOR_API void zor_trans_zor_zimatcopy(char ordering, char trans, uint64_t rows, uint64_t cols,
                                     const zor_complex16 *alpha, zor_complex16 *ab, uint64_t lda, uint64_t ldb);

ZOR_API void zor_trans_zor_somatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, float alpha,
                                     const float *a, uint64_t lda, float *b, uint64_t ldb);
ZOR_API void zor_trans_zor_domatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, double alpha,
                                     const double *a, uint64_t lda, double *b, uint64_t ldb);
ZOR_API void zor_trans_zor_comatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, zor_complex8 alpha,
                                     const zor_complex8 *a, uint64_t lda, zor_complex8 *b, uint64_t ldb);
ZOR_API void zor_trans_zor_zomatcopy(char ordering, char trans, uint64_t rows, uint64_t cols,
                                     const zor_complex16 *alpha, const zor_complex16 *a, uint64_t lda,
                                     zor_complex16 *b, uint64_t ldb);

ZOR_API void zor_trans_zor_somatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols, float alpha,
                                      const float *a, uint64_t lda, uint64_t stridea, float *b, uint64_t ldb,
                                      uint64_t strideb);
ZOR_API void zor_trans_zor_domatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols, double alpha,
                                      const double *a, uint64_t lda, uint64_t stridea, double *b, uint64_t ldb,
                                      uint64_t strideb);
ZOR_API void zor_trans_zor_comatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols, zor_complex8 alpha,
                                      const zor_complex8 *a, uint64_t lda, uint64_t stridea, zor_complex8 *b,
                                      uint64_t ldb, uint64_t strideb);
ZOR_API void zor_trans_zor_zomatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols,
                                      const zor_complex16 *alpha, const zor_complex16 *a, uint64_t lda,
                                      uint64_t stridea, zor_complex16 *b, uint64_t ldb, uint64_t strideb);

ZOR_API void zor_trans_zor_somatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    float alpha, const float *a, uint64_t lda, float beta, const float *b,
                                    uint64_t ldb, float *c, uint64_t ldc);
ZOR_API void zor_trans_zor_domatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    double alpha, const double *a, uint64_t lda, double beta, const double *b,
                                    uint64_t ldb, double *c, uint64_t ldc);
ZOR_API void zor_trans_zor_comatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    zor_complex8 alpha, const zor_complex8 *a, uint64_t lda, zor_complex8 beta,
                                    const zor_complex8 *b, uint64_t ldb, zor_complex8 *c, uint64_t ldc);
ZOR_API void zor_trans_zor_zomatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,
                                    const zor_complex16 *alpha, const zor_complex16 *a, uint64_t lda,
                                    const zor_complex16 *beta, const zor_complex16 *b, uint64_t ldb,
                                    zor_complex16 *c, uint64_t ldc);

#endif
