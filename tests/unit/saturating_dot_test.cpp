// SQADD/UQADD/SQSUB/UQSUB and SDOT/UDOT through their handlers.
#include <gtest/gtest.h>

#include <cstring>

#include "sve/decode/decode.h"
#include "test_support.h"

namespace {
using namespace test_support;


aarch64_decode_rc run(cpu_state& s, uint32_t w) {
  Handler h = get_sve_handler(w);
  EXPECT_NE(h, nullptr) << std::hex << w;
  return h ? h(&s, w) : DECODE_UNIMPLEMENTED;
}

TEST(Saturating, ByteAndHalfwordEdges) {
  cpu_state s = zero_state();
  std::memset(s.z[2], 100, 112);
  std::memset(s.z[3], 100, 112);
  run(s, 0x04231041u);  // sqadd z1.b, z2.b, z3.b
  for (int i = 0; i < 112; ++i) ASSERT_EQ(s.z[1][i], 127);
  for (int i = 0; i < 56; ++i) {
    uint16_t five = 5, seven = 7;
    std::memcpy(&s.z[2][2 * i], &five, 2);
    std::memcpy(&s.z[3][2 * i], &seven, 2);
  }
  run(s, 0x04631c41u);  // uqsub z1.h, z2.h, z3.h
  for (int i = 0; i < 112; ++i) ASSERT_EQ(s.z[1][i], 0);
}

TEST(Saturating, ImmediateIsUnsignedForSignedElements) {
  cpu_state s = zero_state();
  std::memset(s.z[0], 0x80, 112);  // -128
  run(s, 0x2524dfe0u);  // sqadd z0.b, z0.b, #255
  for (int i = 0; i < 112; ++i) ASSERT_EQ(s.z[0][i], 0x7F);
}

TEST(Dot, AllOnesBytesAddFourToEachWord) {
  cpu_state s = zero_state();
  std::memset(s.z[1], 0xFF, 112);
  std::memset(s.z[2], 0xFF, 112);
  run(s, 0x44820020u);  // sdot z0.s, z1.b, z2.b
  for (int i = 0; i < 28; ++i) {
    int32_t v;
    std::memcpy(&v, &s.z[0][4 * i], 4);
    ASSERT_EQ(v, 4);
  }
}

TEST(Dot, IndexedTakesTheGroupWithinEach128BitSegment) {
  cpu_state s = zero_state();
  for (int i = 0; i < 112; ++i) s.z[1][i] = 1;
  for (int i = 0; i < 112; ++i) s.z[2][i] = uint8_t(i / 4);  // group number in every byte
  run(s, 0x44ba0020u);  // sdot z0.s, z1.b, z2.b[3]
  for (int i = 0; i < 28; ++i) {
    int32_t v;
    std::memcpy(&v, &s.z[0][4 * i], 4);
    ASSERT_EQ(v, 4 * ((i / 4) * 4 + 3)) << i;
  }
}

}  // namespace
