// Contiguous loads and stores and load-and-replicate: what the reference-CPU
// harness cannot show (inactive elements next to unmapped memory are never
// touched, register 31 as base and offset) and the contract of every memory
// handler.
#include <gtest/gtest.h>

#include "mem_test_support.h"

namespace {

using namespace memtest;

struct Form {
  const char* name;
  int msize, ebytes;
  bool store;
};
const Form kForms[] = {
    {"VecU8CLoad1", 1, 1, false},   {"VecU16CLoad1", 1, 2, false},  {"VecU32CLoad1", 1, 4, false},
    {"VecU64CLoad1", 1, 8, false},  {"VecS16CLoad1", 1, 2, false},  {"VecS32CLoad1", 1, 4, false},
    {"VecS64CLoad1", 1, 8, false},  {"VecU16CLoad2", 2, 2, false},  {"VecU32CLoad2", 2, 4, false},
    {"VecU64CLoad2", 2, 8, false},  {"VecS32CLoad2", 2, 4, false},  {"VecS64CLoad2", 2, 8, false},
    {"VecU32CLoad4", 4, 4, false},  {"VecU64CLoad4", 4, 8, false},  {"VecS64CLoad4", 4, 8, false},
    {"VecU64CLoad8", 8, 8, false},  {"VecU8CLoadNT1", 1, 1, false}, {"VecU16CLoadNT2", 2, 2, false},
    {"VecU32CLoadNT4", 4, 4, false}, {"VecU64CLoadNT8", 8, 8, false}, {"VecU8CStore1", 1, 1, true},
    {"VecU16CStore1", 1, 2, true},  {"VecU32CStore1", 1, 4, true},  {"VecU64CStore1", 1, 8, true},
    {"VecU16CStore2", 2, 2, true},  {"VecU32CStore2", 2, 4, true},  {"VecU64CStore2", 2, 8, true},
    {"VecU32CStore4", 4, 4, true},  {"VecU64CStore4", 4, 8, true},  {"VecU64CStore8", 8, 8, true},
    {"VecU8CStoreNT1", 1, 1, true}, {"VecU16CStoreNT2", 2, 2, true}, {"VecU32CStoreNT4", 4, 4, true},
    {"VecU64CStoreNT8", 8, 8, true},
};

// A loop tail: the vector runs from `k` elements before the end of a readable
// page into an unmapped one; only the first k elements are active. Every form,
// both addressings, every k: no fault, the active elements move, and the
// inactive ones read as 0 (loads) or are not written (stores).
TEST(Contiguous, InactiveElementsBeyondTheMappingAreNeverTouched) {
  Pages pages(2);
  pages.protect(1, PROT_NONE);
  uint8_t* end = pages.page(1);
  for (const Form& f : kForms) {
    int n = SVE_VL_BYTES / f.ebytes;
    for (int k : {0, 1, n / 2, n - 1}) {
      for (bool scalar_offset : {false, true}) {
        cpu_state s = blank_state();
        for (int b = 0; b < SVE_VL_BYTES; ++b) s.z[4][b] = uint8_t(b + 1);
        for (int b = 1; b <= 4096 && b <= host_page(); ++b) end[-b] = uint8_t(0xC0 ^ b);
        uint64_t a = reinterpret_cast<uint64_t>(end) - uint64_t(k * f.msize);
        set_pred(s, 3, f.ebytes, [&](int i) { return i < k; });
        std::string name = std::string(f.name) + (scalar_offset ? "LSSZ" : "SIZ");
        uint32_t w;
        if (scalar_offset) {
          s.x[7] = a - 10 * uint64_t(f.msize);
          s.x[8] = 10;
          w = encode(name, {{'t', 4}, {'g', 3}, {'n', 7}, {'m', 8}});
        } else {
          s.x[7] = a;
          w = encode(name, {{'t', 4}, {'g', 3}, {'n', 7}, {'i', 0}});
        }
        ASSERT_EQ(run(s, w), DECODE_OK) << name << " k " << k;
        for (int i = 0; i < n; ++i) {
          uint64_t reg = 0, mem = 0;
          std::memcpy(&reg, s.z[4] + i * f.ebytes, size_t(f.msize));
          if (i < k) std::memcpy(&mem, reinterpret_cast<void*>(a + uint64_t(i * f.msize)), size_t(f.msize));
          if (f.store) {
            if (i < k) {
              EXPECT_EQ(mem, reg) << name << " element " << i;
            }
          } else {
            EXPECT_EQ(reg, mem) << name << " element " << i;
          }
        }
      }
    }
  }
}

TEST(Contiguous, OffsetRegister31IsNoOffsetAndBase31IsTheStackPointer) {
  alignas(16) uint8_t mem[256];
  for (int i = 0; i < 256; ++i) mem[i] = uint8_t(i ^ 0x5A);
  cpu_state s = blank_state();
  s.sp = reinterpret_cast<uint64_t>(mem + 16);
  s.x[5] = reinterpret_cast<uint64_t>(mem + 32);
  set_pred(s, 0, 2, [](int) { return true; });
  ASSERT_EQ(run(s, encode("VecU16CLoad2LSSZ", {{'t', 1}, {'g', 0}, {'n', 5}, {'m', 31}})), DECODE_OK);
  EXPECT_EQ(std::memcmp(s.z[1], mem + 32, SVE_VL_BYTES), 0);
  ASSERT_EQ(run(s, encode("VecU16CLoad2SIZ", {{'t', 1}, {'g', 0}, {'n', 31}, {'i', 0}})), DECODE_OK);
  EXPECT_EQ(std::memcmp(s.z[1], mem + 16, SVE_VL_BYTES), 0);
}

TEST(Replicate, Ld1rReadsOneElementForActiveElementsOnly) {
  Pages pages(2);
  pages.protect(1, PROT_NONE);
  uint32_t* words = reinterpret_cast<uint32_t*>(pages.page(0));
  words[7] = 0x89ABCDEF;
  cpu_state s = blank_state();
  s.x[6] = reinterpret_cast<uint64_t>(words + 4);
  set_pred(s, 5, 4, [](int i) { return i % 2 == 0; });
  ASSERT_EQ(run(s, encode("VecU32LoadDup4SIZ", {{'t', 3}, {'g', 5}, {'n', 6}, {'i', 3}})), DECODE_OK);
  for (int i = 0; i < 28; ++i) {
    uint32_t e;
    std::memcpy(&e, s.z[3] + 4 * i, 4);
    EXPECT_EQ(e, i % 2 == 0 ? 0x89ABCDEFu : 0u) << i;
  }
  // With no element active the (unreadable) address is not read at all.
  s.x[6] = reinterpret_cast<uint64_t>(pages.page(1));
  set_pred(s, 5, 4, [](int) { return false; });
  std::memset(s.z[3], 0x77, SVE_VL_BYTES);
  ASSERT_EQ(run(s, encode("VecS64LoadDup4SIZ", {{'t', 3}, {'g', 5}, {'n', 6}, {'i', 0}})), DECODE_OK);
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
      cpu_state s = blank_state();
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

}  // namespace
