// Format conversions: round trips CSR -> COO, CSC, DIA, skyline, BSR and
// back, dense -> CSR -> dense, every info code, capacity reached and
// exceeded, and the scratch that cannot be had.
#include <zor/serv.h>

#include <map>
#include <numeric>

#include "qalloc_module.h"
#include "spblas/others.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class P>
struct Conversions : ::testing::Test {};
TYPED_TEST_SUITE(Conversions, AllTypes);

// Rows with distinct columns, ascending when `sorted`, each value non-zero.
template <class E>
std::vector<std::vector<std::pair<int64_t, E>>> distinct_rows(Rng &rng, int64_t m, int64_t n, bool sorted) {
  std::vector<std::vector<std::pair<int64_t, E>>> rows(m);
  for (auto &row : rows) {
    std::vector<int64_t> cs(n);
    std::iota(cs.begin(), cs.end(), 0);
    std::shuffle(cs.begin(), cs.end(), rng.engine);
    cs.resize(rng.integer(0, std::min<int64_t>(n, 5)));
    if (sorted) std::sort(cs.begin(), cs.end());
    for (int64_t c : cs) row.push_back({c, random_value<E>(rng) + E(real_of<E>(2))});
  }
  return rows;
}

TYPED_TEST(Conversions, CooBothWays) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(21);
  for (int64_t n : {1, 7, 23})
    for (int bc : {0, 1})
      for (int bo : {0, 1}) {
        SCOPED_TRACE(::testing::Message() << "seed 21 n " << n << " bases " << bc << bo);
        Csr<E, I> csr(any_rows<E>(rng, n, n), bc);
        const int64_t nnz = csr.nnz();
        std::vector<E> acoo(nnz + 1);
        std::vector<I> ri(nnz + 1, -7), ci(nnz + 1, -7);
        I job[6] = {0, I(bc), I(bo), 0, I(nnz), 3}, nn = I(n), count = 0, info = 9;
        call(Others<E, I>::csrcoo, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), &count, acoo.data(),
             ri.data(), ci.data(), &info);
        ASSERT_EQ(info, 0);
        ASSERT_EQ(count, nnz);
        for (int64_t i = 0; i < n; ++i)
          for (int64_t k = csr.ia[i] - bc; k < csr.ia[i + 1] - bc; ++k) {
            ASSERT_EQ(ri[k], i + bo);
            ASSERT_EQ(ci[k], csr.ja[k] - bc + bo);
            ASSERT_TRUE(same_bits(acoo[k], csr.a[k]));
          }
        // The count is tested before what to produce.
        job[5] = 4;
        call(Others<E, I>::csrcoo, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), &count, acoo.data(),
             ri.data(), ci.data(), &info);
        EXPECT_EQ(info, 2);
        job[4] = I(nnz - 1);
        call(Others<E, I>::csrcoo, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), &count, acoo.data(),
             ri.data(), ci.data(), &info);
        EXPECT_EQ(info, 1);

        // Back from a shuffled list: rows keep list order.
        std::vector<int64_t> order(nnz);
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), rng.engine);
        std::vector<E> va(nnz + 1);
        std::vector<I> vr(nnz + 1), vc(nnz + 1);
        for (int64_t t = 0; t < nnz; ++t) va[t] = acoo[order[t]], vr[t] = ri[order[t]], vc[t] = ci[order[t]];
        for (int direction : {1, 2})
          for (int64_t cap : {nnz, nnz - 1}) {
            if (cap < 0) continue;
            Csr<E, I> out(std::vector<std::vector<std::pair<int64_t, E>>>(n), 0);
            out.a.assign(nnz + 1, E{}), out.ja.assign(nnz + 1, 0);
            I back[6] = {I(direction), I(bc), I(bo), 0, I(cap), 0};
            call(Others<E, I>::csrcoo, back, &nn, out.a.data(), out.ja.data(), out.ia.data(), &count, va.data(),
                 vr.data(), vc.data(), &info);
            if (cap < nnz) {
              EXPECT_EQ(info, 1);
              continue;
            }
            ASSERT_EQ(info, 0);
            ASSERT_EQ(out.ia[0], bc);
            for (int64_t i = 0; i < n; ++i) {
              std::vector<std::pair<int64_t, W>> want, got;
              for (int64_t t = 0; t < nnz; ++t)
                if (vr[t] - bo == i) want.push_back({vc[t] - bo, widen(va[t])});
              for (int64_t k = out.ia[i] - bc; k < out.ia[i + 1] - bc; ++k)
                got.push_back({out.ja[k] - bc, widen(out.a[k])});
              if (direction == 2) {  // sorted rows; z moves 8-byte halves, so only its columns are compared
                for (size_t t = 1; t < got.size(); ++t) ASSERT_LE(got[t - 1].first, got[t].first);
                auto key = [](auto &x, auto &y) { return x.first < y.first; };
                std::stable_sort(want.begin(), want.end(), key);
                if (std::is_same_v<E, std::complex<double>>)
                  for (auto *v : {&want, &got})
                    for (auto &e : *v) e.second = 0;
              }
              ASSERT_EQ(got, want) << "row " << i << " direction " << direction;
            }
          }
      }
}

