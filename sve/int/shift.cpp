// LSL, LSR, ASR by vector, by immediate (predicated and unpredicated) and by
// wide 64-bit elements; the reversed LSLR, LSRR, ASRR; ASRD.
#include "sve/decode/routes.h"
#include "sve/int/helpers.h"
#include "sve/int/shift_lanes.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

// Each operation shifts sixteen bytes of lanes by one amount (lanes) or by
// per-lane amounts used whole as unsigned (by_lanes): left and logical right
// shifts past the width give 0, arithmetic right shifts fill with the sign.
struct Lsl {
  // Immediate left shifts are below the width.
  template <class T> static Lanes<T> lanes(Lanes<T> x, uint64_t n) { return shl_lanes<T>(x, unsigned(n)); }
  template <class T> static Lanes<T> by_lanes(Lanes<T> x, Lanes<T> n) { return shl_by_lanes<T>(x, n); }
};
struct Lsr {
  // Bytes shift by up to 8 as they stand; wider lanes by the width give 0.
  template <class T> static Lanes<T> lanes(Lanes<T> x, uint64_t n) {
    if constexpr (sizeof(T) == 1) return lsr_lanes<T>(x, n < 8 ? unsigned(n) : 8u);
    else return lsr_lanes<T>(x, unsigned(n) & (kBits<T> - 1)) & splat<T>(T(n < uint64_t(kBits<T>) ? ~0ull : 0));
  }
  template <class T> static Lanes<T> by_lanes(Lanes<T> x, Lanes<T> n) { return lsr_by_lanes<T>(x, n); }
};
struct Asr {
  template <class T> static Lanes<T> lanes(Lanes<T> x, uint64_t n) {
    return asr_lanes<T>(x, n < uint64_t(kBits<T>) ? unsigned(n) : kBits<T> - 1u);
  }
  template <class T> static Lanes<T> by_lanes(Lanes<T> x, Lanes<T> n) { return asr_by_lanes<T>(x, n); }
};
// Rounds toward zero: a negative element is first raised by 2^n - 1 (which
// cannot overflow for n below the width); by the width every result is 0.
struct Asrd {
  template <class T> static Lanes<T> lanes(Lanes<T> x, uint64_t n) {
    using U = UnsignedOf<T>;
    using S = std::make_signed_t<T>;
    bool whole = n >= uint64_t(kBits<T>);
    U low = whole ? U(0) : U((U(1) << n) - 1u);
    Lanes<T> bias = as_lanes<T>(as_lanes<S>(x) < S(0)) & splat<T>(T(low));
    return Asr::lanes<T>(x + bias, n) & splat<T>(T(whole ? 0 : ~0ull));
  }
};
template <class Op> struct ByAmount {
  uint64_t n;
  template <class T> Lanes<T> lanes(Lanes<T> x) const { return Op::template lanes<T>(x, n); }
};

// ---- fixed-length executors: sixteen bytes at a time as vectors ----
// Zdn = Pg ? op(Zdn, Zm) : Zdn with per-element amounts.
template <class T, class Op>
[[gnu::always_inline]] inline aarch64_decode_rc lanes_zpz(cpu_state* s, unsigned zdn, unsigned pg, unsigned zm) {
  fixed_in_place<2>(s->z[zdn], {s->z[zdn], s->z[zm]}, [&](uint8_t* out, auto& in, int off) {
    Lanes<T> x = load_lanes<T>(in[0]);
    Lanes<T> r = Op::template by_lanes<T>(x, load_lanes<T>(in[1]));
    store_lanes<T>(out, select_active<T>(s->p[pg] + off, r, x));
  });
  return DECODE_OK;
}
// Zdn = Pg ? op(Zdn) : Zdn and Zd = op(Zn) with one amount for every element.
template <class T, class F>
[[gnu::always_inline]] inline aarch64_decode_rc lanes_zpi(cpu_state* s, unsigned zdn, unsigned pg, F f) {
  fixed_in_place<1>(s->z[zdn], {s->z[zdn]}, [&](uint8_t* out, auto& in, int off) {
    Lanes<T> x = load_lanes<T>(in[0]);
    store_lanes<T>(out, select_active<T>(s->p[pg] + off, f.template lanes<T>(x), x));
  });
  return DECODE_OK;
}
template <class T, class F>
[[gnu::always_inline]] inline aarch64_decode_rc lanes_zzi(cpu_state* s, unsigned zd, unsigned zn, F f) {
  fixed_in_place<1>(s->z[zd], {s->z[zn]}, [&](uint8_t* out, auto& in, int) {
    store_lanes<T>(out, f.template lanes<T>(load_lanes<T>(in[0])));
  });
  return DECODE_OK;
}

