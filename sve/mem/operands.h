// Shared pieces of the memory handlers: operand fields of the load/store
// encodings, and the shape of a governing predicate found in one pass.
#pragma once
#include <cstdint>
#include <cstring>

#include "sve/decode/routes.h"
#include "sve/state/cpu_state.h"

namespace sve {

// Zt (or Pt) = bits 4-0, Rn = bits 9-5 (31 is SP), Pg = bits 12-10, Rm = bits
// 20-16 (31 is no offset), imm4 = bits 19-16 signed, imm6 = bits 21-16.
inline unsigned zt_field(uint32_t w) { return field(w, 4, 0); }
inline aarch64_i_rsp_reg rn_field(uint32_t w) { return {uint8_t(field(w, 9, 5))}; }
inline aarch64_i_reg rm_field(uint32_t w) { return {uint8_t(field(w, 20, 16))}; }
inline unsigned pg_field(uint32_t w) { return field(w, 12, 10); }
inline int imm4_field(uint32_t w) { return int(sfield(w, 19, 16)); }
inline unsigned imm6_field(uint32_t w) { return field(w, 21, 16); }
// LDR/STR: (signed bits 21-16) * 8 + bits 12-10.
inline int imm9_field(uint32_t w) { return int(sfield(w, 21, 16) * 8 + field(w, 12, 10)); }

// Lane bytes of the E-byte element flags within 64 bits of lanes.
template <int E>
constexpr uint64_t kLaneFlags = E == 1   ? 0x0101010101010101ull
                                : E == 2 ? 0x0001000100010001ull
                                : E == 4 ? 0x0000000100000001ull
                                         : 0x1ull;

// Whether every E-byte element is active (bit 0 of lane byte i * E), from the
// AND of the lanes taken sixteen at a time.
template <int E> inline bool all_active(const uint8_t* lanes) {
  typedef uint64_t Pair __attribute__((vector_size(16)));
  Pair all = {~uint64_t(0), ~uint64_t(0)};
#pragma GCC unroll 7
  for (int k = 0; k < SVE_VL_BYTES; k += 16) {
    Pair w;
    std::memcpy(&w, lanes + k, 16);
    all &= w;
  }
  return (all[0] & all[1] & kLaneFlags<E>) == kLaneFlags<E>;
}
// Whether any E-byte element is active.
template <int E> inline bool any_active(const uint8_t* lanes) {
  typedef uint64_t Pair __attribute__((vector_size(16)));
  Pair any = {0, 0};
#pragma GCC unroll 7
  for (int k = 0; k < SVE_VL_BYTES; k += 16) {
    Pair w;
    std::memcpy(&w, lanes + k, 16);
    any |= w;
  }
  return ((any[0] | any[1]) & kLaneFlags<E>) != 0;
}

// f(i) for every active E-byte element i in ascending order: one test and
// branch per element, fully unrolled.
template <int E, class F> inline void for_each_active(const uint8_t* lanes, F f) {
#pragma GCC unroll 112
  for (int i = 0; i < SVE_VL_BYTES / E; ++i)
    if (lanes[i * E] & 1) f(i);
}

// Zeroes a whole register in seven 16-byte stores.
inline void zero_vector(uint8_t* z) {
  typedef uint64_t Pair __attribute__((vector_size(16)));
  const Pair zero = {0, 0};
#pragma GCC unroll 7
  for (int k = 0; k < SVE_VL_BYTES; k += 16) std::memcpy(z + k, &zero, 16);
}

}  // namespace sve
