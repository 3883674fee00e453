// Runs every C name of a BLAS library on fixed data and with each argument
// made bad in turn, printing one line per call: the results, or the report
// its cblas_xerbla received (position, routine, RowMajorStrg,
// CBLAS_CallFromC) and whether the outputs stayed as they were. The test
// runs this program once on the reference library and once on ours, each in
// a process of its own, and compares the lines.
//   cblas_runner LIBRARY WIDTH [FILTER]
//   cblas_runner LIBRARY handler
// WIDTH 32: the plain names, integers passed with garbage in their upper
// halves; 64: the names suffixed 64_ (ours only), full 64-bit integers.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cinttypes>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Case {
  const char *name;
  char precision;
  const char *result, *args;
  bool in_reference;
};
const Case kCases[] = {
#include "cblas_cases.inc"
};

int *g_row_major = nullptr, *g_from_c = nullptr;
struct Report {
  int position = 0, row_major = -1, from_c = -1;
  std::string routine, message;
} g_report;

}  // namespace

// Every report of either library lands here: the program's own definition
// is the one the dynamic linker binds.
extern "C" __attribute__((visibility("default"))) void cblas_xerbla(int position, const char *routine,
                                                                   const char *message, ...) {
  g_report.position = position;
  g_report.routine = routine;
  g_report.message = message;
  g_report.row_major = g_row_major ? *g_row_major : -2;
  g_report.from_c = g_from_c ? *g_from_c : -2;
}

