// The C names of the front against the reference library: cblas_runner runs
// every name on the same data in both orders and with each argument made
// bad in turn, once in a process holding the reference and once in a
// process holding ours (never two BLAS in one namespace). Results agree
// within rounding; every bad argument is reported at the reference's
// position, under its routine name, with the same RowMajorStrg, and ours
// leave the outputs as they were. The 64-bit names take the same calls with
// full 64-bit integers, and refuse a negative value whose low half looks
// valid where the reference refuses -1.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> run(const std::string &library, const std::string &width) {
  // The reference's C names keep a block they allocate (cblas_zhemv and its
  // kin): the leak checker of a sanitizer build would fail the run on it.
  const std::string command = "ASAN_OPTIONS=detect_leaks=0 " + std::string(ZOR_CBLAS_RUNNER) + " " + library + " " + width +
                              " 2>/dev/null";
  std::vector<std::string> lines;
  FILE *p = popen(command.c_str(), "r");
  if (!p) return lines;
  std::string line;
  char buffer[1 << 16];
  while (std::fgets(buffer, sizeof buffer, p)) {
    line += buffer;
    if (!line.empty() && line.back() == '\n') {
      line.pop_back();
      lines.push_back(line);
      line.clear();
    }
  }
  EXPECT_EQ(pclose(p), 0) << command;
  return lines;
}

// Lines by their key: the name and the case ("cblas_dgemm 3") or the bad
// argument ("cblas_dgemm order 101 arg 9 = 1").
std::map<std::string, std::string> by_key(const std::vector<std::string> &lines) {
  std::map<std::string, std::string> out;
  for (const std::string &l : lines) {
    const size_t colon = l.find(':');
    const bool bad = l.find(" order ") != std::string::npos && colon != std::string::npos;
    size_t end = bad ? colon : l.find(' ', l.find(' ') + 1);
    out[l.substr(0, end)] = l;
  }
  return out;
}

// The report part of a bad-argument line: position, routine (trailing
// blanks dropped) and RowMajorStrg, as "position routine row-major".
std::string report_of(const std::string &line) {
  const size_t at = line.find(": report ") + 9, q0 = line.find('\'', at), q1 = line.find('\'', q0 + 1);
  std::string routine = line.substr(q0 + 1, q1 - q0 - 1);
  while (!routine.empty() && routine.back() == ' ') routine.pop_back();
  const size_t rm = line.find("row-major ", q1) + 10;
  return line.substr(at, q0 - 1 - at) + " " + routine + " " + line.substr(rm, line.find(' ', rm) - rm);
}
// Only the position.
std::string position_of(const std::string &line) {
  const std::string r = report_of(line);
  return r.substr(0, r.find(' '));
}

// Numbers of a result line after the key.
std::vector<double> numbers(const std::string &line) {
  std::vector<double> out;
  std::istringstream in(line);
  std::string word;
  in >> word >> word;
  while (in >> word) {
    char *end = nullptr;
    const double v = std::strtod(word.c_str(), &end);
    if (end != word.c_str() && *end == '\0') out.push_back(v);
  }
  return out;
}

bool single(const std::string &name) {
  const std::string n = name.substr(6);
  return n[0] == 's' || n[0] == 'c' || (n[0] == 'i' && (n[1] == 's' || n[1] == 'c'));
}

// The reference's key for one of ours: ?gemm3m is checked against ?gemm.
std::string reference_key(const std::string &key) {
  const size_t at = key.find("gemm3m");
  return at == std::string::npos ? key : key.substr(0, at + 4) + key.substr(at + 6);
}

// Known difference of the tier, not of the front: srotmg's param after a
// rescaling (drotmg agrees with the reference).
bool known_tier_difference(const std::string &key) { return key.rfind("cblas_srotmg ", 0) == 0; }

