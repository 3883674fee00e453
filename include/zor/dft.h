/* Fourier transforms for applications: a descriptor is created, configured,
 * committed, then used for any number of forward and backward transforms,
 * and freed. Every function returns a status (0 on success; the codes are in
 * <zor/dft_records.h>, and zor_fft_status_text gives their texts).
 *
 *   DftNode *d;
 *   int64_t n = 1000;
 *   zor_fft_create(&d, DFT_DOUBLE, DFT_COMPLEX, 1, &n);
 *   zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / n);
 *   zor_fft_commit(d);
 *   zor_fft_forward(d, x);      x: n complex doubles, transformed in place
 *   zor_fft_backward(d, x);     and back
 *   zor_fft_free(&d);
 *
 * Forward is exp(-2 pi i jk / n), backward exp(+2 pi i jk / n); a scale of
 * exactly 1.0 is never applied. Every setter takes a committed descriptor
 * back to uncommitted (setting a scale to the value it has excepted).
 *
 * This front lives in the provider library (libzor_core.so); it drives the
 * tier's descriptors. Transforms of any rank in single and double
 * precision, in place or not, batched, strided: complex data interleaved, or
 * split (rank 1); real data (domain DFT_REAL) with its conjugate-even spectrum either
 * in a real array (DFT_CONJUGATE_EVEN_STORAGE DFT_COMPLEX_REAL, the default,
 * in the DFT_PACKED_FORMAT DFT_CCS_FORMAT, DFT_PACK_FORMAT or
 * DFT_PERM_FORMAT) or as n/2 + 1 complex values (DFT_COMPLEX_COMPLEX). For
 * real data forward reads n reals and writes the spectrum, backward the
 * reverse; the input strides and distance describe what the call reads, the
 * output ones what it writes, counted in complex elements on the complex
 * side. In place the ccs line needs n + 2 values.
 */
#ifndef ZOR_DFT_H
#define ZOR_DFT_H

#include <zor/dft_records.h>
#include <zor/export.h>

/* precision: DFT_SINGLE or DFT_DOUBLE; domain: DFT_COMPLEX or DFT_REAL;
   `rank` lengths, the first that of the contiguous axis. Real data of
   rank 2 and above: the first axis goes into its L0 / 2 + 1 complex values,
   the other axes are complex over them (storage DFT_COMPLEX_COMPLEX, or the
   ccs layout read as complex values). *handle receives the descriptor. */
ZOR_API int64_t zor_fft_create(DftNode **handle, int32_t precision, int32_t domain, int64_t rank,
                               const int64_t *lengths);

/* The parameter table: DFT_NUMBER_OF_TRANSFORMS, DFT_COMPLEX_STORAGE
   (DFT_COMPLEX_COMPLEX or DFT_REAL_REAL), DFT_PLACEMENT (DFT_INPLACE or
   DFT_NOT_INPLACE), DFT_INPUT_DISTANCE, DFT_OUTPUT_DISTANCE, DFT_ORDERING
   (DFT_ORDERED or DFT_BACKWARD_SCRAMBLED), DFT_NUMBER_OF_USER_THREADS,
   DFT_WORKSPACE (ignored), DFT_CONJUGATE_EVEN_STORAGE, DFT_PACKED_FORMAT. */
ZOR_API int64_t zor_fft_set_value(DftNode *handle, int64_t parameter, int64_t value);
/* parameter DFT_FORWARD_SCALE or DFT_BACKWARD_SCALE */
ZOR_API int64_t zor_fft_set_scale(DftNode *handle, int64_t parameter, double value);
ZOR_API int64_t zor_fft_get_scale(DftNode *handle, int64_t parameter, double *value);
/* strides[0] is the offset in elements, strides[1 .. rank] the strides of
   the axes; by default the first axis is contiguous and each further one
   steps by the product of the lengths before it. */
ZOR_API int64_t zor_fft_set_input_strides(DftNode *handle, const int64_t *strides);
ZOR_API int64_t zor_fft_set_output_strides(DftNode *handle, const int64_t *strides);
ZOR_API int64_t zor_fft_set_input_distance(DftNode *handle, int64_t distance);
ZOR_API int64_t zor_fft_set_output_distance(DftNode *handle, int64_t distance);
ZOR_API int64_t zor_fft_set_number_of_transforms(DftNode *handle, int64_t count);

ZOR_API int64_t zor_fft_commit(DftNode *handle);

/* Interleaved storage: in place, and out of place. */
ZOR_API int64_t zor_fft_forward(DftNode *handle, void *data);
ZOR_API int64_t zor_fft_backward(DftNode *handle, void *data);
ZOR_API int64_t zor_fft_forward_out(DftNode *handle, const void *in, void *out);
ZOR_API int64_t zor_fft_backward_out(DftNode *handle, const void *in, void *out);
/* Split storage (DFT_REAL_REAL): real and imaginary arrays. */
ZOR_API int64_t zor_fft_forward_split(DftNode *handle, void *re, void *im);
ZOR_API int64_t zor_fft_backward_split(DftNode *handle, void *re, void *im);
ZOR_API int64_t zor_fft_forward_split_out(DftNode *handle, const void *in_re, const void *in_im, void *out_re,
                                          void *out_im);
ZOR_API int64_t zor_fft_backward_split_out(DftNode *handle, const void *in_re, const void *in_im, void *out_re,
                                           void *out_im);

/* Frees the descriptor and clears *handle. */
ZOR_API int64_t zor_fft_free(DftNode **handle);

/* The text of a status, as a C string (valid until the next call on this
   thread). */
ZOR_API const char *zor_fft_status_text(int64_t status);

/* ---- the provider's threading policy, for tests: what the thread-policy
   services report from now on (commit hooks on or off, default thread
   count, processors). The provider computes every task on the calling
   thread whatever these say. */
ZOR_API void zor_core_dft_policy(int32_t hooks, int32_t threads, int32_t processors);

#endif
