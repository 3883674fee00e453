// Buffer allocations failing, injected through the allocator module. GEMM:
// plans that pack both or only A fall back on the small path with the same
// C; plans with a pre-packed operand return 1, after C has taken beta. Level
// 3: the symmetric multiply leaves C untouched (beta not applied either); the
// triangular multiply and either buffer of the solve leave B unchanged; the
// packed multiply completes with the right B; the Hermitian multiply
// allocates nothing of its own and is right under any failures.
#include <thread>

#include <zor/serv.h>

#include "level3_testing.hpp"
#include "qalloc_module.h"

namespace {

using namespace zor::test;

// On a fresh thread whose pool holds one free block of `warm` bytes, the
// raw allocations named by `fail` (the next n, or all of one size) fail.
template <class F>
void on_fresh_thread(uint64_t warm, F &&body) {
  std::thread([&] {
    zor_serv_deallocate(zor_serv_allocate(warm, 128));
    body();
    qalloc_fail_next(0);
    qalloc_fail_size(0);
  }).join();
}

TEST(GemmAllocationFailure, PackingPlansFallBackWithTheSameResult) {
  for (int row : {0, 1})
    for (int plan : {2, 4}) {
      SCOPED_TRACE(testing::Message() << "row " << row << " plan " << plan);
      int64_t m = 37, n = 29, k = 45, ld = 64;
      Rng rng(3);
      std::vector<double> a(size_t(ld * k)), b(size_t(ld * n)), c(size_t(ld * n)), want;
      for (auto &x : a) x = rng.uniform();
      for (auto &x : b) x = rng.uniform();
      for (auto &x : c) x = rng.uniform();
      want = c;
      const std::vector<double> c_init = c;
      double alpha = 0.5, beta = 1.0;
      // The small path's result, computed directly below the unrolls' reach:
      // column by column, which the fallback must reproduce.
      for (int64_t j = 0; j < n; ++j) {
        int64_t one = 1;
        zor_blas_xdgemm("N", "N", &m, &one, &k, &alpha, a.data(), &ld, b.data() + j * ld, &ld, &beta,
                        want.data() + j * ld, &ld);
      }
      int32_t status = -1;
      on_fresh_thread(64, [&] {
        qalloc_fail_next(1);
        Desc d = Desc::row<double>(row);
        status = zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, c.data(), &ld,
                                     plan, d.get());
      });
      EXPECT_EQ(status, 0);
      EXPECT_EQ(std::memcmp(c.data(), want.data(), c.size() * sizeof(double)), 0);
      // The blocked path rounds differently here, so the match above shows
      // that the fallback ran.
      Desc d = Desc::row<double>(row);
      std::vector<double> c2(c.size());
      Rng again(3);
      for (auto &x : a) x = again.uniform();
      for (auto &x : b) x = again.uniform();
      for (auto &x : c2) x = again.uniform();
      zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, c2.data(), &ld, plan,
                          d.get());
      EXPECT_NE(std::memcmp(c2.data(), want.data(), c2.size() * sizeof(double)), 0);
      if (plan == 4) {  // the entry's one-block products take pooled buffers too, and fall back alike
        std::vector<double> c3 = c_init;
        on_fresh_thread(64, [&] {
          ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
          qalloc_fail_next(1);
          zor_blas_xdgemm("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, c3.data(), &ld);
        });
        EXPECT_EQ(std::memcmp(c3.data(), want.data(), c3.size() * sizeof(double)), 0);
      }
    }
}

