// A peer library in a child process of its own: the child sets the peer's
// environment (OpenBLAS's core type) before it loads the library, so that
// several settings of one library are measured in one run, each beside our
// own figure. The parent sends a case number down a pipe; the child times
// that case with the peer's routines and sends the time per call back.
#pragma once
#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace zor::bench {

// Processor time of this thread: other processes' work on the shared
// machine is not charged to whichever side ran beside it.
inline double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// Best time of `repeats` timed runs of `run`, each after an untimed `prepare`.
template <class Prepare, class Run>
double best_run_seconds(Prepare &&prepare, Run &&run, int repeats) {
  double best = 1e30;
  for (int r = 0; r < repeats; ++r) {
    prepare();
    const double start = thread_seconds();
    run();
    best = std::min(best, thread_seconds() - start);
  }
  return best;
}

// Where a peer's routines come from: libraries loaded in order, each local
// to this process's lookups, so that one peer's names never bind another's.
struct PeerLibrary {
  std::string label;               // as printed
  const char *coretype = nullptr;  // OPENBLAS_CORETYPE, or null to unset it
  std::vector<std::string> paths;  // loaded in this order; symbols from the last
};

class Peer {
 public:
  // time(index, lookup) runs in the child and returns seconds per call;
  // lookup(name) gives a routine of the peer by its symbol name.
  template <class Time>
  Peer(const PeerLibrary &lib, Time &&time) : label_(lib.label) {
    int down[2], up[2];
    if (pipe(down) != 0 || pipe(up) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      close(down[1]);
      close(up[0]);
      if (lib.coretype) {
        setenv("OPENBLAS_CORETYPE", lib.coretype, 1);
        setenv("OPENBLAS_L2_SIZE", "262144", 1);
      } else {
        unsetenv("OPENBLAS_CORETYPE");
      }
      setenv("OPENBLAS_NUM_THREADS", "1", 1);
      void *handle = nullptr;
      for (const std::string &p : lib.paths)
        if (!(handle = dlopen(p.c_str(), RTLD_NOW | RTLD_LOCAL))) _exit(2);
      auto lookup = [handle](const char *name) {
        void *f = dlsym(handle, name);
        if (!f) {
          std::fprintf(stderr, "peer lacks %s\n", name);
          _exit(4);
        }
        return f;
      };
      char core[64] = {};
      if (auto corename = reinterpret_cast<char *(*)()>(dlsym(handle, "openblas_get_corename")))
        std::snprintf(core, sizeof core, "%s", corename());
      if (write(up[1], core, sizeof core) != sizeof core) _exit(3);
      int index;
      while (read(down[0], &index, sizeof index) == sizeof index) {
        double s = time(index, lookup);
        if (write(up[1], &s, sizeof s) != sizeof s) _exit(3);
      }
      _exit(0);
    }
    close(down[0]);
    close(up[1]);
    to_ = down[1];
    from_ = up[0];
    char core[64] = {};
    if (read(from_, core, sizeof core) == sizeof core && core[0]) label_ += std::string(" (") + core + ")";
  }
  ~Peer() {
    if (to_ >= 0) close(to_);
    if (from_ >= 0) close(from_);
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
  }
  Peer(const Peer &) = delete;
  Peer &operator=(const Peer &) = delete;

  // Seconds per call of case `index`, or 0 if the child failed.
  double measure(int index) {
    double s = 0;
    if (write(to_, &index, sizeof index) != sizeof index || read(from_, &s, sizeof s) != sizeof s) s = 0;
    return s;
  }
  const std::string &label() const { return label_; }

 private:
  std::string label_;
  pid_t pid_ = -1;
  int to_ = -1, from_ = -1;
};

}  // namespace zor::bench
