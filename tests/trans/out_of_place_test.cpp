// Out-of-place copy and transposition (plain and strided) and the scaled
// sum, against the definitions: every element of the target holds its
// value, every other element of the target buffer and the guards keep their
// bytes. Sources are read from buffers at both 16-byte phases.
#include <string>

#include "trans/trans_testing.hpp"

namespace zor::test {
namespace {

template <class T>
class OutOfPlace : public ::testing::Test {};
TYPED_TEST_SUITE(OutOfPlace, ElementTypes);

bool letter_ok(char t) { return std::string("NTRCntrc").find(t) != std::string::npos; }

template <class T>
void check_copy(Rng &rng, char ordering, char letter, u64 rows, u64 cols, typename T::elem alpha, u64 sa, u64 sb) {
  using E = typename T::elem;
  const bool row = ordering == 'R' || ordering == 'r', col = ordering == 'C' || ordering == 'c';
  const bool tr = transposes(letter), valid = (row || col) && letter_ok(letter);
  u64 br = tr ? cols : rows, bc = tr ? rows : cols;  // shape of B
  auto extent = [](u64 n, u64 s) { return n ? (n - 1) * s + 1 : 1; };
  u64 lda = (row ? extent(cols, sa) : extent(rows, sa)) + rng.integer(0, 3);
  u64 ldb = (row ? extent(bc, sb) : extent(br, sb)) + rng.integer(0, 3);
  size_t na = (row ? rows : cols) * lda, nb = (row ? br : bc) * ldb;
  GuardedBuffer<E> a(na, rng.integer(0, 1) * 8), b(nb, rng.integer(0, 1) * 8);
  fill(rng, a.data(), na);
  fill(rng, b.data(), nb);
  std::vector<E> expected(b.data(), b.data() + nb);
  auto at = [&](u64 i, u64 j, u64 ld, u64 s) { return row ? i * ld + j * s : i * s + j * ld; };
  if (valid)
    for (u64 i = 0; i < rows; ++i)
      for (u64 j = 0; j < cols; ++j)
        expected[tr ? at(j, i, ldb, sb) : at(i, j, ldb, sb)] = apply<T>(letter, alpha, a[at(i, j, lda, sa)]);
  Api<T>::omatcopy2(ordering, letter, rows, cols, alpha, a.data(), lda, sa, b.data(), ldb, sb);
  ASSERT_TRUE(b.guards_intact() && a.guards_intact());
  for (size_t k = 0; k < nb; ++k) ASSERT_TRUE(same_bits(b[k], expected[k])) << "element " << k << " of " << nb;
}

// Both orderings, every letter in either case, alpha one (the copy-only
// recursion) and not one, shapes through the 4 x 4 base and its cuts.
TYPED_TEST(OutOfPlace, CopyMatchesDefinition) {
  using T = TypeParam;
  Rng rng(7101);
  SCOPED_TRACE(rng.seed);
  for (auto [rows, cols] : shapes(rng, 10, 300))
    for (char ordering : {'R', 'C', 'r', 'c'})
      for (char letter : {'N', 'T', 'R', 'C', 'n', 't', 'r', 'c'})
        for (auto alpha : alphas<T>(rng)) {
          SCOPED_TRACE(testing::Message() << rows << " x " << cols << " " << ordering << letter);
          check_copy<T>(rng, ordering, letter, rows, cols, alpha, 1, 1);
        }
}

TYPED_TEST(OutOfPlace, StridedCopyMatchesDefinition) {
  using T = TypeParam;
  Rng rng(7102);
  SCOPED_TRACE(rng.seed);
  for (auto [rows, cols] : shapes(rng, 6, 80))
    for (auto [sa, sb] : {std::pair<u64, u64>{2, 1}, {1, 3}, {3, 2}})
      for (char ordering : {'R', 'C'})
        for (char letter : {'N', 'T', 'R', 'C'})
          for (auto alpha : alphas<T>(rng)) {
            SCOPED_TRACE(testing::Message() << rows << " x " << cols << " " << ordering << letter << " " << sa << sb);
            check_copy<T>(rng, ordering, letter, rows, cols, alpha, sa, sb);
          }
}

TYPED_TEST(OutOfPlace, CopyBadLettersDoNothing) {
  using T = TypeParam;
  Rng rng(7103);
  for (auto [ordering, letter] : {std::pair{'X', 'N'}, {'X', 'T'}, {'R', 'X'}, {'c', ' '}})
    check_copy<T>(rng, ordering, letter, 5, 7, rng.value<typename T::elem>(), 1, 1);
}

// C := alpha op(A) + beta op(B). The ordering is column-major for 'C'/'c'
// and row-major for every other letter. alias: 0 none, 1 c is a (with
// ldc = lda), 2 c is b, the in-place form of the mixed kernel.
template <class T>
void check_add(Rng &rng, char ordering, char ta, char tb, u64 rows, u64 cols, int alias) {
  using E = typename T::elem;
  const bool col = ordering == 'C' || ordering == 'c';
  const bool valid = letter_ok(ta) && letter_ok(tb);
  auto at = [&](u64 i, u64 j, u64 ld) { return col ? i + j * ld : i * ld + j; };
  auto minor = [&](bool t) { return std::max<u64>(1, col == t ? cols : rows); };  // of an operand's storage
  auto lines = [&](bool t) { return col == t ? rows : cols; };
  u64 lda = minor(transposes(ta)) + rng.integer(0, 2), ldb = minor(transposes(tb)) + rng.integer(0, 2);
  u64 ldc = minor(false) + rng.integer(0, 2);
  if (alias == 1) ldc = lda;
  if (alias == 2) ldc = ldb;
  size_t na = lines(transposes(ta)) * lda, nb = lines(transposes(tb)) * ldb, nc = lines(false) * ldc;
  GuardedBuffer<E> a(na, rng.integer(0, 1) * 8), b(nb, rng.integer(0, 1) * 8), c(nc, rng.integer(0, 1) * 8);
  fill(rng, a.data(), na);
  fill(rng, b.data(), nb);
  fill(rng, c.data(), nc);
  E *target = alias == 1 ? a.data() : alias == 2 ? b.data() : c.data();
  std::vector<E> ca(a.data(), a.data() + na), cb(b.data(), b.data() + nb);
  std::vector<E> expected(target, target + (alias == 1 ? na : alias == 2 ? nb : nc));
  E alpha = rng.value<E>(), beta = rng.value<E>();
  if (valid)
    for (u64 i = 0; i < rows; ++i)
      for (u64 j = 0; j < cols; ++j) {
        E x = apply<T>(ta, alpha, ca[transposes(ta) ? at(j, i, lda) : at(i, j, lda)]);
        E y = apply<T>(tb, beta, cb[transposes(tb) ? at(j, i, ldb) : at(i, j, ldb)]);
        if constexpr (T::complex) expected[at(i, j, ldc)] = {x.re + y.re, x.im + y.im};
        else expected[at(i, j, ldc)] = x + y;
      }
  Api<T>::omatadd(ordering, ta, tb, rows, cols, alpha, a.data(), lda, beta, b.data(), ldb, target, ldc);
  ASSERT_TRUE(a.guards_intact() && b.guards_intact() && c.guards_intact());
  for (size_t k = 0; k < expected.size(); ++k)
    ASSERT_TRUE(same_bits(target[k], expected[k])) << "element " << k << " of " << expected.size();
}

// Every pair of letters (the sixteen mode codes, upper and lower case), the
// in-place recursion of the mixed kernel when c is the plain operand.
TYPED_TEST(OutOfPlace, SumMatchesDefinition) {
  using T = TypeParam;
  Rng rng(7104);
  SCOPED_TRACE(rng.seed);
  for (auto [rows, cols] : shapes(rng, 4, 120))
    for (char ordering : {'R', 'c', 'X'})
      for (char ta : {'N', 'T', 'R', 'C', 'n', 'c'})
        for (char tb : {'N', 'T', 'R', 'C', 't', 'r'}) {
          SCOPED_TRACE(testing::Message() << rows << " x " << cols << " " << ordering << ta << tb);
          check_add<T>(rng, ordering, ta, tb, rows, cols, 0);
          if (transposes(ta) != transposes(tb)) check_add<T>(rng, ordering, ta, tb, rows, cols, transposes(ta) ? 2 : 1);
        }
}

TYPED_TEST(OutOfPlace, SumBadLettersDoNothing) {
  using T = TypeParam;
  Rng rng(7105);
  for (auto [ta, tb] : {std::pair{'X', 'N'}, {'T', 'x'}, {'\0', '\0'}}) check_add<T>(rng, 'R', ta, tb, 6, 5, 0);
}

}  // namespace
}  // namespace zor::test
