// The memory hooks of the integer family: the default block layout, the
// default reallocation's copy, the one-slot temporary, counting hooks that
// must see every block given back with its size, the Karatsuba scratch that
// tolerates a failing hook, the deaths of every other failing or null hook
// and of a zero divisor, and the transform's stand-in when its plan cannot
// be made.
#include <csignal>
#include <map>

#include "frame/qalloc_module.h"
#include "gmp/gmp_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::gmp;

// Hooks that keep every live block with its size; free checks the size.
struct Counting {
  static inline std::map<void *, size_t> live;
  static inline long allocations = 0, wrong_sizes = 0;
  static inline size_t fail_size = 0;  // allocations of this size return null

  static void *allocate(size_t n) {
    if (n == fail_size) return nullptr;
    void *p = zor_gmp___gmp_default_allocate(n);
    live[p] = n;
    ++allocations;
    return p;
  }
  static void *reallocate(void *p, size_t old, size_t n) {
    if (live.count(p) && live[p] != old) ++wrong_sizes;
    live.erase(p);
    void *q = zor_gmp___gmp_default_reallocate(p, old, n);
    live[q] = n;
    return q;
  }
  static void release(void *p, size_t n) {
    auto it = live.find(p);
    if (it == live.end() || it->second != n) ++wrong_sizes;
    if (it != live.end()) live.erase(it);
    zor_gmp___gmp_default_free(p, n);
  }
  static void install() {
    live.clear();
    allocations = wrong_sizes = 0;
    fail_size = 0;
    zor_gmp___gmp_set_memory_functions(allocate, reallocate, release);
  }
};

class Memory : public ::testing::Test {
 protected:
  void TearDown() override {
    zor_gmp___gmp_set_memory_functions(zor_gmp___gmp_default_allocate, zor_gmp___gmp_default_reallocate,
                                       zor_gmp___gmp_default_free);
  }
};

TEST_F(Memory, DefaultHooksAndBlockLayout) {
  EXPECT_EQ(zor_gmp___gmp_allocate_func_ptr(), &zor_gmp___gmp_default_allocate);
  EXPECT_EQ(zor_gmp___gmp_reallocate_func_ptr(), &zor_gmp___gmp_default_reallocate);
  EXPECT_EQ(zor_gmp___gmp_free_func_ptr(), &zor_gmp___gmp_default_free);
  for (size_t n : {size_t(0), size_t(1), size_t(7), size_t(64), size_t(100000)}) {
    auto *q = static_cast<unsigned char *>(zor_gmp___gmp_default_allocate(n));
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(q) % 32, 0u);
    uint64_t stored;
    std::memcpy(&stored, q - 8, 8);
    EXPECT_EQ(stored, n);
    // the offset byte o leads back to the plain block p = q - o - 9, with
    // o = 55 - p mod 32, so that q lies 64 bytes past a 32-byte boundary
    uintptr_t p = reinterpret_cast<uintptr_t>(q) - q[-9] - 9;
    EXPECT_EQ(q[-9], 55 - p % 32);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(q), p - p % 32 + 64);
    std::memset(q, 0xAB, n);
    zor_gmp___gmp_default_free(q, 12345);  // the size is not used
  }
}

// Reallocation copies what the stored size says (odd counts included) and
// ignores the old size it is given.
TEST_F(Memory, DefaultReallocationCopiesTheStoredSize) {
  for (auto [stored, grown] : {std::pair<size_t, size_t>{7, 20}, {21, 9}, {1, 1}, {8, 3}, {0, 5}, {33, 33}}) {
    auto *q = static_cast<unsigned char *>(zor_gmp___gmp_default_allocate(stored));
    for (size_t i = 0; i < stored; ++i) q[i] = static_cast<unsigned char>(i * 7 + 1);
    auto *p = static_cast<unsigned char *>(zor_gmp___gmp_default_reallocate(q, 999999, grown));
    ASSERT_NE(p, nullptr);
    uint64_t size;
    std::memcpy(&size, p - 8, 8);
    EXPECT_EQ(size, grown);
    for (size_t i = 0; i < std::min(stored, grown); ++i)
      ASSERT_EQ(p[i], static_cast<unsigned char>(i * 7 + 1)) << stored << " -> " << grown << " at " << i;
    zor_gmp___gmp_default_free(p, 0);
  }
  void *fresh = zor_gmp___gmp_default_reallocate(nullptr, 0, 16);
  ASSERT_NE(fresh, nullptr);
  zor_gmp___gmp_default_free(fresh, 16);
}

// Hooks over a fixed arena that never reuse memory, so that the deliberate
// second free of the one-slot temporary can be counted.
struct Arena {
  static inline unsigned char space[4096];
  static inline size_t used = 0;
  static inline std::vector<void *> freed;
  static void *allocate(size_t n) {
    void *p = space + used;
    used += (n + 15) & ~size_t(15);
    return p;
  }
  static void *reallocate(void *, size_t, size_t n) { return allocate(n); }
  static void release(void *p, size_t) { freed.push_back(p); }
};

