// LSL, LSR, ASR by vector, by immediate (predicated and unpredicated) and by
// wide 64-bit elements; the reversed LSLR, LSRR, ASRR; ASRD.
#include "sve/decode/routes.h"
#include "sve/int/helpers.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

// Shift of an element by an unsigned amount used whole: left and logical
// right shifts past the width give 0, arithmetic right shifts fill with the sign.
struct Lsl {
  template <class T> T operator()(T a, uint64_t n) const { return n >= uint64_t(kBits<T>) ? T(0) : T(raw_bits(a) << n); }
};
struct Lsr {
  template <class T> T operator()(T a, uint64_t n) const {
    return n >= uint64_t(kBits<T>) ? T(0) : T(UnsignedOf<T>(a) >> n);
  }
};
struct Asr {
  template <class T> T operator()(T a, uint64_t n) const {
    using S = std::make_signed_t<T>;
    return T(S(a) >> (n >= uint64_t(kBits<T>) ? kBits<T> - 1 : int(n)));
  }
};
// Rounds toward zero: a negative element has 2^n - 1 added first (in 128 bits).
struct Asrd {
  template <class T> T operator()(T a, uint64_t n) const {
    int128 v = int128(a);
    if (v < 0) v += (int128(1) << n) - 1;
    return T(v >> n);
  }
};
// The amount is the element of the second vector as unsigned; R exchanges the operands.
template <class Op> struct ByElem {
  template <class T> T operator()(T a, T b) const { return Op{}(a, uint64_t(UnsignedOf<T>(b))); }
};
template <class Op> struct ByElemR {
  template <class T> T operator()(T a, T b) const { return Op{}(b, uint64_t(UnsignedOf<T>(a))); }
};
template <class Op> struct ByAmount {
  uint64_t n;
  template <class T> T operator()(T a) const { return Op{}(a, n); }
};

// ---- length-agnostic routines ----
template <class T, class Op>
void zpz_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_map2<T>(d, a, pg, b, c, Op{});
}
template <class T, class Op>
void wide_zpz_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_map_wide<T>(d, a, pg, b, c, Op{});
}
template <class T, class Op>
void wide_zzz_routine(uint8_t* d, const uint8_t* a, const PredV*, const uint8_t* b, CpuContext* c) {
  agnostic_map_wide<T>(d, a, nullptr, b, c, Op{});
}
template <class T, class Op> void zpi_routine(uint8_t* d, const uint8_t* a, const PredV* pg, uint64_t n, CpuContext* c) {
  agnostic_map_imm<T>(d, a, pg, c, ByAmount<Op>{n});
}
template <class T, class Op> void zzi_routine(uint8_t* d, const uint8_t* a, const PredV*, uint64_t n, CpuContext* c) {
  agnostic_map_imm<T>(d, a, nullptr, c, ByAmount<Op>{n});
}

template <class T, bool Right> constexpr unsigned amount(uint32_t w, int lo) {
  unsigned f = shift_field<T>(w, lo);
  return Right ? right_amount<T>(f) : f;
}
// Zdn = bits 4-0, Pg = bits 12-10, shift field from bit 5.
template <class T, auto Exec, bool Right> aarch64_decode_rc h_shift_zpi(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 12, 10)), amount<T, Right>(w, 5));
}
// Zd = bits 4-0, Zn = bits 9-5, shift field from bit 16.
template <class T, auto Exec, bool Right> aarch64_decode_rc h_shift_zzi(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), zreg<T>(field(w, 9, 5)), amount<T, Right>(w, 16));
}
template <class T, AgnosticVI R> aarch64_decode_rc h_agn_shift_zpi(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vi(s, field(w, 4, 0), field(w, 4, 0), int(field(w, 12, 10)), amount<T, true>(w, 5), R);
}
template <class T, AgnosticVI R> aarch64_decode_rc h_agn_shift_zzi(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vi(s, field(w, 4, 0), field(w, 9, 5), -1, amount<T, true>(w, 16), R);
}

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_SHIFT_ZPZ(NAME, SIGNED, OP)                                                                     \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, aarch64_z_reg zm) { \
    return by_esize<SIGNED>(zdn.esize, [&](auto t) {                                                        \
      return fixed_zpz<typename decltype(t)::type>(s, zdn.num, pg.num, zm.num, ByElem<OP>{});              \
    });                                                                                                     \
  }
#define SVE_SHIFT_ZPI(NAME, SIGNED, OP)                                                                 \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, unsigned n) {   \
    return by_esize<SIGNED>(zdn.esize, [&](auto t) {                                                    \
      return fixed_zpi<typename decltype(t)::type>(s, zdn.num, pg.num, ByAmount<OP>{n});               \
    });                                                                                                 \
  }
