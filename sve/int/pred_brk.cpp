// The BRK family: BRKA, BRKB (merging and zeroing), BRKAS, BRKBS, BRKN,
// BRKNS, BRKPA, BRKPAS, BRKPB, BRKPBS, all at byte granularity. BRKA, BRKB,
// BRKN(S) and BRKPB(S) run fixed length; BRKAS, BRKBS and BRKPA(S) run length
// agnostic.
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// Breaks work on packed maps, a 64-bit word at a time (every break is at byte
// granularity). Lanes of the map past the vector length are clear.
inline uint64_t valid_bits(int bytes, int w) {
  return bytes - 64 * w >= 64 ? ~uint64_t(0) : bytes <= 64 * w ? 0 : (uint64_t(1) << (bytes - 64 * w)) - 1;
}
constexpr int kWords = SVE_MAX_VL_BYTES / 64;

// The active lanes of g up to the first active true lane of stop, that lane
// included (After, BRKA-style) or not (BRKB-style); none when `run` is false.
template <bool After> inline PredV break_map(const PredV& g, const PredV& stop, bool run, int bytes) {
  PredV r{};
  for (int w = 0; run && w < kWords; ++w) {
    uint64_t active = g.w[w] & valid_bits(bytes, w), hit = active & stop.w[w];
    if (!hit) {
      r.w[w] = active;
      continue;
    }
    int b = __builtin_ctzll(hit);
    uint64_t upto = After ? (b == 63 ? ~uint64_t(0) : (uint64_t(2) << b) - 1) : (uint64_t(1) << b) - 1;
    r.w[w] = active & upto;
    run = false;
  }
  return r;
}

// Whether the last active lane of g is true in n (false when none is active).
inline bool last_active_true(const PredV& g, const PredV& n, int bytes) {
  for (int w = kWords - 1; w >= 0; --w) {
    uint64_t active = g.w[w] & valid_bits(bytes, w);
    if (active) return (n.w[w] >> (63 - __builtin_clzll(active))) & 1;
  }
  return false;
}

// ---- fixed length, over lanes ----

// Lanes before the first lane set in both a and b (all of them when none is).
inline int lanes_before_first_common(const uint8_t* a, const uint8_t* b) {
  for (int j = 0; j < SVE_VL_BYTES; j += 8) {  // eight lanes at a time
    uint64_t x, y;
    std::memcpy(&x, a + j, 8);
    std::memcpy(&y, b + j, 8);
    if (x & y) return j + __builtin_ctzll(x & y) / 8;
  }
  return SVE_VL_BYTES;
}
// The last lane set in g, -1 when none.
inline int last_lane(const uint8_t* g) { return last_lane_of<1>(g); }
// out = the active lanes of g among the first `count` lanes; inactive lanes
// keep Pd when merging, else 0. Pd and out may alias g.
template <bool Merging> inline void break_result(uint8_t* out, const uint8_t* g, const uint8_t* pd, int count) {
  const uint8_t* prefix = all_true_lanes(0) + SVE_VL_BYTES - count;  // count ones, then zeros
  lanes_words(out, g, prefix, pd, [](uint64_t gw, uint64_t p, uint64_t d, uint64_t) {
    return ((gw & p) | (Merging ? d & ~gw : 0)) & 0x0101010101010101ull;
  });
}

template <bool After>
aarch64_decode_rc break_lanes(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn) {
  const uint8_t* g = s->p[pg.num];
  int before = lanes_before_first_common(g, s->p[pn.num]);
  int count = After && before < SVE_VL_BYTES ? before + 1 : before;
  if (pg.zeroing) break_result<false>(s->p[pd.num], g, g, count);
  else break_result<true>(s->p[pd.num], g, s->p[pd.num], count);
  return DECODE_OK;
}

// BRKPB (After false) and BRKPA at byte granularity: the break applies when
// the last active lane of Pg is true in Pn. The flags follow from the
// count of leading lanes the result keeps of Pg: an active lane is true in
// the result when it lies below the count. Pd may be any source: it is
// written last, each 16-byte run after it is read.
template <bool After, bool SetFlags>
[[gnu::always_inline]] inline void break_prev_lanes(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn,
                                                    aarch64_p_reg pm) {
  const uint8_t* g = s->p[pg.num];
  int last = last_lane(g), count = 0;
  if (last >= 0 && (s->p[pn.num][last] & 1)) {
    int before = lanes_before_first_common(g, s->p[pm.num]);
    count = After && before < SVE_VL_BYTES ? before + 1 : before;
  }
  if (SetFlags) {
    bool any = count > 0 && first_lane_of<1>(g, 0) < count;  // the first active lane is kept
    s->nzcv = with_nzcv(s->nzcv, NzcFlags{any, !any, !(last >= 0 && last < count)});
  }
  break_result<false>(s->p[pd.num], g, g, count);
}

// ---- length agnostic, over packed maps ----

template <bool After, bool SetFlags>
void break_routine(PredV* d, const PredV* g, const PredV* n, const PredV*, CpuContext* c) {
  *d = break_map<After>(*g, *n, true, vl_bytes(c));
  if (SetFlags) PredSetNZCV(*g, *d, 8, c);
}
template <bool After, bool SetFlags>
void break_prev_routine(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  *d = break_map<After>(*g, *m, last_active_true(*g, *n, vl_bytes(c)), vl_bytes(c));
  if (SetFlags) PredSetNZCV(*g, *d, 8, c);
}

}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_brka_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn) {
  return sve::break_lanes<true>(s, pd, pg, pn);
}
SVE_EXECUTOR aarch64_decode_rc sve_brkb_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn) {
  return sve::break_lanes<false>(s, pd, pg, pn);
}
SVE_EXECUTORS_END