TYPED_TEST(Conversions, CscBothWays) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(22);
  for (int64_t n : {1, 9, 23})
    for (int bc : {0, 1}) {
      const int bo = 1 - bc;
      Csr<E, I> csr(any_rows<E>(rng, n, n), bc);  // duplicates survive as two entries
      const int64_t nnz = csr.nnz();
      std::vector<E> acsc(nnz + 1);
      std::vector<I> ja1(nnz + 1), ia1(n + 1);
      // The 64-bit build reads n, job[1], job[2], job[5] by their low 32 bits.
      const int64_t high = sizeof(I) == 8 ? int64_t(1) << 32 : 0;
      I job[6] = {0, I(bc + high), I(bo + high), 0, 0, I(1 + high)}, nn = I(n + high), info = 9;
      call(Others<E, I>::csrcsc, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), acsc.data(), ja1.data(),
           ia1.data(), &info);
      ASSERT_EQ(info, 0);
      ASSERT_EQ(ia1[n] - ia1[0], nnz);
      Dense t = dense_of(n, n, acsc.data(), ja1.data(), ia1.data(), bo), d = dense_of(n, n, csr.a.data(),
                                                                                     csr.ja.data(), csr.ia.data(), bc);
      for (int64_t r = 0; r < n; ++r)
        for (int64_t c = 0; c < n; ++c) ASSERT_EQ(t(c, r), d(r, c));
      for (int64_t c = 0; c < n; ++c)
        for (int64_t k = ia1[c] - bo + 1; k < ia1[c + 1] - bo; ++k) ASSERT_LE(ja1[k - 1], ja1[k]);
      // And back; job[5] = 0 moves no value.
      Csr<E, I> back(std::vector<std::vector<std::pair<int64_t, E>>>(n), 0);
      back.a.assign(nnz + 1, E{}), back.ja.assign(nnz + 1, 0);
      I rjob[6] = {1, I(bo), I(bc), 0, 0, 0};
      call(Others<E, I>::csrcsc, rjob, &nn, back.a.data(), back.ja.data(), back.ia.data(), acsc.data(), ja1.data(),
           ia1.data(), &info);
      for (const E &v : back.a) ASSERT_TRUE(same_bits(v, E{}));
      rjob[5] = 1;
      call(Others<E, I>::csrcsc, rjob, &nn, back.a.data(), back.ja.data(), back.ia.data(), acsc.data(), ja1.data(),
           ia1.data(), &info);
      EXPECT_EQ(dense_of(n, n, back.a.data(), back.ja.data(), back.ia.data(), bc), d);
    }
}

