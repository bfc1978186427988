// The SVE flag rule (the predicate test), written once and shared by every
// flag-setting instruction: PTEST, the flag-setting predicate operations,
// compares, WHILE, and the length-agnostic routines.
//   N = tested bit of the first active element (0 when none is active)
//   Z = no active element is true
//   C = NOT tested bit of the last active element (1 when none is active)
//   V = 0
#pragma once
#include <cstdint>
#include <cstring>

#include "sve/int/lanes.h"
#include "sve/state/context.h"
#include "sve/state/cpu_state.h"

namespace sve {

struct NzcFlags {
  bool n, z, c;
};

// nzcv with N, Z, C replaced and V cleared; the other bits are kept.
inline uint64_t with_nzcv(uint64_t nzcv, NzcFlags f, bool v = false) {
  return (nzcv & ~uint64_t(0xF0000000u)) | (uint64_t(f.n) << 31) | (uint64_t(f.z) << 30) | (uint64_t(f.c) << 29) |
         (uint64_t(v) << 28);
}

// Lanes where elements of E bytes start, in a 64-bit map word.
template <int E>
constexpr uint64_t kElementStarts = E == 1 ? ~uint64_t(0)
                                    : E == 2 ? 0x5555555555555555ull
                                    : E == 4 ? 0x1111111111111111ull
                                             : 0x0101010101010101ull;
inline uint64_t element_starts(int step) {
  return step == 1 ? kElementStarts<1> : step == 2 ? kElementStarts<2> : step == 4 ? kElementStarts<4> : kElementStarts<8>;
}

// ---- the fixed-length test over unpacked lanes (one byte, 0 or 1, per
// vector byte); an element is governed and tested by its lowest lane ----

// Element starts of E-byte elements among the eight lanes of a 64-bit word.
constexpr uint64_t lane_starts(int ebytes) {
  return ebytes == 1 ? 0x0101010101010101ull : ebytes == 2 ? 0x0001000100010001ull
                                                : ebytes == 4 ? 0x0000000100000001ull : 1ull;
}
inline uint64_t lane_word(const uint8_t* lanes, int j) {
  uint64_t x;
  std::memcpy(&x, lanes + j, 8);
  return x;
}
// The highest set lane at the start of an E-byte element, -1 when none:
// eight lanes a 64-bit word from the top, so a lane near the top is found at
// once (each step is a test of a word against the starts and a branch).
template <int E> inline int last_lane_of(const uint8_t* lanes) {
#pragma GCC unroll 16
  for (int j = SVE_VL_BYTES - 8; j >= 0; j -= 8)
    if (uint64_t x = lane_word(lanes, j) & lane_starts(E)) return j + (63 - __builtin_clzll(x)) / 8;
  return -1;
}
// The lowest set lane at an element start from lane `from` on,
// SVE_VL_BYTES when none: the word holding `from`, then word by word.
template <int E> inline int first_lane_of(const uint8_t* lanes, int from) {
  int j = from & ~7;
  if (j >= SVE_VL_BYTES) return SVE_VL_BYTES;
  uint64_t x = lane_word(lanes, j) & lane_starts(E) & (~uint64_t(0) << 8 * (from & 7));
  while (!x && (j += 8) < SVE_VL_BYTES) x = lane_word(lanes, j) & lane_starts(E);
  return x ? j + __builtin_ctzll(x) / 8 : SVE_VL_BYTES;
}
// The first and last active elements of governing lanes: found before a
// result that may overwrite them (Pd = Pg) is written.
struct ActiveEnds {
  int first, last;
};
template <int E> inline ActiveEnds active_ends(const uint8_t* g) { return {first_lane_of<E>(g, 0), last_lane_of<E>(g)}; }
// The test of lanes t under governing lanes with ends g, given whether any
// active element of t is true (if so, g has active elements).
inline NzcFlags ptest_lanes(ActiveEnds g, const uint8_t* t, bool any) {
  return any ? NzcFlags{bool(t[g.first] & 1), false, !(t[g.last] & 1)} : NzcFlags{false, true, true};
}
// The test at the element width sizeof(T).
template <class T>
inline void sve_ptest(cpu_state* s, const char* governing, const char* tested) {
  constexpr int E = int(sizeof(T));
  const auto *g = reinterpret_cast<const uint8_t*>(governing), *t = reinterpret_cast<const uint8_t*>(tested);
  Lanes<uint8_t> both = {};
#pragma GCC unroll 8
  for (int j = 0; j < SVE_VL_BYTES; j += 16) both |= load_lanes<uint8_t>(g + j) & load_lanes<uint8_t>(t + j);
  s->nzcv = with_nzcv(s->nzcv, ptest_lanes(active_ends<E>(g), t, any_set(both, lane_starts(E))));
}

// The same test in closed form for results that are a leading run: the
// first `count` of `n` elements true and no other. Under all n elements
// (WHILE) and under the result itself (PTRUES). A unit test pins both to the
// rule above.
inline NzcFlags leading_run_test(int count, int n) { return {count > 0, count == 0, count < n}; }
inline NzcFlags leading_run_self_test(int count) { return {count > 0, count == 0, count == 0}; }

// ---- length-agnostic helpers over packed predicates ----

inline int pred_elems(const CpuContext* c, int esize_bits) { return int(c->vl & VL_UNITS_MASK) * 64 / esize_bits; }

// The first and last active elements of E-bit elements, -1 when none: bit
// scans of the map words kept at element starts, the top word also within
// the length.
inline uint64_t top_word_bits(int bytes) { return ~uint64_t(0) >> (63 - ((bytes - 1) & 63)); }
inline int FindFirstActive(const PredV& p, int esize_bits, const CpuContext* c) {
  const int step = esize_bits / 8, bytes = vl_bytes(c), top = (bytes - 1) >> 6;
  const uint64_t starts = element_starts(step);
  if (bytes <= 0) return -1;
  for (int w = 0; w < top; ++w)
    if (uint64_t x = p.w[w] & starts) return (64 * w + __builtin_ctzll(x)) / step;
  uint64_t x = p.w[top] & starts & top_word_bits(bytes);
  return x ? (64 * top + __builtin_ctzll(x)) / step : -1;
}
inline int FindLastActive(const PredV& p, int esize_bits, const CpuContext* c) {
  const int step = esize_bits / 8, bytes = vl_bytes(c);
  const uint64_t starts = element_starts(step);
  if (bytes <= 0) return -1;
  int w = (bytes - 1) >> 6;
  uint64_t x = p.w[w] & starts & top_word_bits(bytes);
  while (!x && w > 0) x = p.w[--w] & starts;
  return x ? (64 * w + 63 - __builtin_clzll(x)) / step : -1;
}

// N and C from the result's lowest element bit; Z counts an element of the
// result as true when any of its map bits is set. With no element at all,
// N = 0, Z = 1, C = 1. V is left as it was. Word by word: elements never
// straddle a 64-bit map word.
inline NzcFlags pred_nzc(const PredV& g, const PredV& r, int esize_bits, const CpuContext* c) {
  const int step = esize_bits / 8, bytes = vl_bytes(c);
  const uint64_t starts = element_starts(step);
  NzcFlags f{false, true, true};
  if (bytes <= 0) return f;
  const int top = (bytes - 1) >> 6;
  uint64_t hits = 0, first_act = 0, last_act = 0;
  int first = -1, last = -1;
  for (int w = 0; w <= top; ++w) {
    uint64_t act = g.w[w] & starts & (w == top ? top_word_bits(bytes) : ~uint64_t(0));
    uint64_t any = r.w[w];  // bit k: some bit of the element starting at k is set
    for (int k = 1; k < step; k <<= 1) any |= any >> k;
    hits |= act & any;
    if (act && first < 0) first = w, first_act = act;
    if (act) last = w, last_act = act;
  }
  f.z = hits == 0;
  if (first >= 0) {
    f.n = (r.w[first] >> __builtin_ctzll(first_act)) & 1;
    f.c = !((r.w[last] >> (63 - __builtin_clzll(last_act))) & 1);
  }
  return f;
}
inline void PredSetNZC(const PredV& g, const PredV& r, int esize_bits, CpuContext* c) {
  NzcFlags f = pred_nzc(g, r, esize_bits, c);
  c->flags = (c->flags & 0x1FFFFFFFu) | (uint32_t(f.n) << 31) | (uint32_t(f.z) << 30) | (uint32_t(f.c) << 29);
}
inline void PredSetNZCV(const PredV& g, const PredV& r, int esize_bits, CpuContext* c) {
  PredSetNZC(g, r, esize_bits, c);
  c->flags &= ~(1u << 28);
}
// Variants that leave Z alone.
inline void PredSetNC(const PredV& g, const PredV& r, int esize_bits, CpuContext* c) {
  NzcFlags f = pred_nzc(g, r, esize_bits, c);
  c->flags = (c->flags & 0x5FFFFFFFu) | (uint32_t(f.n) << 31) | (uint32_t(f.c) << 29);
}
inline void PredSetNCV(const PredV& g, const PredV& r, int esize_bits, CpuContext* c) {
  PredSetNC(g, r, esize_bits, c);
  c->flags &= ~(1u << 28);
}

}  // namespace sve
