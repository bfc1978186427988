// LSL, LSR, ASR by vector, by immediate (predicated and unpredicated) and by
// wide 64-bit elements; the reversed LSLR, LSRR, ASRR; ASRD.
#include "sve/decode/routes.h"
#include "sve/int/helpers.h"
#include "sve/int/shift_lanes.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

// Shift of an element by an unsigned amount used whole: left and logical
// right shifts past the width give 0, arithmetic right shifts fill with the sign.
// quads(w, k) shifts the four byte elements of a 32-bit word by k <= 8 at once
// (32-bit lane shifts, then the bits that crossed into another byte masked).
constexpr uint32_t all_bytes(unsigned byte) { return (byte & 0xFFu) * 0x01010101u; }
// 0xFF in each byte of w whose top bit is set.
constexpr uint32_t sign_bytes(uint32_t w) {
  uint32_t b = (w >> 7) & 0x01010101u;
  return (b << 8) - b;
}
struct Lsl {
  template <class T> T operator()(T a, uint64_t n) const { return n >= uint64_t(kBits<T>) ? T(0) : T(raw_bits(a) << n); }
  static uint32_t quads(uint32_t w, unsigned k) { return (w << k) & all_bytes(0xFFu << k); }
  // Immediate left shifts are below the width.
  template <class T> static Lanes<T> lanes(Lanes<T> x, uint64_t n) { return shl_lanes<T>(x, unsigned(n)); }
  template <class T> static Lanes<T> by_lanes(Lanes<T> x, Lanes<T> n) { return shl_by_lanes<T>(x, n); }
};
struct Lsr {
  template <class T> T operator()(T a, uint64_t n) const {
    return n >= uint64_t(kBits<T>) ? T(0) : T(UnsignedOf<T>(a) >> n);
  }
  static uint32_t quads(uint32_t w, unsigned k) { return (w >> k) & all_bytes(0xFFu >> k); }
  // Bytes shift by up to 8 as they stand; wider lanes by the width give 0.
  template <class T> static Lanes<T> lanes(Lanes<T> x, uint64_t n) {
    if constexpr (sizeof(T) == 1) return lsr_lanes<T>(x, n < 8 ? unsigned(n) : 8u);
    else return lsr_lanes<T>(x, unsigned(n) & (kBits<T> - 1)) & splat<T>(T(n < uint64_t(kBits<T>) ? ~0ull : 0));
  }
  template <class T> static Lanes<T> by_lanes(Lanes<T> x, Lanes<T> n) { return lsr_by_lanes<T>(x, n); }
};
struct Asr {
  template <class T> T operator()(T a, uint64_t n) const {
    using S = std::make_signed_t<T>;
    return T(S(a) >> (n >= uint64_t(kBits<T>) ? kBits<T> - 1 : int(n)));
  }
  static uint32_t quads(uint32_t w, unsigned k) { return Lsr::quads(w, k) | (sign_bytes(w) & all_bytes(~(0xFFu >> k))); }
  template <class T> static Lanes<T> lanes(Lanes<T> x, uint64_t n) {
    return asr_lanes<T>(x, n < uint64_t(kBits<T>) ? unsigned(n) : kBits<T> - 1u);
  }
  template <class T> static Lanes<T> by_lanes(Lanes<T> x, Lanes<T> n) { return asr_by_lanes<T>(x, n); }
};
// Rounds toward zero: the floor of the arithmetic shift, plus one for a
// negative element that had nonzero bits shifted out.
struct Asrd {
  template <class T> T operator()(T a, uint64_t n) const {
    using U = UnsignedOf<T>;
    U low = n >= uint64_t(kBits<T>) ? U(~U(0)) : U((U(1) << n) - 1u);
    return wrap_add(Asr{}(a, n), T(a < 0 && (U(a) & low) != 0));
  }
  static uint32_t quads(uint32_t w, unsigned k) {
    uint32_t rem = w & all_bytes(~(0xFFu << k));
    uint32_t nonzero = (((rem & 0x7F7F7F7Fu) + 0x7F7F7F7Fu) | rem) & 0x80808080u;  // top bit of each byte
    uint32_t carry = (nonzero & w) >> 7;                                            // 1 in each byte to round up
    uint32_t q = Asr::quads(w, k);
    return ((q & 0x7F7F7F7Fu) + carry) ^ (q & 0x80808080u);  // bytewise add without cross-byte carries
  }
};
// Shift by n < width one constant step per set bit of n (2^j for bit j),
// each chosen with a select: vectorises without per-lane variable shifts.
template <class Op, int Step, class T> [[gnu::always_inline]] inline T shift_steps(T x, UnsignedOf<T> n) {
  using U = UnsignedOf<T>;
  if constexpr (Step >= kBits<T>) return x;
  else return shift_steps<Op, 2 * Step>(merge<T>(U(U(0) - U((n & Step) != 0)), Op{}(x, Step), x), n);
}
// Shift by an element-sized amount; amounts past the width give Op's fill.
template <class Op, class T> [[gnu::always_inline]] inline T shift_by(T a, UnsignedOf<T> n) {
  using U = UnsignedOf<T>;
  T past = Op{}(Op{}(a, kBits<T> - 1), 1);
  return merge<T>(U(U(0) - U(n >= kBits<T>)), past, shift_steps<Op, 1>(a, U(n & (kBits<T> - 1))));
}
// The amount is the element of the second vector as unsigned; R exchanges the operands.
template <class Op> struct ByElem {
  template <class T> T operator()(T a, T b) const { return shift_by<Op>(a, UnsignedOf<T>(b)); }
};
template <class Op> struct ByElemR {
  template <class T> T operator()(T a, T b) const { return shift_by<Op>(b, UnsignedOf<T>(a)); }
};
template <class Op> struct ByAmount {
  uint64_t n;
  template <class T> T operator()(T a) const { return Op{}(a, n); }
  uint32_t quads(uint32_t w) const { return Op::quads(w, n < 8 ? unsigned(n) : 8u); }
  template <class T> Lanes<T> lanes(Lanes<T> x) const { return Op::template lanes<T>(x, n); }
};
// The amount used whole, element by element (64-bit elements, which have no
// vector multiply to shift by).
template <class Op> struct ByElemWhole {
  template <class T> T operator()(T a, T b) const { return Op{}(a, uint64_t(UnsignedOf<T>(b))); }
};

