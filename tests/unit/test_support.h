// Small helpers shared by the unit tests that drive handlers by word.
#pragma once
#include <gtest/gtest.h>

#include <cstring>

#include "sve/decode/decode.h"

namespace test_support {

inline cpu_state zero_state() {
  cpu_state s;
  std::memset(&s, 0, sizeof s);
  return s;
}
// Runs the word's handler, which must exist and succeed.
inline void run(cpu_state& s, uint32_t w) {
  Handler h = get_sve_handler(w);
  ASSERT_NE(h, nullptr) << std::hex << w;
  ASSERT_EQ(h(&s, w), DECODE_OK) << std::hex << w;
}
inline unsigned flags(const cpu_state& s) { return unsigned(s.nzcv >> 28) & 15; }
constexpr unsigned N = 8, Z = 4, C = 2, V = 1;

}  // namespace test_support
