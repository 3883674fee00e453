// In-place copy and transposition, AB := alpha op(AB) from lda to ldb,
// against the definition: every element of the image holds alpha op of its
// source element, every other element of the buffer (the gaps between
// rows, positions the image does not cover) and the guards keep their bytes.
#include "trans/cycle_leaders.hpp"
#include "trans/trans_testing.hpp"

namespace zor::test {
namespace {

template <class T>
class InPlace : public ::testing::Test {};
TYPED_TEST_SUITE(InPlace, ElementTypes);

template <class T>
void check(Rng &rng, char ordering, char letter, u64 rows, u64 cols, typename T::elem alpha, u64 lda, u64 ldb) {
  using E = typename T::elem;
  const bool row = ordering == 'R' || ordering == 'r', col = ordering == 'C' || ordering == 'c';
  const bool tr = transposes(letter), valid = (row || col) && std::string("NTRCntrc").find(letter) != std::string::npos;
  auto at = [&](u64 i, u64 j, u64 ld) { return row ? i * ld + j : i + j * ld; };
  // Lines (rows in row-major, columns in column-major) of the source and of the image.
  u64 src_lines = row ? rows : cols, dst_lines = (row != tr) ? rows : cols;
  size_t n = std::max(src_lines * lda, dst_lines * ldb);
  GuardedBuffer<E> ab(n, rng.integer(0, 1) * 8);
  fill(rng, ab.data(), n);
  std::vector<E> before(ab.data(), ab.data() + n), expected = before;
  if (valid)
    for (u64 i = 0; i < rows; ++i)
      for (u64 j = 0; j < cols; ++j)
        expected[tr ? at(j, i, ldb) : at(i, j, ldb)] = apply<T>(letter, alpha, before[at(i, j, lda)]);
  Api<T>::imatcopy(ordering, letter, rows, cols, alpha, ab.data(), lda, ldb);
  ASSERT_TRUE(ab.guards_intact());
  for (size_t k = 0; k < n; ++k)
    ASSERT_TRUE(same_bits(ab[k], expected[k])) << "element " << k << " of " << n;
}

// Square (rows = cols = lda = ldb: pair exchange and row scaling) and every
// other shape (cycle following, row moves in both directions), both
// orderings, all four letters in either case, alpha one and not one.
TYPED_TEST(InPlace, MatchesDefinition) {
  using T = TypeParam;
  Rng rng(7001);
  SCOPED_TRACE(rng.seed);
  auto all = shapes(rng, 12, 150);
  all.insert(all.end(), {{41, 61}, {61, 41}, {181, 11}});  // rows cols - 1 = 2500 = 2^2 5^4, 1990 = 2 5 199
  for (auto [rows, cols] : all)
    for (char ordering : {'R', 'c'})
      for (char letter : {'N', 'T', 'R', 'C', 't', 'r'})
        for (auto alpha : alphas<T>(rng))
          for (int shape = 0; shape < 3; ++shape) {
            SCOPED_TRACE(testing::Message() << rows << " x " << cols << " " << ordering << letter << " form " << shape);
            bool row = ordering == 'R';
            u64 src_minor = row ? cols : rows, dst_minor = (row == transposes(letter)) ? rows : cols;
            u64 lda = std::max<u64>(src_minor, 1), ldb = std::max<u64>(dst_minor, 1);
            if (shape == 0 && rows == cols) {
              lda = ldb = std::max<u64>(rows, 1);  // square
            } else if (shape == 1) {
              lda += 3;  // a gap that is neither read nor scaled; rows move down
            } else if (shape == 2) {
              ldb += 2;  // rows move up
            }
            check<T>(rng, ordering, letter, rows, cols, alpha, lda, ldb);
          }
}

// A small case written out: 2 x 3 row-major with lda 3 into 3 x 2 with
// ldb 2 is one cycle of four from position 1; positions 0 and 5 are fixed
// points and are scaled too.
TEST(InPlaceExample, TwoByThreeTransposed) {
  double ab[6] = {1, 2, 3, 4, 5, 6};
  zor_trans_zor_dimatcopy('R', 'T', 2, 3, 2.0, ab, 3, 2);
  const double want[6] = {2, 8, 4, 10, 6, 12};
  for (int k = 0; k < 6; ++k) EXPECT_EQ(ab[k], want[k]) << k;
}

// The division of the walk, by the multiplicative inverse, against the
// divide instruction at both ends of its range (0 .. 2^63 - 1) and at the
// multiples of the divisor around them, for divisors at powers of two, next
// to them, and at the top of the range.
TEST(InPlaceWalk, DivisionIsExactOverTheRange) {
  const u64 top = (u64(1) << 63) - 1;
  std::vector<u64> divisors = {1, 2, 3, 5, 7, 1000, 3000, 5000, top, top - 1, (top >> 1) + 1};
  for (int k = 2; k < 63; ++k) divisors.insert(divisors.end(), {(u64(1) << k) - 1, u64(1) << k, (u64(1) << k) + 1});
  Rng rng(7003);
  for (int k = 0; k < 200; ++k) divisors.push_back(u64(rng.integer(1, int64_t(top))));
  for (u64 d : divisors) {
    zor::trans::Divider div(d);
    u64 last = top - top % d;  // the largest multiple of d in range
    for (u64 t : {u64(0), u64(1), d - 1, d, d + 1, 2 * d - 1, top, top - 1, last, last - 1, last - d})
      if (t <= top) ASSERT_EQ(div(t), t / d) << t << " / " << d;
  }
}

TYPED_TEST(InPlace, BadLettersDoNothing) {
  using T = TypeParam;
  Rng rng(7002);
  for (auto [ordering, letter] : {std::pair{'X', 'T'}, {'R', 'X'}, {'c', 'A'}})
    for (u64 n : {4, 6}) check<T>(rng, ordering, letter, n, 6, rng.value<typename T::elem>(), 6, 6);
}

}  // namespace
}  // namespace zor::test
