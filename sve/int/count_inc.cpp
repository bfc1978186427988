// Counts by pattern: CNTB/H/W/D, INC/DEC by pattern (register and vector)
// and their saturating forms SQINC/UQINC/SQDEC/UQDEC (32- and 64-bit
// register, vector). The plain INC/DEC and UQDECB run fixed length; CNT* and
// the saturating forms run length agnostic.
#include "sve/decode/routes.h"
#include "sve/int/count_arith.h"
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// Elements of the pattern times the multiplier, at the fixed length.
inline uint64_t pattern_amount(int esize, int pattern, int mul) {
  return uint64_t(uint32_t(VecTrueILength(pattern, SVE_VL_BYTES >> esize) * mul));
}
template <class T> inline uint64_t agnostic_amount(int pattern, int mul, const CpuContext* c) {
  return uint64_t(uint32_t(VecTrueILength(pattern, agnostic_elems<T>(c)) * mul));
}

template <bool Decrement>
aarch64_decode_rc inc_r(cpu_state* s, aarch64_i_reg rdn, int esize, int pattern, int mul) {
  uint64_t a = pattern_amount(esize, pattern, mul), x = read_reg(s, rdn);
  write_reg(s, rdn, Decrement ? x - a : x + a);
  return DECODE_OK;
}
template <class T, bool Decrement> aarch64_decode_rc inc_z(cpu_state* s, aarch64_z_reg zdn, int pattern, int mul) {
  return fixed_zzi<T>(s, zdn.num, zdn.num, CountStep<T, false, Decrement>{pattern_amount(kEsize<T>, pattern, mul)});
}

// ---- length agnostic ----

// Register routines: *x is Xdn (or the destination of CNT*).
using AgnosticCount = void (*)(uint64_t* x, int pattern, int mul, CpuContext* c);

template <class T> void cnt_routine(uint64_t* x, int pattern, int mul, CpuContext* c) {
  *x = agnostic_amount<T>(pattern, mul, c);
}
template <class T, int Bits, bool Decrement>
void sat_r_routine(uint64_t* x, int pattern, int mul, CpuContext* c) {
  *x = sat_step(*x, agnostic_amount<T>(pattern, mul, c), Bits, std::is_unsigned_v<T>, Decrement);
}
// Vector routine: imm = pattern | multiplier << 5.
template <class T, bool Decrement>
void sat_z_routine(uint8_t* d, const uint8_t* a, const PredV*, uint64_t imm, CpuContext* c) {
  uint64_t amount = agnostic_amount<T>(int(imm & 31), int(imm >> 5), c);
  agnostic_map_imm<T>(d, a, nullptr, c, CountStep<T, true, Decrement>{amount});
}

}  // namespace
}  // namespace sve

#define SVE_INC_R(NAME, ES, DEC)                                                          \
  aarch64_decode_rc NAME(cpu_state* s, aarch64_i_reg rdn, int pattern, int mul) {         \
    return sve::inc_r<DEC>(s, rdn, ES, pattern, mul);                                     \
  }
SVE_INC_R(sve_incb_rii, 0, false)
SVE_INC_R(sve_inch_rii, 1, false)
SVE_INC_R(sve_incw_rii, 2, false)
SVE_INC_R(sve_incd_rii, 3, false)
SVE_INC_R(sve_decb_rii, 0, true)
SVE_INC_R(sve_dech_rii, 1, true)
SVE_INC_R(sve_decw_rii, 2, true)
SVE_INC_R(sve_decd_rii, 3, true)
#define SVE_INC_Z(NAME, T, DEC)                                                           \
  aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, int pattern, int mul) {         \
    return sve::inc_z<T, DEC>(s, zdn, pattern, mul);                                      \
  }
SVE_INC_Z(sve_inch_zii, uint16_t, false)
SVE_INC_Z(sve_incw_zii, uint32_t, false)
SVE_INC_Z(sve_incd_zii, uint64_t, false)
SVE_INC_Z(sve_dech_zii, uint16_t, true)
SVE_INC_Z(sve_decw_zii, uint32_t, true)
SVE_INC_Z(sve_decd_zii, uint64_t, true)

