// Stream input and output against GMP's, byte for byte: the raw format both
// ways, text in every base both ways, formatted output with integer and
// rational conversions among the C library's own, and rational text.
#include "gmp/integer_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::gmp;

// A temporary file and its bytes.
struct File {
  FILE *f = std::tmpfile();
  ~File() { std::fclose(f); }
  std::string bytes() {
    std::fflush(f);
    std::string s;
    std::rewind(f);
    for (int c; (c = std::fgetc(f)) != EOF;) s += char(c);
    return s;
  }
  void put(const std::string &s) {
    std::fputs(s.c_str(), f);
    std::rewind(f);
  }
};

Values stream_operands(uint64_t seed) { return operands(seed, {1, 2, 7, 100}); }

TEST(Streams, RawFormatBothWays) {
  Values v = stream_operands(41);
  for (size_t i = 0; i < v.size(); ++i) {
    SCOPED_TRACE(text(v[i]));
    Operand a(v[i]);
    File theirs, ours;
    size_t want = mpz_out_raw(theirs.f, v[i]);
    EXPECT_EQ(zor_gmp___gmpz_out_raw(ours.f, a), want);
    std::string bytes = theirs.bytes();
    ASSERT_EQ(ours.bytes(), bytes);
    std::rewind(theirs.f);
    Z r;
    zor_gmp___gmpz_set_si(r, 77);
    EXPECT_EQ(zor_gmp___gmpz_inp_raw(r, theirs.f), want);
    ASSERT_TRUE(same(r, v[i])) << "reading GMP's bytes";
    G g;
    std::rewind(ours.f);
    EXPECT_EQ(mpz_inp_raw(g, ours.f), want);
    EXPECT_EQ(mpz_cmp(g, v[i]), 0) << "GMP reading ours";
  }
  File empty;
  Z r;
  EXPECT_EQ(zor_gmp___gmpz_inp_raw(r, empty.f), 0u);
  File truncated;
  truncated.put(std::string("\0\0\0\5ab", 6));
  EXPECT_EQ(zor_gmp___gmpz_inp_raw(r, truncated.f), 0u);
}

TEST(Streams, TextInEveryBase) {
  Values v = stream_operands(42);
  for (size_t i = 0; i < v.size(); ++i) {
    Operand a(v[i]);
    for (int base = -36; base <= 36; ++base) {
      if (base == -1 || base == 1) continue;
      SCOPED_TRACE(::testing::Message() << text(v[i]) << " base " << base);
      File theirs, ours;
      size_t want = mpz_out_str(theirs.f, base, v[i]);
      EXPECT_EQ(zor_gmp___gmpz_out_str(ours.f, base, a), want);
      std::string out = theirs.bytes();
      ASSERT_EQ(ours.bytes(), out);
      if (base < 0) continue;
      // read back with blanks before it and a character after it that is
      // no digit of the base
      for (int read_base : {base, 0}) {
        if (read_base == 0 && base != 10) continue;
        std::string input = "  \t" + out + (base < 36 ? "z!" : "!");
        File in1, in2;
        in1.put(input);
        in2.put(input);
        G g;
        Z r;
        size_t n1 = mpz_inp_str(g, in1.f, read_base), n2 = zor_gmp___gmpz_inp_str(r, in2.f, read_base);
        EXPECT_EQ(n2, n1);
        if (n1) EXPECT_TRUE(same(r, g));
        EXPECT_EQ(std::fgetc(in2.f), std::fgetc(in1.f)) << "the character after the number is left";
      }
    }
  }
  for (const char *input : {"0x1fz", "-0X10", "017 ", "0", "   ", "-", "x", "12abc", "-0"}) {
    File in1, in2;
    in1.put(input);
    in2.put(input);
    G g;
    Z r;
    size_t n1 = mpz_inp_str(g, in1.f, 0), n2 = zor_gmp___gmpz_inp_str(r, in2.f, 0);
    EXPECT_EQ(n2, n1) << input;
    if (n1) EXPECT_TRUE(same(r, g)) << input;
  }
}

