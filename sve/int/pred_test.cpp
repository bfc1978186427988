// PTEST, PFIRST and PNEXT: the predicate test itself and the two
// instructions that step through active elements. PTEST and PNEXT run fixed
// length; PFIRST runs length agnostic.
#include "sve/int/perm_arrays.h"
#include "sve/int/pred_drivers.h"

// Flags of Pn under Pg at byte granularity; no register changes.
aarch64_decode_rc sve_ptest_pp(cpu_state* s, aarch64_p_reg pg, aarch64_p_reg pn) {
  sve::sve_ptest<signed char>(s, reinterpret_cast<const char*>(s->p[pg.num]),
                              reinterpret_cast<const char*>(s->p[pn.num]));
  return DECODE_OK;
}

namespace sve {
namespace {
// Pdn = only the first element of Pv above the last true element of Pdn, on
// packed maps kept at element starts (two words at this length); flags by the
// predicate test of the result under Pv.
template <class T> [[gnu::always_inline]] inline void pnext(cpu_state* s, uint8_t* dn, const uint8_t* pv) {
  constexpr uint64_t starts = kElementStarts<int(sizeof(T))>;
  PredV v = pack_pred(pv), d = pack_pred(dn), r{};
  uint64_t lo = d.w[0] & starts, hi = d.w[1] & starts;
  // Map bits above the last true element of Pdn (all of them when none is true).
  uint64_t above_lo = hi ? 0 : lo ? ~uint64_t(1) << (63 - __builtin_clzll(lo)) : ~uint64_t(0);
  uint64_t above_hi = hi ? ~uint64_t(1) << (63 - __builtin_clzll(hi)) : ~uint64_t(0);
  uint64_t cand_lo = v.w[0] & starts & above_lo, cand_hi = v.w[1] & starts & above_hi;
  int next = cand_lo ? __builtin_ctzll(cand_lo) : cand_hi ? 64 + __builtin_ctzll(cand_hi) : -1;
  if (next >= 0) r.set(next, true);
  sve_ptest_maps<T>(s, v, r);
  std::memset(dn, 0, SVE_VL_BYTES);
  if (next >= 0) dn[next] = 1;
}
}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_pnext_pp(cpu_state* s, aarch64_p_reg pdn, aarch64_p_reg pv) {
  return sve::by_esize<false>(pdn.esize, [&](auto t) {
    sve::pnext<typename decltype(t)::type>(s, s->p[pdn.num], s->p[pv.num]);
    return DECODE_OK;
  });
}
SVE_EXECUTORS_END

namespace sve {
namespace {

// Pdn with its element at the first active element of Pg set; flags.
void pfirst_routine(PredV* d, const PredV* g, const PredV* dn, const PredV*, CpuContext* c) {
  *d = *dn;
  int first = FindFirstActive(*g, 8, c);
  if (first >= 0) d->set(first, true);
  PredSetNZCV(*g, *d, 8, c);
}

// PTEST: Pg = bits 13-10, Pn = bits 8-5.
aarch64_decode_rc ptest_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_ptest_pp(s, aarch64_p_reg{uint8_t(field(w, 13, 10)), 0, false},
                      aarch64_p_reg{uint8_t(field(w, 8, 5)), 0, false});
}
// PNEXT: Pdn = bits 3-0, Pv = bits 8-5. Flattened: the executor's size switch
// and the rule behind it are too large for the inliner to take on its own.
template <int Esize> [[gnu::flatten]] aarch64_decode_rc pnext_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_pnext_pp(s, aarch64_p_reg{uint8_t(field(w, 3, 0)), Esize, false},
                      aarch64_p_reg{uint8_t(field(w, 8, 5)), Esize, false});
}

}  // namespace
}  // namespace sve

extern "C" void VecPSetFirstActiveP(PredV* d, const PredV* g, const PredV* dn, const PredV* m, CpuContext* c) {
  sve::pfirst_routine(d, g, dn, m, c);
}

namespace sve {
namespace {
// PFIRST: Pdn = bits 3-0, Pg = bits 8-5.
aarch64_decode_rc pfirst_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  int pdn = int(field(w, 3, 0));
  return run_agnostic_pppp(s, unsigned(pdn), int(field(w, 8, 5)), pdn, -1, &VecPSetFirstActiveP);
}
}  // namespace
}  // namespace sve

const HandlerDef kPredTestHandlers[] = {
    {"VecPTestPZ", &sve::ptest_handler},
    {"VecPSetFirstActiveP", &sve::pfirst_handler},
    {"VecP8GenNextP", &sve::pnext_handler<0>},
    {"VecP16GenNextP", &sve::pnext_handler<1>},
    {"VecP32GenNextP", &sve::pnext_handler<2>},
    {"VecP64GenNextP", &sve::pnext_handler<3>},
};
std::span<const HandlerDef> pred_test_handlers() { return kPredTestHandlers; }
