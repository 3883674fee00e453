// Several threads calling the tier at once: matrix products, level-1 updates
// and dots, sparse products, and pooled buffers of random sizes and
// alignments, some of them handed to another thread to be freed there. Every
// result must be bit-identical to the same call made alone, no two threads may
// share a block, and afterwards every block must be back in the pool. Under the
// ThreadSanitizer build the same run checks the ordering inside the pool.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <zor/blas.h>
#include <zor/gemm.h>
#include <zor/serv.h>
#include <zor/spblas.h>

#include "common/testing.hpp"

namespace {

using zor::test::Rng;

constexpr uint64_t kSeed = 20240611;
constexpr int kCallsPerThread = 10000;
constexpr uint64_t kPoolLimit = 41943040;

std::vector<double> random_vector(Rng &rng, int64_t n) {
  std::vector<double> v(size_t(std::max<int64_t>(n, 1)));
  for (double &x : v) x = rng.uniform();
  return v;
}

// One fixed call with its inputs; run() writes its result into `out`.
struct Job {
  enum Kind { kGemm, kLevel1, kSparse } kind;
  int64_t m = 0, n = 0, k = 0, lda = 0, ldb = 0, ldc = 0, incx = 1, incy = 1;
  char transa = 'N', transb = 'N';
  double alpha = 0, beta = 0;
  std::vector<double> a, b, c;           // dense operands; c is the output's start
  std::vector<int64_t> cols, rb, re;     // CSR rows of a
  std::vector<double> expected;          // the serial result

  void run(std::vector<double> &out) const {
    out = c;
    switch (kind) {
      case kGemm:
        zor_blas_xdgemm(&transa, &transb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, out.data(),
                        &ldc);
        break;
      case kLevel1:
        zor_blas_xdaxpy(&n, &alpha, a.data(), &incx, out.data(), &incy);
        out.push_back(zor_blas_xddot(&n, a.data(), &incx, out.data(), &incy));
        break;
      case kSparse: {
        int64_t first = 1, last = m;
        // General rows, then the unit lower triangle (its diagonal goes
        // through the provider's checked axpy).
        zor_spblas_dcsr0ng__c__mvout_par(&first, &last, &m, &alpha, a.data(), cols.data(), rb.data(), re.data(),
                                         b.data(), out.data());
        zor_spblas_dcsr0ntluc__mvout_par(&first, &last, &m, &alpha, a.data(), cols.data(), rb.data(), re.data(),
                                         b.data(), out.data());
        break;
      }
    }
  }
};

Job make_job(Rng &rng, int index) {
  Job j;
  j.kind = Job::Kind(index % 3);
  j.alpha = rng.uniform();
  if (j.kind == Job::kGemm) {
    // Sizes on both sides of the unrolls, so that both the small path and
    // the packed path with its pooled buffers run.
    j.m = rng.integer(1, 72), j.n = rng.integer(1, 72), j.k = rng.integer(1, 72);
    j.transa = "NT"[rng.integer(0, 1)], j.transb = "NT"[rng.integer(0, 1)];
    j.beta = rng.integer(0, 2) == 0 ? 1.0 : rng.uniform();
    int64_t ar = j.transa == 'N' ? j.m : j.k, ac = j.transa == 'N' ? j.k : j.m;
    int64_t br = j.transb == 'N' ? j.k : j.n, bc = j.transb == 'N' ? j.n : j.k;
    j.lda = ar + rng.integer(0, 3), j.ldb = br + rng.integer(0, 3), j.ldc = j.m + rng.integer(0, 3);
    j.a = random_vector(rng, j.lda * ac), j.b = random_vector(rng, j.ldb * bc), j.c = random_vector(rng, j.ldc * j.n);
  } else if (j.kind == Job::kLevel1) {
    j.n = rng.integer(1, 3000);
    const int64_t strides[] = {1, 1, 2, -1, -3};
    j.incx = strides[rng.integer(0, 4)], j.incy = strides[rng.integer(0, 4)];
    j.a = random_vector(rng, 1 + (j.n - 1) * std::abs(j.incx));
    j.c = random_vector(rng, 1 + (j.n - 1) * std::abs(j.incy));
  } else {
    j.m = rng.integer(1, 400);
    for (int64_t i = 0; i < j.m; ++i) {
      j.rb.push_back(int64_t(j.cols.size()));
      for (int64_t col = 0; col < j.m; ++col)
        if (col == i || rng.integer(0, 15) == 0) j.cols.push_back(col);
      j.re.push_back(int64_t(j.cols.size()));
    }
    j.a = random_vector(rng, int64_t(j.cols.size()));
    j.b = random_vector(rng, j.m);
    j.c = random_vector(rng, j.m);
  }
  return j;
}

// A pooled buffer with its owner's mark in its first and last words.
struct Held {
  void *p;
  uint64_t size, mark;
};

uint64_t *first_word(const Held &h) { return static_cast<uint64_t *>(h.p); }
uint64_t *last_word(const Held &h) {
  return reinterpret_cast<uint64_t *>(static_cast<char *>(h.p) + (h.size - 8) / 8 * 8);
}

// Blocks on their way to another thread, which checks and frees them.
struct Mailbox {
  std::mutex lock;
  std::vector<Held> blocks;
};

struct Worker {
  int thread;
  uint64_t seed;
  const std::vector<Job> *jobs;
  Mailbox *mailbox;
  long mismatches = 0;
  std::string first_failure;

