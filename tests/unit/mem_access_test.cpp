// Guarded access and fault recovery: the readability probe, the guarded
// element reads, SVEInitialize, and what an unexpected fault does to the
// process (message, then the signal's default action).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <thread>

#include "mem_test_support.h"
#include "sve/mem/access.h"

namespace {

using namespace memtest;

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

const char kSegvMessage[] =
    "zorix's SVESigHandler caught signal SIGSEGV from the process being emulated, passing it to the default "
    "signal handler.";
const char kBusMessage[] =
    "zorix's SVESigHandler caught signal SIGBUS from the process being emulated, passing it to the default "
    "signal handler.";

// A plain load (LD1W, one active element) and a guarded one (LD1RQB, whose
// length-agnostic route reads under the recovery region): both faults are
// the application's own.
TEST(FaultDeathTest, LoadFromUnmappedMemoryEndsWithTheMessageAndSigsegv) {
  Pages pages(1);
  pages.protect(0, PROT_NONE);
  for (const char* name : {"VecU32CLoad4SIZ", "VecU8LoadDup1QSIZ"})
    EXPECT_EXIT(
        {
          SVEInitialize();
          cpu_state s = blank_state();
          s.x[2] = reinterpret_cast<uint64_t>(pages.page(0));
          set_pred(s, 0, 1, [](int i) { return i == 4; });  // LD1W element 1, LD1RQB byte 4
          run(s, encode(name, {{'t', 0}, {'g', 0}, {'n', 2}, {'i', 0}}));
        },
        ::testing::KilledBySignal(SIGSEGV), kSegvMessage)
        << name;
}

TEST(FaultDeathTest, BusErrorEndsWithTheMessageAndSigbus) {
  EXPECT_EXIT(
      {
        SVEInitialize();
        FILE* f = std::tmpfile();
        void* p = mmap(nullptr, size_t(host_page()), PROT_READ, MAP_SHARED, fileno(f), 0);  // past the end
        cpu_state s = blank_state();
        s.x[2] = reinterpret_cast<uint64_t>(p);
        set_pred(s, 0, 8, [](int) { return true; });
        run(s, encode("VecU64CLoad8SIZ", {{'t', 0}, {'g', 0}, {'n', 2}, {'i', 0}}));
      },
      ::testing::KilledBySignal(SIGBUS), kBusMessage);
}

}  // namespace