// Past a quarter million entries the placement goes by column groups: each
// column still holds its entries in source order (duplicates too), with or
// without the scratch that takes (the direct placement then).
TYPED_TEST(Conversions, CscOfALargeMatrix) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(27);
  const int64_t n = 3001, per_row = 90;
  std::vector<std::vector<std::pair<int64_t, E>>> rows(n);
  for (auto &row : rows)
    for (int64_t e = 0; e < per_row; ++e) row.push_back({rng.integer(0, n - 1), random_value<E>(rng)});
  Csr<E, I> csr(rows, 1);
  std::vector<std::vector<std::pair<int64_t, E>>> want(n);  // by column, in source order
  for (int64_t i = 0; i < n; ++i)
    for (auto &[c, v] : rows[i]) want[c].push_back({i, v});
  for (int faults : {0, 2}) {
    const int64_t nnz = csr.nnz();
    std::vector<E> acsc(nnz);
    std::vector<I> ja1(nnz), ia1(n + 1);
    I job[6] = {0, 1, 0, 0, 0, 1}, nn = I(n), info = 9;
    zor_serv_freebuffers();
    qalloc_fail_next(faults);
    call(Others<E, I>::csrcsc, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), acsc.data(), ja1.data(),
         ia1.data(), &info);
    qalloc_fail_next(0);
    ASSERT_EQ(info, 0);
    for (int64_t c = 0, k = 0; c < n; ++c) {
      ASSERT_EQ(ia1[c], k) << "column " << c << " faults " << faults;
      for (auto &[i, v] : want[c]) {
        ASSERT_EQ(ja1[k], i) << "column " << c;
        ASSERT_TRUE(same_bits(acsc[k], v)) << "column " << c;
        ++k;
      }
    }
  }
}

TYPED_TEST(Conversions, DiaWithRemainder) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(23);
  for (int64_t n : {0, 1, 8, 19})
    for (int bc : {0, 1}) {
      const int bo = 1 - bc;
      std::vector<std::vector<std::pair<int64_t, E>>> rows(n);
      for (int64_t i = 0; i < n; ++i)
        for (int64_t d : {-3, -1, 0, 2, 5})
          if (i + d >= 0 && i + d < n && rng.integer(0, 3) > 0) rows[i].push_back({i + d, random_value<E>(rng) + E(2)});
      Csr<E, I> csr(rows, bc);
      const Dense want = dense_of(n, n, csr.a.data(), csr.ja.data(), csr.ia.data(), bc);
      // Automatic choice: every populated diagonal, by falling population,
      // the lower distance first on a tie.
      std::map<int64_t, int64_t> pop;
      for (auto &row : rows)
        for (auto &[c, v] : row) pop[c - (&row - rows.data())]++;
      std::vector<std::pair<int64_t, int64_t>> order;
      for (auto [d, p] : pop) order.push_back({-p, d});
      std::sort(order.begin(), order.end());
      const int64_t lval = n + 2;
      std::vector<E> adia(lval * 5 + 1, nan_value<E>()), rem(csr.nnz() + 1, nan_value<E>());
      std::vector<I> dist(5, -99), ja_rem(csr.nnz() + 1, -7), ia_rem(n + 1, -7);
      I job[6] = {0, I(bc), I(bo), 0, 0, 10}, nn = I(n), lv = I(lval), ndiag = -1, info = 9;
      call(Others<E, I>::csrdia, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), adia.data(), &lv, dist.data(),
           &ndiag, rem.data(), ja_rem.data(), ia_rem.data(), &info);
      ASSERT_EQ(info, 0);
      ASSERT_EQ(ndiag, int64_t(order.size()));
      for (size_t t = 0; t < order.size(); ++t) EXPECT_EQ(dist[t], order[t].second) << "position " << t;
      EXPECT_EQ(ja_rem[0], -7);  // units digit 0: no remainder written
      // Two chosen diagonals and a remainder; DIA plus remainder is the matrix.
      ndiag = I(std::min<int64_t>(ndiag, 2));
      job[5] = 1;
      call(Others<E, I>::csrdia, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), adia.data(), &lv, dist.data(),
           &ndiag, rem.data(), ja_rem.data(), ia_rem.data(), &info);
      ASSERT_EQ(info, 0);
      Dense got = dense_of(n, n, rem.data(), ja_rem.data(), ia_rem.data(), bo);
      for (int64_t t = 0; t < ndiag; ++t)
        for (int64_t i = 0; i < n; ++i)
          if (i + dist[t] >= 0 && i + dist[t] < n) got(i, i + dist[t]) += widen(adia[t * lval + i]);
      EXPECT_EQ(got, want);
      // DIA to CSR: job[5] = 0 leaves the zeros out, 1 keeps them.
      for (I keep : {0, 1}) {
        std::vector<E> back(n * 5 + 1);
        std::vector<I> jb(n * 5 + 1), ib(n + 1);
        I bjob[6] = {1, I(bc), 0, 0, 0, keep};
        call(Others<E, I>::csrdia, bjob, &nn, back.data(), jb.data(), ib.data(), adia.data(), &lv, dist.data(),
             &ndiag, rem.data(), ja_rem.data(), ia_rem.data(), &info);
        Dense part = dense_of(n, n, back.data(), jb.data(), ib.data(), bc);
        int64_t stored = 0, nonzero = 0;
        for (int64_t t = 0; t < ndiag; ++t)
          for (int64_t i = 0; i < n; ++i)
            if (i + dist[t] >= 0 && i + dist[t] < n) {
              ++stored, nonzero += !(adia[t * lval + i] == E{});
              ASSERT_EQ(part(i, i + dist[t]), widen(adia[t * lval + i]));
            }
        EXPECT_EQ(ib[n] - bc, keep ? stored : nonzero);
      }
    }
}

