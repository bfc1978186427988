// Predicated unary operations: ABS, NEG, NOT, CNOT, CLS, CLZ, CNT, the sign
// and zero extensions, RBIT, REVB, REVH, REVW.
#include "sve/decode/routes.h"
#include "sve/int/helpers.h"
#include "sve/int/lanes.h"
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
using Bytes16 = Lanes<uint8_t>;
// The low and the high nibble of each of sixteen bytes looked up in 16-entry
// tables (a byte shuffle: pshufb on x86, TBL on AArch64).
struct NibbleLookup {
  Bytes16 low, high;
};
inline NibbleLookup nibble_lookup(Bytes16 low_table, Bytes16 high_table, Bytes16 x) {
  return {__builtin_shuffle(low_table, Bytes16(x & 15)), __builtin_shuffle(high_table, Bytes16(x >> 4))};
}
// The counts of each byte of c folded up to elements of T: each level adds
// the count of an element's lower half to that of its upper half where
// `goes_on(upper, bits)` is all ones (always for CNT; for CLZ where the upper
// half was all zeros, its count equal to its width).
template <class T, class GoesOn> inline Bytes16 fold_byte_counts(Bytes16 c, GoesOn goes_on) {
  auto level = [&](auto half) {
    using H = decltype(half);
    using W = IntOf<2 * sizeof(H), false>;
    Lanes<W> w = as_lanes<W>(c), lower = w & W(H(~H(0))), upper = w >> kBits<H>;  // little-endian: low half first
    c = as_lanes<uint8_t>(upper + (lower & goes_on(upper, W(kBits<H>))));
  };
  if constexpr (sizeof(T) >= 2) level(uint8_t{});
  if constexpr (sizeof(T) >= 4) level(uint16_t{});
  if constexpr (sizeof(T) >= 8) level(uint32_t{});
  return c;
}