namespace sve {
namespace {
// Pdm is kept when the last active lane of Pg is true in Pn, else cleared;
// the flag form tests the result under an all-true predicate: N = its first
// lane, Z = no lane set, C = not its last lane.
template <bool SetFlags> void brkn(cpu_state* s, aarch64_p_reg pdm, aarch64_p_reg pg, aarch64_p_reg pn) {
  uint8_t* d = s->p[pdm.num];
  int last = last_lane(s->p[pg.num]);
  bool keep = last >= 0 && (s->p[pn.num][last] & 1);
  if (!keep) clear_lanes(d);
  if (!SetFlags) return;
  uint64_t any = 0;
  if (keep) {
#pragma GCC unroll 16
    for (int j = 0; j < SVE_VL_BYTES; j += 8) any |= elem<uint64_t>(d, j / 8);
  }
  any &= 0x0101010101010101ull;
  s->nzcv = with_nzcv(s->nzcv, NzcFlags{keep && (d[0] & 1), any == 0, !keep || !(d[SVE_VL_BYTES - 1] & 1)});
}
}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_brkn_ppp(cpu_state* s, aarch64_p_reg pdm, aarch64_p_reg pg, aarch64_p_reg pn) {
  sve::brkn<false>(s, pdm, pg, pn);
  return DECODE_OK;
}
SVE_EXECUTOR aarch64_decode_rc sve_brkns_ppp(cpu_state* s, aarch64_p_reg pdm, aarch64_p_reg pg, aarch64_p_reg pn) {
  sve::brkn<true>(s, pdm, pg, pn);
  return DECODE_OK;
}
SVE_EXECUTOR aarch64_decode_rc sve_brkpb_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn,
                                              aarch64_p_reg pm) {
  sve::break_prev_lanes<false, false>(s, pd, pg, pn, pm);
  return DECODE_OK;
}
SVE_EXECUTOR aarch64_decode_rc sve_brkpbs_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn,
                                               aarch64_p_reg pm) {
  sve::break_prev_lanes<false, true>(s, pd, pg, pn, pm);
  return DECODE_OK;
}
SVE_EXECUTORS_END

extern "C" void VecPBreakAFlgPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_routine<true, true>(d, g, n, m, c);
}
extern "C" void VecPBreakBFlgPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_routine<false, true>(d, g, n, m, c);
}
extern "C" void VecPBreakPrevAPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_prev_routine<true, false>(d, g, n, m, c);
}
extern "C" void VecPBreakPrevAFlgPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_prev_routine<true, true>(d, g, n, m, c);
}

namespace sve {
namespace {

// Pd (Pdm) = bits 3-0, Pn = bits 8-5, Pg = bits 13-10, Pm = bits 19-16.
inline aarch64_p_reg pr(uint32_t w, int hi, int lo, bool zeroing = true) {
  return {uint8_t(field(w, hi, lo)), 0, zeroing};
}
using Ppp = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg);
using Pppp = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg);

template <Ppp X, bool Zeroing> aarch64_decode_rc ppp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, pr(w, 3, 0), pr(w, 13, 10, Zeroing), pr(w, 8, 5));
}
template <Pppp X> aarch64_decode_rc pppp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, pr(w, 3, 0), pr(w, 13, 10), pr(w, 8, 5), pr(w, 19, 16));
}
template <AgnosticPPPP R> aarch64_decode_rc agnostic_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_pppp(s, field(w, 3, 0), int(field(w, 13, 10)), int(field(w, 8, 5)), int(field(w, 19, 16)), R);
}

}  // namespace
}  // namespace sve

const HandlerDef kPredBreakHandlers[] = {
    {"VecPBreakAPZ", &sve::ppp_handler<&sve_brka_ppp, true>},
    {"VecPBreakAPM", &sve::ppp_handler<&sve_brka_ppp, false>},
    {"VecPBreakBPZ", &sve::ppp_handler<&sve_brkb_ppp, true>},
    {"VecPBreakBPM", &sve::ppp_handler<&sve_brkb_ppp, false>},
    {"VecPBreakNextPZ", &sve::ppp_handler<&sve_brkn_ppp, true>},
    {"VecPBreakNextFlgPZ", &sve::ppp_handler<&sve_brkns_ppp, true>},
    {"VecPBreakPrevBPZ", &sve::pppp_handler<&sve_brkpb_pppp>},
    {"VecPBreakPrevBFlgPZ", &sve::pppp_handler<&sve_brkpbs_pppp>},
    {"VecPBreakAFlgPZ", &sve::agnostic_handler<&VecPBreakAFlgPZ>},
    {"VecPBreakBFlgPZ", &sve::agnostic_handler<&VecPBreakBFlgPZ>},
    {"VecPBreakPrevAPZ", &sve::agnostic_handler<&VecPBreakPrevAPZ>},
    {"VecPBreakPrevAFlgPZ", &sve::agnostic_handler<&VecPBreakPrevAFlgPZ>},
};
std::span<const HandlerDef> pred_brk_handlers() { return kPredBreakHandlers; }