TYPED_TEST(Conversions, SkylineBothTriangles) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(24);
  for (int64_t n : {1, 6, 17})
    for (int upper : {0, 1}) {
      const int bc = upper, bs = 1 - upper;
      Csr<E, I> csr(distinct_rows<E>(rng, n, n, true), bc);
      Dense tri = dense_of(n, n, csr.a.data(), csr.ja.data(), csr.ia.data(), bc);
      for (int64_t i = 0; i < n; ++i)
        for (int64_t c = 0; c < n; ++c)
          if (upper ? c < i : c > i) tri(i, c) = 0;
      std::vector<I> pntr(n + 1);
      std::vector<E> asky(n * n + 1, nan_value<E>());
      I job[6] = {0, I(bc), I(bs), I(upper), 0, 1}, nn = I(n), info = 9;
      call(Others<E, I>::csrsky, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), asky.data(), pntr.data(), &info);
      EXPECT_TRUE(same_bits(asky[0], nan_value<E>()));  // pointers only
      const int64_t total = pntr[n] - pntr[0];
      job[4] = I(total - 1), job[5] = 0;
      call(Others<E, I>::csrsky, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), asky.data(), pntr.data(), &info);
      EXPECT_EQ(info, 1);
      job[4] = I(total);
      call(Others<E, I>::csrsky, job, &nn, csr.a.data(), csr.ja.data(), csr.ia.data(), asky.data(), pntr.data(), &info);
      ASSERT_EQ(info, 0);
      Dense got{n, n, std::vector<W>(n * n)};
      for (int64_t i = 0; i < n; ++i) {  // line i: from i - len + 1 through the diagonal
        const int64_t len = pntr[i + 1] - pntr[i];
        for (int64_t t = 0; t < len; ++t) {
          const int64_t other = i - len + 1 + t;
          ASSERT_GE(other, 0);
          (upper ? got(other, i) : got(i, other)) = widen(asky[pntr[i] - bs + t]);
        }
      }
      EXPECT_EQ(got, tri);
      Csr<E, I> back(std::vector<std::vector<std::pair<int64_t, E>>>(n), 0);
      back.a.assign(n * n + 1, E{}), back.ja.assign(n * n + 1, 0);
      job[0] = 1;
      call(Others<E, I>::csrsky, job, &nn, back.a.data(), back.ja.data(), back.ia.data(), asky.data(), pntr.data(),
           &info);
      EXPECT_EQ(dense_of(n, n, back.a.data(), back.ja.data(), back.ia.data(), bc), tri);
      for (int64_t i = 0; i < n; ++i)
        for (int64_t k = back.ia[i] - bc + 1; k < back.ia[i + 1] - bc; ++k) ASSERT_LT(back.ja[k - 1], back.ja[k]);
    }
}