// gmp_fprintf's output and result for the same format and arguments.
TEST(Streams, FormattedOutput) {
  Values v = stream_operands(43);
  G num("-22"), den("7"), n255("255"), one("1");
  Rational fraction(num, den), whole(n255, one);
  const char *formats[] = {"%Zd",  "%#Zx", "%5Zd",  "%-12Zd|", "%+Zd",  "% Zd", "%012Zd", "%.30Zd", "%#Zo",
                           "%ZX",  "%#ZX", "%Zu",   "%Zi",     "%#10Zx|", "%-#8Zo|", "%.0Zd", "%#012Zx"};
  for (size_t i = 0; i < v.size(); ++i) {
    Operand a(v[i]);
    for (const char *format : formats) {
      File theirs, ours;
      int want = gmp_fprintf(theirs.f, format, v[i]);
      EXPECT_EQ(zor_gmp___gmp_fprintf(ours.f, format, a.z), want) << format << " " << text(v[i]);
      ASSERT_EQ(ours.bytes(), theirs.bytes()) << format << " " << text(v[i]);
    }
  }
  for (const char *format : {"%Qd", "%10Qd|", "%-10Qd|", "%#Qx", "%QX", "%+Qd", "%Qo"}) {
    File theirs, ours;
    EXPECT_EQ(zor_gmp___gmp_fprintf(ours.f, format, &fraction.ours), gmp_fprintf(theirs.f, format, fraction.q))
        << format;
    EXPECT_EQ(ours.bytes(), theirs.bytes()) << format;
    File t2, o2;
    EXPECT_EQ(zor_gmp___gmp_fprintf(o2.f, format, &whole.ours), gmp_fprintf(t2.f, format, whole.q)) << format;
    EXPECT_EQ(o2.bytes(), t2.bytes()) << format;
  }
  // the C library's conversions around ours, and the argument walk past them
  File theirs, ours;
  int n1 = 0, n2 = 0;
  const char *mixed = "[%d|%5.2f|%s|%c|%ld|%llx|%hhd|%zu|%p|%%|%*d|%-*.*f|%Lg|%Zd|%n%Qd|%e]";
  int want = gmp_fprintf(theirs.f, mixed, -7, 3.14159, "text", 'q', -123456789012L, 0xABCDEFull, 300, size_t(42),
                         (void *)0x1234, 6, 42, 9, 3, 2.5, 1.25L, v[5], &n1, fraction.q, 1e-300);
  int got = zor_gmp___gmp_fprintf(ours.f, mixed, -7, 3.14159, "text", 'q', -123456789012L, 0xABCDEFull, 300,
                                  size_t(42), (void *)0x1234, 6, 42, 9, 3, 2.5, 1.25L, Operand(v[5]).z, &n2, &fraction.ours,
                                  1e-300);
  EXPECT_EQ(got, want);
  EXPECT_EQ(ours.bytes(), theirs.bytes());
  EXPECT_EQ(n2, n1);
}

TEST(Streams, RationalText) {
  G num, den;
  Rng rng(44);
  for (int k = 0; k < 20; ++k) {
    auto n = random_limbs(rng, size_t(rng.integer(1, 4)), Pattern::uniform);
    mpz_import(num, n.size(), -1, 8, 0, 0, n.data());
    if (k % 2) mpz_neg(num, num);
    mpz_set_ui(den, k % 3 ? rng.engine() | 1 : 1);
    Rational q(num, den);
    for (int base : {2, 8, 10, 16, 36, -16, -36}) {
      File theirs, ours;
      size_t want = mpq_out_str(theirs.f, base, q.q);
      EXPECT_EQ(zor_gmp___gmpq_out_str(ours.f, base, &q.ours), want);
      EXPECT_EQ(ours.bytes(), theirs.bytes()) << base;
    }
  }
}

}  // namespace
