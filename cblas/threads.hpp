// The level-3 routines of the front on a team of threads. Each takes the
// tier's arguments (by reference, 64-bit integers, letters by first byte)
// and calls the tier's routine either once, directly, when the work is
// small, or once per piece of the result, the pieces handed to an OpenMP
// team:
//   gemm        tiles of C (row and column pieces);
//   symm, hemm  pieces of the long side of C (columns for side 'L', rows for
//               'R'), each a ?symm/?hemm of its own;
//   syrk, herk  the triangle of C in square blocks: the diagonal blocks by
//               ?syrk/?herk, the blocks beside them by ?gemm;
//   syr2k, her2k the same blocks: the diagonal ones by ?syr2k/?her2k, the
//               others by two ?gemm calls each (the second adds to the
//               first's result);
//   trmm, trsm  pieces of the free side of B (columns for 'L', rows for 'R').
// The pieces follow from the shape alone, so every thread count gives the
// same bits; a call from inside a running OpenMP region, or with one thread,
// walks the same pieces in turn. Arguments are not checked here: the
// front's entries check them first.
#pragma once
#include <cstdint>
#include <type_traits>

#include "frame/traits.hpp"

namespace zor::front {

template <class T>
using Elem = typename T::elem;
// alpha and beta of ?herk are real.
template <class T, bool Herm>
using RankFactor = std::conditional_t<Herm, typename T::real, typename T::elem>;

template <class T>
void threaded_gemm(const char *transa, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k,
                   const Elem<T> *alpha, const Elem<T> *a, const int64_t *lda, const Elem<T> *b, const int64_t *ldb,
                   const Elem<T> *beta, Elem<T> *c, const int64_t *ldc);

template <class T, bool Herm>
void threaded_symm(const char *side, const char *uplo, const int64_t *m, const int64_t *n, const Elem<T> *alpha,
                   const Elem<T> *a, const int64_t *lda, const Elem<T> *b, const int64_t *ldb, const Elem<T> *beta,
                   Elem<T> *c, const int64_t *ldc);

template <class T, bool Herm>
void threaded_syrk(const char *uplo, const char *trans, const int64_t *n, const int64_t *k,
                   const RankFactor<T, Herm> *alpha, const Elem<T> *a, const int64_t *lda,
                   const RankFactor<T, Herm> *beta, Elem<T> *c, const int64_t *ldc);

template <class T, bool Herm>
void threaded_syr2k(const char *uplo, const char *trans, const int64_t *n, const int64_t *k, const Elem<T> *alpha,
                    const Elem<T> *a, const int64_t *lda, const Elem<T> *b, const int64_t *ldb,
                    const RankFactor<T, Herm> *beta, Elem<T> *c, const int64_t *ldc);

template <class T>
void threaded_trmm(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m,
                   const int64_t *n, const Elem<T> *alpha, const Elem<T> *a, const int64_t *lda, Elem<T> *b,
                   const int64_t *ldb);

template <class T>
void threaded_trsm(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m,
                   const int64_t *n, const Elem<T> *alpha, const Elem<T> *a, const int64_t *lda, Elem<T> *b,
                   const int64_t *ldb);

// The team size a call starting now would use (1 inside a running OpenMP
// region).
int team_size();

}  // namespace zor::front