// ---- fixed-length executors: sixteen bytes at a time as vectors ----
// Zdn = Pg ? op(Zdn, Zm) : Zdn with per-element amounts.
template <class T, class Op> [[gnu::always_inline]] inline aarch64_decode_rc lanes_zpz(cpu_state* s, unsigned zdn, unsigned pg, unsigned zm) {
  if constexpr (sizeof(T) == 8) return fixed_zpz<T>(s, zdn, pg, zm, ByElemWhole<Op>{});
  else fixed_in_place<2>(s->z[zdn], {s->z[zdn], s->z[zm]}, [&](uint8_t* out, auto& in, int off) {
    Lanes<T> x = load_lanes<T>(in[0]);
    Lanes<T> r = Op::template by_lanes<T>(x, load_lanes<T>(in[1]));
    store_lanes<T>(out, select_active<T>(s->p[pg] + off, r, x));
  });
  return DECODE_OK;
}
// Zdn = Pg ? op(Zdn) : Zdn and Zd = op(Zn) with one amount for every element.
template <class T, class F> [[gnu::always_inline]] inline aarch64_decode_rc lanes_zpi(cpu_state* s, unsigned zdn, unsigned pg, F f) {
  fixed_in_place<1>(s->z[zdn], {s->z[zdn]}, [&](uint8_t* out, auto& in, int off) {
    Lanes<T> x = load_lanes<T>(in[0]);
    store_lanes<T>(out, select_active<T>(s->p[pg] + off, f.template lanes<T>(x), x));
  });
  return DECODE_OK;
}
template <class T, class F> [[gnu::always_inline]] inline aarch64_decode_rc lanes_zzi(cpu_state* s, unsigned zd, unsigned zn, F f) {
  fixed_in_place<1>(s->z[zd], {s->z[zn]}, [&](uint8_t* out, auto& in, int) {
    store_lanes<T>(out, f.template lanes<T>(load_lanes<T>(in[0])));
  });
  return DECODE_OK;
}

