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

// Runs argv with stdout and stderr captured; returns the exit status or -1.
inline int run_command(const std::vector<std::string>& argv, std::string& out, std::string& err,
                       const std::string& scratch) {
  std::string out_path = scratch + "/cmd.out", err_path = scratch + "/cmd.err";
  fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    int o = open(out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int e = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(o, 1);
    dup2(e, 2);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    _exit(127);
  }
  int status = 0;
  bool ok = pid > 0 && waitpid(pid, &status, 0) == pid;
  auto slurp = [](const std::string& p) {
    std::ifstream f(p);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
  };
  out = slurp(out_path);
  err = slurp(err_path);
  unlink(out_path.c_str());
  unlink(err_path.c_str());
  return ok && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream s(text);
  for (std::string l; std::getline(s, l);) out.push_back(l);
  return out;
}

}  // namespace tracetest
