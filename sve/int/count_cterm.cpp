// CTERMEQ and CTERMNE on W or X registers: N = the termination condition,
// V = NOT C when it does not hold; Z and C are kept. Length agnostic.
#include "sve/decode/routes.h"
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

template <int Bits, bool Equal> void cterm_routine(uint64_t a, uint64_t b, CpuContext* c) {
  uint64_t mask = Bits == 64 ? ~uint64_t(0) : (uint64_t(1) << Bits) - 1;
  bool term = ((a & mask) == (b & mask)) == Equal;
  bool carry = (c->flags >> 29) & 1;
  c->flags &= ~(NZCV_N | NZCV_V);
  if (term) c->flags |= NZCV_N;
  else if (!carry) c->flags |= NZCV_V;
}
using AgnosticCterm = void (*)(uint64_t, uint64_t, CpuContext*);

// Rn = bits 9-5, Rm = bits 20-16 (31 the zero register).
template <AgnosticCterm R> aarch64_decode_rc cterm_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  CpuContext c;
  c.flags = uint32_t(s->nzcv);
  c.vl = SVE_VL_BYTES / 8;
  R(read_reg(s, aarch64_i_reg{uint8_t(field(w, 9, 5))}), read_reg(s, aarch64_i_reg{uint8_t(field(w, 20, 16))}), &c);
  store_context_flags(s, c);
  return DECODE_OK;
}

}  // namespace
}  // namespace sve

extern "C" void VecU32CTermEQ(uint64_t a, uint64_t b, CpuContext* c) { sve::cterm_routine<32, true>(a, b, c); }
extern "C" void VecU64CTermEQ(uint64_t a, uint64_t b, CpuContext* c) { sve::cterm_routine<64, true>(a, b, c); }
extern "C" void VecU32CTermNE(uint64_t a, uint64_t b, CpuContext* c) { sve::cterm_routine<32, false>(a, b, c); }
extern "C" void VecU64CTermNE(uint64_t a, uint64_t b, CpuContext* c) { sve::cterm_routine<64, false>(a, b, c); }

const HandlerDef kCountCtermHandlers[] = {
    SVE_AGN_DEF(U32, CTermEQ, sve::cterm_handler),
    SVE_AGN_DEF(U64, CTermEQ, sve::cterm_handler),
    SVE_AGN_DEF(U32, CTermNE, sve::cterm_handler),
    SVE_AGN_DEF(U64, CTermNE, sve::cterm_handler),
};
std::span<const HandlerDef> count_cterm_handlers() { return kCountCtermHandlers; }
