// ADR (vector address generation): Zd = Zn + (Zm << shift), unpredicated.
// Packed 32- and 64-bit offsets run fixed length, the shift and element size
// read back from the word; SXTW and UXTW offsets (64-bit elements, the low
// word of Zm extended) run length agnostic with the shift fixed by the handler.
#include "sve/decode/routes.h"

extern "C" aarch64_decode_rc sve_adr_scaled_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  uint32_t w = uint32_t(s->insn);
  unsigned shift = field(w, 11, 10);
  auto add = [shift](auto base, auto off) { return decltype(base)(base + (off << shift)); };
  if (field(w, 22, 22)) return sve::fixed_zzz<uint64_t>(s, zd.num, zn.num, zm.num, add);
  return sve::fixed_zzz<uint32_t>(s, zd.num, zn.num, zm.num, add);
}

namespace sve {
namespace {

template <bool Signed, unsigned Shift>
void adr_extended_routine(uint8_t* d, const uint8_t* a, const PredV*, const uint8_t* b, CpuContext* c) {
  agnostic_map2<uint64_t>(d, a, nullptr, b, c, [](uint64_t base, uint64_t off) {
    uint64_t ext = Signed ? uint64_t(int64_t(int32_t(uint32_t(off)))) : uint64_t(uint32_t(off));
    return base + (ext << Shift);
  });
}

// Zd = bits 4-0, Zn = bits 9-5, Zm = bits 20-16.
template <class T> aarch64_decode_rc h_adr(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_adr_scaled_zzz(s, zreg<T>(field(w, 4, 0)), zreg<T>(field(w, 9, 5)), zreg<T>(field(w, 20, 16)));
}

}  // namespace
}  // namespace sve

// X = SXTW, Y = UXTW offsets; the digit is the scale.
#define SVE_ADR_EXPORTS(MS, SHIFT)                                                                    \
  extern "C" void VecU64LEA##MS##XVV(uint8_t* d, const uint8_t* a, const PredV* p, const uint8_t* b,  \
                                     CpuContext* c) { sve::adr_extended_routine<true, SHIFT>(d, a, p, b, c); } \
  extern "C" void VecU64LEA##MS##YVV(uint8_t* d, const uint8_t* a, const PredV* p, const uint8_t* b,  \
                                     CpuContext* c) { sve::adr_extended_routine<false, SHIFT>(d, a, p, b, c); }
SVE_ADR_EXPORTS(1, 0)
SVE_ADR_EXPORTS(2, 1)
SVE_ADR_EXPORTS(4, 2)
SVE_ADR_EXPORTS(8, 3)

#define SVE_ADR_DEFS(MS)                                                                               \
  HandlerDef{"VecU32LEA" #MS "VV", &sve::h_adr<uint32_t>}, HandlerDef{"VecU64LEA" #MS "VV", &sve::h_adr<uint64_t>}, \
      SVE_AGN_DEF(U64, LEA##MS##XVV, sve::h_agn_zzz), SVE_AGN_DEF(U64, LEA##MS##YVV, sve::h_agn_zzz),

namespace {
const HandlerDef kAdrHandlers[] = {SVE_ADR_DEFS(1) SVE_ADR_DEFS(2) SVE_ADR_DEFS(4) SVE_ADR_DEFS(8)};
}  // namespace
std::span<const HandlerDef> adr_handlers() { return kAdrHandlers; }
