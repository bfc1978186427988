// AND, ORR, EOR, BIC: predicated, unpredicated and with a bitmask immediate;
// DUPM. Fixed-length route.
#include "sve/decode/routes.h"

// A decoded bitmask immediate: the 64-bit pattern that the instruction applies.
struct aarch64_sve_logical64_imm {
  uint64_t value;
};

namespace sve {
namespace {

struct And {
  template <class T> T operator()(T a, T b) const { return T(a & b); }
};
struct Or {
  template <class T> T operator()(T a, T b) const { return T(a | b); }
};
struct Xor {
  template <class T> T operator()(T a, T b) const { return T(a ^ b); }
};
struct Bic {
  template <class T> T operator()(T a, T b) const { return T(a & ~b); }
};
template <class Op> struct WithPattern {
  uint64_t pattern;
  uint64_t operator()(uint64_t a) const { return Op{}(a, pattern); }
};

// imm13 = N:immr:imms to the replicated 64-bit pattern. An all-ones run of
// 64 bits (N = 1, imms = 0b111111) is formed as (1 << (64 mod 64)) - 1 = 0.
constexpr uint64_t decode_bitmask(unsigned imm13) {
  unsigned n = (imm13 >> 12) & 1, immr = (imm13 >> 6) & 63, imms = imm13 & 63;
  unsigned combined = (n << 6) | (~imms & 63);
  int len = 6;
  while (len >= 0 && !((combined >> len) & 1)) --len;
  if (len < 0) return 0;
  unsigned esize = 1u << len, levels = esize - 1, S = imms & levels, R = immr & levels;
  uint64_t welem = (uint64_t(1) << ((S + 1) & 63)) - 1;
  uint64_t emask = esize == 64 ? ~uint64_t(0) : (uint64_t(1) << esize) - 1;
  for (unsigned i = 0; i < R; ++i) welem = ((welem >> 1) | ((welem & 1) << (esize - 1))) & emask;
  for (; esize < 64; esize *= 2) welem |= welem << esize;
  return welem;
}
static_assert(decode_bitmask(0x1000) == 1);                      // N=1, immr=0, imms=0
static_assert(decode_bitmask(0x003C) == 0x5555555555555555ull);  // N=0, imms=0b111100
static_assert(decode_bitmask(0x103F) == 0);                      // the 64-bit all-ones run

// Zdn (Zd for DUPM) = bits 4-0, imm13 = bits 17-5.
template <class T, auto Exec> aarch64_decode_rc h_bitmask(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), aarch64_sve_logical64_imm{decode_bitmask(field(w, 17, 5))});
}

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_LOGIC_ZPZ(NAME, OP)                                                                             \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, aarch64_z_reg zm) { \
    return by_esize<false>(zdn.esize, [&](auto t) {                                                         \
      return fixed_zpz<typename decltype(t)::type>(s, zdn.num, pg.num, zm.num, OP{});                      \
    });                                                                                                     \
  }
// The unpredicated forms ignore the element size: 64-bit chunks.
#define SVE_LOGIC_ZZZ(NAME, OP)                                                                            \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) { \
    return fixed_zzz<uint64_t>(s, zd.num, zn.num, zm.num, OP{});                                           \
  }
#define SVE_LOGIC_ZI(NAME, OP)                                                                   \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_sve_logical64_imm imm) { \
    return fixed_zzi<uint64_t>(s, zdn.num, zdn.num, WithPattern<OP>{imm.value});                 \
  }
SVE_LOGIC_ZPZ(sve_and_zpz, And)
SVE_LOGIC_ZPZ(sve_orr_zpz, Or)
SVE_LOGIC_ZPZ(sve_eor_zpz, Xor)
SVE_LOGIC_ZPZ(sve_bic_zpz, Bic)
SVE_LOGIC_ZZZ(sve_and_zzz, And)
SVE_LOGIC_ZZZ(sve_orr_zzz, Or)
SVE_LOGIC_ZZZ(sve_eor_zzz, Xor)
SVE_LOGIC_ZZZ(sve_bic_zzz, Bic)
SVE_LOGIC_ZI(sve_and_zi, And)
SVE_LOGIC_ZI(sve_orr_zi, Or)
SVE_LOGIC_ZI(sve_eor_zi, Xor)

extern "C" aarch64_decode_rc sve_dupm_zi(cpu_state* s, aarch64_z_reg zd, aarch64_sve_logical64_imm imm) {
  for (int i = 0; i < kElems<uint64_t>; ++i) set_elem<uint64_t>(s->z[zd.num], i, imm.value);
  return DECODE_OK;
}

namespace {
const HandlerDef kLogicHandlers[] = {
    SVE_DEFS_U(AndVVM, h_zpz, &sve_and_zpz),
    SVE_DEFS_U(OrVVM, h_zpz, &sve_orr_zpz),
    SVE_DEFS_U(XorVVM, h_zpz, &sve_eor_zpz),
    SVE_DEFS_U(BicVVM, h_zpz, &sve_bic_zpz),
    SVE_DEF(U64, AndVVX, h_zzz, &sve_and_zzz),
    SVE_DEF(U64, OrVVX, h_zzz, &sve_orr_zzz),
    SVE_DEF(U64, XorVVX, h_zzz, &sve_eor_zzz),
    SVE_DEF(U64, BicVVX, h_zzz, &sve_bic_zzz),
    SVE_DEF(U64, AndVIX, h_bitmask, &sve_and_zi),
    SVE_DEF(U64, OrVIX, h_bitmask, &sve_orr_zi),
    SVE_DEF(U64, XorVIX, h_bitmask, &sve_eor_zi),
    SVE_DEF(S64, DupMaskI, h_bitmask, &sve_dupm_zi),
};
}  // namespace
std::span<const HandlerDef> logic_handlers() { return kLogicHandlers; }
