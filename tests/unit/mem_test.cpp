// The memory families by word: guarded access and fault recovery (the
// readability probe, the guarded element reads, SVEInitialize, what an
// unexpected fault does to the process), what the reference-CPU harness
// cannot show of contiguous loads and stores (inactive elements next to
// unmapped memory, register 31 as base and offset), the contract of every
// memory handler, and the memory-access trace record by record against a
// recording trace library.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <regex>
#include <thread>
#include <vector>

#include "sve/mem/access.h"
#include "sve/mem/trace.h"
#include "test_support.h"

namespace {
// What the recording trace library has seen.
struct TraceLog {
  std::vector<sve_mem_ref_t> records;
  long incr_calls = 0;
  uint64_t counter = 1000;
} g_log;
}  // namespace

// The recording trace library of the unit tests (replaces the default one).
uint64_t incr_count() {
  ++g_log.incr_calls;
  return ++g_log.counter;
}
void trace_mem(sve_mem_ref_t const& ref) { g_log.records.push_back(ref); }

namespace {

using namespace test_support;

void* segv_action() {
  struct sigaction sa;
  sigaction(SIGSEGV, nullptr, &sa);
  return reinterpret_cast<void*>(sa.sa_sigaction);
}

TEST(Probe, TellsReadableFromUnmappedAndUnreadablePagesAndPutsTheActionBack) {
  Pages pages(3);
  pages.protect(1, PROT_NONE);
  munmap(pages.page(2), size_t(host_page()));
  void* before = segv_action();
  EXPECT_TRUE(addr_is_readable<char>(reinterpret_cast<char*>(pages.page(0)) + 5));
  EXPECT_FALSE(addr_is_readable<char>(reinterpret_cast<char*>(pages.page(1))));
  EXPECT_FALSE(addr_is_readable<char>(reinterpret_cast<char*>(pages.page(2)) + host_page() - 1));
  EXPECT_TRUE(addr_is_readable<char>(reinterpret_cast<char*>(pages.page(1)) - 1));
  EXPECT_EQ(segv_action(), before);
  pages.bytes = size_t(host_page()) * 2;  // the third page is gone already
}

TEST(Probe, ResultsAreKeptPerThread) {
  Pages pages(1);
  pages.protect(0, PROT_NONE);
  bool other = true;
  std::thread([&] { other = addr_is_readable<char>(reinterpret_cast<char*>(pages.page(0))); }).join();
  EXPECT_FALSE(other);
  char local = 1;
  EXPECT_TRUE(addr_is_readable<char>(&local));
}

TEST(GuardedRead, ReturnsTheValueAndLeavesTheFlagAlone) {
  alignas(8) uint8_t buf[16];
  for (int i = 0; i < 16; ++i) buf[i] = uint8_t(0x10 + i);
  auto a = reinterpret_cast<unsigned long>(buf);
  EXPECT_EQ(ReadMemLib4(a, 0, nullptr, nullptr), 0x13121110u);
  bool fault = true;
  EXPECT_EQ(ReadMemLib8(a + 8, 1, &fault, nullptr), 0x1F1E1D1C1B1A1918ull);
  EXPECT_TRUE(fault);
  fault = false;
  EXPECT_EQ(ReadMemLib1(a + 3, 0, &fault, nullptr), 0x13u);
  EXPECT_EQ(ReadMemLib2(a + 6, 0, &fault, nullptr), 0x1716u);
  EXPECT_FALSE(fault);
}

TEST(GuardedRead, RecoversFromAFaultAndClearsTheRegion) {
  Pages pages(2);
  pages.protect(1, PROT_NONE);
  pages.page(0)[8] = 0x5A;
  auto bad = reinterpret_cast<unsigned long>(pages.page(1));
  for (int round = 0; round < 3; ++round) {
    bool fault = false;
    EXPECT_EQ(ReadMemLib4(bad, 0, &fault, nullptr), 0u);
    EXPECT_TRUE(fault);
    EXPECT_EQ(SVEFaultRegion, 0);
    fault = false;
    EXPECT_EQ(ReadMemLib8(bad - 4, 0, &fault, nullptr), 0u);  // straddles into the bad page
    EXPECT_TRUE(fault);
    fault = false;
    EXPECT_EQ(ReadMemLib1(reinterpret_cast<unsigned long>(pages.page(0)) + 8, 0, &fault, nullptr), 0x5Au);
    EXPECT_FALSE(fault);
  }
}

TEST(GuardedRead, SimulatorEntryPointsTouchNothing) {
  bool fault = true;
  EXPECT_EQ(ReadMem(0, 4, 0, &fault, nullptr), 0u);
  EXPECT_FALSE(fault);
  fault = true;
  EXPECT_EQ(ReadMemSim(8, 4, 0, &fault, true, nullptr), 0u);
  EXPECT_FALSE(fault);
  WriteMem(1, 0, 8, nullptr);  // address 0: would fault if it wrote
  WriteMemSim(1, 0, 8, false, nullptr);
  uint64_t v = 0;
  WriteMemLib2(0xBEEF, reinterpret_cast<unsigned long>(&v) + 2, nullptr);
  WriteMemLib1(0x11, reinterpret_cast<unsigned long>(&v), nullptr);
  EXPECT_EQ(v, 0xBEEF0011ull);
}

TEST(Initialize, IsIdempotentAndInstallsTheHandlerForBothSignals) {
  EXPECT_NE(SVEInitialize(), 0);
  void* before = segv_action();
  EXPECT_NE(SVEInitialize(), 0);
  EXPECT_EQ(segv_action(), before);
  struct sigaction sa;
  sigaction(SIGBUS, nullptr, &sa);
  EXPECT_EQ(reinterpret_cast<void*>(sa.sa_sigaction), reinterpret_cast<void*>(&SVESigHandler));
  EXPECT_EQ(before, reinterpret_cast<void*>(&SVESigHandler));
  EXPECT_EQ(ctxt, &cpu_ctxt);
  EXPECT_GT(page_size, 0);
  EXPECT_EQ(page_size & (page_size - 1), 0);
}

std::string fault_message(const char* signal) {
  return std::string("zorix's SVESigHandler caught signal ") + signal +
         " from the process being emulated, passing it to the default signal handler.";
}

// LD-form `name` with Zt 0, Pg 0 and Xn 2 = `address`, element `active` of
// E-byte elements on (every element when negative), after SVEInitialize.
void load_from(const char* name, void* address, int ebytes, int active) {
  SVEInitialize();
  cpu_state s = zero_state();
  s.x[2] = reinterpret_cast<uint64_t>(address);
  set_pred(s, 0, ebytes, [&](int i) { return active < 0 || i == active; });
  run(s, encode_tgni(name, 0, 0, 2, 0));
}

// A plain load (LD1W, one active element) and a guarded one (LD1RQB, whose
// length-agnostic route reads under the recovery region): both faults are
// the application's own.
TEST(FaultDeathTest, LoadFromUnmappedMemoryEndsWithTheMessageAndSigsegv) {
  Pages pages(1);
  pages.protect(0, PROT_NONE);
  for (const char* name : {"VecU32CLoad4SIZ", "VecU8LoadDup1QSIZ"})  // LD1W element 1, LD1RQB byte 4
    EXPECT_EXIT(load_from(name, pages.page(0), 1, 4), ::testing::KilledBySignal(SIGSEGV), fault_message("SIGSEGV"))
        << name;
}

TEST(FaultDeathTest, BusErrorEndsWithTheMessageAndSigbus) {
  EXPECT_EXIT(load_from("VecU64CLoad8SIZ",  // a mapping past the end of its file
                        mmap(nullptr, size_t(host_page()), PROT_READ, MAP_SHARED, fileno(std::tmpfile()), 0), 8, -1),
              ::testing::KilledBySignal(SIGBUS), fault_message("SIGBUS"));
}

// Every contiguous load and store: the element size from the type, the
// memory size from the digit in the name.
struct Form {
  std::string name;  // without the addressing
  int msize, ebytes;
  bool store;
};
std::vector<Form> contiguous_forms() {
  static const std::regex form(R"(Vec[US]\d+C(Load|Store)(NT)?([1248])SIZ)");
  std::vector<Form> v;
  for (const DecodeEntry& e : kDecodeEntries) {
    std::string name = entry_name(e);
    std::smatch m;
    if (entry_handler(e) && std::regex_match(name, m, form))
      v.push_back({name.substr(0, name.size() - 3), m[3].str()[0] - '0', 1 << kETypeSize[e.type], m[1] == "Store"});
  }
  return v;
}

// A loop tail: the vector runs from `k` elements before the end of a readable
// page into an unmapped one; only the first k elements are active. Every form,
// both addressings, every k: no fault, the active elements move, and the
// inactive ones read as 0 (loads) or are not written (stores).
TEST(Contiguous, InactiveElementsBeyondTheMappingAreNeverTouched) {
  Pages pages(2);
  pages.protect(1, PROT_NONE);
  uint8_t* end = pages.page(1);
  std::vector<Form> forms = contiguous_forms();
  ASSERT_GE(forms.size(), 34u);  // ld1/st1/ldnt1/stnt1 of every size
  for (const Form& f : forms) {
    int n = SVE_VL_BYTES / f.ebytes;
    for (int k : {0, 1, n / 2, n - 1}) {
      for (bool scalar_offset : {false, true}) {
        cpu_state s = zero_state();
        for (int b = 0; b < SVE_VL_BYTES; ++b) s.z[4][b] = uint8_t(b + 1);
        for (int b = 1; b <= 4096 && b <= host_page(); ++b) end[-b] = uint8_t(0xC0 ^ b);
        uint64_t a = reinterpret_cast<uint64_t>(end) - uint64_t(k * f.msize);
        set_pred(s, 3, f.ebytes, [&](int i) { return i < k; });
        std::string name = f.name + (scalar_offset ? "LSSZ" : "SIZ");
        SCOPED_TRACE(name + " k " + std::to_string(k));
        s.x[7] = scalar_offset ? a - 10 * uint64_t(f.msize) : a;
        s.x[8] = 10;
        run(s, scalar_offset ? encode(name, {{'t', 4}, {'g', 3}, {'n', 7}, {'m', 8}}) : encode_tgni(name, 4, 3, 7, 0));
        for (int i = 0; i < n; ++i) {
          uint64_t reg = 0, mem = 0;
          std::memcpy(&reg, s.z[4] + i * f.ebytes, size_t(f.msize));
          if (i < k) std::memcpy(&mem, reinterpret_cast<void*>(a + uint64_t(i * f.msize)), size_t(f.msize));
          if (f.store && i >= k) continue;  // a store's inactive elements are not compared
          EXPECT_EQ(reg, mem) << "element " << i;
        }
      }
    }
  }
}

TEST(Contiguous, OffsetRegister31IsNoOffsetAndBase31IsTheStackPointer) {
  alignas(16) uint8_t mem[256];
  for (int i = 0; i < 256; ++i) mem[i] = uint8_t(i ^ 0x5A);
  cpu_state s = zero_state();
  s.sp = reinterpret_cast<uint64_t>(mem + 16);
  s.x[5] = reinterpret_cast<uint64_t>(mem + 32);
  set_pred(s, 0, 2, [](int) { return true; });
  run(s, encode("VecU16CLoad2LSSZ", {{'t', 1}, {'g', 0}, {'n', 5}, {'m', 31}}));
  EXPECT_EQ(std::memcmp(s.z[1], mem + 32, SVE_VL_BYTES), 0);
  run(s, encode_tgni("VecU16CLoad2SIZ", 1, 0, 31, 0));
  EXPECT_EQ(std::memcmp(s.z[1], mem + 16, SVE_VL_BYTES), 0);
}

TEST(Replicate, Ld1rReadsOneElementForActiveElementsOnly) {
  Pages pages(2);
  pages.protect(1, PROT_NONE);
  uint32_t* words = reinterpret_cast<uint32_t*>(pages.page(0));
  words[7] = 0x89ABCDEF;
  cpu_state s = zero_state();
  s.x[6] = reinterpret_cast<uint64_t>(words + 4);
  set_pred(s, 5, 4, [](int i) { return i % 2 == 0; });
  run(s, encode_tgni("VecU32LoadDup4SIZ", 3, 5, 6, 3));
  for (int i = 0; i < 28; ++i) {
    uint32_t e;
    std::memcpy(&e, s.z[3] + 4 * i, 4);
    EXPECT_EQ(e, i % 2 == 0 ? 0x89ABCDEFu : 0u) << i;
  }
  // With no element active the (unreadable) address is not read at all.
  s.x[6] = reinterpret_cast<uint64_t>(pages.page(1));
  set_pred(s, 5, 4, [](int) { return false; });
  std::memset(s.z[3], 0x77, SVE_VL_BYTES);
  run(s, encode_tgni("VecS64LoadDup4SIZ", 3, 5, 6, 0));
  for (int b = 0; b < SVE_VL_BYTES; ++b) EXPECT_EQ(s.z[3][b], 0) << b;
}

// The handler contract for the memory families, with the base register aimed
// at memory: every live handler stores its word and returns success.
TEST(MemoryContract, EveryLiveMemoryHandlerStoresItsWordAndReturnsOk) {
  static uint8_t mem[96 * 1024];
  uint64_t mid = reinterpret_cast<uint64_t>(mem) + sizeof mem / 2;
  int checked = 0;
  for (const DecodeEntry& e : kDecodeEntries) {
    Handler h = entry_handler(e);
    if (!h || entry_group(e) != "Memory") continue;
    std::string op = e.enc->op;
    bool vector_addressed = op.find("VIZ") != std::string::npos || op.find("VSZ") != std::string::npos ||
                            op.find("SVZ") != std::string::npos;
    if (vector_addressed) continue;  // gathers and scatters have their own tests
    bool scalar_offset = op.find("LSS") != std::string::npos || op.find("QSS") != std::string::npos;
    for (uint32_t r = 0; r < 8; ++r) {
      uint32_t w = e.word | ((r * 0x9E3779B9u) & e.operand_mask);
      cpu_state s = zero_state();
      for (auto& x : s.x) x = scalar_offset ? 4 : mid;  // with a scalar offset the base is SP
      s.sp = mid;
      if (scalar_offset) w |= 31u << 5;
      for (auto& p : s.p) std::memset(p, 1, SVE_VL_BYTES);
      EXPECT_EQ(h(&s, w), DECODE_OK) << entry_name(e);
      EXPECT_EQ(s.insn, uint64_t(w)) << entry_name(e);
      ++checked;
    }
  }
  EXPECT_GT(checked, 0);
}

// ---- the memory-access trace ----

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
    g_log = TraceLog{};
    enable_trace = 1;
    s = zero_state();
    s.pc = reinterpret_cast<uint8_t*>(0x400abc);
    for (int i = 0; i < 4096; ++i) mem[i] = uint8_t(i * 7 + 1);
    s.x[1] = reinterpret_cast<uint64_t>(mem + 1024);
  }
  void TearDown() override { enable_trace = 0; }
  // Expects records of the given (flags, type, size, address) at this
  // instruction, counted on from 1001, one counter call each.
  void expect_records(std::initializer_list<std::tuple<uint32_t, uint32_t, uint64_t, uint64_t>> want) {
    ASSERT_EQ(g_log.records.size(), want.size());
    EXPECT_EQ(g_log.incr_calls, long(want.size()));
    size_t k = 0;
    for (auto [flags, type, size, address] : want)
      expect_bytes(g_log.records[k], 1001 + k, self_tid(), flags, type, size, address, 0x400abc), ++k;
  }
  cpu_state s;
  alignas(16) uint8_t mem[4096];
};

