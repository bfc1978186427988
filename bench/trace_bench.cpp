// Records per second per thread through the trace library (incr_count, then
// trace_mem, as the emulator calls them) with 1, 2 and 4 threads, each set
// measured in a fresh child process (the library's state is process-wide):
//   null        to /dev/null: the record path and the write calls;
//   null-nocnt  the same without incr_count: what the shared counter costs;
//   file        to a scratch file in $TMPDIR (default /tmp), removed at the
//               end: adds the file system's bandwidth.
//
//   trace_bench [records per thread, default 2000000]
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "trace/memtrace_sve_utils.h"

namespace {

void run(uint64_t n, uint32_t tid, bool count) {
  sve_mem_ref_t r{};
  r.thread_id = tid;
  r.access_type = MEMACCESS_READ;
  r.size = 64;
  for (uint64_t i = 0; i < n; ++i) {
    r.count = count ? incr_count() : i;
    r.address = 0x10000 + 64 * i;
    r.pc = 0x400000 + 4 * (i & 63);
    trace_mem(r);
  }
  sve_thread_exit();
}

void measure(const char* label, const std::string& path, uint64_t n, bool count) {
  std::fflush(stdout);
  pid_t pid = fork();
  if (pid != 0) {
    int status;
    waitpid(pid, &status, 0);
    return;
  }
  setenv("SVE_TRACE_FILE", path.c_str(), 1);
  sve_init(nullptr, "trace_bench");
  for (int threads : {1, 2, 4}) {
    auto t0 = std::chrono::steady_clock::now();
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t) pool.emplace_back(run, n, uint32_t(t + 1), count);
    for (auto& t : pool) t.join();
    double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    double per_thread = double(n) / s;
    std::printf("%-11s %8d %16.1f %12.0f\n", label, threads, per_thread / 1e6, per_thread * threads * 48 / 1e6);
  }
  sve_exit();
  std::fflush(stdout);
  _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t n = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 2000000;
  const char* tmp = getenv("TMPDIR");
  std::string file = std::string(tmp && *tmp ? tmp : "/tmp") + "/trace_bench." + std::to_string(getpid()) + ".bin";
  std::printf("%-11s %8s %16s %12s\n", "to", "threads", "Mrecords/s/thr", "MB/s total");
  measure("null", "/dev/null", n, true);
  measure("null-nocnt", "/dev/null", n, false);
  measure("file", file, n, true);
  struct stat st;
  if (stat(file.c_str(), &st) == 0 && st.st_size != off_t(32 + 16 + 7 * n * 48))
    std::printf("unexpected file size %lld\n", (long long)st.st_size);
  unlink(file.c_str());
  return 0;
}