#define SVE_SHIFT_ZZI(NAME, SIGNED, OP)                                                                \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, unsigned n) {   \
    return by_esize<SIGNED>(zd.esize, [&](auto t) {                                                    \
      return fixed_zzi<typename decltype(t)::type>(s, zd.num, zn.num, ByAmount<OP>{n});               \
    });                                                                                                \
  }
SVE_SHIFT_ZPZ(sve_lsl_zpz, false, Lsl)
SVE_SHIFT_ZPZ(sve_lsr_zpz, false, Lsr)
SVE_SHIFT_ZPZ(sve_asr_zpz, true, Asr)
SVE_SHIFT_ZPI(sve_lsl_zpi, false, Lsl)
SVE_SHIFT_ZPI(sve_lsr_zpi, false, Lsr)
SVE_SHIFT_ZPI(sve_asr_zpi, true, Asr)
SVE_SHIFT_ZZI(sve_lsl_zzi, false, Lsl)
SVE_SHIFT_ZZI(sve_lsr_zzi, false, Lsr)
SVE_SHIFT_ZZI(sve_asr_zzi, true, Asr)

SVE_FOR_U(SVE_EXPORT_VV, ShlRVVM, zpz_routine, ByElemR<Lsl>)
SVE_FOR_U(SVE_EXPORT_VV, ShrRVVM, zpz_routine, ByElemR<Lsr>)
SVE_FOR_S(SVE_EXPORT_VV, ShrRVVM, zpz_routine, ByElemR<Asr>)
SVE_FOR_U3(SVE_EXPORT_VV, ShlVWM, wide_zpz_routine, Lsl)
SVE_FOR_U3(SVE_EXPORT_VV, ShrVWM, wide_zpz_routine, Lsr)
SVE_FOR_S3(SVE_EXPORT_VV, ShrVWM, wide_zpz_routine, Asr)
SVE_FOR_U3(SVE_EXPORT_VV, ShlVWX, wide_zzz_routine, Lsl)
SVE_FOR_U3(SVE_EXPORT_VV, ShrVWX, wide_zzz_routine, Lsr)
SVE_FOR_S3(SVE_EXPORT_VV, ShrVWX, wide_zzz_routine, Asr)
SVE_FOR_U(SVE_EXPORT_VI, ShrVIM, zpi_routine, Lsr)
SVE_FOR_U(SVE_EXPORT_VI, ShrVIX, zzi_routine, Lsr)
SVE_FOR_S(SVE_EXPORT_VI, ShrDVIM, zpi_routine, Asrd)

namespace {
const HandlerDef kShiftHandlers[] = {
    SVE_DEFS_U(ShlVVM, h_zpz, &sve_lsl_zpz),
    SVE_DEFS_U(ShrVVM, h_zpz, &sve_lsr_zpz),
    SVE_DEFS_S(ShrVVM, h_zpz, &sve_asr_zpz),
    SVE_DEFS_U(ShlVIM, h_shift_zpi, &sve_lsl_zpi, false),
    SVE_DEFS_S(ShrVIM, h_shift_zpi, &sve_asr_zpi, true),
    SVE_DEFS_U(ShlVIX, h_shift_zzi, &sve_lsl_zzi, false),
    SVE_DEFS_S(ShrVIX, h_shift_zzi, &sve_asr_zzi, true),
    SVE_LIST_U(SVE_AGN_DEF_T, ShrVIM, h_agn_shift_zpi),
    SVE_LIST_U(SVE_AGN_DEF_T, ShrVIX, h_agn_shift_zzi),
    SVE_LIST_S(SVE_AGN_DEF_T, ShrDVIM, h_agn_shift_zpi),
    SVE_LIST_U(SVE_AGN_DEF, ShlRVVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, ShrRVVM, h_agn_zpz),
    SVE_LIST_S(SVE_AGN_DEF, ShrRVVM, h_agn_zpz),
    SVE_LIST_U3(SVE_AGN_DEF, ShlVWM, h_agn_zpz),
    SVE_LIST_U3(SVE_AGN_DEF, ShrVWM, h_agn_zpz),
    SVE_LIST_S3(SVE_AGN_DEF, ShrVWM, h_agn_zpz),
    SVE_LIST_U3(SVE_AGN_DEF, ShlVWX, h_agn_zzz),
    SVE_LIST_U3(SVE_AGN_DEF, ShrVWX, h_agn_zzz),
    SVE_LIST_S3(SVE_AGN_DEF, ShrVWX, h_agn_zzz),
};
}  // namespace
std::span<const HandlerDef> shift_handlers() { return kShiftHandlers; }