TEST_F(Trace, FullVectorIsOneRecordOfTheVectorLengthWhateverTheFootprint) {
  set_pred(s, 0, 8, [](int) { return true; });
  run(s, encode_tgni("VecU64CLoad1SIZ", 3, 0, 1, 0));  // ld1b .d
  expect_records({{0, MEMACCESS_READ, 112, s.x[1]}});
}

TEST_F(Trace, PredicatedAccessIsOneRecordPerRunOfActiveElements) {
  const bool pattern[28] = {1, 1, 0, 1};
  set_pred(s, 2, 4, [&](int i) { return pattern[i]; });
  run(s, encode_tgni("VecU32CLoad4SIZ", 0, 2, 1, 0));
  expect_records({{0, MEMACCESS_READ, 8, s.x[1]}, {0, MEMACCESS_READ, 4, s.x[1] + 12}});
}

TEST_F(Trace, RunsUseTheMemoryElementSizeAndTheStoreKind) {
  // st1h from 64-bit elements, elements 1-2 and 13 active, imm4 = 1 (14 halfwords on).
  set_pred(s, 1, 8, [](int i) { return i == 1 || i == 2 || i == 13; });
  run(s, encode_tgni("VecU64CStore2SIZ", 0, 1, 1, 1));
  uint64_t a = s.x[1] + 28;
  expect_records({{0, MEMACCESS_WRITE, 4, a + 2}, {0, MEMACCESS_WRITE, 2, a + 26}});
}

