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
/* Several dimensions: `rank` lengths, the first the contiguous axis. 3 for a
   null handle, 2 for a rank below 1 or a zero length. */
ZOR_API int64_t zor_dft_dfti_create_dcmd(DftNode **handle, int64_t rank, const int64_t *lengths);
ZOR_API int64_t zor_dft_dfti_create_scmd(DftNode **handle, int64_t rank, const int64_t *lengths);
ZOR_API int64_t zor_dft_dfti_create_drmd(DftNode **handle, int64_t rank, const int64_t *lengths);
ZOR_API int64_t zor_dft_dfti_create_srmd(DftNode **handle, int64_t rank, const int64_t *lengths);
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
ZOR_API int64_t zor_dft_commit_descriptor_core_d_c2c_md(DftNode *root);
ZOR_API int64_t zor_dft_commit_descriptor_core_s_c2c_md(DftNode *root);
ZOR_API int64_t zor_dft_commit_descriptor_core_d_r2c_md(DftNode *root);
ZOR_API int64_t zor_dft_commit_descriptor_core_s_r2c_md(DftNode *root);

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
   sides use the input offset, stride and distance. From rank 2 on the first
   axis is real and the others complex over its L0 / 2 + 1 values; storage 40
   then takes the ccs layout only, its spectrum read as complex values (unit
   first stride, even offset, strides and distance on that side, else 3). */
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

/* ---------------------------------------------------------------- several dimensions
   A two-dimensional transform in place: the row pass along `node` (L0 points
   first_stride apart, rows second_stride apart) with first_kernel, then,
   when the next axis is longer than 1, the column pass along node->next_axis
   with second_kernel, by blocks of 4 columns (block_mode 2) or 8 (3) when
   the first stride is 1 (then the mode is 2). 1 when the buffer cannot be
   had, else the first non-zero kernel status. */
ZOR_API int64_t zor_dft_xzdft2d(void *data, const int64_t *first_stride, const int64_t *second_stride,
                                dft_axis_kernel first_kernel, dft_axis_kernel second_kernel, DftNode *node,
                                void *workspace, int64_t block_mode);
ZOR_API int64_t zor_dft_xcdft2d(void *data, const int64_t *first_stride, const int64_t *second_stride,
                                dft_axis_kernel first_kernel, dft_axis_kernel second_kernel, DftNode *node,
                                void *workspace, int64_t block_mode);

/* Shares of a multi-dimensional task, called back by the threading layer. A
   share is a start and a count; data pointers come with the node's offsets
   added; `forward` 1 or 0 picks each axis's kernel; `workspace` is the
   thread's share of the node's workspace. Passes in place on one array use
   the output strides and distance (equal to the input ones in place); the
   _out forms read with the input ones and write with the output ones.
   z is double, c single.

   ?1_nd_par: lines first .. first + count - 1 of axis `axis` (0 is the
   root), numbered over the other axes and the batch with the neighbour of
   smallest input distance fastest; total_size / length of the axis *
   transforms lines in all.
   ?2_nd_par: two-dimensional slices first .. first + count - 1 (the first
   two axes for each position of axes 2 on, then of the batch, axis 2
   fastest); total_size / (L0 L1) * transforms slices in all.
   ?2_r_dft: rows first .. first + count - 1 of a two-dimensional array
   along `node` (row j at in + j in_strides[1], its points in_strides[0]
   apart; likewise out; out may be in) with `kernel`.
   ?2_c_dft: columns first .. first + count - 1 along node->next_axis in
   place (column i at data + i first_stride, its points second_stride
   apart); ?2_c_out_dft from in to out. These two store their status
   through `status` (0, 1 when the buffer cannot be had, or the kernel's). */
