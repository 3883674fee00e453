// The table of every exported grammar kernel (generated from
// tools/spblas_family.py), the cases of one format in it, and the check
// that the table's names of a format are those of the export list.
#pragma once
#include <complex>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zor/spblas.h>

namespace zor::test::sparse {

struct Case {
  const char *name;
  char precision;
  int int_bytes;
  const char *format;
  int base;
  char op, structure, part, diag;
  const char *operation, *mode;
  void (*entry)();
};

inline const Case kCases[] = {
#include "spblas_cases.inc"
};

inline std::vector<int> cases_of(const char *format) {
  std::vector<int> out;
  for (int i = 0; i < int(std::size(kCases)); ++i)
    if (std::strcmp(kCases[i].format, format) == 0) out.push_back(i);
  return out;
}

// Runs one case of the table through Run<E, I>: the element type its precision
// letter names and the index type of its integer width.
template <template <class, class> class Run, class Rng>
void run_case(const Case &cs, Rng &rng) {
  auto with_index = [&]<class I>() {
    switch (cs.precision) {
      case 's': Run<float, I>{cs, rng}.run(); break;
      case 'd': Run<double, I>{cs, rng}.run(); break;
      case 'c': Run<std::complex<float>, I>{cs, rng}.run(); break;
      case 'z': Run<std::complex<double>, I>{cs, rng}.run(); break;
    }
  };
  if (cs.int_bytes == 8) with_index.template operator()<int64_t>();
  else with_index.template operator()<int32_t>();
}

// The names of `format` in the table are exactly those of the export list,
// zero_based and one_based of them per base in each integer width.
inline void expect_export_names(const char *format, int zero_based, int one_based) {
  std::set<std::string> ours, listed;
  std::map<std::string, int> per_base;
  for (int i : cases_of(format)) {
    const Case &cs = kCases[i];
    ours.insert(cs.name);
    per_base[std::string(cs.int_bytes == 4 ? "lp64 " : "") + char('0' + cs.base)]++;
  }
  std::ifstream tsv(ZOR_EXPORTS_TSV);
  ASSERT_TRUE(tsv) << ZOR_EXPORTS_TSV;
  std::regex names(std::string("^zor_spblas_(lp64_)?[sdcz]") + format + "[01].*");
  for (std::string line; std::getline(tsv, line);) {
    std::string name = line.substr(0, line.find('\t'));
    if (std::regex_match(name, names)) listed.insert(name);
  }
  EXPECT_EQ(ours.size(), cases_of(format).size());
  EXPECT_EQ(listed.size(), size_t(2 * (zero_based + one_based)));
  EXPECT_EQ(ours, listed);
  EXPECT_EQ(per_base["0"], zero_based);
  EXPECT_EQ(per_base["1"], one_based);
  EXPECT_EQ(per_base["lp64 0"], zero_based);
  EXPECT_EQ(per_base["lp64 1"], one_based);
}

}  // namespace zor::test::sparse

// The two suites of a format's test: every case of the table against its
// dense expansion through the file's CaseRun (seeded by the case's index), and
// the format's names against the export list.
#define ZOR_SPBLAS_FAMILY_SUITES(Format, format, first_seed, zero_based, one_based)                              \
  class Format##Kernel : public testing::TestWithParam<int> {};                                           \
  TEST_P(Format##Kernel, MatchesTheDenseExpansion) {                                                      \
    const Case &cs = kCases[GetParam()];                                                                  \
    Rng rng((first_seed) + GetParam());                                                                         \
    SCOPED_TRACE(testing::Message() << cs.name << " seed " << rng.seed);                                  \
    run_case<CaseRun>(cs, rng);                                                                           \
  }                                                                                                       \
  INSTANTIATE_TEST_SUITE_P(Family, Format##Kernel, testing::ValuesIn(cases_of(format)),                   \
                           [](const testing::TestParamInfo<int> &info) { return std::string(kCases[info.param].name); }); \
  TEST(Format##Family, NamesAreTheExportList) { expect_export_names(format, zero_based, one_based); }