// UQDECB on a W (bits 32) or X (bits 64) register: saturates at 0.
aarch64_decode_rc sve_uqdecb_rii(cpu_state* s, aarch64_i_reg rdn, int pattern, int mul, int bits) {
  write_reg(s, rdn, sve::sat_step(read_reg(s, rdn), sve::pattern_amount(0, pattern, mul), bits, true, true));
  return DECODE_OK;
}

#define SVE_CNT_EXPORT(T, ...)                                                                   \
  extern "C" void Vec##T##CountVLSI(uint64_t* x, int pattern, int mul, CpuContext* c) {     \
    sve::cnt_routine<sve::ty::T>(x, pattern, mul, c);                                       \
  }
SVE_FOR_U(SVE_CNT_EXPORT)
#define SVE_SAT_R_EXPORT(T, ...)                                                                   \
  extern "C" void Vec##T##QIncrVL4SI(uint64_t* x, int p, int m, CpuContext* c) {              \
    sve::sat_r_routine<sve::ty::T, 32, false>(x, p, m, c);                                    \
  }                                                                                           \
  extern "C" void Vec##T##QIncrVL8SI(uint64_t* x, int p, int m, CpuContext* c) {              \
    sve::sat_r_routine<sve::ty::T, 64, false>(x, p, m, c);                                    \
  }                                                                                           \
  extern "C" void Vec##T##QDecrVL4SI(uint64_t* x, int p, int m, CpuContext* c) {              \
    sve::sat_r_routine<sve::ty::T, 32, true>(x, p, m, c);                                     \
  }                                                                                           \
  extern "C" void Vec##T##QDecrVL8SI(uint64_t* x, int p, int m, CpuContext* c) {              \
    sve::sat_r_routine<sve::ty::T, 64, true>(x, p, m, c);                                     \
  }
SVE_FOR_U(SVE_SAT_R_EXPORT)
SVE_FOR_S(SVE_SAT_R_EXPORT)
#define SVE_SAT_Z_EXPORT(T)                                     \
  SVE_EXPORT_VI(T, QIncrVLVI, sat_z_routine, false)             \
  SVE_EXPORT_VI(T, QDecrVLVI, sat_z_routine, true)
SVE_SAT_Z_EXPORT(U16) SVE_SAT_Z_EXPORT(U32) SVE_SAT_Z_EXPORT(U64)
SVE_SAT_Z_EXPORT(S16) SVE_SAT_Z_EXPORT(S32) SVE_SAT_Z_EXPORT(S64)

namespace sve {
namespace {

// Rdn or Zdn = bits 4-0, pattern = bits 9-5, multiplier = bits 19-16 plus 1.
inline int pat(uint32_t w) { return int(field(w, 9, 5)); }
inline int mul(uint32_t w) { return int(field(w, 19, 16)) + 1; }
inline aarch64_i_reg rd(uint32_t w) { return {uint8_t(field(w, 4, 0))}; }

using IncR = aarch64_decode_rc (*)(cpu_state*, aarch64_i_reg, int, int);
using IncZ = aarch64_decode_rc (*)(cpu_state*, aarch64_z_reg, int, int);
template <IncR X> aarch64_decode_rc inc_r_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, rd(w), pat(w), mul(w));
}
template <class T, IncZ X> aarch64_decode_rc inc_z_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, zreg<T>(field(w, 4, 0)), pat(w), mul(w));
}
template <int Bits> aarch64_decode_rc uqdecb_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_uqdecb_rii(s, rd(w), pat(w), mul(w), Bits);
}
template <AgnosticCount R, bool ReadsX> aarch64_decode_rc count_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  CpuContext c = make_context_without_ffr(s);
  uint64_t x = ReadsX ? read_reg(s, rd(w)) : 0;
  R(&x, pat(w), mul(w), &c);
  write_reg(s, rd(w), x);
  return DECODE_OK;
}
template <AgnosticVI R> aarch64_decode_rc sat_z_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vi(s, field(w, 4, 0), field(w, 4, 0), -1, uint64_t(pat(w)) | uint64_t(mul(w)) << 5, R);
}

}  // namespace
}  // namespace sve