void compare(const std::map<std::string, std::string> &ref, const std::map<std::string, std::string> &ours,
             int width) {
  for (const auto &[key, mine] : ours) {
    SCOPED_TRACE(key + (width == 64 ? " (64-bit names)" : ""));
    const auto it = ref.find(reference_key(key));
    if (it == ref.end()) continue;  // ?axpby, i?amin; the 64-bit refusals (below)
    const std::string &line = it->second;
    const bool extra = reference_key(key) != key;
    if (line.find(": report ") != std::string::npos) {
      if (extra) EXPECT_EQ(position_of(mine), position_of(line));
      else EXPECT_EQ(report_of(mine), report_of(line));
      if (position_of(mine) != "0") EXPECT_EQ(mine.find("OUTPUT CHANGED"), std::string::npos);
      continue;
    }
    if (known_tier_difference(key)) continue;
    const auto a = numbers(mine), b = numbers(line);
    // Settings that the routine refuses (herk with 'T') are refused alike.
    const size_t um = mine.find("unexpected report"), ur = line.find("unexpected report");
    EXPECT_EQ(um == std::string::npos ? "" : mine.substr(um), ur == std::string::npos ? "" : line.substr(ur));
    ASSERT_EQ(a.size(), b.size());
    const double tol = single(key) ? 2e-5 : 1e-12;
    double scale = 1;
    for (double v : b) scale = std::max(scale, std::fabs(v));
    for (size_t i = 0; i < a.size(); ++i)
      if (!(std::fabs(a[i] - b[i]) <= tol * scale) && !(std::isnan(a[i]) && std::isnan(b[i]))) {
        ADD_FAILURE() << "value " << i << ": ours " << a[i] << ", reference " << b[i];
        break;
      }
  }
}

const std::map<std::string, std::string> &reference() {
  static const auto ref = by_key(run(ZOR_REFERENCE_BLAS_PATH, "32"));
  return ref;
}

TEST(Cblas, AgainstTheReference) {
  const auto &ref = reference();
  ASSERT_GT(ref.size(), 4000u);
  const auto ours = by_key(run(ZOR_OUR_BLAS_PATH, "32"));
  for (const auto &[key, line] : ref) EXPECT_TRUE(ours.count(key)) << key << " not run on ours";
  compare(ref, ours, 32);
}

TEST(Cblas, SixtyFourBitNames) {
  const auto &ref = reference();
  const auto ours = by_key(run(ZOR_OUR_BLAS_PATH, "64"));
  for (const auto &[key, line] : ref) EXPECT_TRUE(ours.count(key)) << key << " not run on ours";
  compare(ref, ours, 64);
  // A value whose low half is 4 but which is negative as a whole is
  // refused where the reference refuses -1.
  int checked = 0;
  for (const auto &[key, line] : ours) {
    const size_t at = key.find(" = -4294967292");
    if (at == std::string::npos) continue;
    const auto it = ref.find(reference_key(key.substr(0, at)) + " = -1");
    ASSERT_NE(it, ref.end()) << key;
    EXPECT_EQ(position_of(line), position_of(it->second)) << key;
    ++checked;
  }
  EXPECT_GT(checked, 200);
}

// The default cblas_xerbla prints what the reference's prints for every
// routine, position and RowMajorStrg (the row-major positions translated
// back to the caller's; the routine named bare or blank-padded), and
// returns where the reference's ends the process.
TEST(Cblas, DefaultHandlerPrintsAsTheReferenceAndReturns) {
  const auto ref = run(ZOR_REFERENCE_BLAS_PATH, "handler"), ours = run(ZOR_OUR_BLAS_PATH, "handler");
  ASSERT_GT(ref.size(), 4000u);
  ASSERT_EQ(ours.size(), ref.size());
  const std::string returned = "returned|";
  for (size_t i = 0; i < ref.size(); ++i) {
    ASSERT_TRUE(ours[i].ends_with(returned)) << ours[i];
    EXPECT_EQ(ours[i].substr(0, ours[i].size() - returned.size()), ref[i]);
  }
}

}  // namespace
