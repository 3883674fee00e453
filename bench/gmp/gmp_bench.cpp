// Multi-precision integers against GMP (the system's libgmp, 6.2.1 here),
// both measured in this run, in alternating rounds so that a busy spell of
// the shared machine does not fall on one side only; each side keeps its
// best round. Times are the thread's processor time over batches of calls
// of at least a millisecond: on the shared 2-core machine wall time also
// counts the spells in which other programs ran. Rates are operations per
// second, so a ratio above 1.0 means we are faster.
//
//   bench_gmp [rounds] [transform]   rounds of alternation (default 3);
//                                    `transform`: the transform rung only,
//                                    `mul`: the products only
//
// Goals: mpz_mul 0.6x at 100 limbs, 0.7x at 1000, 1.0x at 10^4, 1.2x at
// 32768, 0.8x at 10^5; mpn_addmul_1 0.85x at n = 1000. The rest is reported:
// tdiv_q of 2n by n limbs, a 2048-bit powm, gcd and get_str at 1000 limbs.
// The transform rung of the ladder (8193 to 32768 limbs) is also set against
// our own Toom at the same sizes, through the ladder's objects linked here.
#include <gmp.h>
#include <zor/gmp.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "common.hpp"
#include "dft/plan.hpp"
#include "gmp/limbs.hpp"

using zor::bench::best_thread_seconds;
using zor::bench::keep;
using zor::bench::record;
using zor::bench::report;