// C takes beta before the buffers are asked for, in every plan: a pre-packed
// plan without buffers returns 1 with C scaled once, and a retry with beta 1
// gives the bits of a call that succeeded at once.
TEST(GemmAllocationFailure, PrePackedPlansScaleFirstThenReturnOne) {
  for (int plan : {8, 16, 32, 64}) {
    SCOPED_TRACE(testing::Message() << "plan " << plan);
    int64_t m = 8, n = 8, k = 8, ld = 32;
    Rng rng{uint64_t(plan)};
    std::vector<double> a(256), b(256), c0(64);
    for (auto &x : a) x = rng.uniform();
    for (auto &x : b) x = rng.uniform();
    for (auto &x : c0) x = rng.uniform();
    const double alpha = 0.5, beta = 2, one = 1;
    std::vector<double> once = c0, c = c0;
    Desc d = Desc::row<double>(0);
    ASSERT_EQ(zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, once.data(),
                                  &m, plan, d.get()),
              0);
    int32_t status = -1;
    on_fresh_thread(64, [&] {
        qalloc_fail_next(1);
      Desc failing = Desc::row<double>(0);
      status = zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, c.data(), &m,
                                   plan, failing.get());
    });
    EXPECT_EQ(status, 1);
    for (size_t i = 0; i < c.size(); ++i) ASSERT_EQ(c[i], 2 * c0[i]) << i;
    Desc retry = Desc::row<double>(0);
    ASSERT_EQ(zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &one, c.data(), &m,
                                  plan, retry.get()),
              0);
    EXPECT_EQ(std::memcmp(c.data(), once.data(), c.size() * sizeof(double)), 0);
  }
}

template <class E>
std::vector<E> filled(size_t count, Rng &rng) {
  std::vector<E> v(count);
  for (auto &x : v) x = rng.value<E>();
  return v;
}

template <class E>
void symmetric_multiply_untouched() {
  Rng rng(1400);
  const int64_t m = 40, n = 30;
  const std::vector<E> a = filled<E>(m * m, rng), b = filled<E>(m * n, rng), c0 = filled<E>(m * n, rng);
  std::vector<E> c = c0;
  on_fresh_thread(64, [&] {
    qalloc_fail_next(1);
    L3<E>::symm(true, false, 'L', 'U', m, n, E(2), a.data(), m, b.data(), m, E(3), c.data(), m);
  });
  EXPECT_EQ(std::memcmp(c.data(), c0.data(), c.size() * sizeof(E)), 0);
}

template <class F>
void each_precision(F &&f) {
  f(float()), f(double()), f(Cx<float>()), f(Cx<double>());
}

TEST(Level3AllocationFailure, SymmetricMultiplyLeavesCUntouched) {
  each_precision([](auto e) { symmetric_multiply_untouched<decltype(e)>(); });
}

TEST(Level3AllocationFailure, HermitianMultiplyNeedsNoBuffer) {
  using E = Cx<double>;
  Rng rng(1410);
  const int64_t m = 150, n = 20;
  const std::vector<E> a = filled<E>(m * m, rng), b = filled<E>(m * n, rng);
  std::vector<E> c = filled<E>(m * n, rng), want = c;
  const E alpha(0.5, 1), beta(2, -1);
  L3<E>::symm(false, true, 'L', 'L', m, n, alpha, a.data(), m, b.data(), m, beta, want.data(), m);
  on_fresh_thread(64, [&] {
    qalloc_fail_next(1000);  // every product's buffers too: they take the unblocked path
    L3<E>::symm(true, true, 'L', 'L', m, n, alpha, a.data(), m, b.data(), m, beta, c.data(), m);
  });
  for (size_t i = 0; i < c.size(); ++i) ASSERT_LT(std::abs(c[i] - want[i]), 1e-12 * m) << i;
}

// op(A) well conditioned: a dominant diagonal.
template <class E>
std::vector<E> triangular(int64_t p, Rng &rng) {
  std::vector<E> a = filled<E>(size_t(p * p), rng);
  for (int64_t i = 0; i < p; ++i) a[size_t(i + i * p)] = a[size_t(i + i * p)] + E(real_of<E>(p));
  return a;
}