  void fail(const std::string &what) {
    if (mismatches++ == 0) first_failure = what;
  }

  void check_and_free(const Held &h) {
    if (h.size >= 8 && (*first_word(h) != h.mark || *last_word(h) != h.mark)) fail("a pooled block was shared");
    zor_serv_deallocate(h.p);
  }

  void buffer_step(Rng &rng, std::vector<Held> &held) {
    // Up to seven held at once: beyond five the direct path serves them.
    if (held.size() < 7 && rng.integer(0, 1) == 0) {
      int64_t band = rng.integer(0, 999);
      uint64_t size = band < 600   ? uint64_t(rng.integer(1, 4096))
                      : band < 900 ? uint64_t(rng.integer(4096, 1 << 20))
                      : band < 998 ? uint64_t(rng.integer(1 << 20, 8 << 20))
                                   : kPoolLimit + 1;
      const int32_t alignments[] = {0, 3, 4, 6, 8, 12, 16, 64, 128, 4096};
      int32_t alignment = alignments[rng.integer(0, 9)];
      Held h{zor_serv_allocate(size, alignment), size, (uint64_t(thread) << 56) ^ rng.engine()};
      if (!h.p) return fail("allocation failed");
      if (alignment >= 8 && (alignment & (alignment - 1)) == 0 && reinterpret_cast<uintptr_t>(h.p) % alignment)
        fail("misaligned block");
      if (size >= 8) *first_word(h) = *last_word(h) = h.mark;
      held.push_back(h);
      return;
    }
    {
      std::lock_guard<std::mutex> guard(mailbox->lock);
      if (!mailbox->blocks.empty() && rng.integer(0, 1) == 0) {
        Held h = mailbox->blocks.back();
        mailbox->blocks.pop_back();
        check_and_free(h);  // freed by another thread than its owner
        return;
      }
    }
    if (held.empty()) return;
    size_t i = size_t(rng.integer(0, int64_t(held.size()) - 1));
    Held h = held[i];
    held.erase(held.begin() + std::ptrdiff_t(i));
    if (rng.integer(0, 9) == 0) {
      std::lock_guard<std::mutex> guard(mailbox->lock);
      mailbox->blocks.push_back(h);
    } else {
      check_and_free(h);
    }
  }

  void run(int calls) {
    Rng rng(seed);
    std::vector<Held> held;
    std::vector<double> out;
    for (int call = 0; call < calls; ++call) {
      int64_t pick = rng.integer(0, 3);
      if (pick == 3) {
        buffer_step(rng, held);
        continue;
      }
      const Job &job = (*jobs)[size_t(rng.integer(0, int64_t(jobs->size() / 3) - 1) * 3 + pick)];
      job.run(out);
      if (out.size() != job.expected.size() ||
          std::memcmp(out.data(), job.expected.data(), out.size() * sizeof(double)) != 0) {
        std::ostringstream what;
        what << "call " << call << ": job kind " << int(job.kind) << " differs from its serial result";
        fail(what.str());
      }
    }
    for (const Held &h : held) check_and_free(h);
  }
};

class Concurrency : public ::testing::TestWithParam<int> {};

TEST_P(Concurrency, MixedCallsMatchTheSerialResults) {
  const int threads = GetParam();
  SCOPED_TRACE("seed " + std::to_string(kSeed) + ", threads " + std::to_string(threads));
  Rng rng(kSeed);
  std::vector<Job> jobs;
  for (int i = 0; i < 3 * 16; ++i) {
    jobs.push_back(make_job(rng, i));
    jobs.back().run(jobs.back().expected);
  }

  Mailbox mailbox;
  std::vector<Worker> workers;
  for (int t = 0; t < threads; ++t) workers.push_back(Worker{t, kSeed + 1 + uint64_t(t), &jobs, &mailbox});
  // Each thread takes its first buffer before the others start walking the
  // registry: a record is cleared only after it has been published.
  std::barrier start(threads);
  std::vector<std::thread> pool;
  for (Worker &w : workers) {
    pool.emplace_back([&w, &start] {
      zor_serv_deallocate(zor_serv_allocate(64, 0));
      start.arrive_and_wait();
      w.run(kCallsPerThread);
    });
  }
  for (std::thread &t : pool) t.join();
  for (const Held &h : mailbox.blocks) zor_serv_deallocate(h.p);

  for (const Worker &w : workers) EXPECT_EQ(w.mismatches, 0) << "thread " << w.thread << ": " << w.first_failure;
  // Every block came back: nothing is left busy or outside the pool.
  zor_serv_freebuffers();
  int32_t count = -2;
  EXPECT_EQ(zor_serv_zor_memstat(&count), 0);
  EXPECT_EQ(count, 0);
}

INSTANTIATE_TEST_SUITE_P(Threads, Concurrency, ::testing::Values(2, 4));

}  // namespace
