// OpenBLAS as a benchmark peer with a kernel set the program chooses itself.
//
// OpenBLAS picks its kernel set once, when it is loaded, from
// OPENBLAS_CORETYPE (and sizes its blocks from OPENBLAS_L2_SIZE); whatever
// the environment presets would otherwise decide the comparison. So each
// peer runs in a forked child that first unsets both, sets what was asked
// (a core type, with the machine's second-level cache size), then loads the
// serial library by its path and reports the kernel set it took. The parent
// sends case numbers; the child times its routine on that case and sends the
// figure back. Calls alternate with the parent's own timings, so ours and the
// peer's are measured side by side under the same load.
//
// The SSE-era sets are the ones whose kernels use 128-bit vectors only, the
// fair comparison for this tier; "native" is what the library picks here.
#pragma once
#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zor::bench {

inline const char *const kSseEraCores[] = {"Nehalem", "Penryn", "Core2", "Barcelona"};

// The second-level cache of this machine in bytes, as the OpenBLAS variable
// wants it (0 if unknown).
inline long second_level_cache_bytes() {
  long bytes = sysconf(_SC_LEVEL2_CACHE_SIZE);
  if (bytes > 0) return bytes;
  if (FILE *f = std::fopen("/sys/devices/system/cpu/cpu0/cache/index2/size", "r")) {
    char unit = 0;
    if (std::fscanf(f, "%ld%c", &bytes, &unit) < 1) bytes = 0;
    std::fclose(f);
    if (unit == 'K') bytes *= 1024;
    if (unit == 'M') bytes *= 1024 * 1024;
    return bytes;
  }
  return 0;
}

// The processor's name, for reports.
inline std::string processor_name() {
  std::string name = "unknown processor";
  if (FILE *f = std::fopen("/proc/cpuinfo", "r")) {
    char line[512];
    while (std::fgets(line, sizeof line, f)) {
      if (std::string(line).rfind("model name", 0) == 0) {
        std::string s = line;
        s = s.substr(s.find(':') + 1);
        while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.erase(s.begin());
        while (!s.empty() && (s.back() == '\n' || s.back() == ' ')) s.pop_back();
        name = s;
        break;
      }
    }
    std::fclose(f);
  }
  return name;
}

class OpenBlasPeer {
 public:
  // measure(case, library handle) runs in the child and returns the figure.
  using Measure = std::function<double(int, void *)>;

  // coretype null: the native choice. path: the serial library.
  OpenBlasPeer(const char *coretype, const char *path, Measure measure)
      : OpenBlasPeer(coretype, std::vector<std::string>{path}, std::move(measure)) {}
  // Several libraries loaded in order, the routines taken from the last: a
  // peer whose library needs another one first (the reference LAPACK needs
  // the reference BLAS, which the system's own choice would not give it).
  OpenBlasPeer(const char *coretype, const std::vector<std::string> &paths, Measure measure)
      : asked_(coretype ? coretype : "native") {
    int down[2], up[2];
    if (pipe(down) != 0) return;
    if (pipe(up) != 0) {
      close(down[0]);
      close(down[1]);
      return;
    }
    pid_ = fork();
    if (pid_ == 0) {
      close(down[1]);
      close(up[0]);
      unsetenv("OPENBLAS_CORETYPE");
      unsetenv("OPENBLAS_L2_SIZE");
      setenv("OPENBLAS_NUM_THREADS", "1", 1);
      if (coretype) {
        setenv("OPENBLAS_CORETYPE", coretype, 1);
        const long l2 = second_level_cache_bytes();
        if (l2 > 0) setenv("OPENBLAS_L2_SIZE", std::to_string(l2).c_str(), 1);
      }
      void *lib = nullptr;
      for (const std::string &path : paths)
        if (!(lib = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))) _exit(2);
      auto corename = reinterpret_cast<char *(*)()>(dlsym(lib, "openblas_get_corename"));
      char name[64] = {};
      std::snprintf(name, sizeof name, "%s", corename ? corename() : "?");
      if (write(up[1], name, sizeof name) != sizeof name) _exit(3);
      int index;
      while (read(down[0], &index, sizeof index) == sizeof index) {
        const double figure = measure(index, lib);
        if (write(up[1], &figure, sizeof figure) != sizeof figure) _exit(3);
      }
      _exit(0);
    }
    close(down[0]);
    close(up[1]);
    to_ = down[1];
    from_ = up[0];
    char name[64] = {};
    if (read(from_, name, sizeof name) == sizeof name) core_ = name;
  }
  OpenBlasPeer(const OpenBlasPeer &) = delete;
  OpenBlasPeer &operator=(const OpenBlasPeer &) = delete;
  ~OpenBlasPeer() {
    if (to_ >= 0) close(to_);
    if (from_ >= 0) close(from_);
    if (pid_ > 0) {
      kill(pid_, SIGTERM);  // later children hold copies of this pipe's ends
      waitpid(pid_, nullptr, 0);
    }
  }
  // The figure of one case, measured now in the child (0 if it failed).
  double measure(int index) {
    double figure = 0;
    if (write(to_, &index, sizeof index) != sizeof index || read(from_, &figure, sizeof figure) != sizeof figure)
      figure = 0;
    return figure;
  }
  const std::string &asked() const { return asked_; }
  // The kernel set the library reports it took.
  const std::string &core() const { return core_; }

 private:
  std::string asked_, core_ = "not loaded";
  int to_ = -1, from_ = -1;
  pid_t pid_ = -1;
};

}  // namespace zor::bench