TYPED_TEST(Conversions, BlockRows) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(25);
  for (int64_t m : {1, 10, 13})
    for (int64_t mb : {1, 3, 4})
      for (int bb : {0, 1}) {
        SCOPED_TRACE(::testing::Message() << "seed 25 m " << m << " mblk " << mb << " base " << bb);
        const int bc = 1 - bb, nb = (m - 1) / mb + 1, ld = mb * mb + 1;
        Csr<E, I> csr(distinct_rows<E>(rng, m, m, false), bc);
        std::vector<E> absr(nb * nb * ld + 1, nan_value<E>());
        std::vector<I> jab(nb * nb + 1, -7), iab(nb + 1);
        I job[6] = {0, I(bc), I(bb), 0, 0, -1}, mm = I(m), mblk = I(mb), lda = I(ld), info = 9;
        call(Others<E, I>::csrbsr, job, &mm, &mblk, &lda, csr.a.data(), csr.ja.data(), csr.ia.data(), absr.data(),
             jab.data(), iab.data(), &info);
        ASSERT_EQ(info, 0);
        const int64_t blocks = iab[0];
        job[5] = 1;
        call(Others<E, I>::csrbsr, job, &mm, &mblk, &lda, csr.a.data(), csr.ja.data(), csr.ia.data(), absr.data(),
             jab.data(), iab.data(), &info);
        ASSERT_EQ(iab[nb] - bb, blocks);
        // Blocks in order of first sight; the short last block row's missing
        // rows stay zero.
        Dense got{nb * mb, nb * mb, std::vector<W>(nb * mb * nb * mb)};
        for (int64_t br = 0; br < nb; ++br) {
          std::vector<int64_t> seen;
          for (int64_t i = br * mb; i < std::min<int64_t>(m, br * mb + mb); ++i)
            for (int64_t k = csr.ia[i] - bc; k < csr.ia[i + 1] - bc; ++k)
              if (std::find(seen.begin(), seen.end(), (csr.ja[k] - bc) / mb) == seen.end())
                seen.push_back((csr.ja[k] - bc) / mb);
          ASSERT_EQ(int64_t(seen.size()), iab[br + 1] - iab[br]);
          for (int64_t k = iab[br] - bb, s = 0; k < iab[br + 1] - bb; ++k, ++s) {
            ASSERT_EQ(jab[k] - bb, seen[s]);
            for (int64_t r = 0; r < mb; ++r)
              for (int64_t c = 0; c < mb; ++c)
                got(br * mb + r, seen[s] * mb + c) = widen(absr[k * ld + (bb ? c * mb + r : r * mb + c)]);
          }
        }
        Dense want = dense_of(m, nb * mb, csr.a.data(), csr.ja.data(), csr.ia.data(), bc);
        want.a.resize(got.a.size()), want.rows = nb * mb;
        EXPECT_EQ(got, want);
        // Back: every block element, or the non-zero ones only.
        for (I nonzero : {0, 1}) {
          Csr<E, I> back(std::vector<std::vector<std::pair<int64_t, E>>>(m), 0);
          back.a.assign(blocks * mb * mb + 1, E{}), back.ja.assign(blocks * mb * mb + 1, 0);
          I bjob[6] = {1, I(bc), I(bb), nonzero, 0, 1};
          call(Others<E, I>::csrbsr, bjob, &mm, &mblk, &lda, back.a.data(), back.ja.data(), back.ia.data(),
               absr.data(), jab.data(), iab.data(), &info);
          Dense b = dense_of(m, nb * mb, back.a.data(), back.ja.data(), back.ia.data(), bc);
          b.a.resize(got.a.size()), b.rows = nb * mb;
          EXPECT_EQ(b, want);
          if (nonzero) EXPECT_EQ(back.ia[m] - bc, csr.nnz());
        }
      }
  // mblk below 1 is refused before anything.
  I job[6] = {0, 1, 1, 0, 0, 1}, m = 4, mb = 0, lda = 1, info = 9;
  Csr<E, I> csr(std::vector<std::vector<std::pair<int64_t, E>>>(4), 1);
  call(Others<E, I>::csrbsr, job, &m, &mb, &lda, csr.a.data(), csr.ja.data(), csr.ia.data(), nullptr, nullptr,
       nullptr, &info);
  EXPECT_EQ(info, 1);
}