// ---- length-agnostic routines ----
// The governing lanes of a chunk applied to vectors: all true, or the
// expanded map.
template <class T> inline Lanes<T> pick(AllTrue, Lanes<T> yes, Lanes<T>) { return yes; }
template <class T> inline Lanes<T> pick(LanePred p, Lanes<T> yes, Lanes<T> no) {
  return select_active<T>(p.lanes, yes, no);
}
// d = Pg ? f(a, b) : a sixteen bytes at a time as vectors; the 8-byte tail of
// a length that is not a multiple of 16 goes through 16-byte copies.
template <class T, class F>
inline void agnostic_lanes(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, const CpuContext* c, F f) {
  agnostic_drive<true>(pg, c, [&](int off, auto chunk, auto pred) {
    constexpr int n = decltype(chunk)::value;
    alignas(16) uint8_t x[16] = {}, y[16] = {}, r[16];
    std::memcpy(x, a + off, n);
    std::memcpy(y, b + off, n);
    Lanes<T> xv = load_lanes<T>(x);
    store_lanes<T>(r, pick<T>(pred, f(xv, load_lanes<T>(y)), xv));
    std::memcpy(d + off, r, n);
  });
}
// Reversed operands: b shifted by a.
template <class T, class Op>
void rev_zpz_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_lanes<T>(d, a, pg, b, c, [](Lanes<T> x, Lanes<T> y) { return Op::template by_lanes<T>(y, x); });
}
// Wide amounts: each 64-bit amount clamped to the element width and put in
// every element of its half of the chunk.
template <class T> inline Lanes<T> narrow_amounts(Lanes<T> wide) {
  using U = UnsignedOf<T>;
  constexpr int n = int(sizeof(T));
  Lanes<uint64_t> k = min_lanes<uint64_t>(as_lanes<uint64_t>(wide), uint64_t(kBits<T>));
  Lanes<uint8_t> spread;
  for (int i = 0; i < 16; ++i) spread[i] = uint8_t(i & 8);
  Lanes<U> r = as_lanes<U>(__builtin_shuffle(as_lanes<uint8_t>(k), spread));
  if constexpr (n > 1) r &= splat<U>(0xFF);
  return as_lanes<T>(r);
}
// Predicated (pg) or not (null).
template <class T, class Op>
void wide_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  agnostic_lanes<T>(d, a, pg, b, c,
                    [](Lanes<T> x, Lanes<T> w) { return Op::template by_lanes<T>(x, narrow_amounts<T>(w)); });
}
template <class T, class Op>
void wide_zzz_routine(uint8_t* d, const uint8_t* a, const PredV*, const uint8_t* b, CpuContext* c) {
  wide_routine<T, Op>(d, a, nullptr, b, c);
}
// One amount for every element, predicated (pg) or not (null).
// (The second source of the driver is a again, unused.)
template <class T, class Op>
void imm_routine(uint8_t* d, const uint8_t* a, const PredV* pg, uint64_t n, CpuContext* c) {
  agnostic_lanes<T>(d, a, pg, a, c, [f = ByAmount<Op>{n}](Lanes<T> x, Lanes<T>) { return f.template lanes<T>(x); });
}
template <class T, class Op> void zzi_routine(uint8_t* d, const uint8_t* a, const PredV*, uint64_t n, CpuContext* c) {
  imm_routine<T, Op>(d, a, nullptr, n, c);
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

SVE_FOR_U(SVE_EXPORT_VV, ShlRVVM, rev_zpz_routine, Lsl)
SVE_FOR_U(SVE_EXPORT_VV, ShrRVVM, rev_zpz_routine, Lsr)
SVE_FOR_S(SVE_EXPORT_VV, ShrRVVM, rev_zpz_routine, Asr)
SVE_FOR_U3(SVE_EXPORT_VV, ShlVWM, wide_routine, Lsl)
SVE_FOR_U3(SVE_EXPORT_VV, ShrVWM, wide_routine, Lsr)
SVE_FOR_S3(SVE_EXPORT_VV, ShrVWM, wide_routine, Asr)
SVE_FOR_U3(SVE_EXPORT_VV, ShlVWX, wide_zzz_routine, Lsl)
SVE_FOR_U3(SVE_EXPORT_VV, ShrVWX, wide_zzz_routine, Lsr)
SVE_FOR_S3(SVE_EXPORT_VV, ShrVWX, wide_zzz_routine, Asr)
SVE_FOR_U(SVE_EXPORT_VI, ShrVIM, imm_routine, Lsr)
SVE_FOR_U(SVE_EXPORT_VI, ShrVIX, zzi_routine, Lsr)
SVE_FOR_S(SVE_EXPORT_VI, ShrDVIM, imm_routine, Asrd)

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
