// Operand sets and drivers of the integer-layer tests: every routine runs on
// the same values as GMP's, in every aliasing form the interface allows,
// and each result must equal GMP's and keep the record's invariants.
#pragma once
#include <functional>
#include <memory>

#include "gmp/gmp_testing.hpp"

namespace zor::test::gmp {

// Our integer record for a scope.
struct Z {
  zor_mpz_t z;
  Z() { zor_gmp___gmpz_init(z); }
  ~Z() { zor_gmp___gmpz_clear(z); }
  Z(const Z &) = delete;
  Z &operator=(const Z &) = delete;
  operator zor_mpz_ptr() { return z; }
  zor_mpz_ptr operator->() { return z; }
};

// The value of g copied into our record.
inline void assign(zor_mpz_ptr z, mpz_srcptr g) {
  int32_t n = int32_t(mpz_size(g));
  zor_gmp___gmpz_realloc(z, n);
  for (int32_t i = 0; i < n; ++i) z->limbs[i] = mpz_getlimbn(g, i);
  z->size = mpz_sgn(g) < 0 ? -n : n;
}

// GMP's record of our value (limbs read as they are).
inline void assign(mpz_ptr g, const zor_mpz_struct *z) {
  int32_t n = z->size < 0 ? -z->size : z->size;
  mpz_import(g, size_t(n), -1, sizeof(limb), 0, 0, z->limbs);
  if (z->size < 0) mpz_neg(g, g);
}

inline std::string text(mpz_srcptr g) {
  if (mpz_sizeinbase(g, 16) > 64) {
    char head[80];
    gmp_snprintf(head, sizeof head, "%#Zx", g);
    return std::string(head, 40) + "... (" + std::to_string(mpz_size(g)) + " limbs)";
  }
  char *s = mpz_get_str(nullptr, 16, g);
  std::string out = std::string("0x") + s;
  gmp_free(s, std::strlen(s) + 1);
  return out;
}
inline std::string text(const zor_mpz_struct *z) {
  G g;
  assign(g, z);
  return text(g);
}

// The record keeps its invariants: non-zero top limb, alloc >= 8,
// |size| <= alloc.
inline ::testing::AssertionResult well_formed(const zor_mpz_struct *z) {
  int32_t n = z->size < 0 ? -z->size : z->size;
  if (z->alloc < 8) return ::testing::AssertionFailure() << "alloc " << z->alloc << " below 8";
  if (n > z->alloc) return ::testing::AssertionFailure() << "size " << z->size << " above alloc " << z->alloc;
  if (n > 0 && z->limbs[n - 1] == 0) return ::testing::AssertionFailure() << "top limb is zero (size " << z->size << ")";
  return ::testing::AssertionSuccess();
}

// Equal to GMP's value, and well formed.
inline ::testing::AssertionResult same(const zor_mpz_struct *z, mpz_srcptr g) {
  auto w = well_formed(z);
  if (!w) return w;
  G ours;
  assign(ours, z);
  if (mpz_cmp(ours, g) != 0)
    return ::testing::AssertionFailure() << "ours " << text(ours) << "\n   GMP's " << text(g);
  return ::testing::AssertionSuccess();
}


// A list of GMP values that owns them.
class Values {
 public:
  mpz_srcptr add(mpz_srcptr v) {
    items_.push_back(std::make_unique<G>());
    mpz_set(*items_.back(), v);
    return *items_.back();
  }
  void add_random(Rng &rng, size_t limbs, Pattern pattern, bool negative) {
    auto v = random_limbs(rng, limbs, pattern);
    if (limbs && v.back() == 0) v.back() = 1;
    G g;
    mpz_import(g, limbs, -1, sizeof(limb), 0, 0, v.data());
    if (negative) mpz_neg(g, g);
    add(g);
  }
  const std::vector<std::unique_ptr<G>> &items() const { return items_; }
  size_t size() const { return items_.size(); }
  mpz_srcptr operator[](size_t i) const { return *items_[i]; }