namespace {

// Integer-class arguments in order and up to four floating ones: under the
// x86-64 calling convention each class fills its own registers, so one call
// shape serves every routine.
using I = int64_t;
template <class R, class F>
using Fn = R (*)(I, I, I, I, I, I, I, I, I, I, I, I, I, I, I, I, F, F, F, F);

struct Arguments {
  I ints[16] = {};
  double reals[4] = {};
  int nints = 0, nreals = 0;
};

constexpr size_t kBuffer = 1024;  // elements of every array

struct Buffers {
  std::vector<std::vector<double>> arrays;  // doubles enough for any element
  std::vector<double> scalars;               // complex scalars
};

unsigned g_seed = 1;
double next_value() {
  g_seed = g_seed * 1103515245u + 12345u;
  return double((g_seed >> 8) % 2001) / 1000.0 - 1.0;
}

bool is_complex(char p) { return p == 'c' || p == 'z'; }
bool is_float(char p) { return p == 's' || p == 'c'; }

struct ArgKind {
  char kind;
  std::string name;
};
std::vector<ArgKind> parse(const char *args) {
  std::vector<ArgKind> out;
  const char *s = args;
  while (*s) {
    while (*s == ' ') ++s;
    if (!*s) break;
    ArgKind sp{*s, ""};
    ++s;
    if (*s == ':') {
      ++s;
      while (*s && *s != ' ') sp.name += *s++;
    } else {
      sp.name = "order";
    }
    out.push_back(sp);
  }
  return out;
}

// The values of one call.
struct Setting {
  int order = 102;
  int trans[2] = {111, 111}, uplo = 121, diag = 131, side = 141;
  I m = 5, n = 4, k = 3, kl = 1, ku = 2, ld = 13, inc[2] = {1, 1};
  int offset = 0;     // arrays start this many reals (4 or 8 bytes) late
  int bad = 0;        // 1-based argument made bad, 0 none
  I bad_value = 0;    // its value
};

I integer_of(const Setting &s, const std::string &name, int &inc_index) {
  if (name == "m") return s.m;
  if (name == "n") return s.n;
  if (name == "k") return s.k;
  if (name == "kl") return s.kl;
  if (name == "ku") return s.ku;
  if (name.rfind("ld", 0) == 0) return s.ld;
  return s.inc[inc_index++ % 2];
}

int g_width = 32;
I widen(I v) {
  if (g_width == 64) return v;
  return I(uint64_t(uint32_t(int32_t(v))) | 0x5a5a000000000000ull);  // garbage above
}

// Builds the arguments of `c` under `s`; arrays filled with fresh values.
Arguments build(const Case &c, const std::vector<ArgKind> &kinds, const Setting &s, Buffers &b) {
  Arguments a;
  b.arrays.clear();
  b.scalars.assign(16, 0);
  int trans_index = 0, inc_index = 0, position = 0, scalar_index = 0;
  for (const ArgKind &sp : kinds) {
    ++position;
    I v = 0;
    bool real = false;
    double rv = 0;
    switch (sp.kind) {
      case 'O': v = s.order; break;
      case 'T': v = s.trans[trans_index++ % 2]; break;
      case 'U': v = s.uplo; break;
      case 'D': v = s.diag; break;
      case 'S': v = s.side; break;
      case 'i': v = integer_of(s, sp.name, inc_index); break;
      case 'a':
        if (is_complex(c.precision)) {
          double *p = &b.scalars[4 * scalar_index++];
          p[0] = next_value();
          p[1] = next_value();
          if (is_float(c.precision)) {
            float f[2] = {float(p[0]), float(p[1])};
            std::memcpy(p, f, sizeof f);
          }
          v = I(p);
        } else {
          real = true;
          rv = next_value();
        }
        break;
      case 'r': real = true; rv = next_value(); break;
      default: {  // arrays
        b.arrays.emplace_back(kBuffer * 2);
        auto &arr = b.arrays.back();
        if (is_float(c.precision)) {
          float *f = reinterpret_cast<float *>(arr.data());
          for (size_t i = 0; i < kBuffer * 2; ++i) f[i] = float(next_value());
        } else {
          for (double &x : arr) x = next_value();
        }
        if (sp.name == "d1" || sp.name == "d2") arr[0] = std::fabs(arr[0]) + 0.5;  // rotmg's weights
        if (sp.name == "p") arr[0] = -1;                                           // rotm's flag
        // The vectors and matrices start off the 16-byte boundary as asked.
        const bool shifted = sp.name == "x" || sp.name == "y" || sp.name == "a" || sp.name == "b" ||
                             sp.name == "c" || sp.name == "ap";
        v = I(arr.data()) + (shifted ? I(s.offset) * (is_float(c.precision) ? 4 : 8) : 0);
      }
    }
    if (position == s.bad) v = s.bad_value;
    if (real) a.reals[a.nreals++] = rv;
    else a.ints[a.nints++] = sp.kind == 'i' ? widen(v) : v;
  }
  return a;
}

// Calls `fn` with `a`; the result as text.
std::string call(const Case &c, void *fn, const Arguments &a) {
  const I *x = a.ints;
  char out[64] = "";
  const std::string r = c.result;
  auto run = [&](auto typed) {
    using F = decltype(typed);
    const F f0 = F(a.reals[0]), f1 = F(a.reals[1]), f2 = F(a.reals[2]), f3 = F(a.reals[3]);
    const bool single_result = c.precision == 's' || c.precision == 'c';
    if (r == "void") {
      reinterpret_cast<Fn<void, F>>(fn)(x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7], x[8], x[9], x[10], x[11],
                                         x[12], x[13], x[14], x[15], f0, f1, f2, f3);
    } else if (r == "index") {
      const size_t v = reinterpret_cast<Fn<size_t, F>>(fn)(x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7], x[8],
                                                            x[9], x[10], x[11], x[12], x[13], x[14], x[15], f0, f1,
                                                            f2, f3);
      std::snprintf(out, sizeof out, " = %zu", v);
    } else if (r == "double" || !single_result) {
      const double v = reinterpret_cast<Fn<double, F>>(fn)(x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7], x[8],
                                                            x[9], x[10], x[11], x[12], x[13], x[14], x[15], f0, f1,
                                                            f2, f3);
      std::snprintf(out, sizeof out, " = %.17g", v);
    } else {
      const float v = reinterpret_cast<Fn<float, F>>(fn)(x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7], x[8],
                                                          x[9], x[10], x[11], x[12], x[13], x[14], x[15], f0, f1,
                                                          f2, f3);
      std::snprintf(out, sizeof out, " = %.9g", double(v));
    }
  };
  if (is_float(c.precision)) run(float{});
  else run(double{});
  return out;
}

