// MUL (predicated and immediate), SMULH/UMULH, and the multiply-accumulate
// group MLA, MLS, MAD, MSB.
#include "sve/decode/routes.h"
#include "sve/int/helpers.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

struct Mul {
  static constexpr bool kScalarAt64 = true;
  template <class T> T operator()(T a, T b) const { return wrap_mul(a, b); }
};
// The upper half of the double-width product, signed or unsigned by T.
struct MulHigh {
  static constexpr bool kScalarAt64 = true;
  template <class T> T operator()(T a, T b) const {
    using W = std::conditional_t<(sizeof(T) == 8), std::conditional_t<std::is_signed_v<T>, int128, uint128>,
                                 std::conditional_t<std::is_signed_v<T>, int64_t, uint64_t>>;
    return T((W(a) * W(b)) >> kBits<T>);
  }
};
struct MulImm {
  template <class T> struct Of {
    T imm;
    T operator()(T a) const { return wrap_mul(a, imm); }
  };
};
// d is the destination's element; b and c the operands of bits 9-5 and 20-16.
// MLA and MLS mask the product: an inactive element adds or subtracts 0.
template <class T> T masked_product(UnsignedOf<T> mask, T n, T m) { return T(UnsignedOf<T>(wrap_mul(n, m)) & mask); }
struct Mla {  // Zda + Zn * Zm
  template <class T> T operator()(T d, T n, T m) const { return wrap_add(d, wrap_mul(n, m)); }
  template <class T> T masked(UnsignedOf<T> mask, T d, T n, T m) const { return wrap_add(d, masked_product(mask, n, m)); }
};
struct Mls {  // Zda - Zn * Zm
  template <class T> T operator()(T d, T n, T m) const { return wrap_sub(d, wrap_mul(n, m)); }
  template <class T> T masked(UnsignedOf<T> mask, T d, T n, T m) const { return wrap_sub(d, masked_product(mask, n, m)); }
};
struct Mad {  // Za + Zdn * Zm
  static constexpr bool kScalarAt64 = true;
  template <class T> T operator()(T d, T a, T m) const { return wrap_add(a, wrap_mul(d, m)); }
};
struct Msb {  // Za - Zdn * Zm
  static constexpr bool kScalarAt64 = true;
  template <class T> T operator()(T d, T a, T m) const { return wrap_sub(a, wrap_mul(d, m)); }
};

template <class T> void mulh_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_map2<T>(d, a, pg, b, c, MulHigh{});
}

// Zdn = bits 4-0, imm8 = bits 12-5, sign-extended.
template <class T, auto Exec> aarch64_decode_rc h_mul_imm(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), int(sfield(w, 12, 5)));
}

}  // namespace
}  // namespace sve

using namespace sve;

extern "C" aarch64_decode_rc sve_mul_zpz(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, aarch64_z_reg zm) {
  return by_esize<false>(zdn.esize, [&](auto t) {
    return fixed_zpz<typename decltype(t)::type>(s, zdn.num, pg.num, zm.num, Mul{});
  });
}
extern "C" aarch64_decode_rc sve_mul_zi(cpu_state* s, aarch64_z_reg zdn, int imm) {
  return by_esize<false>(zdn.esize, [&](auto t) {
    using T = typename decltype(t)::type;
    return fixed_zzi<T>(s, zdn.num, zdn.num, MulImm::Of<T>{T(imm)});
  });
}
#define SVE_MAC_EXEC(NAME, OP)                                                                      \
  extern "C" SVE_EXECUTOR aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, aarch64_z_reg zb, \
                                    aarch64_z_reg zc) {                                             \
    return by_esize<false>(zd.esize, [&](auto t) {                                                  \
      return fixed_zpzz<typename decltype(t)::type>(s, zd.num, pg.num, zb.num, zc.num, OP{});      \
    });                                                                                             \
  }
SVE_EXECUTORS_BEGIN
SVE_MAC_EXEC(sve_mla_zpzz, Mla)
SVE_MAC_EXEC(sve_mls_zpzz, Mls)
SVE_MAC_EXEC(sve_mad_zpzz, Mad)
SVE_MAC_EXEC(sve_msb_zpzz, Msb)
SVE_EXECUTORS_END

SVE_FOR_S(SVE_EXPORT_VV, MulHVVM, mulh_routine)
SVE_FOR_U(SVE_EXPORT_VV, MulHVVM, mulh_routine)

namespace {
const HandlerDef kMultiplyHandlers[] = {
    SVE_DEFS_S(MulVVM, h_zpz, &sve_mul_zpz),
    SVE_DEFS_S(MulVIX, h_mul_imm, &sve_mul_zi),
    SVE_LIST_S(SVE_AGN_DEF, MulHVVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, MulHVVM, h_agn_zpz),
    SVE_DEFS_S(MLAVVVM, h_zpzz, &sve_mla_zpzz),
    SVE_DEFS_S(MLSVVVM, h_zpzz, &sve_mls_zpzz),
    SVE_DEFS_S(MADDVVVM, h_zpzz, &sve_mad_zpzz),
    SVE_DEFS_S(MSUBVVVM, h_zpzz, &sve_msb_zpzz),
};
}  // namespace
std::span<const HandlerDef> multiply_handlers() { return kMultiplyHandlers; }
