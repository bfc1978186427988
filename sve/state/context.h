// Records of the length-agnostic route: packed predicates and the context word
// block. Routines on this route serve any vector length up to 2048 bits.
#pragma once
#include <bit>
#include <cstdint>
#include <cstring>

#include "sve/state/cpu_state.h"
#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

constexpr int SVE_MAX_VL_BYTES = 256;      // 2048-bit vectors
constexpr uint32_t FPCR_CONTEXT_MASK = 0x07C89F00u;
constexpr uint32_t VL_UNITS_MASK = 0x3FFFFFFu;

// One bit per vector byte (bit k for byte k) of a vector of up to 2048 bits.
struct PredV {
  uint64_t w[SVE_MAX_VL_BYTES / 64];
  bool bit(int k) const { return (w[k >> 6] >> (k & 63)) & 1; }
  void set(int k, bool v) {
    uint64_t m = uint64_t(1) << (k & 63);
    w[k >> 6] = v ? (w[k >> 6] | m) : (w[k >> 6] & ~m);
  }
};

struct CpuContext {
  uint32_t flags;    // condition flags in the nzcv layout
  uint32_t fpsr;     // cumulative FP status
  uint32_t fpcr;     // FP control, masked with FPCR_CONTEXT_MASK
  uint32_t vl;       // vector length in 64-bit units in the low 26 bits
  PredV ffr;
};
static_assert(offsetof(CpuContext, vl) == 12, "length word is the fourth 32-bit word");

inline int vl_bytes(const CpuContext* c) { return int(c->vl & VL_UNITS_MASK) * 8; }

#if !defined(__SSE2__) && defined(__aarch64__)
// Sixteen bytes each holding its bit of a 16-bit map (one bit per byte, bit
// k % 8 for byte k): each half's bytes added give the map's two bytes.
inline uint64_t add_byte_halves(uint8x16_t bits) {
  return vaddv_u8(vget_low_u8(bits)) | uint64_t(vaddv_u8(vget_high_u8(bits))) << 8;
}
#endif
// Packing and unpacking eight lanes at a time: bit 0 of lane byte k is bit k of the map.
inline uint8_t pack8(const uint8_t* lanes) {
  uint64_t x;
  std::memcpy(&x, lanes, 8);
  return uint8_t(((x & 0x0101010101010101ull) * 0x0102040810204080ull) >> 56);
}
// Sixteen lanes at a time where the host has a byte mask instruction.
inline uint64_t pack16(const uint8_t* lanes) {
#if defined(__SSE2__)
  __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes));
  // Bit 0 of each lane to its sign bit; the mask is already zero above bit 15.
  return uint32_t(_mm_movemask_epi8(_mm_slli_epi16(v, 7)));
#elif defined(__aarch64__)
  // Bit 0 of lane k moved to bit k % 8, then each half's eight bytes added.
  const int8x16_t to_bit = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7};
  return add_byte_halves(vshlq_u8(vandq_u8(vld1q_u8(lanes), vdupq_n_u8(1)), to_bit));
#else
  return pack8(lanes) | uint64_t(pack8(lanes + 8)) << 8;
#endif
}
// Bit k = bit 7 of byte k, for sixteen bytes of all-ones/zero masks.
inline uint64_t sign_mask16(const uint8_t* bytes) {
#if defined(__SSE2__)
  return uint32_t(_mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes))));
#elif defined(__aarch64__)
  const uint8x16_t weight = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  return add_byte_halves(vandq_u8(vcltzq_s8(vreinterpretq_s8_u8(vld1q_u8(bytes))), weight));
#else
  uint64_t lo, hi;
  std::memcpy(&lo, bytes, 8);
  std::memcpy(&hi, bytes + 8, 8);
  constexpr uint64_t kOnes = 0x0101010101010101ull, kGather = 0x0102040810204080ull;
  return (((lo >> 7) & kOnes) * kGather >> 56) | (((hi >> 7) & kOnes) * kGather >> 56) << 8;
