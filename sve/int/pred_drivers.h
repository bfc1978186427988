// Predicate drivers of the predicate, permute and count families.
//  - unpacked: loops over the 112 lanes of cpu_state predicates (one byte per
//    vector byte) with constant trip counts;
//  - packed: the length-agnostic route's PredV maps and the runners that
//    build the context, call a routine and write the results back.
#pragma once
#include <cstdint>
#include <cstring>

#include "sve/decode/handler.h"
#include "sve/decode/routes.h"
#include "sve/int/flags.h"
#include "sve/state/context.h"
#include "sve/state/cpu_state.h"

namespace sve {

// ---- unpacked lanes ----


// body(j, g, n, m, d) for each 16-byte run j of the lanes, with the run of each
// register as two 64-bit words; the result run is stored before the next run
// is read, so Pd may alias any source (every lane depends only on its own).
template <class F>
inline void lanes_words(uint8_t* pd, const uint8_t* pg, const uint8_t* pn, const uint8_t* pm, F f) {
  static_assert(SVE_VL_BYTES % 16 == 0);
#pragma GCC unroll 8
  for (int j = 0; j < SVE_VL_BYTES; j += 16) {
    uint64_t g[2], n[2], m[2], d[2], r[2];
    std::memcpy(g, pg + j, 16);
    std::memcpy(n, pn + j, 16);
    std::memcpy(m, pm + j, 16);
    std::memcpy(d, pd + j, 16);
    for (int k = 0; k < 2; ++k) r[k] = f(g[k], n[k], m[k], d[k]);
    std::memcpy(pd + j, r, 16);
  }
}

// Pd[k] = Pg[k] ? f(Pn[k], Pm[k]) : (zeroing ? 0 : Pd[k]) over all lanes, bit 0
// of each lane only, eight lanes per 64-bit word (f is a bitwise operation on
// words); Pd may alias any source.
template <class F>
inline void lanes_ppp(uint8_t* pd, const uint8_t* pg, const uint8_t* pn, const uint8_t* pm, bool zeroing, F f) {
  constexpr uint64_t kLow = 0x0101010101010101ull;
  if (zeroing)
    lanes_words(pd, pg, pn, pm, [&](uint64_t g, uint64_t n, uint64_t m, uint64_t) { return f(n, m) & g & kLow; });
  else
    lanes_words(pd, pg, pn, pm, [&](uint64_t g, uint64_t n, uint64_t m, uint64_t d) {
      return ((f(n, m) & g) | (d & ~g)) & kLow;
    });
}

// Pd[k] = Pg[k] ? Pn[k] : Pm[k] over all lanes, bit 0 of each lane only.
inline void lanes_select(uint8_t* pd, const uint8_t* pg, const uint8_t* pn, const uint8_t* pm) {
  constexpr uint64_t kLow = 0x0101010101010101ull;
  lanes_words(pd, pg, pn, pm, [](uint64_t g, uint64_t n, uint64_t m, uint64_t) { return ((n & g) | (m & ~g)) & kLow; });
}

// The fixed-length predicate test at an element-size code.
inline void ptest_esize(cpu_state* s, int esize, const uint8_t* governing, const uint8_t* tested) {
  auto g = reinterpret_cast<const char*>(governing);
  auto t = reinterpret_cast<const char*>(tested);
  switch (esize) {
    case ESIZE_H: sve_ptest<short>(s, g, t); break;
    case ESIZE_S: sve_ptest<int>(s, g, t); break;
    case ESIZE_D: sve_ptest<long>(s, g, t); break;
    default: sve_ptest<signed char>(s, g, t); break;
  }
}

// For each element size, the lanes of an all-true predicate followed by as
// many false lanes: the window of 112 lanes ending `bytes` lanes into the
// false half holds `bytes` true lanes, then false ones.
struct LeadingLanes {
  uint8_t l[4][2 * SVE_VL_BYTES];
};
constexpr LeadingLanes make_leading_lanes() {
  LeadingLanes t{};
  for (int e = 0; e < 4; ++e)
    for (int k = 0; k < SVE_VL_BYTES; k += 1 << e) t.l[e][k] = 1;
  return t;
}
inline constexpr LeadingLanes kLeadingLanes = make_leading_lanes();

// All-true lanes at E bytes (an E-byte 1 per element).
inline const uint8_t* all_true_lanes(int esize) { return kLeadingLanes.l[esize & 3]; }
// Pd = the first `count` elements true, the rest false (count at most the element count).
inline void leading_lanes(uint8_t* pd, int esize, int count) {
  std::memcpy(pd, kLeadingLanes.l[esize & 3] + SVE_VL_BYTES - (count << (esize & 3)), SVE_VL_BYTES);
}

// All lanes false.
inline void clear_lanes(uint8_t* pd) { zero_bytes16(pd, 0, SVE_VL_BYTES); }


// Number of E-byte elements whose first lane is set in both a and b (b = a
// counts a alone). Lanes are 0 or 1, so the words add up lane by lane without
// carries (at most 14 per lane), and one multiply adds up the eight lanes.
template <int E> inline int count_lanes(const uint8_t* a, const uint8_t* b) {
  uint64_t acc = 0;
#pragma GCC unroll 16
  for (int j = 0; j < SVE_VL_BYTES; j += 8) {
    uint64_t x, y;
    std::memcpy(&x, a + j, 8);
    std::memcpy(&y, b + j, 8);
    acc += x & y & lane_starts(E);
  }
  static_assert(SVE_VL_BYTES < 256, "the total stays below 256");
  return int((acc * 0x0101010101010101ull) >> 56);
}

// ---- packed maps ----

// Element e of E bits of a map.
inline bool pbit(const PredV& p, int e, int ebits) { return p.bit(e * ebits); }

// The map of the first `count` elements of E bytes.
inline PredV leading_elements(int count, int ebytes) {
  PredV p{};
  const uint64_t starts = element_starts(ebytes);
  int bits = count * ebytes;
  for (int w = 0; w * 64 < bits; ++w)
    p.w[w] = starts & (bits - 64 * w >= 64 ? ~uint64_t(0) : (uint64_t(1) << (bits - 64 * w)) - 1);
  return p;
}

// Lanes of a map whose only set bits are the starts of its first elements
// (PTRUE(S) and WHILE results): their number picks the window of the
// constant table, which costs less than unpacking the map.
inline void unpack_leading(const PredV& d, uint8_t* pd, int esize) {
  static_assert(SVE_VL_BYTES <= 128, "two map words");
  leading_lanes(pd, esize, __builtin_popcountll(d.w[0]) + __builtin_popcountll(d.w[1]));
}

// N, Z and C into a context's flags, V cleared.
inline void set_context_nzcv(CpuContext* c, NzcFlags f) { c->flags = uint32_t(with_nzcv(c->flags, f)); }

// Routine of a predicate-to-predicate operation on the length-agnostic route.
using AgnosticPPPP = void (*)(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c);

// Flags (bits 31-28 only) and status back into the state.
inline void finish_pred_context(cpu_state* s, const CpuContext& c) {
  store_context_flags(s, c);
  s->fpsr = c.fpsr;
}

// Packs the predicates the routine reads (a negative number packs none),
// runs it and unpacks the result into Pd. Inlined into each handler, where
// the registers it packs are known.
[[gnu::always_inline]] inline aarch64_decode_rc run_agnostic_pppp(cpu_state* s, unsigned pd, int pg, int pn, int pm, AgnosticPPPP r) {
  CpuContext c = make_context_without_ffr(s);
  PredV g{}, n{}, m{}, d{};
  if (pg >= 0) g = pack_pred(s->p[pg]);
  if (pn >= 0) n = pack_pred(s->p[pn]);
  if (pm >= 0) m = pack_pred(s->p[pm]);
  r(&d, &g, &n, &m, &c);
  unpack_pred(d, s->p[pd]);
  finish_pred_context(s, c);
  return DECODE_OK;
}

// Number of elements of a PTRUE pattern among `elems` (VecTrueILength).
constexpr int VecTrueILength(int pattern, int elems) {
  switch (pattern) {
    case 0: {
      int p = 1;
      while (p * 2 <= elems) p *= 2;
      return elems ? p : 0;
    }
    case 1: case 2: case 3: case 4: case 5: case 6: case 7: case 8:
      return pattern <= elems ? pattern : 0;
    case 9: case 10: case 11: case 12: case 13: {
      int n = 16 << (pattern - 9);
      return n <= elems ? n : 0;
    }
    case 29: return elems - elems % 4;
    case 30: return elems - elems % 3;
    case 31: return elems;
    default: return 0;
  }
}

}  // namespace sve
