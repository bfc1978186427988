// The first-fault register: SETFFR, RDFFR (unpredicated and predicated),
// WRFFR, fixed length over the lanes; RDFFRS (flag setting) length agnostic.
#include "sve/decode/routes.h"
#include "sve/int/flags.h"

extern "C" aarch64_decode_rc sve_setffr(cpu_state* s) {
  std::memset(s->ffr, 1, SVE_VL_BYTES);
  return DECODE_OK;
}
extern "C" aarch64_decode_rc sve_rdffr_p(cpu_state* s, aarch64_p_reg pd) {
  std::memcpy(s->p[pd.num], s->ffr, SVE_VL_BYTES);
  return DECODE_OK;
}
extern "C" aarch64_decode_rc sve_rdffr_pp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  for (int k = 0; k < SVE_VL_BYTES; ++k) tmp[k] = s->ffr[k] & s->p[pg.num][k];
  std::memcpy(s->p[pd.num], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}
extern "C" aarch64_decode_rc sve_wrffr_p(cpu_state* s, aarch64_p_reg pn) {
  std::memcpy(s->ffr, s->p[pn.num], SVE_VL_BYTES);
  return DECODE_OK;
}

// Pd = FFR AND Pg over the context's length; flags from the predicate test of
// the result under Pg at byte elements.
extern "C" void VecPActualFlgP(PredV* d, const PredV* g, CpuContext* c) {
  *d = PredV{};
  int words = (vl_bytes(c) + 63) / 64;
  for (int j = 0; j < words; ++j) d->w[j] = c->ffr.w[j] & g->w[j];
  sve::PredSetNZCV(*g, *d, 8, c);
}

namespace sve {
namespace {

inline aarch64_p_reg pfield(uint32_t w, int hi, int lo) { return {uint8_t(field(w, hi, lo)), 0, true}; }

aarch64_decode_rc h_setffr(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_setffr(s);
}
// Pd = bits 3-0; Pg (predicated form) or Pn (WRFFR) = bits 8-5.
aarch64_decode_rc h_rdffr(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_rdffr_p(s, pfield(w, 3, 0));
}
aarch64_decode_rc h_rdffr_pred(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_rdffr_pp(s, pfield(w, 3, 0), pfield(w, 8, 5));
}
aarch64_decode_rc h_wrffr(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_wrffr_p(s, pfield(w, 8, 5));
}
aarch64_decode_rc h_rdffrs(cpu_state* s, unsigned w) {
  s->insn = w;
  CpuContext c = make_context(s);
  PredV g = pack_pred(s->p[field(w, 8, 5)]), r;
  VecPActualFlgP(&r, &g, &c);
  unpack_pred(r, s->p[field(w, 3, 0)]);
  store_context_flags(s, c);
  return DECODE_OK;
}

const HandlerDef kFfrHandlers[] = {
    {"VecPClearFFSR", &h_setffr}, {"VecPReadFFSRP", &h_rdffr},  {"VecPActualP", &h_rdffr_pred},
    {"VecPWriteFFSRP", &h_wrffr}, {"VecPActualFlgP", &h_rdffrs},
};

}  // namespace
}  // namespace sve

std::span<const HandlerDef> ffr_handlers() { return sve::kFfrHandlers; }
