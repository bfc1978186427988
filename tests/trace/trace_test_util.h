// Helpers of the trace tests: scratch directories, running a function in a
// child process (the trace library keeps process-wide state, so each test
// traces in a fresh child), running a command, reading whole files.
#pragma once
#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tracetest {

// A directory removed with its files (one level) at scope end.
struct ScratchDir {
  std::string path;
  ScratchDir() {
    const char* tmp = getenv("TMPDIR");
    std::string templ = std::string(tmp && *tmp ? tmp : "/tmp") + "/sve-trace-test.XXXXXX";
    std::vector<char> buf(templ.begin(), templ.end());
    buf.push_back(0);
    if (mkdtemp(buf.data())) path = buf.data();
  }
  ~ScratchDir() {
    for (const std::string& f : files()) unlink((path + "/" + f).c_str());
    rmdir(path.c_str());
  }
  std::vector<std::string> files() const {
    std::vector<std::string> out;
    if (DIR* d = opendir(path.c_str())) {
      while (dirent* e = readdir(d))
        if (strcmp(e->d_name, ".") && strcmp(e->d_name, "..")) out.push_back(e->d_name);
      closedir(d);
    }
    return out;
  }
  std::string operator/(const std::string& name) const { return path + "/" + name; }
};

// Runs fn in a forked child; returns its exit status (fn's result), or -1
// if the child did not exit normally. The child ends with _exit, so nothing
// of the test framework runs twice.
template <class Fn> int run_in_child(Fn fn, pid_t* child_pid = nullptr) {
  fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) _exit(fn());
  if (child_pid) *child_pid = pid;
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace tracetest