TEST_F(Memory, OneSlotTemporary) {
  zor_gmp___gmp_set_memory_functions(Arena::allocate, Arena::reallocate, Arena::release);
  Arena::freed.clear();
  void *p = zor_gmp__imptmpmalloc(100);
  zor_gmp__imptmpfree();
  zor_gmp__imptmpfree();  // the slot is kept: the same block again
  ASSERT_EQ(Arena::freed.size(), 2u);
  EXPECT_EQ(Arena::freed[0], p);
  EXPECT_EQ(Arena::freed[1], p);
  zor_gmp__imptmpmark();  // frees and clears the slot
  zor_gmp__imptmpmark();
  EXPECT_EQ(Arena::freed.size(), 3u);
  zor_gmp__imptmpmalloc(10);
  zor_gmp__imptmpmark();
  EXPECT_EQ(Arena::freed.size(), 4u);
}

TEST_F(Memory, HooksAreStoredAsGiven) {
  zor_gmp___gmp_set_memory_functions(nullptr, nullptr, nullptr);
  EXPECT_EQ(zor_gmp___gmp_allocate_func_ptr(), nullptr);
  EXPECT_EQ(zor_gmp___gmp_reallocate_func_ptr(), nullptr);
  EXPECT_EQ(zor_gmp___gmp_free_func_ptr(), nullptr);
}

// Every scratch block of the products and divisions comes back, with the
// size it was taken with.
TEST_F(Memory, LimbRoutinesGiveEveryBlockBack) {
  Rng rng(71);
  Counting::install();
  for (int32_t n : {9, 10, 128, 129, 150, 200, 201, 700, 9000, 40000}) {
    auto a = random_limbs(rng, n, Pattern::uniform), b = random_limbs(rng, n, Pattern::uniform);
    std::vector<limb> r(2 * n), want(2 * n);
    zor_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), n);
    mpn_mul_n(want.data(), a.data(), b.data(), n);
    EXPECT_EQ(r, want) << n;
    zor_gmp___gmpn_mul(r.data(), a.data(), n, b.data(), n / 3 + 1);
  }
  EXPECT_GT(Counting::allocations, 0);
  EXPECT_EQ(Counting::wrong_sizes, 0);
  EXPECT_TRUE(Counting::live.empty()) << Counting::live.size() << " blocks not given back";
}

// The integer layer too: every record, temporary and text block comes back.
TEST_F(Memory, IntegerRoutinesGiveEveryBlockBack) {
  Rng rng(73);
  Counting::install();
  {
    zor_mpz_t a, b, r, q;
    zor_gmp___gmpz_init(a);
    zor_gmp___gmpz_init2(b, 5000);
    zor_gmp___gmpz_init(r);
    zor_gmp___gmpz_init(q);
    auto x = random_limbs(rng, 300, Pattern::uniform), y = random_limbs(rng, 40, Pattern::runs);
    zor_gmp___gmpz_import(a, x.size(), -1, 8, 0, 0, x.data());
    zor_gmp___gmpz_import(b, y.size(), -1, 8, 0, 0, y.data());
    zor_gmp___gmpz_mul(r, a, a);
    zor_gmp___gmpz_mul(a, a, b);
    zor_gmp___gmpz_tdiv_qr(q, r, r, b);
    zor_gmp___gmpz_fdiv_q(q, a, b);
    zor_gmp___gmpz_gcdext(r, q, nullptr, a, b);
    zor_gmp___gmpz_sqrtrem(q, r, a);
    zor_gmp___gmpz_powm(r, a, b, b);
    zor_gmp___gmpz_setbit(b, 1);
    zor_gmp___gmpz_powm_ui(r, a, 12345, b);
    zor_gmp___gmpz_xor(r, a, b);
    zor_gmp___gmpz_set_str(r, "-123456789012345678901234567890", 10);
    zor_gmp___gmpz_realloc(r, 1000);
    zor_gmp___gmpz_realloc2(r, 64);
    char *text = zor_gmp___gmpz_get_str(nullptr, 16, a);
    zor_gmp___gmp_free_func_ptr()(text, zor_gmp___gmpz_sizeinbase(a, 16) + 2);
    size_t count;
    void *words = zor_gmp___gmpz_export(nullptr, &count, 1, 3, 1, 0, a);
    zor_gmp___gmp_free_func_ptr()(words, count * 3);
    for (zor_mpz_ptr z : {a, b, r, q}) zor_gmp___gmpz_clear(z);
  }
  EXPECT_GT(Counting::allocations, 0);
  EXPECT_EQ(Counting::wrong_sizes, 0);
  EXPECT_TRUE(Counting::live.empty()) << Counting::live.size() << " blocks not given back";
}

// A null from the allocate hook for the Karatsuba scratch (n > 128) leaves
// r as it was.
TEST_F(Memory, FailingKaratsubaScratchLeavesTheResultUnwritten) {
  Rng rng(72);
  Counting::install();
  for (int32_t n : {129, 150, 200}) {
    Counting::fail_size = size_t(n - n / 2) * 32;
    auto a = random_limbs(rng, n, Pattern::uniform), b = random_limbs(rng, n, Pattern::uniform);
    GuardedBuffer<limb> r(2 * n, 0, 2);
    for (int32_t i = 0; i < 2 * n; ++i) r[i] = 0x5A5A5A5A5A5A5A5Aull;
    zor_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), n);
    for (int32_t i = 0; i < 2 * n; ++i) ASSERT_EQ(r[i], 0x5A5A5A5A5A5A5A5Aull) << "n " << n << " limb " << i;
    EXPECT_TRUE(r.guards_intact());
  }
}

