// Every Fortran name against the reference BLAS, in both widths: random
// shapes (mostly small, every sixth up to 40), increments (negative and zero too), leading dimensions,
// letters in either case and arrays at byte offsets 0, 4, 8, 12; now and
// then one argument made bad. Each call runs three times on copies of the
// same arguments: the reference (32-bit integers), our 32-bit name (each
// integer in a 64-bit slot with garbage in its upper half) and our 64-bit
// name. Written arrays must agree to rounding, whole buffers compared, and
// a bad argument must be reported at the reference's position by our
// xerbla_ (which this program replaces) with nothing written. In a 64-bit
// call a bad size is a negative number whose low half looks valid.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <map>

#include <zor/fortran_blas.h>

#include "common/testing.hpp"
#include "front_testing.hpp"

using namespace front_test;
using zor::test::Rng;
using zor::test::is_complex_v;
using zor::test::real_of;

namespace {

// Reports reaching this program's xerbla_ / xerbla_64_ (they replace the
// library's own).
struct Report {
  std::string routine;
  int64_t position = 0;
  int calls = 0;
};
Report reported;
void record(const char *name, int64_t info, size_t length) {
  std::string s(name, length);
  while (!s.empty() && s.back() == ' ') s.pop_back();
  reported.routine = s;
  reported.position = info;
  ++reported.calls;
}

}  // namespace

extern "C" void xerbla_(const char *name, const int *info, size_t length) { record(name, *info, length); }
extern "C" void xerbla_64_(const char *name, const int64_t *info, size_t length) { record(name, *info, length); }

