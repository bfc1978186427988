// The memory-access trace, checked record by record against a recording trace
// library: contiguous runs, element groups, the region markers, and what is
// not recorded.
#include <gtest/gtest.h>
#include <pthread.h>

#include <thread>

#include "mem_test_support.h"

// The recording trace library of the unit tests (replaces the default one).
uint64_t incr_count() {
  ++memtest::trace_log().incr_calls;
  return ++memtest::trace_log().counter;
}
void trace_mem(sve_mem_ref_t const& ref) { memtest::trace_log().records.push_back(ref); }

namespace memtest {
TraceLog& trace_log() {
  static TraceLog log;
  return log;
}
}  // namespace memtest

namespace {

using namespace memtest;

// The 48 bytes a record must hold, bytes 20-23 excluded (unspecified).
void expect_bytes(const sve_mem_ref_t& r, uint64_t count, uint32_t tid, uint32_t flags, uint32_t type, uint64_t size,
                  uint64_t address, uint64_t pc) {
  uint8_t want[48] = {}, got[48];
  auto put = [&](int off, uint64_t v, int n) {
    for (int k = 0; k < n; ++k) want[off + k] = uint8_t(v >> (8 * k));
  };
  put(0, count, 8);
  put(8, tid, 4);
  put(12, flags, 4);
  put(16, type, 4);
  put(24, size, 8);
  put(32, address, 8);
  put(40, pc, 8);
  std::memcpy(got, &r, 48);
  std::memset(got + 20, 0, 4);
  for (int k = 0; k < 48; ++k) EXPECT_EQ(got[k], want[k]) << "byte " << k;
}

uint32_t self_tid() { return uint32_t(uint64_t(pthread_self())); }

class Trace : public ::testing::Test {
 protected:
  void SetUp() override {
    trace_log().clear();
    enable_trace = 1;
    s = blank_state();
    s.pc = reinterpret_cast<uint8_t*>(0x400abc);
    for (int i = 0; i < 4096; ++i) mem[i] = uint8_t(i * 7 + 1);
    s.x[1] = reinterpret_cast<uint64_t>(mem + 1024);
  }
  void TearDown() override { enable_trace = 0; }
  cpu_state s;
  alignas(16) uint8_t mem[4096];
};

TEST_F(Trace, FullVectorIsOneRecordOfTheVectorLengthWhateverTheFootprint) {
  set_pred(s, 0, 8, [](int) { return true; });
  ASSERT_EQ(run(s, encode("VecU64CLoad1SIZ", {{'t', 3}, {'g', 0}, {'n', 1}, {'i', 0}})), DECODE_OK);  // ld1b .d
  ASSERT_EQ(trace_log().records.size(), 1u);
  expect_bytes(trace_log().records[0], 1001, self_tid(), 0, MEMACCESS_READ, 112, s.x[1], 0x400abc);
  EXPECT_EQ(trace_log().incr_calls, 1);
}

TEST_F(Trace, PredicatedAccessIsOneRecordPerRunOfActiveElements) {
  const bool pattern[28] = {1, 1, 0, 1};
  set_pred(s, 2, 4, [&](int i) { return pattern[i]; });
  ASSERT_EQ(run(s, encode("VecU32CLoad4SIZ", {{'t', 0}, {'g', 2}, {'n', 1}, {'i', 0}})), DECODE_OK);
  auto& r = trace_log().records;
  ASSERT_EQ(r.size(), 2u);
  expect_bytes(r[0], 1001, self_tid(), 0, MEMACCESS_READ, 8, s.x[1], 0x400abc);
  expect_bytes(r[1], 1002, self_tid(), 0, MEMACCESS_READ, 4, s.x[1] + 12, 0x400abc);
  EXPECT_EQ(trace_log().incr_calls, 2);
}

TEST_F(Trace, RunsUseTheMemoryElementSizeAndTheStoreKind) {
  // st1h from 64-bit elements, elements 1-2 and 13 active, imm4 = 1 (14 halfwords on).
  set_pred(s, 1, 8, [](int i) { return i == 1 || i == 2 || i == 13; });
  ASSERT_EQ(run(s, encode("VecU64CStore2SIZ", {{'t', 0}, {'g', 1}, {'n', 1}, {'i', 1}})), DECODE_OK);
  auto& r = trace_log().records;
  ASSERT_EQ(r.size(), 2u);
  uint64_t a = s.x[1] + 28;
  expect_bytes(r[0], 1001, self_tid(), 0, MEMACCESS_WRITE, 4, a + 2, 0x400abc);
  expect_bytes(r[1], 1002, self_tid(), 0, MEMACCESS_WRITE, 2, a + 26, 0x400abc);
}

TEST_F(Trace, AllFalsePredicateOrTraceOffRecordsNothingButStillAccesses) {
  set_pred(s, 0, 4, [](int) { return false; });
  std::memset(s.z[5], 0xAA, SVE_VL_BYTES);
  ASSERT_EQ(run(s, encode("VecU32CLoad4SIZ", {{'t', 5}, {'g', 0}, {'n', 1}, {'i', 0}})), DECODE_OK);
  EXPECT_EQ(trace_log().incr_calls, 0);
  EXPECT_TRUE(trace_log().records.empty());
  EXPECT_EQ(s.z[5][0], 0);

  enable_trace = 0;
  set_pred(s, 0, 4, [](int) { return true; });
  ASSERT_EQ(run(s, encode("VecU32CLoad4SIZ", {{'t', 5}, {'g', 0}, {'n', 1}, {'i', 0}})), DECODE_OK);
  EXPECT_EQ(trace_log().incr_calls, 0);
  EXPECT_EQ(std::memcmp(s.z[5], mem + 1024, SVE_VL_BYTES), 0);
}

TEST_F(Trace, ElementGroupsCarryFirstGroupAndLastFlags) {
  uint64_t addrs[28];
  for (int i = 0; i < 28; ++i) addrs[i] = 0x10000 + uint64_t(i) * 40;
  struct Group {
    std::vector<int> active;
    std::vector<uint32_t> flags;
  } groups[] = {{{5}, {7}}, {{0, 27}, {3, 6}}, {{2, 3, 9}, {3, 2, 6}}, {{}, {}}};
  for (const Group& g : groups) {
    trace_log().clear();
    set_pred(s, 0, 4, [&](int i) { return std::find(g.active.begin(), g.active.end(), i) != g.active.end(); });
    memtrace_elements(&s, addrs, reinterpret_cast<char*>(s.p[0]), 28, 4, 2, MEMACCESS_WRITE);
    auto& r = trace_log().records;
    ASSERT_EQ(r.size(), g.active.size());
    EXPECT_EQ(trace_log().incr_calls, long(g.active.size()));
    for (size_t k = 0; k < r.size(); ++k)
      expect_bytes(r[k], 1001 + k, self_tid(), g.flags[k], MEMACCESS_WRITE, 2, addrs[g.active[k]], 0x400abc);
  }
  trace_log().clear();
  enable_trace = 0;
  set_pred(s, 0, 4, [](int) { return true; });
  memtrace_elements(&s, addrs, reinterpret_cast<char*>(s.p[0]), 28, 4, 2, MEMACCESS_WRITE);
  EXPECT_EQ(trace_log().incr_calls, 0);
}

TEST_F(Trace, MarkersSwitchTheThreadsTraceAndAreRecordedEitherWay) {
  enable_trace = 0;
  memtrace_marker(256);
  EXPECT_EQ(enable_trace, 1);
  memtrace_marker(256);  // markers may repeat
  memtrace_marker(512);
  EXPECT_EQ(enable_trace, 0);
  memtrace_marker(512);
  memtrace_marker(3);  // not a marker
  auto& r = trace_log().records;
  ASSERT_EQ(r.size(), 4u);
  const uint32_t words[] = {0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFEu};
  for (size_t k = 0; k < 4; ++k) expect_bytes(r[k], 1001 + k, words[k], 0, 0, 0, 0, 0);
  EXPECT_EQ(trace_log().incr_calls, 4);
}

// The application's marker instructions, ADD Zdn.B, Zdn.B, #256 / #512, reach
// the switch through the ADD handler and leave the register unchanged.
TEST_F(Trace, MarkerInstructionsSwitchTheTrace) {
  enable_trace = 0;
  std::memset(s.z[3], 0x5A, SVE_VL_BYTES);
  ASSERT_EQ(run(s, 0x2520E023u), DECODE_OK);  // add z3.b, z3.b, #1, lsl #8
  EXPECT_EQ(enable_trace, 1);
  ASSERT_EQ(run(s, 0x2520E043u), DECODE_OK);  // add z3.b, z3.b, #2, lsl #8
  EXPECT_EQ(enable_trace, 0);
  for (int i = 0; i < SVE_VL_BYTES; ++i) ASSERT_EQ(s.z[3][i], 0x5A);
  ASSERT_EQ(trace_log().records.size(), 2u);
  expect_bytes(trace_log().records[0], 1001, 0xFFFFFFFFu, 0, 0, 0, 0, 0);
  expect_bytes(trace_log().records[1], 1002, 0xFFFFFFFEu, 0, 0, 0, 0, 0);
}

TEST_F(Trace, TheSwitchIsPerThread) {
  std::thread([] { EXPECT_EQ(enable_trace, 0); }).join();
  uint8_t seen = 1;
  std::thread([&] {
    memtrace_marker(256);
    seen = enable_trace;
    memtrace_marker(512);
  }).join();
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(enable_trace, 1);  // this thread's switch is untouched
}

TEST_F(Trace, UntracedFormsRecordNothing) {
  set_pred(s, 0, 1, [](int) { return true; });
  const uint32_t words[] = {
      encode("VecU32LoadDup4SIZ", {{'t', 1}, {'g', 0}, {'n', 1}, {'i', 3}}),
      encode("VecU8LoadDup1QSIZ", {{'t', 1}, {'g', 0}, {'n', 1}, {'i', 1}}),
      encode("VecU64FillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
      encode("VecU64SpillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
      encode("VecPFillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
      encode("VecPSpillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
      encode("VecU64Prefetch8SI", {{'o', 0}, {'g', 0}, {'n', 1}, {'i', 2}}),
  };
  for (uint32_t w : words) ASSERT_EQ(run(s, w), DECODE_OK) << std::hex << w;
  EXPECT_EQ(trace_log().incr_calls, 0);
}

}  // namespace
