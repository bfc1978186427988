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
// Pdn = only the first element of Pv above the last true element of Pdn, by
// scans of the lanes at element starts, eight at a time (from the top for
// Pdn, upwards for Pv), which usually end in their first steps. The flags
// are the predicate test of the result under Pv: with the one element `next`
// true, N = no active element below it, Z = none found, C = some active
// element above it.
template <class T> [[gnu::always_inline]] inline void pnext(cpu_state* s, uint8_t* dn, const uint8_t* pv) {
  constexpr int E = int(sizeof(T));
  int from = last_lane_of<E>(dn) + 1;  // 0 when no element of Pdn is true
  int next = first_lane_of<E>(pv, from);
  NzcFlags f{false, true, true};
  if (next < SVE_VL_BYTES)
    f = {from == 0 || first_lane_of<E>(pv, 0) == next, false, last_lane_of<E>(pv) > next};
  s->nzcv = with_nzcv(s->nzcv, f);
  clear_lanes(dn);
  if (next < SVE_VL_BYTES) dn[next] = 1;
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