namespace {

// Every array argument holds this many elements: ample for small shapes
// (dimensions to 7, leading dimensions 8 to 10) and for the large ones
// (dimensions to 40, leading dimensions 41 to 43).
constexpr size_t kElems = 1900;

struct Arg {
  char kind;
  std::string name;
};
std::vector<Arg> parse(const char *args) {
  std::vector<Arg> out;
  for (const char *p = args; *p;) {
    Arg a{p[0], {}};
    p += 2;
    while (*p && *p != ' ') a.name += *p++;
    while (*p == ' ') ++p;
    out.push_back(a);
  }
  return out;
}

size_t real_size(char p) { return p == 's' || p == 'c' ? 4 : 8; }
size_t elem_size(char p) { return p == 'c' || p == 'z' ? 2 * real_size(p) : real_size(p); }

// One argument's storage for one side: bytes at an offset, or an integer.
struct Value {
  std::vector<unsigned char> bytes;
  size_t offset = 0;
  int64_t integer = 0;
  char letter = 0;
  void *at() { return bytes.data() + offset; }
};

// The arguments of one case, made once and copied for each side.
struct Arguments {
  std::vector<Arg> args;
  std::vector<Value> values;
  int bad_slot = -1;  // the integer made bad, if any
};

const char *letters_for(const std::string &name) {
  if (name.starts_with("trans")) return "NTCntc";
  if (name == "uplo") return "ULul";
  if (name == "diag") return "NUnu";
  return "LRlr";  // side
}

void fill_reals(Rng &rng, Value &v, size_t reals, size_t rsize) {
  for (size_t i = 0; i < reals; ++i) {
    const double x = rng.uniform(0.5, 1.0) * (rng.integer(0, 1) ? 1 : -1);
    if (rsize == 4) {
      const float f = float(x);
      std::memcpy(static_cast<unsigned char *>(v.at()) + i * 4, &f, 4);
    } else {
      std::memcpy(static_cast<unsigned char *>(v.at()) + i * 8, &x, 8);
    }
  }
}
void set_real_at(unsigned char *p, double x, size_t rsize) {
  if (rsize == 4) {
    const float f = float(x);
    std::memcpy(p, &f, 4);
  } else {
    std::memcpy(p, &x, 8);
  }
}
void set_real(Value &v, size_t index, double x, size_t rsize) {
  if (rsize == 4) {
    const float f = float(x);
    std::memcpy(static_cast<unsigned char *>(v.at()) + index * 4, &f, 4);
  } else {
    std::memcpy(static_cast<unsigned char *>(v.at()) + index * 8, &x, 8);
  }
}

// Solves of random triangles grow too fast to compare beyond small orders.
bool solves(const Case &c) {
  const std::string n = c.name;
  return n.ends_with("sv") || n.ends_with("trsm");
}

Arguments make(Rng &rng, const Case &c, bool allow_bad, bool large) {
  Arguments a;
  a.args = parse(c.args);
  const size_t rsize = real_size(c.precision), esize = elem_size(c.precision);
  std::vector<int> integers;
  for (const Arg &arg : a.args) {
    Value v;
    switch (arg.kind) {
      case 'c': {
        const char *set = letters_for(arg.name);
        v.letter = set[rng.integer(0, int64_t(std::strlen(set)) - 1)];
        if (allow_bad && rng.integer(0, 29) == 0) v.letter = 'X';
        break;
      }
      case 'i':
        if (arg.name.starts_with("ld")) v.integer = large ? rng.integer(41, 43) : rng.integer(8, 10);
        else if (arg.name.starts_with("inc")) {
          static constexpr int kIncrements[] = {1, 1, 2, -1, -2, 3, 0};
          v.integer = kIncrements[rng.integer(0, 6)];
        } else if (arg.name == "kl" || arg.name == "ku" || (arg.name == "k" && std::strchr(c.name, 'b')))
          v.integer = rng.integer(0, 3);
        else v.integer = large ? rng.integer(8, 40) : rng.integer(0, 7);
        integers.push_back(int(a.values.size()));
        break;
      default: {  // arrays and scalars of elements or reals
        const bool real = arg.kind == 'r' || arg.kind == 'R';
        const size_t size = real ? rsize : esize;
        v.offset = size_t(rng.integer(0, 3)) * 4;
        v.bytes.assign(kElems * size + 32, 0);
        fill_reals(rng, v, kElems * size / rsize, rsize);
        const size_t reals_per = size / rsize;
        if (arg.name == "alpha" || arg.name == "beta") {
          const int64_t pick = rng.integer(0, 9);
          if (pick < 4) {
            set_real(v, 0, pick < 2 ? 0.0 : 1.0, rsize);
            if (reals_per == 2) set_real(v, 1, 0.0, rsize);
          }
        }
        if (arg.name == "param") set_real(v, 0, double(rng.integer(-2, 1)), rsize);
      }
    }
    a.values.push_back(std::move(v));
  }
  // Now and then one integer goes bad: a negative size, a zero increment
  // or leading dimension.
  if (allow_bad && !integers.empty() && rng.integer(0, 5) == 0) {
    a.bad_slot = integers[size_t(rng.integer(0, int64_t(integers.size()) - 1))];
    Value &v = a.values[size_t(a.bad_slot)];
    v.integer = a.args[size_t(a.bad_slot)].name.starts_with("ld") || a.args[size_t(a.bad_slot)].name.starts_with("inc")
                    ? 0
                    : -1;
  }
  return a;
}

enum class Side { reference, ours32, ours64 };

// One side's call: its copies of the arguments, the integers at its width.
struct Outcome {
  std::vector<Value> values;
  std::vector<int32_t> i32;
  std::vector<int64_t> i64;
  std::vector<char> letters;
  std::vector<unsigned char> result = std::vector<unsigned char>(32, 0);
  double value = 0, value_im = 0;  // a function's result
  int64_t index = 0;
};

Outcome run(const Case &c, Arguments &a, Side side, uint64_t garbage) {
  Outcome r;
  r.values = a.values;
  const size_t n = a.args.size();
  r.i32.resize(n);
  r.i64.resize(n);
  r.letters.resize(n);
  Slots slots{};
  for (size_t i = 0; i < n; ++i) {
    Value &v = r.values[i];
    switch (a.args[i].kind) {
      case 'c':
        r.letters[i] = v.letter;
        slots[i] = &r.letters[i];
        break;
      case 'i':
        if (side == Side::reference) {
          r.i32[i] = int32_t(v.integer);
          slots[i] = &r.i32[i];
        } else if (side == Side::ours32) {
          // garbage above, the value's 32 bits below
          r.i64[i] = int64_t((garbage << 32) | uint32_t(int32_t(v.integer)));
          slots[i] = &r.i64[i];
        } else {
          // a negative size keeps a plausible low half: only its sign bit
          // and upper half tell it is negative
          r.i64[i] = int(i) == a.bad_slot && v.integer < 0 ? int64_t(0xffffffff00000000ull | 5u) : v.integer;
          slots[i] = &r.i64[i];
        }
        break;
      default: slots[i] = v.at();
    }
  }
  if (c.sub) slots[n] = r.result.data();
  std::string name = std::string(side == Side::reference ? c.oracle : c.name) + (side == Side::ours64 ? "_64_" : "_");
  void *fn = side == Side::reference ? reference_symbol(name) : dlsym(RTLD_DEFAULT, name.c_str());
  if (!fn) {
    ADD_FAILURE() << "no symbol " << name;
    return r;
  }
  const std::string result = c.sub ? "void" : c.result;
  const bool single = c.precision == 's' || c.precision == 'c';
  if (result == "void" || result == "info") call_as<void>(fn, slots);
  else if (result == "double") r.value = call_as<double>(fn, slots);
  else if (result == "index")
    r.index = side == Side::ours64 ? call_as<int64_t>(fn, slots) : call_as<int32_t>(fn, slots);
  else if (result == "real" || (result == "elem" && (c.precision == 's' || c.precision == 'd')))
    r.value = single ? call_as<float>(fn, slots) : call_as<double>(fn, slots);
  else if (single) {
    const zor_complex8 v = call_as<zor_complex8>(fn, slots);
    r.value = v.re, r.value_im = v.im;
  } else {
    const zor_complex16 v = call_as<zor_complex16>(fn, slots);
    r.value = v.re, r.value_im = v.im;
  }
  return r;
}

double read_real(const unsigned char *p, size_t rsize) {
  if (rsize == 4) {
    float f;
    std::memcpy(&f, p, 4);
    return f;
  }
  double d;
  std::memcpy(&d, p, 8);
  return d;
}

// Arrays of two runs agree to rounding relative to the largest magnitude
// in the reference's array; NaN matches NaN.
::testing::AssertionResult same_arrays(const Outcome &ref, const Outcome &ours, const Arguments &a, size_t rsize,
                                       double tol) {
  for (size_t i = 0; i < a.args.size(); ++i) {
    if (a.args[i].kind == 'c' || a.args[i].kind == 'i') continue;
    const Value &x = ref.values[i], &y = ours.values[i];
    const size_t reals = (x.bytes.size() - 32) / rsize;
    double scale = 1;
    for (size_t j = 0; j < reals; ++j) scale = std::max(scale, std::fabs(read_real(x.bytes.data() + x.offset + j * rsize, rsize)));
    for (size_t j = 0; j < reals; ++j) {
      const double u = read_real(x.bytes.data() + x.offset + j * rsize, rsize);
      const double v = read_real(y.bytes.data() + y.offset + j * rsize, rsize);
      if (std::isnan(u) && std::isnan(v)) continue;
      if (!(std::fabs(u - v) <= tol * scale))
        return ::testing::AssertionFailure() << "argument " << a.args[i].name << " real " << j << ": " << v
                                             << " where the reference has " << u;
    }
  }
  return ::testing::AssertionSuccess();
}

bool untouched(const Outcome &r, const Arguments &a) {
  for (size_t i = 0; i < a.args.size(); ++i)
    if (r.values[i].bytes != a.values[i].bytes) return false;
  return true;
}

class Oracle : public ::testing::TestWithParam<Case> {};

TEST_P(Oracle, AgreesWithReference) {
  const Case &c = GetParam();
  if (!*c.oracle) GTEST_SKIP() << "no reference routine";
  ASSERT_NE(reference(), nullptr) << dlerror();
  const size_t rsize = real_size(c.precision);
  const double tol = rsize == 4 ? 2e-3 : 1e-9;
  const uint64_t seed = std::hash<std::string>{}(c.name) & 0xffffff;
  Rng rng(seed);
  const bool checks = std::string(c.result) == "info";
  for (int trial = 0; trial < 60; ++trial) {
    const bool large = trial % 6 == 5 && !solves(c);
    Arguments a = make(rng, c, checks || trial % 4 == 0, large);
    SCOPED_TRACE(::testing::Message() << c.name << " seed " << seed << " trial " << trial << " (" << c.args << ")");
    CapturedReport expected;
    Outcome ref;
    if (checks) expected = capture_report([&] { ref = run(c, a, Side::reference, 0); });
    else ref = run(c, a, Side::reference, 0);
    for (Side side : {Side::ours32, Side::ours64}) {
      SCOPED_TRACE(side == Side::ours32 ? "32-bit name" : "64-bit name");
      reported = {};
      const Outcome ours = run(c, a, side, 0xdeadbeefu + uint64_t(trial));
      if (expected.position) {
        EXPECT_EQ(reported.calls, 1);
        EXPECT_EQ(reported.position, expected.position);
        std::string routine_name = c.name;
        for (char &ch : routine_name) ch = char(std::toupper(ch));
        EXPECT_EQ(reported.routine, routine_name);
        EXPECT_TRUE(untouched(ours, a));
        const char *routine = nullptr;
        EXPECT_EQ(zor_blas_last_error(&routine), expected.position);
        continue;
      }
      EXPECT_EQ(reported.calls, 0) << reported.routine << " " << reported.position;
      EXPECT_TRUE(same_arrays(ref, ours, a, rsize, tol));
      if (c.sub) {
        const std::string result = c.result;
        if (result == "index") {
          int64_t x = 0, y = 0;
          std::memcpy(&x, ref.result.data(), 4);
          std::memcpy(&y, ours.result.data(), side == Side::ours64 ? 8 : 4);
          EXPECT_EQ(x, y);
        } else {
          const size_t rs = result == "double" ? 8 : rsize;
          const int parts = result == "elem" && (c.precision == 'c' || c.precision == 'z') ? 2 : 1;
          for (int p = 0; p < parts; ++p) {
            const double u = read_real(ref.result.data() + p * rs, rs), v = read_real(ours.result.data() + p * rs, rs);
            EXPECT_NEAR(v, u, tol * std::max(1.0, std::fabs(u)));
          }
        }
      } else {
        EXPECT_EQ(ours.index, ref.index);
        EXPECT_NEAR(ours.value, ref.value, tol * std::max(1.0, std::fabs(ref.value)));
        EXPECT_NEAR(ours.value_im, ref.value_im, tol * std::max(1.0, std::fabs(ref.value_im)));
      }
    }
    if (::testing::Test::HasFailure()) break;
  }
}

// Each letter and integer argument made bad in turn (a letter 'X', a size
// -1, an increment or leading dimension 0), the others valid: the same
// position as the reference's, or no report where the reference accepts
// the value (a zero increment of a level-1 routine, a negative size that
// is a quick return), and nothing written after a report.
TEST_P(Oracle, EachArgumentMadeBadInTurn) {
  const Case &c = GetParam();
  if (!*c.oracle || std::string(c.result) != "info") GTEST_SKIP() << "no argument is ever illegal";
  Rng rng(std::hash<std::string>{}(c.name) & 0xffff);
  Arguments valid = make(rng, c, false, false);
  for (size_t i = 0; i < valid.args.size(); ++i) {
    if (valid.args[i].kind != 'c' && valid.args[i].kind != 'i') continue;
    Arguments a = valid;
    const std::string &name = a.args[i].name;
    if (a.args[i].kind == 'c') a.values[i].letter = 'X';
    else a.values[i].integer = name.starts_with("ld") || name.starts_with("inc") ? 0 : -1;
    if (a.args[i].kind == 'i' && a.values[i].integer < 0) a.bad_slot = int(i);
    SCOPED_TRACE(::testing::Message() << c.name << ": " << name << " made bad");
    const CapturedReport expected = capture_report([&] { run(c, a, Side::reference, 0); });
    for (Side side : {Side::ours32, Side::ours64}) {
      reported = {};
      const Outcome ours = run(c, a, side, 0x12345678u);
      EXPECT_EQ(reported.position, expected.position);
      if (expected.position) EXPECT_TRUE(untouched(ours, a));
    }
  }
}

std::string case_name(const ::testing::TestParamInfo<Case> &info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Names, Oracle, ::testing::ValuesIn(kCases), case_name);

}  // namespace

