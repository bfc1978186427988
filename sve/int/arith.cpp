// ADD, SUB, SUBR (vectors and immediate), SMAX/SMIN/UMAX/UMIN (vectors and
// immediate), SABD/UABD.
#include "sve/decode/routes.h"
#include "sve/int/wrap.h"
#include "sve/mem/trace.h"

namespace sve {
namespace {

struct Add {
  template <class T> T operator()(T a, T b) const { return wrap_add(a, b); }
};
struct Sub {
  template <class T> T operator()(T a, T b) const { return wrap_sub(a, b); }
};
struct SubR {
  template <class T> T operator()(T a, T b) const { return wrap_sub(b, a); }
};
struct Max {
  template <class T> T operator()(T a, T b) const { return a >= b ? a : b; }
};
struct Min {
  template <class T> T operator()(T a, T b) const { return a <= b ? a : b; }
};
struct Abd {
  template <class T> T operator()(T a, T b) const { return a >= b ? wrap_sub(a, b) : wrap_sub(b, a); }
};
// op(a, imm) with the immediate converted to the element type.
template <class T, class Op> struct WithImm {
  T imm;
  T operator()(T a) const { return Op{}(a, imm); }
};

// ---- length-agnostic routines ----
template <class T, class Op>
void zpz_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_map2<T>(d, a, pg, b, c, Op{});
}
template <class T, class Op> void imm_routine(uint8_t* d, const uint8_t* a, const PredV*, uint64_t imm, CpuContext* c) {
  agnostic_map_imm<T>(d, a, nullptr, c, WithImm<T, Op>{T(imm)});
}

// Zdn = bits 4-0, imm8 = bits 12-5, shifted left by 8 when bit 13 is set.
template <class T, auto Exec> aarch64_decode_rc h_shifted_imm(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), unsigned(field(w, 12, 5) << (field(w, 13, 13) ? 8 : 0)));
}
template <AgnosticVI R> aarch64_decode_rc h_agn_shifted_imm(cpu_state* s, unsigned w) {
  s->insn = w;
  uint64_t imm = field(w, 12, 5) << (field(w, 13, 13) ? 8 : 0);
  return run_elementwise_vi(s, field(w, 4, 0), field(w, 4, 0), -1, imm, R);
}
// Zdn = bits 4-0, imm8 = bits 12-5, signed for signed elements.
template <class T, AgnosticVI R> aarch64_decode_rc h_agn_imm8(cpu_state* s, unsigned w) {
  s->insn = w;
  uint64_t imm = std::is_signed_v<T> ? uint64_t(sfield(w, 12, 5)) : field(w, 12, 5);
  return run_elementwise_vi(s, field(w, 4, 0), field(w, 4, 0), -1, imm, R);
}

}  // namespace
}  // namespace sve

using namespace sve;

// ---- fixed-length executors ----
#define SVE_ZPZ_EXEC(NAME, SIGNED, OP)                                                                      \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, aarch64_z_reg zm) { \
    return by_esize<SIGNED>(zdn.esize, [&](auto t) {                                                        \
      return fixed_zpz<typename decltype(t)::type>(s, zdn.num, pg.num, zm.num, OP{});                      \
    });                                                                                                     \
  }
SVE_ZPZ_EXEC(sve_add_zpz, false, Add)
SVE_ZPZ_EXEC(sve_sub_zpz, false, Sub)
SVE_ZPZ_EXEC(sve_smax_zpz, true, Max)
SVE_ZPZ_EXEC(sve_smin_zpz, true, Min)
SVE_ZPZ_EXEC(sve_umax_zpz, false, Max)
SVE_ZPZ_EXEC(sve_umin_zpz, false, Min)

#define SVE_ZZZ_EXEC(NAME, OP)                                                                             \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) { \
    return by_esize<false>(zd.esize, [&](auto t) {                                                         \
      return fixed_zzz<typename decltype(t)::type>(s, zd.num, zn.num, zm.num, OP{});                      \
    });                                                                                                    \
  }