#endif
}
constexpr uint64_t spread8(unsigned bits8) {
  uint64_t x = (uint64_t(bits8) * 0x0101010101010101ull) & 0x8040201008040201ull;
  return ((x + 0x7F7F7F7F7F7F7F7Full) >> 7) & 0x0101010101010101ull;
}
// Lanes 0..bytes-1 (a multiple of 8) into p, whose other bits stay clear.
inline void pack_lanes(const uint8_t* lanes, PredV& p, int bytes) {
  for (int w = 0; w * 64 < bytes; ++w) {
    uint64_t word = 0;
    int groups = bytes - w * 64 >= 64 ? 8 : (bytes - w * 64) / 8;
    for (int k = 0; k < groups; ++k) word |= uint64_t(pack8(lanes + w * 64 + 8 * k)) << (8 * k);
    p.w[w] = word;
  }
}
// spread8 of every byte value, looked up rather than computed per lane group.
struct Spread8Table {
  uint64_t v[256];
};
constexpr Spread8Table make_spread8_table() {
  Spread8Table t{};
  for (unsigned b = 0; b < 256; ++b) t.v[b] = spread8(b);
  return t;
}
inline constexpr Spread8Table kSpread8 = make_spread8_table();
// The lanes of `groups` groups of eight from one map word.
inline void expand_word(uint64_t word, uint8_t* lanes, int groups) {
#pragma GCC unroll 8
  for (int k = 0; k < groups; ++k) {
    uint64_t x = kSpread8.v[(word >> (8 * k)) & 0xFF];
    std::memcpy(lanes + 8 * k, &x, 8);
  }
}
// Lanes 0..bytes-1 of a packed map, one byte (0 or 1) each; bytes is a
// multiple of 8. One table entry per byte of the map, read straight from
// memory: cheaper than taking the bytes out of the words with variable shifts.
inline void expand_pred(const PredV& p, uint8_t* lanes, int bytes) {
  static_assert(std::endian::native == std::endian::little, "byte k of the map holds bits 8k to 8k+7");
  const auto* map = reinterpret_cast<const uint8_t*>(p.w);
  const int groups = bytes / 8;
#pragma GCC unroll 4
  for (int k = 0; k < groups; ++k) std::memcpy(lanes + 8 * k, &kSpread8.v[map[k]], 8);
}

// The fixed length: the loop has a compile-time trip count.
inline PredV pack_pred(const uint8_t* lanes) {
  static_assert(SVE_VL_BYTES % 16 == 0);
  uint64_t words[SVE_MAX_VL_BYTES / 64] = {};  // in registers while they are assembled
#pragma GCC unroll 16
  for (int k = 0; k < SVE_VL_BYTES / 16; ++k) words[k / 4] |= pack16(lanes + 16 * k) << (16 * (k % 4));
  PredV p;
  std::memcpy(p.w, words, sizeof words);
  return p;
}
inline void unpack_pred(const PredV& p, uint8_t* lanes) {
  uint8_t map[SVE_VL_BYTES / 8];
  std::memcpy(map, p.w, sizeof map);  // a local copy: the lane stores cannot alias it
#pragma GCC unroll 16
  for (int k = 0; k < SVE_VL_BYTES / 8; ++k) std::memcpy(lanes + 8 * k, &kSpread8.v[map[k]], 8);
}

// A context for routines that neither read nor write the FFR (all but the
// first-fault loads and the FFR instructions): flags, status, control and
// length, the FFR left clear, since packing it costs more than the cheaper
// routines themselves.
inline CpuContext make_context_without_ffr(const cpu_state* s) {
  CpuContext c;
  c.flags = uint32_t(s->nzcv);
  c.fpsr = s->fpsr;
  c.fpcr = s->fpcr & FPCR_CONTEXT_MASK;
  c.vl = SVE_VL_BYTES / 8;
  c.ffr = PredV{};
  return c;
}
// A context filled from the state, FFR included.
inline CpuContext make_context(const cpu_state* s) {
  CpuContext c = make_context_without_ffr(s);
  c.ffr = pack_pred(s->ffr);
  return c;
}

// The condition flags a routine left in its context, back into the state
// (bits 31-28 of nzcv only).
inline void store_context_flags(cpu_state* s, const CpuContext& c) {
  s->nzcv = (s->nzcv & ~uint64_t(0xF0000000u)) | (c.flags & 0xF0000000u);
}

// Bytes from..to-1 (multiples of 16) cleared sixteen a store, inline: a
// library memset or a string store costs more at these sizes.
inline void zero_bytes16(uint8_t* p, int from, int to) {
  alignas(16) static constexpr uint8_t kZero16[16] = {};
#pragma GCC unroll 16
  for (int i = from; i < to; i += 16) std::memcpy(p + i, kZero16, 16);
}

// A 256-byte image of a Z register; bytes past the vector length are zero.
struct VecImage {
  alignas(16) uint8_t b[SVE_MAX_VL_BYTES];
};
inline VecImage load_image(const cpu_state* s, int zreg) {
  VecImage v;
  static_assert(SVE_VL_BYTES % 16 == 0);
  std::memcpy(v.b, s->z[zreg], SVE_VL_BYTES);
  zero_bytes16(v.b, SVE_VL_BYTES, SVE_MAX_VL_BYTES);
  return v;
}
