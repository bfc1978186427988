// Reading trace files: validation of every cut and damaged header, the
// summary's totals, and the sve-trace command on small known files.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>

#include "tests/trace/trace_test_util.h"
#include "trace/memtrace_sve_utils.h"
#include "trace/trace_file.h"

namespace {

using namespace tracetest;

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