TEST_F(Trace, AllFalsePredicateOrTraceOffRecordsNothingButStillAccesses) {
  set_pred(s, 0, 4, [](int) { return false; });
  std::memset(s.z[5], 0xAA, SVE_VL_BYTES);
  run(s, encode_tgni("VecU32CLoad4SIZ", 5, 0, 1, 0));
  expect_records({});
  EXPECT_EQ(s.z[5][0], 0);

  enable_trace = 0;
  set_pred(s, 0, 4, [](int) { return true; });
  run(s, encode_tgni("VecU32CLoad4SIZ", 5, 0, 1, 0));
  EXPECT_EQ(g_log.incr_calls, 0);
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
    g_log = TraceLog{};
    set_pred(s, 0, 4, [&](int i) { return std::find(g.active.begin(), g.active.end(), i) != g.active.end(); });
    memtrace_elements(&s, addrs, reinterpret_cast<char*>(s.p[0]), 28, 4, 2, MEMACCESS_WRITE);
    auto& r = g_log.records;
    ASSERT_EQ(r.size(), g.active.size());
    EXPECT_EQ(g_log.incr_calls, long(g.active.size()));
    for (size_t k = 0; k < r.size(); ++k)
      expect_bytes(r[k], 1001 + k, self_tid(), g.flags[k], MEMACCESS_WRITE, 2, addrs[g.active[k]], 0x400abc);
  }
  g_log = TraceLog{};
  enable_trace = 0;
  set_pred(s, 0, 4, [](int) { return true; });
  memtrace_elements(&s, addrs, reinterpret_cast<char*>(s.p[0]), 28, 4, 2, MEMACCESS_WRITE);
  EXPECT_EQ(g_log.incr_calls, 0);
}

