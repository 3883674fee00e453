/* The tier's Fourier-transform exports (zor_dft_*), and the functions of the
 * threading layer that the tier reaches by name, with the argument lists this
 * library fixes for them. Internal entries: plain values, a status result
 * (codes in <zor/dft_records.h>). Applications use <zor/dft.h> instead.
 */
#ifndef ZOR_DFT_TIER_H
#define ZOR_DFT_TIER_H

#include <zor/dft_records.h>
#include <zor/export.h>

/* ---------------------------------------------------------------- creators */
/* *handle receives a new node. 3 for a null handle, 2 for a zero length. */
ZOR_API int64_t zor_dft_dfti_create_dc1d(DftNode **handle, int64_t length);
ZOR_API int64_t zor_dft_dfti_create_sc1d(DftNode **handle, int64_t length);
/* Real forward domain, one dimension. */
ZOR_API int64_t zor_dft_dfti_create_dr1d(DftNode **handle, int64_t length);
ZOR_API int64_t zor_dft_dfti_create_sr1d(DftNode **handle, int64_t length);
/* The common worker: precision 35 or 36, domain 32 or 33, rank lengths. */
ZOR_API int64_t zor_dft_dfti_create_node(DftNode **handle, int32_t precision, int32_t domain, int64_t rank,
                                         const int64_t *lengths);
/* The flat record: an array of `rank` DftFlatRecord. */
ZOR_API int64_t zor_dft_create_descriptor_md(DftFlatRecord **handle, int32_t precision, int32_t domain,
                                             int64_t rank, const int64_t *lengths);
/* 1, or 2 out of place; doubled for complex split storage. */
ZOR_API int64_t zor_dft_determine_nioargs(const DftFlatRecord *record);
/* Copies min(length, 198) bytes of the version text, stopping before the
   first zero byte; no terminator, no padding. */
ZOR_API int64_t zor_dft_dfti_get_version_string(char *buffer, int64_t length);
/* Destroys the node held in method_state, if any, and clears the slot. */
ZOR_API int64_t zor_dft_free_allocated_buffers(DftNode *node);

/* ---------------------------------------------------------------- commit cores */
ZOR_API int64_t zor_dft_commit_descriptor_core_d_c2c_1d(DftNode *root);
ZOR_API int64_t zor_dft_commit_descriptor_core_s_c2c_1d(DftNode *root);
ZOR_API int64_t zor_dft_commit_descriptor_core_d_r2c_1d(DftNode *root);
ZOR_API int64_t zor_dft_commit_descriptor_core_s_r2c_1d(DftNode *root);

/* ---------------------------------------------------------------- drivers */
/* The batch of a committed node on the calling thread: `transforms` lines,
   `workspace` the node's workspace (or a thread's share of it). With split
   storage data is the address of a pair {real, imaginary}, and so are in and
   out. */
ZOR_API int64_t zor_dft_xzforward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xzbackward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xcforward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xcbackward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xzforward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xzbackward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xcforward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xcbackward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);

/* Real data. Forward reads real lines (input offset, stride, distance in
   real elements) and writes their spectra (output ones); backward the
   reverse. With conjugate-even storage 40 (x{d,s}...) the spectrum is a real
   array in the node's packed format; with 39 (xdzforward, xzdbackward,
   xscforward, xcsbackward) it is n/2 + 1 complex values, and its offset,
   stride and distance count complex elements. In place with storage 40 both
   sides use the input offset, stride and distance. Rank 1. */
ZOR_API int64_t zor_dft_xdforward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xdbackward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xsforward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xsbackward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xdforward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xdbackward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xsforward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xsbackward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xdzforward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xzdbackward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xscforward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xcsbackward(DftNode *node, void *data, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xdzforward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xzdbackward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xscforward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);
ZOR_API int64_t zor_dft_xcsbackward_out(DftNode *node, void *in, void *out, int64_t transforms, void *workspace);

/* ---------------------------------------------------------------- the threading layer
   Looked up by name through zor_serv_load_thread_fun. */

/* Fills the node's services table. */
typedef int64_t (*zor_dft_bless_fn)(DftNode *node);
/* Builds the axis chain of the root and ends in the matching commit core. */
typedef int64_t (*zor_dft_commit_node_fn)(DftNode *root);
/* A whole task handed over by a compute entry. `holder` points to the node
   pointer. In place: (holder, data, 0, 0, 0); out of place: (holder, in, out,
   0, 0); split storage passes the addresses of {real, imaginary} pairs the
   same way. The result is a status. */
typedef int64_t (*zor_dft_compute_par_fn)(DftNode **holder, void *in, void *out, void *reserved1,
                                          void *reserved2);

#endif