// Leading zero bits by halving steps: where the top Step bits are clear, add
// Step and shift them out (selects rather than branches or a bit-scan, so
// that it vectorises); a value still without its top bit set is zero.
template <int Step, class U> constexpr U leading_zeros(U x, U n = 0) {
  if constexpr (Step == 0) {
    return U(n + U(x >> (kBits<U> - 1) == 0));
  } else {
    U clear = U(U(0) - U(U(x >> (kBits<U> - Step)) == 0));
    return leading_zeros<Step / 2>(merge<U>(clear, U(x << Step), x), U(n + (clear & U(Step))));
  }
}
// Sixteen bytes at once: leading zeros of each byte from a nibble table, then
// of wider elements by halves.
struct ClzChunk {
  static constexpr Bytes16 kNibbleClz = {4, 3, 2, 2, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0};
  template <class T> static Bytes16 clz_lanes(Bytes16 x) {
    NibbleLookup n = nibble_lookup(kNibbleClz, kNibbleClz, x);
    Bytes16 c = n.high + (n.low & Bytes16(n.high == 4));
    return fold_byte_counts<T>(c, [](auto upper, auto bits) { return decltype(upper)(upper == bits); });
  }
};
struct Clz : ClzChunk {
  template <class T> T operator()(T a) const { return T(leading_zeros<kBits<T> / 2>(UnsignedOf<T>(a))); }
  template <class T> void chunk(uint8_t* out, const uint8_t* in) const {
    store_lanes<uint8_t>(out, clz_lanes<T>(load_lanes<uint8_t>(in)));
  }
};
// Leading bits equal to the sign bit, not counting the sign bit itself: the
// leading zeros of the value with its sign spread over it flipped, less one.
struct Cls : ClzChunk {
  template <class T> T operator()(T a) const {
    using U = UnsignedOf<T>;
    U sign = U(U(0) - U(U(a) >> (kBits<T> - 1)));
    return T(leading_zeros<kBits<T> / 2>(U(U(a) ^ sign)) - 1u);
  }
  template <class T> void chunk(uint8_t* out, const uint8_t* in) const {
    using S = std::make_signed_t<T>;
    Lanes<S> x = load_lanes<S>(in);
    x ^= Lanes<S>(x < 0);  // all ones where negative
    store_lanes<S>(out, as_lanes<S>(clz_lanes<T>(as_lanes<uint8_t>(x))) - S(1));
  }
};
// x plus x shifted right by Shift, 2 * Shift, ... below the width: the sum of
// the bytes of x in its low byte.
template <int Shift, class U> constexpr U fold_bytes(U x) {
  if constexpr (Shift >= kBits<U>) return x;
  else return fold_bytes<2 * Shift>(U(x + (x >> Shift)));
}
// Bits set in each byte of x: pairs, then nibbles summed in place.
template <class U> constexpr U byte_counts(U x) {
  x = U(x - ((x >> 1) & U(0x5555555555555555ull)));
  x = U((x & U(0x3333333333333333ull)) + ((x >> 2) & U(0x3333333333333333ull)));
  return U((x + (x >> 4)) & U(0x0F0F0F0F0F0F0F0Full));
}
// Bits set per element, then the byte counts of wider elements folded into
// the low byte (shifts and adds only, so that it vectorises on hosts without
// a per-lane bit count); byte elements go four to a 32-bit word.
struct Cnt {
  static constexpr Bytes16 kNibbleBits = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};
  template <class T> T operator()(T a) const { return T(fold_bytes<8>(byte_counts(UnsignedOf<T>(a))) & 0xFFu); }
  // Sixteen bytes at once: the bits of each byte from a nibble table, then
  // the byte counts of wider elements added.
  template <class T> void chunk(uint8_t* out, const uint8_t* in) const {
    NibbleLookup n = nibble_lookup(kNibbleBits, kNibbleBits, load_lanes<uint8_t>(in));
    store_lanes<uint8_t>(out, fold_byte_counts<T>(n.low + n.high, [](auto upper, auto) { return ~decltype(upper){}; }));
  }
};
// Sign or zero extension from the low bytes held by N, as a shift pair or a
// mask on the whole element (a narrowing conversion would become a strided
// byte load that does not vectorise).
template <class N> struct Extend {
  template <class T> T operator()(T a) const {
    using U = UnsignedOf<T>;
    constexpr int k = kBits<T> - kBits<N>;
    if constexpr (k <= 0) return a;  // no narrower source: not decoded, instantiated by the size switch
    else if constexpr (std::is_signed_v<N>) return T(std::make_signed_t<T>(U(U(a) << k)) >> k);
    else return T(U(a) & U(UnsignedOf<N>(~UnsignedOf<N>(0))));
  }
};
// The groups of Bits bits of each To-bit group of x in reverse order:
// neighbouring groups exchanged, then pairs of them, up to halves of To bits.
template <int Bits, int To, class U> constexpr U reverse_groups(U x) {
  if constexpr (Bits >= To) {
    return x;
  } else {
    constexpr U m = U(U(~U(0)) / U((U(1) << Bits) + 1u));  // the low Bits bits of every 2*Bits-bit group
    return reverse_groups<2 * Bits, To>(U(((x >> Bits) & m) | ((x & m) << Bits)));
  }
}
// Bit reversal (RBIT). Sixteen bytes at once: the two nibbles of each byte
// reversed through 16-entry tables (a byte shuffle on both hosts), then the
// bytes of each element put in reverse order.
struct RBit {
  template <class T> T operator()(T a) const { return T(reverse_groups<1, kBits<T>>(UnsignedOf<T>(a))); }
  template <class T> void chunk(uint8_t* out, const uint8_t* in) const {
    constexpr Bytes16 kLowToHigh = {0x00, 0x80, 0x40, 0xC0, 0x20, 0xA0, 0x60, 0xE0,
                                    0x10, 0x90, 0x50, 0xD0, 0x30, 0xB0, 0x70, 0xF0};
    constexpr Bytes16 kHighToLow = {0x0, 0x8, 0x4, 0xC, 0x2, 0xA, 0x6, 0xE, 0x1, 0x9, 0x5, 0xD, 0x3, 0xB, 0x7, 0xF};
    constexpr Bytes16 kIota = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    NibbleLookup n = nibble_lookup(kLowToHigh, kHighToLow, load_lanes<uint8_t>(in));
    Bytes16 r = n.low | n.high;
    if constexpr (sizeof(T) > 1) r = __builtin_shuffle(r, Bytes16(kIota ^ uint8_t(sizeof(T) - 1)));  // bytes reversed per element
    store_lanes<uint8_t>(out, r);
  }
};
// The element's units of Unit bytes in reverse order (REVB, REVH, REVW).
template <int Unit> struct Rev {
  template <class T> T operator()(T a) const { return T(reverse_groups<8 * Unit, kBits<T>>(UnsignedOf<T>(a))); }
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
SVE_UNARY_EXEC(sve_revw_zpz, false, Rev<4>)

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
