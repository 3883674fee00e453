// The level-3 routines of the front on an OpenMP team (see threads.hpp), and
// the thread count behind them.
#include "cblas/threads.hpp"

#include <omp.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include <zor/blas_threads.h>

#include "cblas/parameters.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "frame/letters.hpp"

namespace zor::front {
namespace {

// ---- the count

// A positive count at the start of the variable's value (OMP_NUM_THREADS
// may hold a list per nesting level: its first entry), else 0.
int count_in(const char *name) {
  const char *v = std::getenv(name);
  if (!v) return 0;
  char *end = nullptr;
  const long n = std::strtol(v, &end, 10);
  if (end == v || n < 1) return 0;
  return n > 1024 ? 1024 : int(n);
}

int environment_count() {
  static const int count = [] {
    if (int n = count_in("ZOR_NUM_THREADS")) return n;
    if (int n = count_in("OMP_NUM_THREADS")) return n;
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? int(online) : 1;
  }();
  return count;
}

std::atomic<int> g_set_count{0};  // 0: the environment's

int configured_count() {
  const int n = g_set_count.load(std::memory_order_relaxed);
  return n > 0 ? n : environment_count();
}

// ---- pieces

constexpr int64_t ceil_div(int64_t x, int64_t y) { return (x + y - 1) / y; }

// A dimension cut into `count` pieces whose starts are the even shares
// rounded down to the unit.
struct Cuts {
  int64_t length, count;
  int64_t start(int64_t i) const {
    return i >= count ? length : i * length / count / fixed::kUnit * fixed::kUnit;
  }
  int64_t len(int64_t i) const { return start(i + 1) - start(i); }
};

Cuts cut(int64_t length) {
  int64_t target = length / fixed::kPieces;
  if (target < fixed::kPieceMin) target = fixed::kPieceMin;
  if (target > fixed::kPieceMax) target = fixed::kPieceMax;
  int64_t count = ceil_div(length, target);
  if (count > length / fixed::kPieceMin) count = length / fixed::kPieceMin;
  return {length, count < 1 ? 1 : count};
}

// Runs piece(0) .. piece(count - 1), each exactly once, on the team.
template <class F>
void run(int64_t count, const F &piece) {
  int threads = team_size();
  if (threads > count) threads = int(count);
  if (threads <= 1) {
    for (int64_t i = 0; i < count; ++i) piece(i);
    return;
  }
#pragma omp parallel for num_threads(threads) schedule(dynamic, 1)
  for (int64_t i = 0; i < count; ++i) piece(i);
}

bool large(double work) { return work >= tuned::kTeamWork; }

template <class T, bool Herm>
Elem<T> as_elem(RankFactor<T, Herm> x) {
  if constexpr (Herm) return {x, 0};
  else return x;
}

}  // namespace

int team_size() { return omp_in_parallel() ? 1 : configured_count(); }

template <class T>
void threaded_gemm(const char *transa, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k,
                   const Elem<T> *alpha, const Elem<T> *a, const int64_t *lda, const Elem<T> *b, const int64_t *ldb,
                   const Elem<T> *beta, Elem<T> *c, const int64_t *ldc) {
  // Small calls go straight through (the cuts cost divisions).
  if (!large(double(*m) * double(*n) * double(*k)))
    return imports<T>::xgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  const Cuts rows = cut(*m), cols = cut(*n);
  if (rows.count * cols.count < 2)
    return imports<T>::xgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  const bool an = is_letter(transa, 'N'), bn = is_letter(transb, 'N');
  run(rows.count * cols.count, [&](int64_t t) {
    const int64_t r = t % rows.count, s = t / rows.count;
    const int64_t i0 = rows.start(r), mi = rows.len(r), j0 = cols.start(s), nj = cols.len(s);
    imports<T>::xgemm(transa, transb, &mi, &nj, k, alpha, an ? a + i0 : a + i0 * *lda, lda,
                      bn ? b + j0 * *ldb : b + j0, ldb, beta, c + i0 + j0 * *ldc, ldc);
  });
}

template <class T, bool Herm>
void threaded_symm(const char *side, const char *uplo, const int64_t *m, const int64_t *n, const Elem<T> *alpha,
                   const Elem<T> *a, const int64_t *lda, const Elem<T> *b, const int64_t *ldb, const Elem<T> *beta,
                   Elem<T> *c, const int64_t *ldc) {
  constexpr auto symm = [] {
    if constexpr (Herm) return imports<T>::xhemm;
    else return imports<T>::xsymm;
  }();
  const bool left = is_letter(side, 'L');
  const int64_t order = left ? *m : *n, free = left ? *n : *m;
  if (!large(double(order) * double(order) * double(free)))
    return symm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
  const Cuts pieces = cut(free);
  if (pieces.count < 2) return symm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
  run(pieces.count, [&](int64_t t) {
    const int64_t p0 = pieces.start(t), np = pieces.len(t);
    if (left) symm(side, uplo, m, &np, alpha, a, lda, b + p0 * *ldb, ldb, beta, c + p0 * *ldc, ldc);
    else symm(side, uplo, &np, n, alpha, a, lda, b + p0, ldb, beta, c + p0, ldc);
  });
}

// The stored triangle of C in square blocks, block(i, j, i0, ni, j0, nj)
// called once for each block of it, on the team.
template <class F>
void triangle_blocks(const Cuts &blocks, bool lower, const F &block) {
  run(blocks.count * blocks.count, [&](int64_t q) {
    const int64_t i = q / blocks.count, j = q % blocks.count;
    if (lower ? i < j : i > j) return;
    block(i == j, blocks.start(i), blocks.len(i), blocks.start(j), blocks.len(j));
  });
}

template <class T, bool Herm>
void threaded_syrk(const char *uplo, const char *trans, const int64_t *n, const int64_t *k,
                   const RankFactor<T, Herm> *alpha, const Elem<T> *a, const int64_t *lda,
                   const RankFactor<T, Herm> *beta, Elem<T> *c, const int64_t *ldc) {
  constexpr auto syrk = [] {
    if constexpr (Herm) return imports<T>::xherk;
    else return imports<T>::xsyrk;
  }();
  if (*k < 1 || !large(double(*n) * double(*n) * double(*k) / 2))
    return syrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
  const Cuts blocks = cut(*n);
  if (blocks.count < 2) return syrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
  const bool transposed = is_letter(trans, 'T') || is_letter(trans, 'C');
  constexpr char t = Herm ? 'C' : 'T';
  const Elem<T> ea = as_elem<T, Herm>(*alpha), eb = as_elem<T, Herm>(*beta);
  // Block (i, j) of C: the diagonal ones by the rank-k update, those of the
  // stored triangle beside them by a product; the others are left alone.
  triangle_blocks(blocks, !is_letter(uplo, 'U'), [&](bool diagonal, int64_t i0, int64_t ni, int64_t j0, int64_t nj) {
    const Elem<T> *ai = transposed ? a + i0 * *lda : a + i0, *aj = transposed ? a + j0 * *lda : a + j0;
    Elem<T> *cij = c + i0 + j0 * *ldc;
    if (diagonal) syrk(uplo, trans, &ni, k, alpha, ai, lda, beta, cij, ldc);
    else if (transposed) imports<T>::xgemm(&t, "N", &ni, &nj, k, &ea, ai, lda, aj, lda, &eb, cij, ldc);
    else imports<T>::xgemm("N", &t, &ni, &nj, k, &ea, ai, lda, aj, lda, &eb, cij, ldc);
  });
}

template <class T, bool Herm>
void threaded_syr2k(const char *uplo, const char *trans, const int64_t *n, const int64_t *k, const Elem<T> *alpha,
                    const Elem<T> *a, const int64_t *lda, const Elem<T> *b, const int64_t *ldb,
                    const RankFactor<T, Herm> *beta, Elem<T> *c, const int64_t *ldc) {
  constexpr auto syr2k = [] {
    if constexpr (Herm) return imports<T>::xher2k;
    else return imports<T>::xsyr2k;
  }();
  // Twice the multiply-adds of ?syrk.
  if (*k < 1 || !large(double(*n) * double(*n) * double(*k)))
    return syr2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  const Cuts blocks = cut(*n);
  if (blocks.count < 2) return syr2k(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  const bool transposed = is_letter(trans, 'T') || is_letter(trans, 'C');
  constexpr char t = Herm ? 'C' : 'T';
  // The second term: conj(alpha) B A^H for the Hermitian update.
  Elem<T> alpha2 = load_any(alpha);
  if constexpr (Herm) alpha2 = conj(alpha2);
  const Elem<T> eb = as_elem<T, Herm>(load_any(beta)), one = one_of<Elem<T>>();
  // Block (i, j) beside the diagonal: alpha A_i B_j' + beta C_ij, then
  // alpha2 B_i A_j' added to it.
  triangle_blocks(blocks, !is_letter(uplo, 'U'), [&](bool diagonal, int64_t i0, int64_t ni, int64_t j0, int64_t nj) {
    const int64_t ra = transposed ? *lda : 1, rb = transposed ? *ldb : 1;
    const Elem<T> *ai = a + i0 * ra, *aj = a + j0 * ra, *bi = b + i0 * rb, *bj = b + j0 * rb;
    Elem<T> *cij = c + i0 + j0 * *ldc;
    if (diagonal) return syr2k(uplo, trans, &ni, k, alpha, ai, lda, bi, ldb, beta, cij, ldc);
    const char *ta = transposed ? &t : "N", *tb = transposed ? "N" : &t;
    imports<T>::xgemm(ta, tb, &ni, &nj, k, alpha, ai, lda, bj, ldb, &eb, cij, ldc);
    imports<T>::xgemm(ta, tb, &ni, &nj, k, &alpha2, bi, ldb, aj, lda, &one, cij, ldc);
  });
}

// ?trmm and ?trsm: B's columns (side 'L') or rows ('R') are independent.
template <class T, class F>
void triangular(F routine, const char *side, const char *uplo, const char *transa, const char *diag,
                const int64_t *m, const int64_t *n, const Elem<T> *alpha, const Elem<T> *a, const int64_t *lda,
                Elem<T> *b, const int64_t *ldb) {
  const bool left = is_letter(side, 'L');
  const int64_t order = left ? *m : *n, free = left ? *n : *m;
  if (!large(double(order) * double(order) * double(free) / 2))
    return routine(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  const Cuts pieces = cut(free);
  if (pieces.count < 2) return routine(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  run(pieces.count, [&](int64_t t) {
    const int64_t p0 = pieces.start(t), np = pieces.len(t);
    if (left) routine(side, uplo, transa, diag, m, &np, alpha, a, lda, b + p0 * *ldb, ldb);
    else routine(side, uplo, transa, diag, &np, n, alpha, a, lda, b + p0, ldb);
  });
}

template <class T>
void threaded_trmm(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m,
                   const int64_t *n, const Elem<T> *alpha, const Elem<T> *a, const int64_t *lda, Elem<T> *b,
                   const int64_t *ldb) {
  triangular<T>(imports<T>::xtrmm, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

template <class T>
void threaded_trsm(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m,
                   const int64_t *n, const Elem<T> *alpha, const Elem<T> *a, const int64_t *lda, Elem<T> *b,
                   const int64_t *ldb) {
  triangular<T>(imports<T>::xtrsm, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

#define ZOR_FRONT_THREADED(T)                      \
  template void threaded_gemm<T>(ZOR_GEMM_PARAMS(T)); \
  template void threaded_symm<T, false>(ZOR_SYMM_PARAMS(T)); \
  template void threaded_syrk<T, false>(ZOR_SYRK_PARAMS(T, false)); \
  template void threaded_syr2k<T, false>(ZOR_SYR2K_PARAMS(T, false)); \
  template void threaded_trmm<T>(ZOR_TRI_PARAMS(T)); \
  template void threaded_trsm<T>(ZOR_TRI_PARAMS(T));
#define ZOR_GEMM_PARAMS(T)                                                                                   \
  const char *, const char *, const int64_t *, const int64_t *, const int64_t *, const Elem<T> *,          \
      const Elem<T> *, const int64_t *, const Elem<T> *, const int64_t *, const Elem<T> *, Elem<T> *,      \
      const int64_t *
#define ZOR_SYMM_PARAMS(T)                                                                                   \
  const char *, const char *, const int64_t *, const int64_t *, const Elem<T> *, const Elem<T> *,          \
      const int64_t *, const Elem<T> *, const int64_t *, const Elem<T> *, Elem<T> *, const int64_t *
#define ZOR_SYRK_PARAMS(T, H)                                                                                \
  const char *, const char *, const int64_t *, const int64_t *, const RankFactor<T, H> *, const Elem<T> *, \
      const int64_t *, const RankFactor<T, H> *, Elem<T> *, const int64_t *
#define ZOR_SYR2K_PARAMS(T, H)                                                                               \
  const char *, const char *, const int64_t *, const int64_t *, const Elem<T> *, const Elem<T> *,          \
      const int64_t *, const Elem<T> *, const int64_t *, const RankFactor<T, H> *, Elem<T> *, const int64_t *
#define ZOR_TRI_PARAMS(T)                                                                                    \
  const char *, const char *, const char *, const char *, const int64_t *, const int64_t *,                \
      const Elem<T> *, const Elem<T> *, const int64_t *, Elem<T> *, const int64_t *
ZOR_FRONT_THREADED(S)
ZOR_FRONT_THREADED(D)
ZOR_FRONT_THREADED(C)
ZOR_FRONT_THREADED(Z)
template void threaded_symm<C, true>(ZOR_SYMM_PARAMS(C));
template void threaded_symm<Z, true>(ZOR_SYMM_PARAMS(Z));
template void threaded_syrk<C, true>(ZOR_SYRK_PARAMS(C, true));
template void threaded_syrk<Z, true>(ZOR_SYRK_PARAMS(Z, true));
template void threaded_syr2k<C, true>(ZOR_SYR2K_PARAMS(C, true));
template void threaded_syr2k<Z, true>(ZOR_SYR2K_PARAMS(Z, true));

}  // namespace zor::front

ZOR_API void zor_blas_set_num_threads(int n) {
  zor::front::g_set_count.store(n > 0 ? n : 0, std::memory_order_relaxed);
}
ZOR_API int zor_blas_get_num_threads(void) { return zor::front::configured_count(); }