 private:
  std::vector<std::unique_ptr<G>> items_;
};

// 0, +-1, +-2, limb edges 2^64k +- 1, 2^63 +- 1, in both signs.
inline Values special_values() {
  Values v;
  G g;
  for (long x : {0L, 1L, 2L, 3L}) {
    mpz_set_si(g, x);
    v.add(g);
    if (x) {
      mpz_neg(g, g);
      v.add(g);
    }
  }
  for (unsigned k : {63u, 64u, 128u, 192u}) {
    for (int delta : {-1, 0, 1}) {
      mpz_set_ui(g, 0);
      mpz_setbit(g, k);
      if (delta < 0) mpz_sub_ui(g, g, 1);
      if (delta > 0) mpz_add_ui(g, g, 1);
      v.add(g);
      mpz_neg(g, g);
      v.add(g);
    }
  }
  return v;
}

// Random values of the given limb counts, uniform and bit runs, both signs.
inline Values random_values(Rng &rng, std::initializer_list<size_t> limbs) {
  Values v;
  for (size_t n : limbs)
    for (Pattern p : {Pattern::uniform, Pattern::runs}) {
      v.add_random(rng, n, p, false);
      v.add_random(rng, n, p, true);
    }
  return v;
}

inline Values join(const Values &a, const Values &b) {
  Values v;
  for (auto &x : a.items()) v.add(*x);
  for (auto &x : b.items()) v.add(*x);
  return v;
}

// The special values and random ones of the given limb counts.
inline Values operands(uint64_t seed, std::initializer_list<size_t> limbs) {
  Rng rng(seed);
  return join(special_values(), random_values(rng, limbs));
}

// Our record set to a GMP value, for a scope.
struct Operand : Z {
  explicit Operand(mpz_srcptr g) { assign(z, g); }
};

// The unsigned longs the _ui forms are tried with.
inline std::vector<unsigned long> limb_operands(Rng &rng) {
  std::vector<unsigned long> v = {0, 1, 2, 3, 10, 0xFFFFFFFFul, 0x100000000ul, 1ul << 63, ~0ul, ~0ul - 1};
  for (int i = 0; i < 6; ++i) v.push_back(rng.engine() >> rng.integer(0, 63));
  return v;
}
inline std::vector<long> signed_operands(Rng &rng) {
  std::vector<long> v = {0, 1, -1, 2, -2, 0x7FFFFFFFFFFFFFFFl, -0x7FFFFFFFFFFFFFFFl - 1, -10};
  for (int i = 0; i < 6; ++i) v.push_back(long(rng.engine() >> rng.integer(0, 63)) * (i % 2 ? -1 : 1));
  return v;
}

using Binary = void (*)(zor_mpz_ptr, zor_mpz_srcptr, zor_mpz_srcptr);
using GmpBinary = void (*)(mpz_ptr, mpz_srcptr, mpz_srcptr);

// A rational num/den in both libraries' records (ours reads the limbs of
// the Operands, which must outlive it).
struct Rational {
  Operand num, den;
  mpq_t q;
  zor_mpq_struct ours;
  Rational(mpz_srcptr n, mpz_srcptr d) : num(n), den(d), ours{*num.z, *den.z} {
    mpq_init(q);
    mpq_set_num(q, n);
    mpq_set_den(q, d);
  }
  ~Rational() { mpq_clear(q); }
  Rational(const Rational &) = delete;
  Rational &operator=(const Rational &) = delete;
};

// r = f(a, b) against GMP, with r distinct, r = a, r = b, and a = b. The
// operands must come back unchanged. `skip` leaves out pairs the routine is
// not defined for.
inline void check_binary(const char *name, Binary ours, GmpBinary theirs, const Values &xs, const Values &ys,
                         const std::function<bool(mpz_srcptr, mpz_srcptr)> &skip = {}) {
  SCOPED_TRACE(name);
  for (size_t i = 0; i < xs.size(); ++i)
    for (size_t j = 0; j < ys.size(); ++j) {
      mpz_srcptr x = xs[i], y = ys[j];
      if (skip && skip(x, y)) continue;
      G want;
      theirs(want, x, y);
      Operand a(x), b(y);
      Z r;
      ours(r, a, b);
      ASSERT_TRUE(same(r, want)) << name << " of " << text(x) << " and " << text(y);
      ASSERT_TRUE(same(a, x) && same(b, y)) << name << " changed an operand";
      ours(a, a, b);
      ASSERT_TRUE(same(a, want)) << name << " into its first operand";
      assign(a, x);
      ours(b, a, b);
      ASSERT_TRUE(same(b, want)) << name << " into its second operand";
      if (!skip || !skip(x, x)) {
        theirs(want, x, x);
        assign(a, x);
        ours(r, a, a);
        ASSERT_TRUE(same(r, want)) << name << " of " << text(x) << " with itself";
      }
    }
}

}  // namespace zor::test::gmp