template <class E>
void triangular_buffers_leave_b(bool solve) {
  Rng rng(1420);
  const int64_t m = 50, n = 45;
  const std::vector<E> a = triangular<E>(std::max(m, n), rng), b0 = filled<E>(m * n, rng);
  const int64_t lda = std::max(m, n);
  for (const char *l : {"LUNN", "RLTN"}) {
    std::vector<E> b = b0;
    on_fresh_thread(64, [&] {
      qalloc_fail_next(1);
      L3<E>::tri(true, solve, l, m, n, E(2), a.data(), lda, b.data(), m);
    });
    EXPECT_EQ(std::memcmp(b.data(), b0.data(), b.size() * sizeof(E)), 0) << (solve ? "trsm " : "trmm ") << l;
  }
}

TEST(Level3AllocationFailure, TriangularMultiplyAndSolveLeaveBUnchanged) {
  for (bool solve : {false, true}) each_precision([&](auto e) { triangular_buffers_leave_b<decltype(e)>(solve); });
}

// The solve's second buffer failing: B unchanged, the first block still
// held by the thread's pool (it is not given back on that exit), and the
// pool goes on serving: later solves on the thread are right, and what they
// take they return.
TEST(Level3AllocationFailure, SolveSecondBufferKeepsTheFirstAndThePoolGoesOn) {
  Rng rng(1430);
  const int64_t m = 60, n = 70;
  const std::vector<double> a = triangular<double>(m, rng), b0 = filled<double>(m * n, rng);
  std::vector<double> want = b0;
  L3<double>::tri(false, true, "LLNN", m, n, 1.5, a.data(), m, want.data(), m);
  on_fresh_thread(8448, [&] {
    int32_t count0;
    const int64_t bytes0 = zor_serv_zor_memstat(&count0);
    std::vector<double> b = b0;
    qalloc_fail_size(8000000 + 128);  // the packed rows' block, pad included
    L3<double>::tri(true, true, "LLNN", m, n, 1.5, a.data(), m, b.data(), m);
    qalloc_fail_size(0);
    EXPECT_EQ(std::memcmp(b.data(), b0.data(), b.size() * sizeof(double)), 0);
    int32_t count1;
    const int64_t bytes1 = zor_serv_zor_memstat(&count1);
    EXPECT_EQ(bytes1, bytes0);      // the leaf's block is the warm one, now held
    EXPECT_EQ(count1, count0 + 1);  // and the failed slot, empty, stays in use
    int32_t count2 = 0;
    int64_t bytes2 = 0;
    for (int again = 0; again < 3; ++again) {
      b = b0;
      L3<double>::tri(true, true, "LLNN", m, n, 1.5, a.data(), m, b.data(), m);
      for (size_t i = 0; i < b.size(); ++i) ASSERT_NEAR(b[i], want[i], 1e-12) << i;
      int32_t count;
      const int64_t bytes = zor_serv_zor_memstat(&count);
      if (again > 0) {  // the blocks of the first successful call are reused
        EXPECT_EQ(count, count2);
        EXPECT_EQ(bytes, bytes2);
      }
      count2 = count;
      bytes2 = bytes;
    }
    EXPECT_GT(count2, count1);
  });
}

TEST(Level3AllocationFailure, PackedMultiplyCompletes) {
  Rng rng(1440);
  const int64_t m = 140, n = 33;
  for (const char *l : {"LUNN", "RLTU", "LLTN"}) {
    const int64_t p = l[0] == 'L' ? m : n;
    std::vector<double> a = triangular<double>(p, rng), ap, b = filled<double>(m * n, rng), want = b;
    for (int64_t j = 0; j < p; ++j)
      for (int64_t i = l[1] == 'U' ? 0 : j; i < (l[1] == 'U' ? j + 1 : p); ++i) ap.push_back(a[size_t(i + j * p)]);
    L3<double>::tri(false, false, l, m, n, 0.5, a.data(), p, want.data(), m);
    on_fresh_thread(64, [&] {
      qalloc_fail_next(1);
      const double alpha = 0.5;
      zor_blas_xdptrmm(l, l + 1, l + 2, l + 3, &m, &n, &alpha, ap.data(), b.data(), &m);
    });
    for (size_t i = 0; i < b.size(); ++i) ASSERT_NEAR(b[i], want[i], 1e-11 * p) << l << " " << i;
  }
}

}  // namespace
