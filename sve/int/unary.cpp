// Predicated unary operations: ABS, NEG, NOT, CNOT, CLS, CLZ, CNT, the sign
// and zero extensions, RBIT, REVB, REVH, REVW.
#include "sve/decode/routes.h"
#include "sve/int/helpers.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

struct Neg {
  template <class T> T operator()(T a) const { return wrap_sub(T(0), a); }
};
struct Abs {
  template <class T> T operator()(T a) const { return a < 0 ? wrap_sub(T(0), a) : a; }
};
struct Not {
  template <class T> T operator()(T a) const { return T(~a); }
};
struct CNot {
  template <class T> T operator()(T a) const { return T(a == 0); }
};
template <class T> constexpr int leading_zeros(UnsignedOf<T> x) {
  return x == 0 ? kBits<T> : __builtin_clzll(uint64_t(x)) - (64 - kBits<T>);
}
struct Clz {
  template <class T> T operator()(T a) const { return T(leading_zeros<T>(UnsignedOf<T>(a))); }
};
// Leading bits equal to the sign bit, not counting the sign bit itself.
struct Cls {
  template <class T> T operator()(T a) const {
    UnsignedOf<T> x = UnsignedOf<T>(a);
    if (x >> (kBits<T> - 1)) x = UnsignedOf<T>(~x);
    return T(leading_zeros<T>(x) - 1);
  }
};
struct Cnt {
  template <class T> T operator()(T a) const { return T(BitCount(uint64_t(UnsignedOf<T>(a)), kBits<T>)); }
};
// Sign or zero extension from the low bytes held by N.
template <class N> struct Extend {
  template <class T> T operator()(T a) const { return T(N(a)); }
};
// Bit reversal by swapping ever larger groups, then the bytes.
struct RBit {
  template <class T> T operator()(T a) const {
    using U = UnsignedOf<T>;
    U x = U(a);
    x = U(((x >> 1) & U(0x5555555555555555ull)) | ((x & U(0x5555555555555555ull)) << 1));
    x = U(((x >> 2) & U(0x3333333333333333ull)) | ((x & U(0x3333333333333333ull)) << 2));
    x = U(((x >> 4) & U(0x0F0F0F0F0F0F0F0Full)) | ((x & U(0x0F0F0F0F0F0F0F0Full)) << 4));
    if constexpr (sizeof(T) == 2) x = __builtin_bswap16(x);
    if constexpr (sizeof(T) == 4) x = __builtin_bswap32(x);
    if constexpr (sizeof(T) == 8) x = __builtin_bswap64(x);
    return T(x);
  }
};
// The element's units of Unit bytes in reverse order (REVB, REVH, REVW).
template <int Unit> struct Rev {
  template <class T> T operator()(T a) const {
    return T(Reverse(uint64_t(UnsignedOf<T>(a)), kBits<T>, Unit));
  }
};
// REVW on doublewords: the two words exchanged.
struct RevW {
  template <class T> T operator()(T a) const {
    uint64_t x = uint64_t(a);
    return T((x >> 32) | (x << 32));
  }
};

template <class T, class Op>
void unary_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_map1<T>(d, a, pg, b, c, Op{});
}

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_UNARY_EXEC(NAME, SIGNED, OP)                                                                   \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, aarch64_z_reg zn) { \
    return by_esize<SIGNED>(zd.esize, [&](auto t) {                                                        \
      return fixed_unary<typename decltype(t)::type>(s, zd.num, pg.num, zn.num, OP{});                    \
    });                                                                                                    \
  }
SVE_UNARY_EXEC(sve_neg_zpz, true, Neg)
SVE_UNARY_EXEC(sve_rbit_zpz, false, RBit)
SVE_UNARY_EXEC(sve_sxtb_zpz, true, Extend<int8_t>)
SVE_UNARY_EXEC(sve_sxth_zpz, true, Extend<int16_t>)
SVE_UNARY_EXEC(sve_sxtw_zpz, true, Extend<int32_t>)
SVE_UNARY_EXEC(sve_uxth_zpz, false, Extend<uint16_t>)
SVE_UNARY_EXEC(sve_uxtw_zpz, false, Extend<uint32_t>)
SVE_UNARY_EXEC(sve_revw_zpz, false, RevW)

