// The level-3 routines on a team: every thread count gives the bits of one
// thread, below and above the size where the team starts; the pieces add up
// to the tier's own call; program threads and OpenMP regions may call at
// once. Run with ZOR_NUM_THREADS=3 and OMP_NUM_THREADS=2 in the environment.
#include <omp.h>
#include <zor/blas_threads.h>

#include <thread>

#include "cblas/threads.hpp"
#include "common/testing.hpp"
#include "frame/imports.hpp"

namespace zor::test {
namespace {

using front::Elem;

struct Shape {
  int64_t m, n, k;  // syrk: n = m; k the depth
};
// Each list: below the work where the team starts, above it, and uneven
// pieces (a short last one, a side of many).
const Shape kProducts[] = {{300, 200, 30}, {300, 200, 40}, {129, 700, 60}, {1100, 150, 20}};
const Shape kSides[] = {{120, 120, 0}, {150, 300, 0}, {260, 130, 0}};
const Shape kRankK[] = {{200, 0, 90}, {300, 0, 60}, {520, 0, 20}};

template <class T>
std::vector<Elem<T>> random_matrix(Rng &rng, int64_t count) {
  std::vector<Elem<T>> v(count);
  for (auto &x : v) x = rng.value<Elem<T>>();
  return v;
}

// Runs op(out) for 1 thread and then for 2, 3, 4, expecting the same bits,
// and returns the one-thread result.
template <class E, class Op>
std::vector<E> same_for_every_count(const std::vector<E> &start, const Op &op) {
  std::vector<E> one = start;
  zor_blas_set_num_threads(1);
  op(one.data());
  for (int t = 2; t <= 4; ++t) {
    SCOPED_TRACE(t);
    zor_blas_set_num_threads(t);
    std::vector<E> out = start;
    op(out.data());
    EXPECT_TRUE(same_bits(out, one));
  }
  zor_blas_set_num_threads(0);
  return one;
}

// ours close to the tier's own call, relative to the largest magnitude.
template <class E>
void expect_close(const std::vector<E> &ours, const std::vector<E> &tier, double ulps) {
  using R = real_of<E>;
  R scale = 0;
  for (const E &x : tier) scale = std::max(scale, R(std::abs(reinterpret_cast<const R *>(&x)[0])));
  scale = std::max(scale, R(1));
  for (size_t i = 0; i < ours.size(); ++i) {
    const R *a = reinterpret_cast<const R *>(&ours[i]), *b = reinterpret_cast<const R *>(&tier[i]);
    for (size_t p = 0; p < sizeof(E) / sizeof(R); ++p)
      if (!close(a[p], b[p], scale, ulps)) {
        ADD_FAILURE() << "element " << i << ": " << a[p] << " vs " << b[p];
        return;
      }
  }
}

template <class T>
class Threads : public ::testing::Test {};
using Precisions = ::testing::Types<S, D, C, Z>;
TYPED_TEST_SUITE(Threads, Precisions);

TYPED_TEST(Threads, Gemm) {
  using T = TypeParam;
  using E = Elem<T>;
  Rng rng(101);
  const E alpha = rng.value<E>(), beta = rng.value<E>();
  for (const Shape &s : kProducts)
    for (const char *ta : {"N", "T", "C"})
      for (const char *tb : {"N", "C"}) {
        SCOPED_TRACE(testing::Message() << s.m << "x" << s.n << "x" << s.k << " " << ta << tb << " seed 101");
        const int64_t lda = (*ta == 'N' ? s.m : s.k) + 3, ldb = (*tb == 'N' ? s.k : s.n) + 1, ldc = s.m + 2;
        const auto a = random_matrix<T>(rng, lda * (*ta == 'N' ? s.k : s.m));
        const auto b = random_matrix<T>(rng, ldb * (*tb == 'N' ? s.n : s.k));
        const auto c = random_matrix<T>(rng, ldc * s.n);
        const auto ours = same_for_every_count(c, [&](E *out) {
          front::threaded_gemm<T>(ta, tb, &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, out, &ldc);
        });
        auto tier = c;
        imports<T>::xgemm(ta, tb, &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, tier.data(), &ldc);
        // Tiles of C keep the depth blocks of the whole call.
        EXPECT_TRUE(same_bits(ours, tier));
      }
}

template <class T, bool Herm>
void symm_case(Rng &rng) {
  using E = Elem<T>;
  const E alpha = rng.value<E>(), beta = rng.value<E>();
  for (const Shape &s : kSides)
    for (const char *side : {"L", "R"})
      for (const char *uplo : {"U", "L"}) {
        SCOPED_TRACE(testing::Message() << s.m << "x" << s.n << " " << side << uplo << " herm " << Herm);
        const int64_t order = *side == 'L' ? s.m : s.n, lda = order + 1, ldb = s.m + 3, ldc = s.m;
        const auto a = random_matrix<T>(rng, lda * order), b = random_matrix<T>(rng, ldb * s.n),
                   c = random_matrix<T>(rng, ldc * s.n);
        const auto ours = same_for_every_count(c, [&](E *out) {
          front::threaded_symm<T, Herm>(side, uplo, &s.m, &s.n, &alpha, a.data(), &lda, b.data(), &ldb, &beta, out,
                                        &ldc);
        });
        auto tier = c;
        if constexpr (Herm) imports<T>::xhemm(side, uplo, &s.m, &s.n, &alpha, a.data(), &lda, b.data(), &ldb, &beta, tier.data(), &ldc);
        else imports<T>::xsymm(side, uplo, &s.m, &s.n, &alpha, a.data(), &lda, b.data(), &ldb, &beta, tier.data(), &ldc);
        expect_close(ours, tier, 4.0 * order);
      }
}

// ?syrk/?herk, and with Two ?syr2k/?her2k (B beside A, alpha of the
// element type).
template <class T, bool Herm, bool Two>
void rank_k_case(Rng &rng) {
  using E = Elem<T>;
  using F = front::RankFactor<T, Herm>;
  using Alpha = std::conditional_t<Two, E, F>;
  const Alpha alpha = rng.value<Alpha>();
  const F beta = rng.value<F>();
  for (const Shape &s : kRankK)
    for (const char *uplo : {"U", "L"})
      for (const char *trans : {"N", Herm ? "C" : "T"}) {
        SCOPED_TRACE(testing::Message() << s.n << "x" << s.k << " " << uplo << trans << " herm " << Herm << " two "
                                        << Two);
        const int64_t n = s.m, k = s.k, rows = *trans == 'N' ? n : k, cols = *trans == 'N' ? k : n;
        const int64_t lda = rows + 2, ldb = rows + 1, ldc = n + 1;
        const auto a = random_matrix<T>(rng, lda * cols), b = random_matrix<T>(rng, ldb * cols),
                   c = random_matrix<T>(rng, ldc * n);
        auto tier = c;
        const auto ours = same_for_every_count(c, [&](E *out) {
          if constexpr (Two)
            front::threaded_syr2k<T, Herm>(uplo, trans, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, out,
                                           &ldc);
          else front::threaded_syrk<T, Herm>(uplo, trans, &n, &k, &alpha, a.data(), &lda, &beta, out, &ldc);
        });
        if constexpr (Two && Herm)
          imports<T>::xher2k(uplo, trans, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, tier.data(), &ldc);
        else if constexpr (Two)
          imports<T>::xsyr2k(uplo, trans, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, tier.data(), &ldc);
        else if constexpr (Herm)
          imports<T>::xherk(uplo, trans, &n, &k, &alpha, a.data(), &lda, &beta, tier.data(), &ldc);
        else imports<T>::xsyrk(uplo, trans, &n, &k, &alpha, a.data(), &lda, &beta, tier.data(), &ldc);
        // The other triangle is left as it was.
        expect_close(ours, tier, (Two ? 8.0 : 4.0) * k);
      }
}

template <class T, bool Solve>
void triangular_case(Rng &rng) {
  using E = Elem<T>;
  const E alpha = rng.value<E>();
  for (const Shape &s : kSides)
    for (const char *side : {"L", "R"})
      for (const char *uplo : {"U", "L"})
        for (const char *ta : {"N", "C"}) {
          SCOPED_TRACE(testing::Message() << s.m << "x" << s.n << " " << side << uplo << ta << " solve " << Solve);
          const int64_t order = *side == 'L' ? s.m : s.n, lda = order + 2, ldb = s.m + 1;
          auto a = random_matrix<T>(rng, lda * order);
          // A well-conditioned triangle: a heavy diagonal.
          for (int64_t i = 0; i < order; ++i) a[i + i * lda] = a[i + i * lda] + Elem<T>(real_of<E>(order));
          const auto b = random_matrix<T>(rng, ldb * s.n);
          const auto routine = Solve ? imports<T>::xtrsm : imports<T>::xtrmm;
          const auto ours = same_for_every_count(b, [&](E *out) {
            if (Solve) front::threaded_trsm<T>(side, uplo, ta, "N", &s.m, &s.n, &alpha, a.data(), &lda, out, &ldb);
            else front::threaded_trmm<T>(side, uplo, ta, "U", &s.m, &s.n, &alpha, a.data(), &lda, out, &ldb);
          });
          auto tier = b;
          routine(side, uplo, ta, Solve ? "N" : "U", &s.m, &s.n, &alpha, a.data(), &lda, tier.data(), &ldb);
          EXPECT_TRUE(same_bits(ours, tier));
        }
}

TYPED_TEST(Threads, SymmetricAndHermitian) {
  Rng rng(202);
  SCOPED_TRACE("seed 202");
  symm_case<TypeParam, false>(rng);
  rank_k_case<TypeParam, false, false>(rng);
  rank_k_case<TypeParam, false, true>(rng);
  if constexpr (TypeParam::complex) {
    symm_case<TypeParam, true>(rng);
    rank_k_case<TypeParam, true, false>(rng);
    rank_k_case<TypeParam, true, true>(rng);
  }
}

TYPED_TEST(Threads, Triangular) {
  Rng rng(303);
  SCOPED_TRACE("seed 303");
  triangular_case<TypeParam, false>(rng);
  triangular_case<TypeParam, true>(rng);
}

// One large product on fresh data; the same bits as the serial call.
struct Job {
  int64_t m = 400, n = 300, k = 200;
  std::vector<double> a, b, c, serial;
  explicit Job(uint64_t seed) {
    Rng rng(seed);
    a = random_matrix<D>(rng, m * k);
    b = random_matrix<D>(rng, k * n);
    c = random_matrix<D>(rng, m * n);
    serial = c;
    const double alpha = 0.5, beta = -1.5;
    zor_blas_xdgemm("N", "N", &m, &n, &k, &alpha, a.data(), &m, b.data(), &k, &beta, serial.data(), &m);
  }
  void run() {
    const double alpha = 0.5, beta = -1.5;
    front::threaded_gemm<D>("N", "N", &m, &n, &k, &alpha, a.data(), &m, b.data(), &k, &beta, c.data(), &m);
  }
};

TEST(ThreadsCalling, TwoProgramThreadsAtOnce) {
  zor_blas_set_num_threads(2);
  for (int round = 0; round < 3; ++round) {
    Job x(11 + round), y(21 + round);
    std::thread tx([&] { x.run(); }), ty([&] { y.run(); });
    tx.join();
    ty.join();
    EXPECT_TRUE(same_bits(x.c, x.serial));
    EXPECT_TRUE(same_bits(y.c, y.serial));
  }
  zor_blas_set_num_threads(0);
}

TEST(ThreadsCalling, InsideAnOpenMPRegion) {
  zor_blas_set_num_threads(4);
  std::vector<Job> jobs;
  for (int i = 0; i < 4; ++i) jobs.emplace_back(31 + i);
  int inner[4] = {};
#pragma omp parallel for num_threads(2)
  for (int i = 0; i < 4; ++i) {
    inner[i] = front::team_size();
    jobs[i].run();
  }
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(inner[i], 1);
    EXPECT_TRUE(same_bits(jobs[i].c, jobs[i].serial));
  }
  zor_blas_set_num_threads(0);
}

TEST(ThreadsCount, EnvironmentThenSetting) {
  // ZOR_NUM_THREADS wins over OMP_NUM_THREADS.
  EXPECT_EQ(zor_blas_get_num_threads(), 3);
  zor_blas_set_num_threads(5);
  EXPECT_EQ(zor_blas_get_num_threads(), 5);
  EXPECT_EQ(front::team_size(), 5);
  zor_blas_set_num_threads(-1);
  EXPECT_EQ(zor_blas_get_num_threads(), 3);
}

}  // namespace
}  // namespace zor::test
