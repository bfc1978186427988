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

// PTRUES at E-byte elements on a packed map. The flags are the predicate
// test of the result against itself; with the first `count` elements true
// and no others that is N = count > 0, Z = C = count == 0 (an active element
// is a true one).
template <class T>
void ptrues_routine(PredV* d, int pattern, CpuContext* c) {
  constexpr int E = int(sizeof(T));
  int count = VecTrueILength(pattern, vl_bytes(c) / E);
  *d = leading_elements(count, E);
  set_context_nzcv(c, leading_run_self_test(count));
}

using PTruesRoutine = void (*)(PredV*, int, CpuContext*);

// Pd = bits 3-0, pattern = bits 9-5.
template <class T> aarch64_decode_rc ptrue_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  aarch64_p_reg pd{uint8_t(field(w, 3, 0)), uint8_t(__builtin_ctz(sizeof(T))), false};
  return sve_ptrue_pi(s, pd, int(field(w, 9, 5)));
}
template <class T, PTruesRoutine R> aarch64_decode_rc ptrues_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  CpuContext c = make_context_without_ffr(s);
  PredV d;
  R(&d, int(field(w, 9, 5)), &c);
  unpack_leading(d, s->p[field(w, 3, 0)], kEsize<T>);
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
    {"VecP8TrueFlgI", &sve::ptrues_handler<uint8_t, &VecP8TrueFlgI>},
    {"VecP16TrueFlgI", &sve::ptrues_handler<uint16_t, &VecP16TrueFlgI>},
    {"VecP32TrueFlgI", &sve::ptrues_handler<uint32_t, &VecP32TrueFlgI>},
    {"VecP64TrueFlgI", &sve::ptrues_handler<uint64_t, &VecP64TrueFlgI>},
    {"VecPFalse", &sve::pfalse_handler},
};
std::span<const HandlerDef> pred_ptrue_handlers() { return kPredTrueHandlers; }