namespace {

// An element of C takes the same bits whatever the shape of the call it
// comes from: C(i, j) of every m x n product (m, n to 20) against the
// 20 x 20 one, same data, at depths across the tier's panel widths.
TEST(FrontGemm, ElementBitsDoNotDependOnTheShape) {
  for (const char *name : {"sgemm_", "dgemm_", "cgemm_", "zgemm_"}) {
    const size_t esize = elem_size(name[0]);
    constexpr int kLd = 24;
    Rng rng(7);
    std::vector<unsigned char> a(kLd * kLd * esize), b(a.size()), c0(a.size()), full(a.size()), part(a.size());
    const size_t rsize = real_size(name[0]);
    for (auto *v : {&a, &b, &c0})
      for (size_t i = 0; i < v->size(); i += rsize) set_real_at(v->data() + i, rng.uniform(), rsize);
    const double alpha[2] = {-1.5, 0.25}, beta[2] = {0.5, -0.125};
    float alpha_f[2] = {-1.5f, 0.25f}, beta_f[2] = {0.5f, -0.125f};
    const bool single = name[0] == 's' || name[0] == 'c';
    void *fn = dlsym(RTLD_DEFAULT, name);
    ASSERT_NE(fn, nullptr);
    for (int k : {1, 3, 4, 6, 17})
      for (const char *t : {"NN", "TN", "NC"}) {
        int m = 20, n = 20, ld = kLd;
        auto gemm = [&](int &mm, int &nn, std::vector<unsigned char> &c) {
          c = c0;
          Slots s{(void *)&t[0], (void *)&t[1], &mm, &nn, &k, single ? (void *)alpha_f : (void *)alpha, a.data(), &ld,
                  b.data(), &ld, single ? (void *)beta_f : (void *)beta, c.data(), &ld};
          call_as<void>(fn, s);
        };
        gemm(m, n, full);
        for (int mm = 1; mm <= 20; ++mm)
          for (int nn = 1; nn <= 20; ++nn) {
            gemm(mm, nn, part);
            for (int j = 0; j < nn; ++j)
              ASSERT_EQ(std::memcmp(&part[j * kLd * esize], &full[j * kLd * esize], size_t(mm) * esize), 0)
                  << name << " " << t << " k=" << k << " m=" << mm << " n=" << nn << " column " << j;
          }
      }
  }
}

}  // namespace