SVE_FOR_S(SVE_EXPORT_VV, AbsVM, unary_routine, Abs)
SVE_FOR_U(SVE_EXPORT_VV, InvVM, unary_routine, Not)
SVE_FOR_U(SVE_EXPORT_VV, NotVM, unary_routine, CNot)
SVE_FOR_U(SVE_EXPORT_VV, ClsVM, unary_routine, Cls)
SVE_FOR_U(SVE_EXPORT_VV, ClzVM, unary_routine, Clz)
SVE_FOR_U(SVE_EXPORT_VV, CntVM, unary_routine, Cnt)
SVE_EXPORT_VV(U16, Extnd12VM, unary_routine, Extend<uint8_t>)
SVE_EXPORT_VV(U32, Extnd14VM, unary_routine, Extend<uint8_t>)
SVE_EXPORT_VV(U64, Extnd18VM, unary_routine, Extend<uint8_t>)
SVE_EXPORT_VV(U16, Rev1V, unary_routine, Rev<1>)
SVE_EXPORT_VV(U32, Rev1V, unary_routine, Rev<1>)
SVE_EXPORT_VV(U64, Rev1V, unary_routine, Rev<1>)
SVE_EXPORT_VV(U32, Rev2V, unary_routine, Rev<2>)
SVE_EXPORT_VV(U64, Rev2V, unary_routine, Rev<2>)

namespace {
const HandlerDef kUnaryHandlers[] = {
    SVE_DEFS_S(NegVM, h_zpz, &sve_neg_zpz),
    SVE_DEFS_U(RBitVM, h_zpz, &sve_rbit_zpz),
    SVE_DEF(S16, Extnd12VM, h_zpz, &sve_sxtb_zpz),
    SVE_DEF(S32, Extnd14VM, h_zpz, &sve_sxtb_zpz),
    SVE_DEF(S64, Extnd18VM, h_zpz, &sve_sxtb_zpz),
    SVE_DEF(S32, Extnd24VM, h_zpz, &sve_sxth_zpz),
    SVE_DEF(S64, Extnd28VM, h_zpz, &sve_sxth_zpz),
    SVE_DEF(S64, Extnd48VM, h_zpz, &sve_sxtw_zpz),
    SVE_DEF(U32, Extnd24VM, h_zpz, &sve_uxth_zpz),
    SVE_DEF(U64, Extnd28VM, h_zpz, &sve_uxth_zpz),
    SVE_DEF(U64, Extnd48VM, h_zpz, &sve_uxtw_zpz),
    SVE_DEF(U64, Rev4V, h_zpz, &sve_revw_zpz),
    SVE_LIST_S(SVE_AGN_DEF, AbsVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, InvVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, NotVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, ClsVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, ClzVM, h_agn_zpz),
    SVE_LIST_U(SVE_AGN_DEF, CntVM, h_agn_zpz),
    SVE_AGN_DEF(U16, Extnd12VM, h_agn_zpz),
    SVE_AGN_DEF(U32, Extnd14VM, h_agn_zpz),
    SVE_AGN_DEF(U64, Extnd18VM, h_agn_zpz),
    SVE_AGN_DEF(U16, Rev1V, h_agn_zpz),
    SVE_AGN_DEF(U32, Rev1V, h_agn_zpz),
    SVE_AGN_DEF(U64, Rev1V, h_agn_zpz),
    SVE_AGN_DEF(U32, Rev2V, h_agn_zpz),
    SVE_AGN_DEF(U64, Rev2V, h_agn_zpz),
};
}  // namespace
std::span<const HandlerDef> unary_handlers() { return kUnaryHandlers; }
