// Handler contract: the word is stored first, unimplemented executors report
// themselves and change nothing, and the two routes agree.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "sve/decode/decode.h"
#include "sve/decode/unimplemented.h"
#include "sve/state/context.h"

namespace {

cpu_state random_state(uint32_t seed) {
  cpu_state s;
  std::mt19937_64 rng(seed);
  auto* b = reinterpret_cast<uint8_t*>(&s);
  for (size_t i = 0; i < sizeof s; ++i) b[i] = uint8_t(rng());
  for (auto& p : s.p)
    for (auto& l : p) l &= 1;
  for (auto& l : s.ffr) l &= 1;
  return s;
}

// Memory handlers are left out: random base registers would fault; their own
// tests give them mapped addresses.
TEST(Contract, EveryLiveHandlerStoresItsWordAndReturnsOk) {
  std::mt19937 rng(1);
  for (const DecodeEntry& e : kDecodeEntries) {
    Handler h = entry_handler(e);
    if (!h || entry_group(e) == "Memory") continue;
    for (int k = 0; k < 4; ++k) {
      uint32_t w = e.word | (uint32_t(rng()) & e.operand_mask);
      cpu_state s = random_state(rng());
      EXPECT_EQ(h(&s, w), DECODE_OK) << entry_name(e);
      EXPECT_EQ(s.insn, uint64_t(w)) << entry_name(e);
    }
  }
}

TEST(Contract, UnimplementedExecutorReportsItselfAndChangesNothing) {
  cpu_state s = random_state(9);
  s.pc = reinterpret_cast<uint8_t*>(0x4005d0);
  s.insn = 0x05a0a000u;
  cpu_state before;
  std::memcpy(&before, &s, sizeof s);
  testing::internal::CaptureStderr();
  aarch64_decode_rc rc = sve_splice_zpz(&s, {1, 2}, {0, 2, false}, {3, 2});
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(rc, DECODE_UNIMPLEMENTED);
  EXPECT_EQ(err, "Unimplemented instruction: [  4005d0:\t 05a0a000\t sve_splice_zpz  ]\n");
  EXPECT_EQ(std::memcmp(&before, &s, sizeof s), 0);
}

TEST(Contract, UnimplementedExecutorPrintsOnlyTheLow32BitsOfInsn) {
  cpu_state s = random_state(3);
  s.pc = nullptr;
  s.insn = 0xFFFFFFFF12345678ull;
  testing::internal::CaptureStderr();
  EXPECT_EQ(sve_ctermeq_rr(&s, {1}, {2}), DECODE_UNIMPLEMENTED);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unimplemented instruction: [  0:\t 12345678\t sve_ctermeq_rr  ]\n");
}

TEST(Context, PacksPredicatesOneBitPerByteAndMasksFpcr) {
  cpu_state s = random_state(4);
  s.fpcr = 0xFFFFFFFFu;
  s.nzcv = 0xA0000000u;
  CpuContext c = make_context(&s);
  EXPECT_EQ(c.fpcr, 0x07C89F00u);
  EXPECT_EQ(c.flags, 0xA0000000u);
  EXPECT_EQ(vl_bytes(&c), 112);
  for (int k = 0; k < SVE_VL_BYTES; ++k) EXPECT_EQ(c.ffr.bit(k), bool(s.ffr[k] & 1));
  for (int k = SVE_VL_BYTES; k < SVE_MAX_VL_BYTES; ++k) EXPECT_FALSE(c.ffr.bit(k));
  uint8_t lanes[SVE_VL_BYTES];
  unpack_pred(c.ffr, lanes);
  EXPECT_EQ(std::memcmp(lanes, s.ffr, SVE_VL_BYTES), 0);
}

TEST(State, GeneralRegisterOperandsFollowTheirRegister31Rule) {
  cpu_state s = random_state(5);
  s.sp = 0x1000;
  EXPECT_EQ(read_reg(&s, aarch64_i_reg{31}), 0u);
  EXPECT_EQ(read_reg(&s, aarch64_i_rsp_reg{31}), 0x1000u);
  cpu_state before = s;
  write_reg(&s, aarch64_i_reg{31}, 77);
  EXPECT_EQ(std::memcmp(&before, &s, sizeof s), 0);
  write_reg(&s, aarch64_i_rsp_reg{31}, 0x2000);
  EXPECT_EQ(s.sp, 0x2000u);
  EXPECT_EQ(&s.x[0] + 31, &s.sp);  // x indexed with 31 reaches sp
}

}  // namespace