namespace {

// The extras have no reference routine: ?axpby_ against y := alpha x +
// beta y written out (beta = 0 must not read y), i?amin_ against the first
// smallest magnitude (|re| + |im| for complex data; 0 for n < 1 or a
// non-positive increment).
template <class E>
void check_extras(char p) {
  using R = real_of<E>;
  Rng rng(11);
  for (int trial = 0; trial < 200; ++trial) {
    const int n = int(rng.integer(-1, 40)), incx = int(rng.integer(-3, 3)), incy = int(rng.integer(1, 3)) * (trial % 2 ? -1 : 1);
    const size_t len = 1 + 40 * 3;
    std::vector<E> x(len), y(len);
    for (auto &v : x) v = rng.value<E>();
    for (auto &v : y) v = rng.value<E>();
    const E alpha = rng.value<E>(), beta = trial % 5 == 0 ? E{} : rng.value<E>();
    if (trial % 5 == 0)
      for (auto &v : y) v = E(std::numeric_limits<R>::quiet_NaN());
    std::vector<E> want = y;
    if (n > 0)
      for (int i = 0; i < n; ++i) {
        const int ix = incx > 0 ? i * incx : (n - 1 - i) * -incx, iy = incy > 0 ? i * incy : (n - 1 - i) * -incy;
        want[size_t(iy)] = alpha * x[size_t(ix)] + (beta == E{} ? E{} : beta * want[size_t(iy)]);
      }
    int64_t want_min = 0;
    if (n > 0 && incx > 0) {
      auto mag = [](E v) { if constexpr (is_complex_v<E>) return std::fabs(v.real()) + std::fabs(v.imag()); else return std::fabs(v); };
      want_min = 1;
      for (int i = 1; i < n; ++i)
        if (mag(x[size_t(i * incx)]) < mag(x[size_t((want_min - 1) * incx)])) want_min = i + 1;
    }
    for (bool wide : {false, true}) {
      SCOPED_TRACE(::testing::Message() << p << " trial " << trial << " n " << n << " incx " << incx << (wide ? " 64" : " 32"));
      const std::string suffix = wide ? "_64_" : "_";
      int64_t n64 = n, incx64 = incx, incy64 = incy;
      int32_t n32 = n, incx32 = incx, incy32 = incy;
      void *pn = wide ? (void *)&n64 : (void *)&n32, *px = wide ? (void *)&incx64 : (void *)&incx32,
           *py = wide ? (void *)&incy64 : (void *)&incy32;
      std::vector<E> got = y;
      Slots s{pn, (void *)&alpha, x.data(), px, (void *)&beta, got.data(), py};
      call_as<void>(dlsym(RTLD_DEFAULT, (std::string(1, p) + "axpby" + suffix).c_str()), s);
      for (size_t i = 0; i < len; ++i)
        if (!(std::isnan(std::abs(got[i])) && std::isnan(std::abs(want[i]))))
          ASSERT_LE(std::abs(got[i] - want[i]), R(1e-5) * (1 + std::abs(want[i]))) << i;
      const std::string iamin = std::string("i") + p + "amin" + suffix;
      Slots t{pn, x.data(), px};
      const int64_t got_min = wide ? call_as<int64_t>(dlsym(RTLD_DEFAULT, iamin.c_str()), t)
                                   : call_as<int32_t>(dlsym(RTLD_DEFAULT, iamin.c_str()), t);
      EXPECT_EQ(got_min, want_min);
    }
  }
}

TEST(FrontExtras, AxpbyAndIamin) {
  check_extras<float>('s');
  check_extras<double>('d');
  check_extras<std::complex<float>>('c');
  check_extras<std::complex<double>>('z');
}

}  // namespace