// No status leaves the marker block in use: after a short stride (info 2),
// a refused block size (info 1) or a completed call, freeing the thread's
// buffers brings the pool back to where it was.
TEST(ConversionsBsr, NoStatusKeepsAPoolBlock) {
  on_new_thread([] {
    const int32_t before = pool_stat().count;
    int64_t ia[5] = {1, 1, 1, 1, 1}, iab[3] = {}, info = 9;
    for (int64_t lda : {3, 4})
      for (int64_t mb : {0, 2}) {
        int64_t job[6] = {0, 1, 1, 0, 0, 0}, m = 4;
        zor_spblas_zor_dcsrbsr(job, &m, &mb, &lda, nullptr, nullptr, ia, nullptr, nullptr, iab, &info);
        EXPECT_EQ(info, mb < 1 ? 1 : lda < 4 ? 2 : 0);
        zor_serv_zor_thread_free_buffers();
        EXPECT_EQ(pool_stat().count, before) << "lda " << lda << " mblk " << mb;
      }
  });
}

TYPED_TEST(Conversions, DenseAndBack) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(26);
  const int64_t m = 7, n = 9;
  for (int major : {0, 1})
    for (int tri : {0, 1, 2})
      for (int base : {0, 1}) {
        const int64_t lda = (major ? m : n) + 2;
        std::vector<E> adns(lda * (major ? n : m)), back(adns.size(), E(7));
        auto at = [&](std::vector<E> &v, int64_t i, int64_t j) -> E & { return major ? v[j * lda + i] : v[i * lda + j]; };
        auto in = [&](int64_t i, int64_t j) { return tri == 2 || (tri == 0 ? j <= i : j >= i); };
        for (int64_t i = 0; i < m; ++i)
          for (int64_t j = 0; j < n; ++j) at(adns, i, j) = rng.integer(0, 2) ? random_value<E>(rng) + E(2) : E{};
        at(adns, m - 1, tri == 1 ? n - 1 : 0) = nan_value<E>();  // a NaN is not zero
        int64_t count = 0;
        for (int64_t i = 0; i < m; ++i)
          for (int64_t j = 0; j < n; ++j) count += in(i, j) && !(at(adns, i, j) == E{});
        std::vector<E> a(m * n + 1);
        std::vector<I> ja(m * n + 1), ia(m + 1);
        I job[6] = {0, I(major), I(base), I(tri), I(m * n), 1}, mm = I(m), nn = I(n), ld = I(lda), info = 9;
        call(Others<E, I>::dnscsr, job, &mm, &nn, adns.data(), &ld, a.data(), ja.data(), ia.data(), &info);
        ASSERT_EQ(info, 0);
        const int64_t stored = ia[m] - base;
        EXPECT_EQ(stored, count);
        job[0] = 1;
        call(Others<E, I>::dnscsr, job, &mm, &nn, back.data(), &ld, a.data(), ja.data(), ia.data(), &info);
        ASSERT_EQ(info, 0);
        for (int64_t i = 0; i < m; ++i)
          for (int64_t j = 0; j < n; ++j)
            ASSERT_TRUE(same_bits(at(back, i, j), in(i, j) ? at(adns, i, j) : E(7))) << i << " " << j;
        // The count reaching job[4] gives the row; a column at n its row.
        job[0] = 0, job[4] = I(stored - 1);
        call(Others<E, I>::dnscsr, job, &mm, &nn, adns.data(), &ld, a.data(), ja.data(), ia.data(), &info);
        const int64_t last_row = std::upper_bound(ia.begin(), ia.end(), I(stored - 1 + base)) - ia.begin();
        EXPECT_EQ(info, last_row);
        ja[0] = I(n + base), job[0] = 1;
        call(Others<E, I>::dnscsr, job, &mm, &nn, adns.data(), &ld, a.data(), ja.data(), ia.data(), &info);
        EXPECT_EQ(info, std::upper_bound(ia.begin(), ia.end(), I(base)) - ia.begin());  // the row holding ja[0]
      }
}