// Markers switch the thread's trace and are recorded either way: called
// directly, and as the application's marker instructions, ADD Zdn.B, Zdn.B,
// #256 / #512, which reach the switch through the ADD handler and leave the
// register unchanged.
TEST_F(Trace, MarkersSwitchTheThreadsTraceAndAreRecordedEitherWay) {
  enable_trace = 0;
  memtrace_marker(256);
  EXPECT_EQ(enable_trace, 1);
  memtrace_marker(256);  // markers may repeat
  memtrace_marker(512);
  EXPECT_EQ(enable_trace, 0);
  memtrace_marker(512);
  memtrace_marker(3);  // not a marker
  std::memset(s.z[3], 0x5A, SVE_VL_BYTES);
  run(s, 0x2520E023u);  // add z3.b, z3.b, #1, lsl #8
  EXPECT_EQ(enable_trace, 1);
  run(s, 0x2520E043u);  // add z3.b, z3.b, #2, lsl #8
  EXPECT_EQ(enable_trace, 0);
  for (int i = 0; i < SVE_VL_BYTES; ++i) ASSERT_EQ(s.z[3][i], 0x5A);
  auto& r = g_log.records;
  ASSERT_EQ(r.size(), 6u);
  const uint32_t words[] = {0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFEu, 0xFFFFFFFFu, 0xFFFFFFFEu};
  for (size_t k = 0; k < 6; ++k) expect_bytes(r[k], 1001 + k, words[k], 0, 0, 0, 0, 0);
  EXPECT_EQ(g_log.incr_calls, 6);
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
  for (uint32_t w : {encode_tgni("VecU32LoadDup4SIZ", 1, 0, 1, 3), encode_tgni("VecU8LoadDup1QSIZ", 1, 0, 1, 1),
                     encode("VecU64FillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
                     encode("VecU64SpillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
                     encode("VecPFillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
                     encode("VecPSpillSI", {{'t', 1}, {'n', 1}, {'i', 2}}),
                     encode("VecU64Prefetch8SI", {{'o', 0}, {'g', 0}, {'n', 1}, {'i', 2}})})
    run(s, w);
  EXPECT_EQ(g_log.incr_calls, 0);
}

}  // namespace