SVE_ZZZ_EXEC(sve_add_zzz, Add)
SVE_ZZZ_EXEC(sve_sub_zzz, Sub)

// Byte elements with the shifted immediates 256 and 512 are the memory trace's
// start and stop markers, not additions: the register is left unchanged.
SVE_EXECUTORS_BEGIN
extern "C" SVE_EXECUTOR aarch64_decode_rc sve_add_zi(cpu_state* s, aarch64_z_reg zdn, unsigned imm) {
  if (zdn.esize == ESIZE_B && (imm == 256 || imm == 512)) {
    memtrace_marker(imm);
    return DECODE_OK;
  }
  return by_esize<false>(zdn.esize, [&](auto t) {
    using T = typename decltype(t)::type;
    return fixed_zzi<T>(s, zdn.num, zdn.num, WithImm<T, Add>{T(imm)});
  });
}
extern "C" SVE_EXECUTOR aarch64_decode_rc sve_sub_zi(cpu_state* s, aarch64_z_reg zdn, unsigned imm) {
  return by_esize<false>(zdn.esize, [&](auto t) {
    using T = typename decltype(t)::type;
    return fixed_zzi<T>(s, zdn.num, zdn.num, WithImm<T, Sub>{T(imm)});
  });
}
SVE_EXECUTORS_END

// ---- length-agnostic routines under the handlers' names ----
SVE_FOR_U(SVE_EXPORT_VV, SubRVVM, zpz_routine, SubR)
SVE_FOR_U(SVE_EXPORT_VI, SubRVIX, imm_routine, SubR)
SVE_FOR_S(SVE_EXPORT_VV, AbdVVM, zpz_routine, Abd)
SVE_FOR_U(SVE_EXPORT_VV, AbdVVM, zpz_routine, Abd)
SVE_FOR_S(SVE_EXPORT_VI, MaxVIX, imm_routine, Max)
SVE_FOR_U(SVE_EXPORT_VI, MaxVIX, imm_routine, Max)
SVE_FOR_S(SVE_EXPORT_VI, MinVIX, imm_routine, Min)
SVE_FOR_U(SVE_EXPORT_VI, MinVIX, imm_routine, Min)

namespace {
const HandlerDef kArithHandlers[] = {
    SVE_DEFS_U(AddVVM, h_zpz, &sve_add_zpz),
    SVE_DEFS_U(SubVVM, h_zpz, &sve_sub_zpz),
    SVE_DEFS_U(AddVVX, h_zzz, &sve_add_zzz),
    SVE_DEFS_U(SubVVX, h_zzz, &sve_sub_zzz),
    SVE_DEFS_U(AddVIX, h_shifted_imm, &sve_add_zi),
    SVE_DEFS_U(SubVIX, h_shifted_imm, &sve_sub_zi),
    SVE_DEFS_S(MaxVVM, h_zpz, &sve_smax_zpz),
    SVE_DEFS_S(MinVVM, h_zpz, &sve_smin_zpz),
    SVE_DEFS_U(MaxVVM, h_zpz, &sve_umax_zpz),
    SVE_DEFS_U(MinVVM, h_zpz, &sve_umin_zpz),
    SVE_LIST_U(SVE_AGN_DEF, SubRVVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, SubRVIX, h_agn_shifted_imm),
    SVE_LIST_S(SVE_AGN_DEF, AbdVVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, AbdVVM, h_agn_zpz),
    SVE_LIST_S(SVE_AGN_DEF_T, MaxVIX, h_agn_imm8),
    SVE_LIST_U(SVE_AGN_DEF_T, MaxVIX, h_agn_imm8),
    SVE_LIST_S(SVE_AGN_DEF_T, MinVIX, h_agn_imm8),
    SVE_LIST_U(SVE_AGN_DEF_T, MinVIX, h_agn_imm8),
};
}  // namespace
std::span<const HandlerDef> arith_handlers() { return kArithHandlers; }