// ---- length-agnostic routines ----
template <class T, class Op>
void zpz_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_map2<T>(d, a, pg, b, c, Op{});
}
// Wide amounts: each 64-bit amount clamped to the element width and repeated
// into every element of its lane, so that the shift runs element by element.
template <class T> void narrow_amounts(uint8_t* amounts, const uint8_t* b, int bytes) {
  constexpr uint64_t kRepeat = ~uint64_t(0) / UnsignedOf<T>(~UnsignedOf<T>(0));  // 0x0101... for bytes
  for (int j = 0; j < bytes / 8; ++j) {
    uint64_t w = elem<uint64_t>(b, j);
    set_elem<uint64_t>(amounts, j, (w < uint64_t(kBits<T>) ? w : uint64_t(kBits<T>)) * kRepeat);
  }
}
template <class T, class Op>
void wide_zpz_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  alignas(16) uint8_t amounts[SVE_MAX_VL_BYTES];
  narrow_amounts<T>(amounts, b, vl_bytes(c));
  agnostic_map2<T>(d, a, pg, amounts, c, ByElem<Op>{});
}
// Unpredicated, the 64-bit amounts are used directly (measured cheaper here).
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
  return run_elementwise_vi(s, field(w, 4, 0), field(w, 4, 0), int(field(w, 12, 10)), amount<T, true>(w, 5), R);
}
template <class T, AgnosticVI R> aarch64_decode_rc h_agn_shift_zzi(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_elementwise_vi(s, field(w, 4, 0), field(w, 9, 5), -1, amount<T, true>(w, 16), R);
}

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_SHIFT_ZPZ(NAME, SIGNED, OP)                                                                     \
  extern "C" SVE_EXECUTOR aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, aarch64_z_reg zm) { \
    return by_esize<SIGNED>(zdn.esize, [&](auto t) {                                                        \
      return lanes_zpz<typename decltype(t)::type, OP>(s, zdn.num, pg.num, zm.num);                        \
    });                                                                                                     \
  }
#define SVE_SHIFT_ZPI(NAME, SIGNED, OP)                                                                 \
  extern "C" SVE_EXECUTOR aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, unsigned n) {   \
    return by_esize<SIGNED>(zdn.esize, [&](auto t) {                                                    \
      return lanes_zpi<typename decltype(t)::type>(s, zdn.num, pg.num, ByAmount<OP>{n});               \
    });                                                                                                 \
  }
#define SVE_SHIFT_ZZI(NAME, SIGNED, OP)                                                                \
  extern "C" SVE_EXECUTOR aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, unsigned n) {   \
    return by_esize<SIGNED>(zd.esize, [&](auto t) {                                                    \
      return lanes_zzi<typename decltype(t)::type>(s, zd.num, zn.num, ByAmount<OP>{n});               \
    });                                                                                                \
  }
SVE_EXECUTORS_BEGIN
SVE_SHIFT_ZPZ(sve_lsl_zpz, false, Lsl)
SVE_SHIFT_ZPZ(sve_lsr_zpz, false, Lsr)
SVE_SHIFT_ZPZ(sve_asr_zpz, true, Asr)
SVE_SHIFT_ZPI(sve_lsl_zpi, false, Lsl)
SVE_SHIFT_ZPI(sve_lsr_zpi, false, Lsr)
SVE_SHIFT_ZPI(sve_asr_zpi, true, Asr)
SVE_SHIFT_ZZI(sve_lsl_zzi, false, Lsl)
SVE_SHIFT_ZZI(sve_lsr_zzi, false, Lsr)
SVE_SHIFT_ZZI(sve_asr_zzi, true, Asr)
SVE_EXECUTORS_END

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
