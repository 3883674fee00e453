// The pool decision of a fresh process, driven by its environment.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

extern char **environ;

namespace {

std::string probe_path() { return std::string(ZOR_MM_PROBE); }

// Runs the probe with exactly the given extra environment entries and
// returns its output.
std::string run_probe(std::vector<std::string> env, const char *mode = "plain") {
  for (char **e = environ; *e; ++e) {
    std::string s = *e;
    if (s.rfind("ZOR_DISABLE_FAST_MM=", 0) && s.rfind("ZOR_MM_DISABLE=", 0)) env.push_back(s);
  }
  std::vector<char *> envp;
  for (auto &s : env) envp.push_back(s.data());
  envp.push_back(nullptr);
  int fds[2];
  if (pipe(fds) != 0) return "pipe failed";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
  posix_spawn_file_actions_addclose(&actions, fds[0]);
  std::string path = probe_path();
  char *argv[] = {path.data(), const_cast<char *>(mode), nullptr};
  pid_t pid;
  if (posix_spawn(&pid, path.c_str(), &actions, nullptr, argv, envp.data()) != 0) return "spawn failed";
  close(fds[1]);
  std::string out;
  char buf[256];
  ssize_t n;
  while ((n = read(fds[0], buf, sizeof buf)) > 0) out.append(buf, size_t(n));
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  posix_spawn_file_actions_destroy(&actions);
  return out;
}

TEST(Environment, AnyNonEmptyValueSwitchesPoolingOff) {
  EXPECT_EQ(run_probe({}), "1 1064 -1 -1\n");  // 1000 bytes + pad 64, pooled
  EXPECT_EQ(run_probe({"ZOR_DISABLE_FAST_MM=1"}), "-1 0 -1 -1\n");
  EXPECT_EQ(run_probe({"ZOR_DISABLE_FAST_MM=0"}), "-1 0 -1 -1\n");
  EXPECT_EQ(run_probe({"ZOR_MM_DISABLE=yes"}), "-1 0 -1 -1\n");
  EXPECT_EQ(run_probe({"ZOR_MM_DISABLE=a-value-longer-than-seventeen-bytes"}), "-1 0 -1 -1\n");
  EXPECT_EQ(run_probe({"ZOR_DISABLE_FAST_MM="}), "1 1064 -1 -1\n");  // empty: still pooled
  EXPECT_EQ(run_probe({"ZOR_DISABLE_FAST_MM=", "ZOR_MM_DISABLE=0"}), "-1 0 -1 -1\n");
}

TEST(Environment, DisableBeforeFirstUseWorksOnce) {
  EXPECT_EQ(run_probe({}, "disable"), "-1 0 1 0\n");
}

}  // namespace