#define SVE_SAT_R_DEFS(T)                                                                        \
  HandlerDef{"Vec" #T "QIncrVL4SI", &sve::count_handler<&Vec##T##QIncrVL4SI, true>},             \
      HandlerDef{"Vec" #T "QIncrVL8SI", &sve::count_handler<&Vec##T##QIncrVL8SI, true>},         \
      HandlerDef{"Vec" #T "QDecrVL4SI", &sve::count_handler<&Vec##T##QDecrVL4SI, true>},         \
      HandlerDef{"Vec" #T "QDecrVL8SI", &sve::count_handler<&Vec##T##QDecrVL8SI, true>},
#define SVE_SAT_Z_DEFS(T)                                                   \
  SVE_AGN_DEF(T, QIncrVLVI, sve::sat_z_handler), SVE_AGN_DEF(T, QDecrVLVI, sve::sat_z_handler),

const HandlerDef kCountIncHandlers[] = {
    {"VecU8CountVLSI", &sve::count_handler<&VecU8CountVLSI, false>},
    {"VecU16CountVLSI", &sve::count_handler<&VecU16CountVLSI, false>},
    {"VecU32CountVLSI", &sve::count_handler<&VecU32CountVLSI, false>},
    {"VecU64CountVLSI", &sve::count_handler<&VecU64CountVLSI, false>},
    {"VecU8IncrVLSI", &sve::inc_r_handler<&sve_incb_rii>},
    {"VecU16IncrVLSI", &sve::inc_r_handler<&sve_inch_rii>},
    {"VecU32IncrVLSI", &sve::inc_r_handler<&sve_incw_rii>},
    {"VecU64IncrVLSI", &sve::inc_r_handler<&sve_incd_rii>},
    {"VecU8DecrVLSI", &sve::inc_r_handler<&sve_decb_rii>},
    {"VecU16DecrVLSI", &sve::inc_r_handler<&sve_dech_rii>},
    {"VecU32DecrVLSI", &sve::inc_r_handler<&sve_decw_rii>},
    {"VecU64DecrVLSI", &sve::inc_r_handler<&sve_decd_rii>},
    {"VecU16IncrVLVI", &sve::inc_z_handler<uint16_t, &sve_inch_zii>},
    {"VecU32IncrVLVI", &sve::inc_z_handler<uint32_t, &sve_incw_zii>},
    {"VecU64IncrVLVI", &sve::inc_z_handler<uint64_t, &sve_incd_zii>},
    {"VecU16DecrVLVI", &sve::inc_z_handler<uint16_t, &sve_dech_zii>},
    {"VecU32DecrVLVI", &sve::inc_z_handler<uint32_t, &sve_decw_zii>},
    {"VecU64DecrVLVI", &sve::inc_z_handler<uint64_t, &sve_decd_zii>},
    // UQDECB takes the fixed executor in both widths.
    {"VecU8QDecrVL4SI", &sve::uqdecb_handler<32>},
    {"VecU8QDecrVL8SI", &sve::uqdecb_handler<64>},
    {"VecU8QIncrVL4SI", &sve::count_handler<&VecU8QIncrVL4SI, true>},
    {"VecU8QIncrVL8SI", &sve::count_handler<&VecU8QIncrVL8SI, true>},
    SVE_SAT_R_DEFS(U16) SVE_SAT_R_DEFS(U32) SVE_SAT_R_DEFS(U64)
    SVE_SAT_R_DEFS(S8) SVE_SAT_R_DEFS(S16) SVE_SAT_R_DEFS(S32) SVE_SAT_R_DEFS(S64)
    SVE_SAT_Z_DEFS(U16) SVE_SAT_Z_DEFS(U32) SVE_SAT_Z_DEFS(U64)
    SVE_SAT_Z_DEFS(S16) SVE_SAT_Z_DEFS(S32) SVE_SAT_Z_DEFS(S64)
};
std::span<const HandlerDef> count_inc_handlers() { return kCountIncHandlers; }