void *always_null(size_t) { return nullptr; }

void divide_by_zero() {
  zor_mpz_t n, d, q;
  zor_gmp___gmpz_init_set_si(n, 1000);
  zor_gmp___gmpz_init(d);
  zor_gmp___gmpz_init(q);
  zor_gmp___gmpz_tdiv_q(q, n, d);
}

using MemoryDeathTest = Memory;

// A zero divisor's SIGFPE ends the process; under the address sanitizer its
// handler reports the signal and exits.
#ifdef __SANITIZE_ADDRESS__
#define EXPECT_FPE(statement) EXPECT_DEATH(statement, "FPE")
#else
#define EXPECT_FPE(statement) EXPECT_EXIT(statement, ::testing::KilledBySignal(SIGFPE), "")
#endif

TEST_F(MemoryDeathTest, FailingAndNullHooksEndTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::vector<limb> a(500, 3), b(500, 5), r(1000);
  EXPECT_DEATH(
      {
        zor_gmp___gmp_set_memory_functions(always_null, zor_gmp___gmp_default_reallocate, zor_gmp___gmp_default_free);
        zor_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), 500);  // the Toom scratch
      },
      "allocate hook returned null");
  EXPECT_DEATH(
      {
        zor_gmp___gmp_set_memory_functions(nullptr, nullptr, nullptr);
        zor_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), 500);
      },
      "");
  std::vector<limb> c(9000, 7), d(9000, 9), rc(18000);
  EXPECT_DEATH(
      {
        zor_gmp___gmp_set_memory_functions(always_null, zor_gmp___gmp_default_reallocate, zor_gmp___gmp_default_free);
        zor_gmp___gmpn_mul_n(rc.data(), c.data(), d.data(), 9000);  // the transform's block
      },
      "allocate hook returned null");
  EXPECT_FPE(zor_gmp_mpn_divmod_1(r.data(), a.data(), 500, 0));
  EXPECT_DEATH(
      {
        zor_gmp___gmp_set_memory_functions(always_null, zor_gmp___gmp_default_reallocate, zor_gmp___gmp_default_free);
        zor_mpz_t z;
        zor_gmp___gmpz_init(z);
      },
      "allocate hook returned null");
  EXPECT_FPE(divide_by_zero());
}

// With the allocator module failing the plain allocator, the default
// allocate hook returns null.
TEST_F(Memory, DefaultAllocateReturnsNullWhenThePlainAllocatorFails) {
  zor_gmp___gmp_default_free(zor_gmp___gmp_default_allocate(8), 8);  // the module is loaded by now
  long before = qalloc_count(QALLOC_MALLOC);
  qalloc_fail_next(1);
  EXPECT_EQ(zor_gmp___gmp_default_allocate(100), nullptr);
  EXPECT_EQ(qalloc_count(QALLOC_MALLOC), before + 1) << "the module's hooks were not the raw allocator";
  void *p = zor_gmp___gmp_default_allocate(100);
  EXPECT_NE(p, nullptr);
  zor_gmp___gmp_default_free(p, 100);
}

void *heap_allocate(size_t n) { return std::malloc(n); }
void *heap_reallocate(void *p, size_t, size_t n) { return std::realloc(p, n); }
void heap_free(void *p, size_t) { std::free(p); }

// Each transform product makes its plan from the plain allocator and frees
// it. With hooks on the C heap and each raw allocation of the product
// failing in turn, Toom stands in wherever the plan cannot be made, and
// every product is right; then the transform serves again.
TEST_F(Memory, TransformWithoutAPlanFallsBackToToom) {
  zor_gmp___gmp_default_free(zor_gmp___gmp_default_allocate(8), 8);  // loads the module
  zor_gmp___gmp_set_memory_functions(heap_allocate, heap_reallocate, heap_free);
  Rng rng(74);
  const int32_t n = 9000;
  auto a = random_limbs(rng, n, Pattern::uniform), b = random_limbs(rng, n, Pattern::uniform);
  std::vector<limb> r(2 * n), want(2 * n);
  mpn_mul_n(want.data(), a.data(), b.data(), n);
  long failed = 0;
  for (long k = 1; k <= 40; ++k) {
    long before = qalloc_count(QALLOC_MALLOC);
    qalloc_fail_nth(k);
    zor_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), n);
    qalloc_fail_nth(0);
    failed += qalloc_count(QALLOC_MALLOC) - before >= k;
    ASSERT_EQ(r, want) << "raw allocation " << k << " failing";
  }
  EXPECT_GT(failed, 0) << "no raw allocation was made by the products";
  zor_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), n);
  EXPECT_EQ(r, want);
}

}  // namespace