// Scratch that cannot be had: info -1.
TYPED_TEST(Conversions, WithoutScratch) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Csr<E, I> csr({{{0, E(1)}}, {{1, E(2)}}}, 1);
  std::vector<E> out(8);
  std::vector<I> w1(8), w2(8), w3(8);
  I job[6] = {0, 1, 1, 0, 8, 10}, n = 2, lval = 2, ndiag = 0, mb = 1, ld = 1, info = 9;
  zor_serv_freebuffers();
  qalloc_fail_next(3);
  call(Others<E, I>::csrdia, job, &n, csr.a.data(), csr.ja.data(), csr.ia.data(), out.data(), &lval, w1.data(),
       &ndiag, out.data(), w2.data(), w3.data(), &info);
  qalloc_fail_next(0);
  EXPECT_EQ(info, -1);
  job[5] = 1;
  zor_serv_freebuffers();
  qalloc_fail_next(3);
  call(Others<E, I>::csrbsr, job, &n, &mb, &ld, csr.a.data(), csr.ja.data(), csr.ia.data(), out.data(), w1.data(),
       w2.data(), &info);
  qalloc_fail_next(0);
  EXPECT_EQ(info, -1);
}

// L D L^T x = b with 1 x 1 and 2 x 2 pivots, L by columns in zero-based rows
// (a 2 x 2 pivot's two columns interleaved in its first row).
TEST(IncompleteLdlt, SolvesWithBlockPivots) {
  Rng rng(27);
  const int32_t n = 11;
  const std::vector<int> pairs = {1, 5, 8};  // pivots at (1,2), (5,6), (8,9)
  for (auto solve : {zor_spblas_zor_ildlt_sv, zor_spblas_lp64_zor_ildlt_sv})
    for (bool blocks : {true, false}) {
      std::vector<long double> L(n * n), D(n * n);
      std::vector<double> vals, d1(n), d2(n);
      std::vector<int32_t> ia{0}, ja, bitmap{blocks ? 0 : 2};  // without block pivots the request ignores it
      for (int32_t i = 0; i < n;) {
        const bool pair = blocks && std::count(pairs.begin(), pairs.end(), i);
        const int w = pair ? 2 : 1;
        for (int32_t r = i + w; r < n; ++r)
          if (rng.integer(0, 2) == 0)
            for (int t = 0; t < w; ++t) vals.push_back(rng.uniform(-0.5, 0.5)), ja.push_back(r), L[r * n + i + t] = vals.back();
        ia.push_back(int32_t(vals.size()));
        if (pair) ia.push_back(int32_t(vals.size())), bitmap[0] |= 1 << i;
        for (int t = 0; t < w; ++t) d1[i + t] = rng.uniform(2, 3), D[(i + t) * n + i + t] = d1[i + t], L[(i + t) * n + i + t] = 1;
        if (pair) d2[i] = rng.uniform(-1, 1), D[i * n + i + 1] = D[(i + 1) * n + i] = d2[i];
        i += w;
      }
      std::vector<double> b(n), b0(n), x(n, -1);
      for (auto &v : b) v = rng.uniform();
      b0 = b;
      int32_t request = blocks ? 0 : 5;
      solve(&n, vals.data(), ia.data(), ja.data(), d1.data(), d2.data(), nullptr, bitmap.data(), b.data(), x.data(),
            &request);
      EXPECT_EQ(request, blocks ? 0 : 5);
      std::vector<long double> lt(n), dl(n);  // A x = L (D (L^T x))
      for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) lt[r] += L[c * n + r] * x[c];
      for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) dl[r] += D[r * n + c] * lt[c];
      for (int r = 0; r < n; ++r) {
        long double s = 0;
        for (int c = 0; c < n; ++c) s += L[r * n + c] * dl[c];
        EXPECT_NEAR(double(s), b0[r], 1e-12) << "row " << r << (blocks ? " with" : " without") << " block pivots";
      }
    }
  // Request 0 without a block pivot reports 2; request 1 does nothing.
  int32_t one = 1, ia[2] = {0, 0}, bitmap = 0, request = 0;
  double d = 4, b = 2, x = 0;
  zor_spblas_zor_ildlt_sv(&one, nullptr, ia, nullptr, &d, &d, nullptr, &bitmap, &b, &x, &request);
  EXPECT_EQ(request, 2);
  EXPECT_EQ(x, 0.5);
  request = 1, x = 0;
  zor_spblas_zor_ildlt_sv(&one, nullptr, ia, nullptr, &d, &d, nullptr, &bitmap, &b, &x, &request);
  EXPECT_EQ(x, 0);
}

}  // namespace