// The written arrays, element by element.
std::string outputs(const Case &c, const std::vector<ArgKind> &kinds, const Buffers &b) {
  std::string s;
  size_t array = 0;
  char num[40];
  for (const ArgKind &sp : kinds) {
    if (sp.kind != 'x' && sp.kind != 'X' && sp.kind != 'R') continue;
    const auto &arr = b.arrays[array++];
    if (sp.kind == 'x') continue;
    s += " " + sp.name + ":";
    const size_t reals = sp.kind == 'R' ? 1 : kBuffer * (is_complex(c.precision) ? 2 : 1);
    for (size_t i = 0; i < reals; ++i) {
      const double v = is_float(c.precision) ? double(reinterpret_cast<const float *>(arr.data())[i]) : arr[i];
      std::snprintf(num, sizeof num, is_float(c.precision) ? " %.9g" : " %.17g", v);
      s += num;
    }
  }
  return s;
}

std::vector<Setting> settings(const std::vector<ArgKind> &kinds) {
  bool ordered = false, has_t = false, has_u = false, has_d = false, has_s = false;
  int ntrans = 0;
  for (const ArgKind &sp : kinds) {
    ordered |= sp.kind == 'O';
    has_t |= sp.kind == 'T';
    ntrans += sp.kind == 'T';
    has_u |= sp.kind == 'U';
    has_d |= sp.kind == 'D';
    has_s |= sp.kind == 'S';
  }
  std::vector<Setting> out;
  Setting base;
  if (!ordered) {
    for (I n : {0, 1, 7})
      for (I inc : {1, 2, -1, -3}) {
        Setting s = base;
        s.n = n;
        s.inc[0] = inc;
        s.inc[1] = inc == 1 ? 1 : -inc + 1;
        s.offset = int((out.size() + out.size() / 4) % 4);
        out.push_back(s);
      }
    return out;
  }
  for (int order : {101, 102})
    for (int t0 : {111, 112, 113})
      for (int t1 : {111, 113})
        for (int u : {121, 122})
          for (int side : {141, 142})
            for (int diag : {131, 132})
              for (I inc : {1, -2}) {
                if ((!has_t && (t0 != 111)) || (ntrans < 2 && t1 != 111) || (!has_u && u != 121) ||
                    (!has_s && side != 141) || (!has_d && diag != 131))
                  continue;
                Setting s = base;
                s.order = order;
                s.trans[0] = t0;
                s.trans[1] = t1;
                s.uplo = u;
                s.side = side;
                s.diag = diag;
                s.inc[0] = inc;
                s.inc[1] = inc == 1 ? 1 : 3;
                out.push_back(s);
              }
  // Leading dimensions minimal for the largest side (5), a little above it
  // and well above, and every start offset, spread over the settings.
  constexpr I kLds[] = {13, 5, 7};
  for (size_t i = 0; i < out.size(); ++i) {
    out[i].ld = kLds[i % 3];
    out[i].offset = int((i + i / 4) % 4);
  }
  return out;
}

// Each argument of an ordered routine made bad in turn: letters 99 (and
// the other transpositions, which some routines refuse), integers -1,
// leading dimensions 1, increments 0; and a bad order.
std::vector<Setting> bad_settings(const std::vector<ArgKind> &kinds) {
  std::vector<Setting> out;
  if (kinds.empty() || kinds[0].kind != 'O') return out;
  for (int order : {101, 102}) {
    int position = 0;
    for (const ArgKind &sp : kinds) {
      ++position;
      std::vector<I> values;
      switch (sp.kind) {
        case 'O': values = {7}; break;
        case 'T': values = {99, 112, 113}; break;
        case 'U': case 'D': case 'S': values = {99}; break;
        case 'i':
          if (sp.name.rfind("ld", 0) == 0) values = {1};
          else if (sp.name.rfind("inc", 0) == 0) values = {0};
          else values = {-1, I(0xffffffff00000004ull)};
          break;
        default: break;
      }
      for (I v : values) {
        Setting s;
        s.order = order;
        s.m = s.n = s.k = 4;
        s.kl = s.ku = 1;
        s.ld = 9;
        s.bad = position;
        s.bad_value = v;
        // The big negative value is a 64-bit test: its low half is valid.
        if (v == I(0xffffffff00000004ull) && g_width != 64) continue;
        out.push_back(s);
      }
    }
  }
  return out;
}

