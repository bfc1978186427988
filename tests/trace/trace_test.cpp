// The trace library end to end (records traced by many threads in a child
// process, the resulting file read back and checked as a whole), and the
// reading of trace files: validation of every cut and damaged header, and
// the summary's totals.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <atomic>
#include <fstream>
#include <latch>
#include <map>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "trace/memtrace_sve_utils.h"
#include "trace/trace_file.h"

namespace {

// A scratch directory, removed with its files at scope end, in which one
// scenario runs in a forked child: the trace library keeps process-wide
// state, so each test traces in a fresh process.
struct Scenario {
  std::string path;
  pid_t pid = 0;
  Scenario() {
    const char* tmp = getenv("TMPDIR");
    std::string templ = std::string(tmp && *tmp ? tmp : "/tmp") + "/sve-trace-test.XXXXXX";
    if (mkdtemp(templ.data())) path = templ;
  }
  ~Scenario() {
    for (const std::string& f : files()) unlink((*this / f).c_str());
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
  // Runs body in the child, in the directory, with SVE_TRACE_FILE naming
  // `file` there (unset when null); returns body's result, or -1 if the child
  // did not exit normally. The child ends with _exit, so nothing of the test
  // framework runs twice.
  template <class Fn> int run(const char* file, Fn body) {
    fflush(nullptr);
    pid = fork();
    if (pid == 0) {
      if (chdir(path.c_str()) != 0) _exit(100);
      if (file) setenv("SVE_TRACE_FILE", (*this / file).c_str(), 1);
      else unsetenv("SVE_TRACE_FILE");
      _exit(body());
    }
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
};

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
  Scenario sc;
  static constexpr uint64_t kN = 20000, kLate = 5000;
  int rc = sc.run("many.bin", [&] {
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
  trace_file f = read_ok(sc / "many.bin");
  std::map<uint32_t, uint64_t> per_thread = check_records(f);
  EXPECT_EQ(f.records.size(), 8 * kN + 2 * kLate);
  ASSERT_EQ(per_thread.size(), 10u);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(per_thread[tid_of(i)], i < 8 ? kN : kLate) << "thread " << i;
}

// sve_exit while four threads are tracing (they stop only once it has
// returned): each thread's file content is a gapless prefix of its records,
// at least as long as what it had traced when sve_exit was called.
TEST(TraceLib, ExitDuringTracingKeepsAPrefixPerThread) {
  Scenario sc;
  static constexpr uint64_t kBefore = 10000;
  int rc = sc.run("race.bin", [&] {
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
    FILE* out = fopen("traced.txt", "w");
    for (auto& p : progress) fprintf(out, "%llu\n", (unsigned long long)p.load());
    fclose(out);
    return 0;
  });
  ASSERT_EQ(rc, 0);
  std::map<uint32_t, uint64_t> per_thread = check_records(read_ok(sc / "race.bin"));
  std::ifstream traced(sc / "traced.txt");
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
  Scenario sc;
  int rc = sc.run(nullptr, [&] {
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
  EXPECT_TRUE(sc.files().empty());
}

// Header fields, the default file name and the records byte for byte,
// markers included.
TEST(TraceLib, HeaderAndDefaultName) {
  Scenario sc;
  int rc = sc.run(nullptr, [&] {
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
  });
  ASSERT_EQ(rc, 0);
  const pid_t child = sc.pid;
  const std::string name = "sve-trace.my-prog." + std::to_string(child) + ".bin";
  ASSERT_EQ(sc.files(), std::vector<std::string>{name});
  trace_file f = read_ok(sc / name);
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
  Scenario sc;
  int rc = sc.run("t.%p.bin", [&] {
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
  });
  ASSERT_EQ(rc, 0);
  const pid_t parent = sc.pid;
  std::vector<std::string> files = sc.files();
  ASSERT_EQ(files.size(), 2u);
  for (const std::string& name : files) {
    trace_file f = read_ok(sc / name);
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

// ---- reading ----

sve_mem_ref_t rec(uint64_t count, uint32_t tid, memaccess_type_t type, uint64_t size, uint64_t address, uint64_t pc,
                  uint32_t flags = 0) {
  sve_mem_ref_t r{};
  r.count = count;
  r.thread_id = tid;
  r.group_flags = flags;
  r.access_type = type;
  r.size = size;
  r.address = address;
  r.pc = pc;
  return r;
}

sve_mem_ref_t marker(uint64_t count, uint32_t word) { return rec(count, word, MEMACCESS_WRITE, 0, 0, 0); }

std::vector<uint8_t> image(const std::vector<sve_mem_ref_t>& records, const std::string& program = "prog") {
  std::vector<uint8_t> out = encode_trace_header(1, SVE_VL_BYTES, 48, 4242, program);
  const uint8_t* p = reinterpret_cast<const uint8_t*>(records.data());
  out.insert(out.end(), p, p + records.size() * sizeof(sve_mem_ref_t));
  return out;
}

bool one_line(const std::string& s) { return !s.empty() && s.find('\n') == std::string::npos; }

// Every prefix of a valid file: a truncated header up to the records, then
// whole records or a partial one, the whole records always read back.
TEST(TraceReader, EveryCutOfAFileIsClassified) {
  std::vector<sve_mem_ref_t> records;
  for (uint64_t i = 0; i < 5; ++i) records.push_back(rec(i + 1, 3, MEMACCESS_READ, 8, 0x1000 + 8 * i, 0x400000));
  std::vector<uint8_t> full = image(records, "prog1");  // name padded to 8: records at 40
  for (size_t len = 0; len <= full.size(); ++len) {
    trace_file f;
    std::string error;
    int st = parse_trace(full.data(), len, f, error);
    if (len < 40) {
      EXPECT_EQ(st, TRACE_TRUNCATED_HEADER) << len;
    } else if ((len - 40) % 48) {
      EXPECT_EQ(st, TRACE_PARTIAL_RECORD) << len;
    } else {
      EXPECT_EQ(st, TRACE_OK) << len;
    }
    if (st != TRACE_OK) {
      EXPECT_TRUE(one_line(error)) << len << ": " << error;
    }
    if (len >= 40) {
      ASSERT_EQ(f.records.size(), (len - 40) / 48) << len;
      for (size_t i = 0; i < f.records.size(); ++i) EXPECT_EQ(memcmp(&f.records[i], &records[i], 48), 0) << len;
      EXPECT_EQ(f.header.program, "prog1");
    }
  }
}

TEST(TraceReader, DamagedHeadersAreRejected) {
  std::vector<uint8_t> good = image({rec(1, 3, MEMACCESS_READ, 8, 0x1000, 0x400000)});
  struct Case {
    const char* what;
    size_t offset;
    uint8_t value;
    int status;
    const char* text;
  } cases[] = {
      {"magic", 3, 'x', TRACE_BAD_MAGIC, "bad magic"},
      {"version", 8, 2, TRACE_BAD_VERSION, "version 2"},
      {"record size", 16, 40, TRACE_BAD_RECORD_SIZE, "record size 40"},
      {"name length", 22, 1, TRACE_TRUNCATED_HEADER, "truncated header"},
  };
  for (const Case& c : cases) {
    std::vector<uint8_t> bad = good;
    bad[c.offset] = c.value;
    trace_file f;
    std::string error;
    EXPECT_EQ(parse_trace(bad.data(), bad.size(), f, error), c.status) << c.what;
    EXPECT_NE(error.find(c.text), std::string::npos) << c.what << ": " << error;
    EXPECT_TRUE(one_line(error)) << c.what;
  }
  trace_file f;
  std::string error;
  EXPECT_EQ(read_trace_file("/nonexistent/trace.bin", f, error), TRACE_CANNOT_READ);
  EXPECT_NE(error.find("/nonexistent/trace.bin"), std::string::npos) << error;
}

// Random records: the summary accounts for each record once.
TEST(TraceReader, SummaryAccountsForEveryRecord) {
  std::mt19937_64 g(11);
  trace_file f;
  for (uint64_t i = 0; i < 5000; ++i) {
    uint64_t k = g() % 100;
    if (k < 2) {
      f.records.push_back(marker(i + 1, k ? MEMREF_ROI_STOP : MEMREF_ROI_START));
    } else {
      f.records.push_back(rec(i + 1, uint32_t(g() % 6), g() % 2 ? MEMACCESS_READ : MEMACCESS_WRITE, 1 + g() % 112,
                              g(), 0x400000 + 4 * (g() % 40)));
    }
  }
  trace_summary s = summarize(f);
  uint64_t per_thread = 0, bytes = 0, markers = 0;
  for (auto& [tid, n] : s.per_thread) per_thread += n;
  for (const sve_mem_ref_t& r : f.records) {
    if (is_marker(r)) ++markers;
    else bytes += r.size;
  }
  EXPECT_EQ(s.records, f.records.size());
  EXPECT_EQ(s.roi_starts + s.roi_stops, markers);
  EXPECT_EQ(per_thread + markers, s.records);
  EXPECT_EQ(s.reads.records + s.writes.records + markers, s.records);
  EXPECT_EQ(s.reads.bytes + s.writes.bytes, bytes);
  EXPECT_EQ(s.per_thread.size(), 6u);
  // The top list: 10 distinct addresses, in decreasing order, none of the
  // others above the last.
  ASSERT_EQ(s.top_pcs.size(), 10u);
  std::set<uint64_t> top;
  for (size_t i = 0; i < s.top_pcs.size(); ++i) {
    top.insert(s.top_pcs[i].first);
    if (i) {
      EXPECT_GE(s.top_pcs[i - 1].second, s.top_pcs[i].second);
    }
  }
  EXPECT_EQ(top.size(), 10u);
  std::map<uint64_t, uint64_t> pcs;
  for (const sve_mem_ref_t& r : f.records)
    if (!is_marker(r)) ++pcs[r.pc];
  for (auto& [pc, n] : pcs) {
    if (!top.count(pc)) {
      EXPECT_LE(n, s.top_pcs.back().second) << std::hex << pc;
    }
  }
}

}  // namespace
