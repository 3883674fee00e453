/* Threads of the standard BLAS front (libzor_blas): the level-3 routines
 * (?gemm, ?symm, ?hemm, ?syrk, ?herk, ?trmm, ?trsm and their cblas_ twins)
 * run on an OpenMP team when the work is large. The count starts as
 * ZOR_NUM_THREADS, else OMP_NUM_THREADS (its first number), else the
 * processors online. Results are the same bits for every count; a call made
 * from inside a running OpenMP region uses its own thread only.
 */
#ifndef ZOR_BLAS_THREADS_H
#define ZOR_BLAS_THREADS_H

#include <zor/export.h>

/* n below 1 returns to the count taken from the environment. Safe to call
 * from any thread; calls already running keep the count they started with. */
ZOR_API void zor_blas_set_num_threads(int n);
ZOR_API int zor_blas_get_num_threads(void);

#endif