// What the library's own cblas_xerbla prints for each routine of the table
// and each position, with RowMajorStrg 1 and 0: one child a call (the
// reference's handler ends its process; a handler that returns is followed
// by "returned"), its stderr read back through a pipe. One line per call:
// "handler NAME POSITION ROW-MAJOR: TEXT".
int print_handler_lines(void *lib) {
  using Handler = void (*)(int, const char *, const char *, ...);
  const auto handler = reinterpret_cast<Handler>(dlsym(lib, "cblas_xerbla"));
  if (!handler || !g_row_major) return 2;
  for (const Case &c : kCases) {
    const auto kinds = parse(c.args);
    if (!c.in_reference || kinds.empty() || kinds[0].kind != 'O') continue;
    // The name as the checks of the C layer give it and as the Fortran
    // checks do (the routine's name blank-padded to six letters).
    std::string padded = c.name;
    padded.resize(std::max<size_t>(padded.size(), 12), ' ');
    for (const std::string &name : {std::string(c.name), padded})
    for (int row_major : {0, 1})
      for (int position = 1; position <= int(kinds.size()); ++position) {
        int fds[2];
        if (pipe(fds) != 0) return 2;
        std::fflush(stdout);
        const pid_t pid = fork();
        if (pid == 0) {
          dup2(fds[1], 2);
          close(fds[0]);
          *g_row_major = row_major;
          handler(position, name.c_str(), "");
          std::fprintf(stderr, "returned\n");
          _exit(0);
        }
        close(fds[1]);
        std::string text;
        char buffer[256];
        ssize_t got;
        while ((got = read(fds[0], buffer, sizeof buffer)) > 0) text.append(buffer, size_t(got));
        close(fds[0]);
        waitpid(pid, nullptr, 0);
        for (char &ch : text)
          if (ch == '\n') ch = '|';
        std::printf("handler '%s' %d %d: %s\n", name.c_str(), position, row_major, text.c_str());
      }
  }
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s LIBRARY WIDTH [FILTER]\n", argv[0]);
    return 2;
  }
  void *lib = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
  if (!lib) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  g_width = std::atoi(argv[2]);
  const char *filter = argc > 3 ? argv[3] : "";
  g_row_major = static_cast<int *>(dlsym(lib, "RowMajorStrg"));
  g_from_c = static_cast<int *>(dlsym(lib, "CBLAS_CallFromC"));
  if (std::strcmp(argv[2], "handler") == 0) return print_handler_lines(lib);
  const bool reference = std::strstr(argv[1], "/blas/libblas") != nullptr;
  for (const Case &c : kCases) {
    if (reference && !c.in_reference) continue;
    if (*filter && std::strcmp(filter, c.name) != 0) continue;
    const std::string name = std::string(c.name) + (g_width == 64 ? "64_" : "");
    void *fn = dlsym(lib, name.c_str());
    if (!fn) {
      std::printf("%s missing\n", c.name);
      continue;
    }
    const auto kinds = parse(c.args);
    g_seed = 1;
    int index = 0;
    for (const Setting &s : settings(kinds)) {
      Buffers b;
      const Arguments a = build(c, kinds, s, b);
      g_report = Report{};
      const std::string r = call(c, fn, a);
      std::printf("%s %d%s%s", c.name, index++, r.c_str(), outputs(c, kinds, b).c_str());
      if (g_report.position) std::printf(" unexpected report %d", g_report.position);
      std::printf("\n");
    }
    for (const Setting &s : bad_settings(kinds)) {
      Buffers b;
      Arguments a = build(c, kinds, s, b);
      const Buffers before = b;
      g_report = Report{};
      call(c, fn, a);
      const bool untouched = outputs(c, kinds, b) == outputs(c, kinds, before);
      std::string message = g_report.message;
      for (char &ch : message)
        if (ch == '\n') ch = '|';
      std::printf("%s order %d arg %d = %" PRId64 ": report %d '%s' row-major %d from-C %d message '%s'%s; after %d %d\n",
                  c.name, s.order, s.bad, s.bad_value, g_report.position, g_report.routine.c_str(),
                  g_report.row_major, g_report.from_c, message.c_str(), untouched ? "" : " OUTPUT CHANGED",
                  g_row_major ? *g_row_major : -2, g_from_c ? *g_from_c : -2);
    }
  }
  return 0;
}