namespace {

int rounds = 3;

template <class F, class G>
void compare(const std::string &group, long size, const char *what, F &&ours, G &&peer) {
  double t_ours = 1e30, t_peer = 1e30;
  for (int k = 0; k < rounds; ++k) {
    t_ours = std::min(t_ours, best_thread_seconds(ours, 3));
    t_peer = std::min(t_peer, best_thread_seconds(peer, 3));
  }
  report(what, "op/s", 1.0 / t_ours, 1.0 / t_peer, "GMP");
  std::printf("%-40s ours %10.2f us   GMP %10.2f us\n", "", t_ours * 1e6, t_peer * 1e6);
  record("gmp", group, size, "ours/GMP", t_peer / t_ours, "x");
  record("gmp", group + " time", size, "ours", t_ours * 1e6, "us");
  record("gmp", group + " time", size, "GMP", t_peer * 1e6, "us");
}

std::mt19937_64 engine(2024);

// One random value, top bit set, in both libraries' records.
struct Pair {
  zor_mpz_t z;
  mpz_t g;
  explicit Pair(int32_t limbs = 0) {
    zor_gmp___gmpz_init(z);
    mpz_init(g);
    if (limbs == 0) return;
    std::vector<uint64_t> v(static_cast<size_t>(limbs));
    for (auto &x : v) x = engine();
    v.back() |= uint64_t(1) << 63;
    mpz_import(g, v.size(), -1, 8, 0, 0, v.data());
    zor_gmp___gmpz_import(z, v.size(), -1, 8, 0, 0, v.data());
  }
  ~Pair() {
    zor_gmp___gmpz_clear(z);
    mpz_clear(g);
  }
};

void addmul() {
  const int32_t n = 1000;
  std::vector<uint64_t> a(n), r(n + 1);
  for (auto &x : a) x = engine();
  const uint64_t v = engine();
  compare(
      "mpn_addmul_1", n, "mpn_addmul_1, n = 1000",
      [&] { r[n] += zor_gmp___gmpn_addmul_1(r.data(), a.data(), n, v); keep(r); },
      [&] { r[n] += mpn_addmul_1(r.data(), a.data(), n, v); keep(r); });
}

void products() {
  for (int32_t n : {10, 100, 1000, 10000, 32768, 100000}) {
    Pair a(n), b(n), r;
    const std::string what = "mpz_mul, " + std::to_string(n) + " limbs";
    compare(
        "mpz_mul", n, what.c_str(), [&] { zor_gmp___gmpz_mul(r.z, a.z, b.z); keep(r.z); },
        [&] { mpz_mul(r.g, a.g, b.g); keep(r.g); });
  }
}

// mpn_mul_n on the transform rung, against GMP's mpn_mul_n and against our
// three-way Toom (the ladder's step below, which served these sizes before).
void transform_rung() {
  for (int32_t n : {8193, 16384, 32768}) {
    std::vector<uint64_t> a(static_cast<size_t>(n)), b(static_cast<size_t>(n)), r(2 * static_cast<size_t>(n));
    for (auto &x : a) x = engine();
    for (auto &x : b) x = engine();
    const std::string size = std::to_string(n) + " limbs";
    compare(
        "mpn_mul_n transform", n, ("mpn_mul_n, " + size).c_str(),
        [&] { zor::gmp::mul_n(r.data(), a.data(), b.data(), n); keep(r); },
        [&] { mpn_mul_n(r.data(), a.data(), b.data(), n); keep(r); });
    double t_rung = 1e30, t_toom = 1e30;
    for (int k = 0; k < rounds; ++k) {
      t_rung = std::min(t_rung, best_thread_seconds([&] { zor::gmp::mul_n(r.data(), a.data(), b.data(), n); keep(r); }, 3));
      t_toom = std::min(t_toom, best_thread_seconds([&] { zor::gmp::mul_toom3(r.data(), a.data(), b.data(), n); keep(r); }, 3));
    }
    report(("transform vs our Toom, " + size).c_str(), "op/s", 1.0 / t_rung, 1.0 / t_toom, "Toom");
    std::printf("%-40s ours %10.2f us   Toom %10.2f us\n", "", t_rung * 1e6, t_toom * 1e6);
    record("gmp", "mpn_mul_n transform vs Toom", n, "transform/Toom", t_toom / t_rung, "x");
  }
}

// What the rung pays per product beside its three transforms: making and
// freeing the real plan of each order it uses (17 up to 16384 limbs, 18
// above). Reported as times, and as a share of one transform.
void plan_cost() {
  for (int32_t order : {17, 18}) {
    const size_t L = size_t(1) << order;
    std::vector<double> x(L + 4);
    for (auto &v : x) v = double(int64_t(engine() % 65536) - 32768);
    DftPlan *plan = nullptr;
    zor::dft::real_pow2_create<double>(&plan, order);
    int32_t work_bytes = 0;
    zor::dft::plan_work_size(plan, &work_bytes);
    std::vector<char> work(size_t(work_bytes) + 64);
    double t_make = 1e30, t_forward = 1e30;
    for (int k = 0; k < rounds; ++k) {
      t_make = std::min(t_make, best_thread_seconds([&] {
                          DftPlan *p = nullptr;
                          zor::dft::real_pow2_create<double>(&p, order);
                          zor::dft::plan_destroy(p);
                        }, 3));
      t_forward = std::min(t_forward, best_thread_seconds([&] {
                             zor::dft::real_pow2_forward<double>(x.data(), x.data(), plan, work.data());
                             keep(x);
                           }, 3));
    }
    zor::dft::plan_destroy(plan);
    std::printf("real plan of order %d: make+free %10.2f us   one forward %10.2f us   (%.2f transforms)\n", order,
                t_make * 1e6, t_forward * 1e6, t_make / t_forward);
    record("gmp", "transform plan make+free", order, "ours", t_make * 1e6, "us");
    record("gmp", "transform forward", order, "ours", t_forward * 1e6, "us");
  }
}

void reported() {
  for (int32_t n : {100, 1000}) {
    Pair a(2 * n), d(n), q;
    const std::string what = "tdiv_q, " + std::to_string(2 * n) + " by " + std::to_string(n) + " limbs";
    compare(
        "tdiv_q 2n by n", n, what.c_str(), [&] { zor_gmp___gmpz_tdiv_q(q.z, a.z, d.z); keep(q.z); },
        [&] { mpz_tdiv_q(q.g, a.g, d.g); keep(q.g); });
  }
  {
    // 2048 bits are 32 limbs: above the Montgomery path's 30, so this is
    // the 4-bit window product by mul and mod.
    Pair b(32), e(32), m(32), r;
    m.z->limbs[0] |= 1;
    mpz_setbit(m.g, 0);
    compare(
        "powm 2048 bits", 2048, "powm, 2048-bit odd modulus", [&] { zor_gmp___gmpz_powm(r.z, b.z, e.z, m.z); keep(r.z); },
        [&] { mpz_powm(r.g, b.g, e.g, m.g); keep(r.g); });
  }
  {
    Pair a(1000), b(1000), g;
    compare(
        "gcd", 1000, "gcd, 1000 limbs", [&] { zor_gmp___gmpz_gcd(g.z, a.z, b.z); keep(g.z); },
        [&] { mpz_gcd(g.g, a.g, b.g); keep(g.g); });
  }
  {
    Pair a(1000);
    std::vector<char> s(21000);
    compare(
        "get_str base 10", 1000, "get_str base 10, 1000 limbs",
        [&] { zor_gmp___gmpz_get_str(s.data(), 10, a.z); keep(s); }, [&] { mpz_get_str(s.data(), 10, a.g); keep(s); });
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc > 1) rounds = std::max(1, std::atoi(argv[1]));
  if (argc > 2 && std::string(argv[2]) == "transform") return plan_cost(), transform_rung(), 0;
  if (argc > 2 && std::string(argv[2]) == "mul") return plan_cost(), products(), 0;
  addmul();
  products();
  plan_cost();
  transform_rung();
  reported();
}
