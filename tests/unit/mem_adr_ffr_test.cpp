// ADR, the prefetches and the first-fault register.
#include <gtest/gtest.h>

#include "mem_test_support.h"

namespace {

using namespace memtest;

template <class T> T elem_of(const cpu_state& s, int z, int i) {
  T v;
  std::memcpy(&v, s.z[z] + i * sizeof(T), sizeof(T));
  return v;
}
template <class T> void set_elem_of(cpu_state& s, int z, int i, T v) { std::memcpy(s.z[z] + i * sizeof(T), &v, sizeof(T)); }

TEST(Adr, PackedOffsetsAreShiftedAndWrapAtTheElementWidth) {
  cpu_state s = blank_state();
  set_elem_of<uint64_t>(s, 1, 0, 0x1000);
  set_elem_of<uint64_t>(s, 2, 0, 2);
  ASSERT_EQ(run(s, encode("VecU64LEA8VV", {{'d', 0}, {'n', 1}, {'m', 2}})), DECODE_OK);
  EXPECT_EQ(elem_of<uint64_t>(s, 0, 0), 0x1010u);
  set_elem_of<uint32_t>(s, 1, 5, 0xFFFFFFF0u);
  set_elem_of<uint32_t>(s, 2, 5, 8);
  ASSERT_EQ(run(s, encode("VecU32LEA2VV", {{'d', 1}, {'n', 1}, {'m', 2}})), DECODE_OK);  // Zd = Zn
  EXPECT_EQ(elem_of<uint32_t>(s, 1, 5), 0u);
  EXPECT_EQ(elem_of<uint32_t>(s, 1, 6), 0u);
}

TEST(Adr, ExtendedOffsetsUseTheLowWordSignedOrUnsigned) {
  cpu_state s = blank_state();
  for (int i = 0; i < 14; ++i) {
    set_elem_of<uint64_t>(s, 3, i, 0x100000 + uint64_t(i));
    set_elem_of<uint64_t>(s, 4, i, 0xABCD0000FFFFFFFFull);
  }
  ASSERT_EQ(run(s, encode("VecU64LEA4XVV", {{'d', 5}, {'n', 3}, {'m', 4}})), DECODE_OK);
  EXPECT_EQ(elem_of<uint64_t>(s, 5, 13), 0x100000u + 13 - 4);
  ASSERT_EQ(run(s, encode("VecU64LEA8YVV", {{'d', 5}, {'n', 3}, {'m', 4}})), DECODE_OK);
  EXPECT_EQ(elem_of<uint64_t>(s, 5, 0), 0x100000u + 0xFFFFFFFFull * 8);
}

TEST(Prefetch, EveryFormSucceedsAndTouchesNothing) {
  Pages pages(1);
  pages.protect(0, PROT_NONE);
  int seen = 0;
  for (const DecodeEntry& e : kDecodeEntries) {
    std::string name = entry_name(e);
    if (name.find("Prefetch") == std::string::npos || !entry_handler(e)) continue;
    cpu_state s = blank_state();
    for (auto& x : s.x) x = reinterpret_cast<uint64_t>(pages.page(0));
    for (auto& p : s.p) std::memset(p, 1, SVE_VL_BYTES);
    cpu_state before = s;
    uint32_t w = e.word | (0x5A5A5A5Au & e.operand_mask);
    EXPECT_EQ(entry_handler(e)(&s, w), DECODE_OK) << name;
    before.insn = w;
    EXPECT_EQ(std::memcmp(&before, &s, sizeof s), 0) << name;
    ++seen;
  }
  EXPECT_EQ(seen, 36);
}

TEST(Ffr, SetReadAndWrite) {
  cpu_state s = blank_state();
  ASSERT_EQ(run(s, 0x252C9000u), DECODE_OK);  // setffr
  for (int k = 0; k < SVE_VL_BYTES; ++k) EXPECT_EQ(s.ffr[k], 1) << k;
  ASSERT_EQ(run(s, encode("VecPReadFFSRP", {{'d', 4}})), DECODE_OK);
  EXPECT_EQ(std::memcmp(s.p[4], s.ffr, SVE_VL_BYTES), 0);

  set_pred(s, 2, 1, [](int k) { return k % 3 == 0; });
  ASSERT_EQ(run(s, encode("VecPActualP", {{'d', 5}, {'g', 2}})), DECODE_OK);
  EXPECT_EQ(std::memcmp(s.p[5], s.p[2], SVE_VL_BYTES), 0);

  set_pred(s, 7, 1, [](int) { return false; });
  ASSERT_EQ(run(s, encode("VecPWriteFFSRP", {{'n', 7}})), DECODE_OK);
  set_pred(s, 2, 1, [](int) { return true; });
  ASSERT_EQ(run(s, encode("VecPActualP", {{'d', 5}, {'g', 2}})), DECODE_OK);
  for (int k = 0; k < SVE_VL_BYTES; ++k) EXPECT_EQ(s.p[5][k], 0) << k;
}

TEST(Ffr, FlagSettingReadTestsTheResultUnderThePredicate) {
  cpu_state s = blank_state();
  s.nzcv = 0x1234567u | NZCV_V;
  set_pred(s, 9, 1, [](int k) { return k >= 10 && k < 50; });  // FFR
  ASSERT_EQ(run(s, encode("VecPWriteFFSRP", {{'n', 9}})), DECODE_OK);
  set_pred(s, 3, 1, [](int k) { return k >= 20; });
  ASSERT_EQ(run(s, encode("VecPActualFlgP", {{'d', 1}, {'g', 3}})), DECODE_OK);
  for (int k = 0; k < SVE_VL_BYTES; ++k) EXPECT_EQ(s.p[1][k], (k >= 20 && k < 50) ? 1 : 0) << k;
  EXPECT_EQ(s.nzcv, 0x1234567u | NZCV_N | NZCV_C);  // first active true, last active false, V cleared
}

}  // namespace
