// The trace library end to end: records traced by many threads in a child
// process, the resulting file read back and checked as a whole.
#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <map>
#include <thread>
#include <vector>

#include "tests/trace/trace_test_util.h"
#include "trace/memtrace_sve_utils.h"
#include "trace/trace_file.h"

namespace {

using namespace tracetest;

uint32_t tid_of(int i) { return 0x1000u + uint32_t(i); }

// Record number seq of a thread: every field but count follows from (tid, seq).
sve_mem_ref_t fill_ref(uint32_t tid, uint64_t seq) {
  sve_mem_ref_t r;
  r.count = 0;
  r.thread_id = tid;
  r.group_flags = uint32_t(seq % 8);
  r.access_type = seq % 3 ? MEMACCESS_READ : MEMACCESS_WRITE;
  r.reserved = 0xdeadbeef;  // must reach the file as zero
  r.size = 1 + seq % 64;
  r.address = (uint64_t(tid) << 40) | seq;
  r.pc = 0x400000 + (seq % 37) * 4;
  return r;
}

sve_mem_ref_t make_ref(uint32_t tid, uint64_t seq) {
  sve_mem_ref_t r = fill_ref(tid, seq);
  r.count = incr_count();
  return r;
}

void trace_run(uint32_t tid, uint64_t from, uint64_t to) {
  for (uint64_t s = from; s < to; ++s) trace_mem(make_ref(tid, s));
}

// Checks the records as a whole: every count once, each thread's records a
// gapless run 0..k-1 in file order with increasing counts, every field as
// traced. Returns the number of records per thread.
std::map<uint32_t, uint64_t> check_records(const trace_file& f) {
  std::map<uint32_t, uint64_t> next;
  std::map<uint32_t, uint64_t> last_count;
  std::vector<uint64_t> counts;
  int reported = 0;
  for (const sve_mem_ref_t& r : f.records) {
    counts.push_back(r.count);
    uint64_t seq = next[r.thread_id]++;
    sve_mem_ref_t want = fill_ref(r.thread_id, seq);
    want.count = r.count;
    want.reserved = 0;
    bool ok = memcmp(&want, &r, sizeof r) == 0 && r.count > last_count[r.thread_id];
    last_count[r.thread_id] = r.count;
    if (!ok && reported++ < 5)
      ADD_FAILURE() << "thread " << std::hex << r.thread_id << std::dec << " record " << seq << ": address "
                    << std::hex << r.address << " count " << std::dec << r.count;
  }
  std::sort(counts.begin(), counts.end());
  EXPECT_TRUE(std::adjacent_find(counts.begin(), counts.end()) == counts.end()) << "a count appears twice";
  return next;
}

trace_file read_ok(const std::string& path) {
  trace_file f;
  std::string error;
  EXPECT_EQ(read_trace_file(path.c_str(), f, error), TRACE_OK) << error;
  return f;
}

// 8 threads of 20,000 records: two flush themselves and end, two end and rely
// on the thread key, four are still alive at sve_exit and trace on after it;
// two late threads take over released buffers.
TEST(TraceLib, ManyThreadsWriteEveryRecordOnce) {
  ScratchDir dir;
  const std::string path = dir / "many.bin";
  static constexpr uint64_t kN = 20000, kLate = 5000;
  int rc = run_in_child([&] {
    setenv("SVE_TRACE_FILE", path.c_str(), 1);
    if (!sve_init(nullptr, "many")) return 10;
    std::latch traced(4), exited(1);
    std::vector<std::thread> early, alive;
    for (int i = 0; i < 4; ++i)
      early.emplace_back([i] {
        trace_run(tid_of(i), 0, kN);
        if (i < 2) {
          sve_thread_exit();
          sve_thread_exit();
        }
      });
    for (int i = 4; i < 8; ++i)
      alive.emplace_back([&, i] {
        trace_run(tid_of(i), 0, kN);
        traced.count_down();
        exited.wait();
        trace_run(tid_of(i), kN, kN + kLate);  // after sve_exit: dropped
      });
    for (auto& t : early) t.join();
    std::vector<std::thread> late;
    for (int i = 8; i < 10; ++i) late.emplace_back([i] { trace_run(tid_of(i), 0, kLate); });
    for (auto& t : late) t.join();
    traced.wait();
    sve_exit();
    sve_exit();
    exited.count_down();
    for (auto& t : alive) t.join();
    return 0;
  });
  ASSERT_EQ(rc, 0);
  trace_file f = read_ok(path);
  std::map<uint32_t, uint64_t> per_thread = check_records(f);
  EXPECT_EQ(f.records.size(), 8 * kN + 2 * kLate);
  ASSERT_EQ(per_thread.size(), 10u);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(per_thread[tid_of(i)], i < 8 ? kN : kLate) << "thread " << i;
}

// sve_exit while four threads are tracing (they stop only once it has
// returned): each thread's file content is a gapless prefix of its records,
// at least as long as what it had traced when sve_exit was called.
TEST(TraceLib, ExitDuringTracingKeepsAPrefixPerThread) {
  ScratchDir dir;
  const std::string path = dir / "race.bin";
  static constexpr uint64_t kBefore = 10000;
  std::string traced_path = dir / "traced.txt";
  int rc = run_in_child([&] {
    setenv("SVE_TRACE_FILE", path.c_str(), 1);
    std::atomic<uint64_t> progress[4] = {};
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
      threads.emplace_back([&, i] {
        for (uint64_t s = 0; !stop.load(std::memory_order_relaxed); ++s) {
          trace_mem(make_ref(tid_of(i), s));
          progress[i].store(s + 1, std::memory_order_release);
        }
      });
    for (auto& p : progress)
      while (p.load(std::memory_order_acquire) < kBefore) sched_yield();
    sve_exit();
    stop = true;
    for (auto& t : threads) t.join();
    FILE* out = fopen(traced_path.c_str(), "w");
    for (auto& p : progress) fprintf(out, "%llu\n", (unsigned long long)p.load());
    fclose(out);
    return 0;
  });
  ASSERT_EQ(rc, 0);
  std::map<uint32_t, uint64_t> per_thread = check_records(read_ok(path));
  std::ifstream traced(traced_path);
  ASSERT_EQ(per_thread.size(), 4u);
  for (int i = 0; i < 4; ++i) {
    uint64_t total = 0;
    traced >> total;
    EXPECT_GE(per_thread[tid_of(i)], kBefore) << i;
    EXPECT_LE(per_thread[tid_of(i)], total) << i;
  }
}

// Counting, thread starts and exits, init and exit without a record: no file.
TEST(TraceLib, NoRecordNoFile) {
  ScratchDir dir;
  int rc = run_in_child([&] {
    if (chdir(dir.path.c_str()) != 0) return 10;
    unsetenv("SVE_TRACE_FILE");
    if (!sve_init(nullptr, "idle")) return 11;
    std::thread t([] {
      for (int i = 0; i < 100; ++i) incr_count();
      sve_thread_exit();
    });
    t.join();
    sve_exit();
    return 0;
  });
  ASSERT_EQ(rc, 0);
  EXPECT_TRUE(dir.files().empty());
}

// Header fields, the default file name and the records byte for byte,
// markers included.
TEST(TraceLib, HeaderAndDefaultName) {
  ScratchDir dir;
  std::vector<sve_mem_ref_t> sent;
  pid_t child = 0;
  int rc = run_in_child(
      [&] {
        if (chdir(dir.path.c_str()) != 0) return 10;
        unsetenv("SVE_TRACE_FILE");
        if (!sve_init(nullptr, "/usr/local/bin/my-prog")) return 11;
        sve_mem_ref_t start{}, stop{};
        start.count = incr_count();
        start.thread_id = MEMREF_ROI_START;
        trace_mem(start);
        for (uint64_t s = 0; s < 3; ++s) trace_mem(make_ref(7, s));
        stop.count = incr_count();
        stop.thread_id = MEMREF_ROI_STOP;
        trace_mem(stop);
        sve_exit();
        return sve_init(nullptr, "again") ? 12 : 0;  // too late after sve_exit
      },
      &child);
  ASSERT_EQ(rc, 0);
  const std::string name = "sve-trace.my-prog." + std::to_string(child) + ".bin";
  ASSERT_EQ(dir.files(), std::vector<std::string>{name});
  trace_file f = read_ok(dir / name);
  EXPECT_EQ(f.header.version, 1u);
  EXPECT_EQ(f.header.vl_bytes, uint32_t(SVE_VL_BYTES));
  EXPECT_EQ(f.header.record_size, 48u);
  EXPECT_EQ(f.header.pid, uint64_t(child));
  EXPECT_EQ(f.header.program, "my-prog");
  EXPECT_EQ(f.header.records_offset, 40u);  // 32 + "my-prog" padded to 8
  ASSERT_EQ(f.records.size(), 5u);
  EXPECT_EQ(f.records[0].thread_id, MEMREF_ROI_START);
  EXPECT_EQ(f.records[4].thread_id, MEMREF_ROI_STOP);
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(f.records[i].count, i + 1);
  for (uint64_t s = 0; s < 3; ++s) {
    sve_mem_ref_t want = fill_ref(7, s);
    want.count = s + 2;
    want.reserved = 0;
    EXPECT_EQ(memcmp(&want, &f.records[1 + s], 48), 0) << "record " << s;
  }
}

// A forked child starts a file of its own and leaves the parent's records to
// the parent, buffered or already written.
TEST(TraceLib, ForkedProcessWritesItsOwnFile) {
  ScratchDir dir;
  pid_t parent = 0;
  int rc = run_in_child(
      [&] {
        setenv("SVE_TRACE_FILE", (dir / "t.%p.bin").c_str(), 1);
        trace_run(1, 0, 5000);  // one buffer written, 904 records pending
        pid_t pid = fork();
        if (pid == 0) {
          trace_run(2, 0, 500);
          sve_exit();
          _exit(0);
        }
        int status = 0;
        if (pid < 0 || waitpid(pid, &status, 0) != pid || status != 0) return 10;
        trace_run(1, 5000, 6000);
        sve_exit();
        return 0;
      },
      &parent);
  ASSERT_EQ(rc, 0);
  std::vector<std::string> files = dir.files();
  ASSERT_EQ(files.size(), 2u);
  for (const std::string& name : files) {
    trace_file f = read_ok(dir / name);
    std::map<uint32_t, uint64_t> per_thread = check_records(f);
    ASSERT_EQ(per_thread.size(), 1u) << name;
    if (f.header.pid == uint64_t(parent)) {
      EXPECT_EQ(per_thread[1], 6000u);
    } else {
      EXPECT_EQ(per_thread[2], 500u);
    }
    EXPECT_EQ(name, "t." + std::to_string(f.header.pid) + ".bin");
  }
}

}  // namespace
