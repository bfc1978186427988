// PTRUE and PTRUES with every pattern, and PFALSE. PTRUE and PFALSE run fixed
// length; PTRUES runs length agnostic and sets the flags.
#include "sve/decode/routes.h"
#include "sve/int/pred_drivers.h"

// Pd = the first c elements true (c from the pattern), the rest false.
aarch64_decode_rc sve_ptrue_pi(cpu_state* s, aarch64_p_reg pd, int pattern) {
  sve::leading_lanes(s->p[pd.num], pd.esize, sve::VecTrueILength(pattern, SVE_VL_BYTES >> pd.esize));
  return DECODE_OK;
}
aarch64_decode_rc sve_pfalse_p(cpu_state* s, aarch64_p_reg pd) {
  std::memset(s->p[pd.num], 0, SVE_VL_BYTES);
  return DECODE_OK;
}

namespace sve {
namespace {

// PTRUES at E-byte elements on a packed map; flags by the predicate test of
// the result against itself.
template <class T>
void ptrues_routine(PredV* d, int pattern, CpuContext* c) {
  constexpr int E = int(sizeof(T));
  *d = leading_elements(VecTrueILength(pattern, vl_bytes(c) / E), E);
  PredSetNZCV(*d, *d, E * 8, c);
}

using PTruesRoutine = void (*)(PredV*, int, CpuContext*);

// Pd = bits 3-0, pattern = bits 9-5.
template <class T> aarch64_decode_rc ptrue_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  aarch64_p_reg pd{uint8_t(field(w, 3, 0)), uint8_t(__builtin_ctz(sizeof(T))), false};
  return sve_ptrue_pi(s, pd, int(field(w, 9, 5)));
}
template <PTruesRoutine R> aarch64_decode_rc ptrues_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  CpuContext c = make_context_without_ffr(s);
  PredV d;
  R(&d, int(field(w, 9, 5)), &c);
  unpack_pred(d, s->p[field(w, 3, 0)]);
  finish_pred_context(s, c);
  return DECODE_OK;
}
aarch64_decode_rc pfalse_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_pfalse_p(s, aarch64_p_reg{uint8_t(field(w, 3, 0)), 0, false});
}

}  // namespace
}  // namespace sve

#define SVE_PTRUES_EXPORT(T, U) \
  extern "C" void Vec##T##TrueFlgI(PredV* d, int pattern, CpuContext* c) { sve::ptrues_routine<U>(d, pattern, c); }
SVE_PTRUES_EXPORT(P8, uint8_t)
SVE_PTRUES_EXPORT(P16, uint16_t)
SVE_PTRUES_EXPORT(P32, uint32_t)
SVE_PTRUES_EXPORT(P64, uint64_t)

const HandlerDef kPredTrueHandlers[] = {
    {"VecP8TrueI", &sve::ptrue_handler<uint8_t>},
    {"VecP16TrueI", &sve::ptrue_handler<uint16_t>},
    {"VecP32TrueI", &sve::ptrue_handler<uint32_t>},
    {"VecP64TrueI", &sve::ptrue_handler<uint64_t>},
    {"VecP8TrueFlgI", &sve::ptrues_handler<&VecP8TrueFlgI>},
    {"VecP16TrueFlgI", &sve::ptrues_handler<&VecP16TrueFlgI>},
    {"VecP32TrueFlgI", &sve::ptrues_handler<&VecP32TrueFlgI>},
    {"VecP64TrueFlgI", &sve::ptrues_handler<&VecP64TrueFlgI>},
    {"VecPFalse", &sve::pfalse_handler},
};
std::span<const HandlerDef> pred_ptrue_handlers() { return kPredTrueHandlers; }