ZOR_API int64_t zor_dft_z1_nd_par(DftNode *root, int64_t axis, void *data, int64_t first, int64_t count,
                                  void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_z1_nd_out_par(DftNode *root, int64_t axis, const void *in, void *out, int64_t first,
                                      int64_t count, void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_z2_nd_par(DftNode *root, void *data, int64_t first, int64_t count, void *workspace,
                                  int32_t forward);
ZOR_API int64_t zor_dft_z2_nd_out_par(DftNode *root, const void *in, void *out, int64_t first, int64_t count,
                                      void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_z2_r_dft(const void *in, void *out, const int64_t *in_strides, const int64_t *out_strides,
                                 int64_t first, int64_t count, dft_axis_kernel kernel, DftNode *node,
                                 void *workspace);
ZOR_API void zor_dft_z2_c_dft(void *data, const int64_t *first_stride, const int64_t *second_stride, int64_t first,
                              int64_t count, dft_axis_kernel kernel, DftNode *node, int64_t *status,
                              void *workspace);
ZOR_API void zor_dft_z2_c_out_dft(const void *in, void *out, const int64_t *in_strides, const int64_t *out_strides,
                                  int64_t first, int64_t count, dft_axis_kernel kernel, DftNode *node,
                                  int64_t *status, void *workspace);
ZOR_API int64_t zor_dft_c1_nd_par(DftNode *root, int64_t axis, void *data, int64_t first, int64_t count,
                                  void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_c1_nd_out_par(DftNode *root, int64_t axis, const void *in, void *out, int64_t first,
                                      int64_t count, void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_c2_nd_par(DftNode *root, void *data, int64_t first, int64_t count, void *workspace,
                                  int32_t forward);
ZOR_API int64_t zor_dft_c2_nd_out_par(DftNode *root, const void *in, void *out, int64_t first, int64_t count,
                                      void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_c2_r_dft(const void *in, void *out, const int64_t *in_strides, const int64_t *out_strides,
                                 int64_t first, int64_t count, dft_axis_kernel kernel, DftNode *node,
                                 void *workspace);
ZOR_API void zor_dft_c2_c_dft(void *data, const int64_t *first_stride, const int64_t *second_stride, int64_t first,
                              int64_t count, dft_axis_kernel kernel, DftNode *node, int64_t *status,
                              void *workspace);
ZOR_API void zor_dft_c2_c_out_dft(const void *in, void *out, const int64_t *in_strides, const int64_t *out_strides,
                                  int64_t first, int64_t count, dft_axis_kernel kernel, DftNode *node,
                                  int64_t *status, void *workspace);

/* Shares of a real task (first axis real, the others complex over its
   h = L0 / 2 + 1 values), called back by the threading layer. Unlike the
   complex shares they take the task's arrays as the compute entry got them,
   offsets not added (the two sides count them in different units); in place
   when out is null or in. The spectrum side is the one of the node's
   storage: complex values (39) or the ccs reals read as complex values (40).
   s/c single, d/z double.

   {ssc,ddz}1_nd_out_par, forward: lines first .. first + count - 1 of axis
   `axis`. Axis 0: real rows into their half spectra (rows numbered over
   axes 1 on and then the batch, axis 1 fastest; at rank 1 the transforms of
   the batch, in any packed format). Axes 1 on: complex lines of the half
   spectrum in place, numbered as the complex ?1_nd_par numbers them.
   {ssc,ddz}2_nd_out_par, forward: slices first .. first + count - 1 (axes 2
   on, then the batch, axis 2 fastest): the slice's rows, then its h columns.
   {ccs,zzd}1_nd_out_par and {ccs,zzd}2_nd_out_par: the same backward; axis 0
   (the slice's rows, after its columns) writes the real output. From rank 2
   on they work in place on the spectrum at `in`: out of place the threading
   layer hands them a copy when the caller's input must be kept. A task runs
   forward as slices (or axes 0 and 1) then axes 2, 3, ...; backward as axes
   ..., 3, 2, then slices (or axes 1 and 0).

   Passes of one plane (rank 2), with explicit strides in each side's units
   (reals; complex values for the spectrum), point stride first:
   {sc,dz}2_r_dft: real rows first .. first + count - 1 of in into half
   spectrum rows of out (out may be in) with the real kernel `kernel`;
   {cs,zd}2_r_dft and {cs,zd,ccs,zzd}2_r_out_dft: spectrum rows into real
   rows (the same routine; out may be in).
   {sc,dz,cs,zd,ccs,zzd}2_c_dft: columns first .. first + count - 1 of the
   half spectrum in place, {ssc,ddz}2_c_out_dft from in to out, with the
   complex kernel of node->next_axis, as ?2_c_dft and ?2_c_out_dft. */
#define ZOR_DFT_REAL_LINES(name)                                                                                 \
  ZOR_API int64_t name(DftNode *root, int64_t axis, void *in, void *out, int64_t first, int64_t count,           \
                       void *workspace)
#define ZOR_DFT_REAL_SLICES(name) \
  ZOR_API int64_t name(DftNode *root, void *in, void *out, int64_t first, int64_t count, void *workspace)
ZOR_DFT_REAL_LINES(zor_dft_ddz1_nd_out_par);
ZOR_DFT_REAL_LINES(zor_dft_zzd1_nd_out_par);
ZOR_DFT_REAL_LINES(zor_dft_ssc1_nd_out_par);
ZOR_DFT_REAL_LINES(zor_dft_ccs1_nd_out_par);
ZOR_DFT_REAL_SLICES(zor_dft_ddz2_nd_out_par);
ZOR_DFT_REAL_SLICES(zor_dft_zzd2_nd_out_par);
ZOR_DFT_REAL_SLICES(zor_dft_ssc2_nd_out_par);
ZOR_DFT_REAL_SLICES(zor_dft_ccs2_nd_out_par);
#define ZOR_DFT_REAL_ROWS(name)                                                                                  \
  ZOR_API int64_t name(const void *in, void *out, const int64_t *in_strides, const int64_t *out_strides,         \
                       int64_t first, int64_t count, dft_axis_kernel kernel, DftNode *node, void *workspace)
#define ZOR_DFT_REAL_COLUMNS(name)                                                                               \
  ZOR_API void name(void *data, const int64_t *first_stride, const int64_t *second_stride, int64_t first,        \
                    int64_t count, dft_axis_kernel kernel, DftNode *node, int64_t *status, void *workspace)
#define ZOR_DFT_REAL_COLUMNS_OUT(name)                                                                           \
  ZOR_API void name(const void *in, void *out, const int64_t *in_strides, const int64_t *out_strides,            \
                    int64_t first, int64_t count, dft_axis_kernel kernel, DftNode *node, int64_t *status,        \
                    void *workspace)
ZOR_DFT_REAL_ROWS(zor_dft_dz2_r_dft);
ZOR_DFT_REAL_ROWS(zor_dft_zd2_r_dft);
ZOR_DFT_REAL_ROWS(zor_dft_zd2_r_out_dft);
ZOR_DFT_REAL_ROWS(zor_dft_zzd2_r_out_dft);
ZOR_DFT_REAL_ROWS(zor_dft_sc2_r_dft);
ZOR_DFT_REAL_ROWS(zor_dft_cs2_r_dft);
ZOR_DFT_REAL_ROWS(zor_dft_cs2_r_out_dft);
ZOR_DFT_REAL_ROWS(zor_dft_ccs2_r_out_dft);
ZOR_DFT_REAL_COLUMNS(zor_dft_dz2_c_dft);
ZOR_DFT_REAL_COLUMNS(zor_dft_zd2_c_dft);
ZOR_DFT_REAL_COLUMNS(zor_dft_zzd2_c_dft);
ZOR_DFT_REAL_COLUMNS(zor_dft_sc2_c_dft);
ZOR_DFT_REAL_COLUMNS(zor_dft_cs2_c_dft);
ZOR_DFT_REAL_COLUMNS(zor_dft_ccs2_c_dft);
ZOR_DFT_REAL_COLUMNS_OUT(zor_dft_ddz2_c_out_dft);
ZOR_DFT_REAL_COLUMNS_OUT(zor_dft_ssc2_c_out_dft);

/* One real plane of a committed real node of rank 2, with the node's
   offsets and strides: forward (real to spectrum) x{dz,sc}dft2d for storage
   40 (ccs) and x{dzz,scc}dft2d for storage 39; backward x{zd,cs}dft2d and
   x{zzd,ccs}dft2d. In place when out is in (or null). 3 when the node is not
   such a node. */
ZOR_API int64_t zor_dft_xdzdft2d(DftNode *node, void *in, void *out, void *workspace);
ZOR_API int64_t zor_dft_xzddft2d(DftNode *node, void *in, void *out, void *workspace);
ZOR_API int64_t zor_dft_xdzzdft2d(DftNode *node, void *in, void *out, void *workspace);
ZOR_API int64_t zor_dft_xzzddft2d(DftNode *node, void *in, void *out, void *workspace);
ZOR_API int64_t zor_dft_xscdft2d(DftNode *node, void *in, void *out, void *workspace);
ZOR_API int64_t zor_dft_xcsdft2d(DftNode *node, void *in, void *out, void *workspace);
ZOR_API int64_t zor_dft_xsccdft2d(DftNode *node, void *in, void *out, void *workspace);
ZOR_API int64_t zor_dft_xccsdft2d(DftNode *node, void *in, void *out, void *workspace);

/* ---------------------------------------------------------------- four steps
   A long transform as an m2-by-m1 problem (the record DftFourStep). z is
   double, c single; `forward` 1 or 0 chooses the direction (the backward
   direction uses the conjugate twiddles). `workspace` is the node's share
   (DftFourStep.work_size bytes, 64-byte aligned), or null to take one for
   the call. */

/* Setup on the axis node of a committing root: split, pitches, twiddle
   table, children. 102 when the length has no split with both factors above
   1 (nothing changed); 1 when memory fails (what was built is freed and the
   root uncommitted). */
ZOR_API int64_t zor_dft_xz_init_data_1d_via_2d(DftNode *node, DftNode *root);
ZOR_API int64_t zor_dft_xc_init_data_1d_via_2d(DftNode *node, DftNode *root);
/* Steps 1 and 2 on lines first .. first + count - 1 of the m2 lines of m1
   points, point j1 of line j2 at in[j2 line_step + j1 point_step]: each
   line goes through the row child, point k1 is multiplied by w^(j2 k1) and
   stored at out[j2 pitch + k1]. Groups of 8 lines. out may be in when
   point_step is 1 and pitch is line_step. */
ZOR_API int64_t zor_dft_xz_4step_1_2(DftNode *node, int64_t first, int64_t count, const void *in, int64_t line_step,
                                     int64_t point_step, void *out, int64_t pitch, void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_xc_4step_1_2(DftNode *node, int64_t first, int64_t count, const void *in, int64_t line_step,
                                     int64_t point_step, void *out, int64_t pitch, void *workspace, int32_t forward);
/* Steps 3 and 4 on columns first .. first + count - 1 of the m2-by-m1
   matrix at in (point (j2, k1) at in[j2 in_pitch + k1]): blocks of 16
   columns are copied transposed into lines of col_pitch, go through the
   column child, and step 4 (step scale_4 when the direction's scale is not
   1) writes point k2 of column k1 to out[k1 + m1 k2]. out may be in when
   in_pitch is m1. */
ZOR_API int64_t zor_dft_xz_4step_3(DftNode *node, int64_t first, int64_t count, const void *in, int64_t in_pitch,
                                   void *out, void *workspace, int32_t forward);
ZOR_API int64_t zor_dft_xc_4step_3(DftNode *node, int64_t first, int64_t count, const void *in, int64_t in_pitch,
                                   void *out, void *workspace, int32_t forward);
/* Step 4: `lines` lines of `length` points, `pitch` apart, written
   transposed: out[i + k out_step] = in[i pitch + k] (times scale in
   scale_4). Blocks of 8 lines by 8 points (16 lines in single precision).
   Returns 0. */
ZOR_API int64_t zor_dft_xz_4step_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                   int64_t out_step);
ZOR_API int64_t zor_dft_xc_4step_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                   int64_t out_step);
ZOR_API int64_t zor_dft_xz_4step_scale_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                         int64_t out_step, double scale);
ZOR_API int64_t zor_dft_xc_4step_scale_4(int64_t lines, const void *in, int64_t pitch, void *out, int64_t length,
                                         int64_t out_step, float scale);

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
