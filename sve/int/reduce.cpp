// Reductions to a SIMD&FP scalar: ANDV, ORV, EORV, UADDV, SADDV, SMAXV,
// SMINV, UMAXV, UMINV. The result goes into the low bytes of Z register d
// (64 bits for the sums, the element width otherwise); the rest is cleared.
#include <limits>

#include "sve/decode/routes.h"
#include "sve/int/lanes.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

// Each reduction: its fold and the start value, which is also its neutral value.
struct AndR {
  template <class T> static constexpr T start() { return T(~T(0)); }
  template <class T> T operator()(T a, T b) const { return T(a & b); }
};
struct OrR {
  template <class T> static constexpr T start() { return T(0); }
  template <class T> T operator()(T a, T b) const { return T(a | b); }
};
struct XorR {
  template <class T> static constexpr T start() { return T(0); }
  template <class T> T operator()(T a, T b) const { return T(a ^ b); }
};
struct MaxR {
  template <class T> static constexpr T start() { return std::numeric_limits<T>::min(); }
  template <class T> T operator()(T a, T b) const { return a >= b ? a : b; }
};
struct MinR {
  template <class T> static constexpr T start() { return std::numeric_limits<T>::max(); }
  template <class T> T operator()(T a, T b) const { return a <= b ? a : b; }
};
// Sums of elements sign- or zero-extended by their type, in twice the element
// width (64 bits at most): 256 bytes or 128 halfwords cannot overflow it, and
// the narrower lanes vectorise better. The result is extended to 64 bits.
template <class T> using SumAcc = IntOf<(sizeof(T) < 8 ? 2 * sizeof(T) : 8), std::is_signed_v<T>>;
struct SumR {
  template <class A> A operator()(A a, A b) const { return A(a + b); }
};
template <class T, class Pred> SumAcc<T> sum_of(const uint8_t* a, int n, Pred pg) {
  return fold<T>(a, n, pg, SumAcc<T>(0), SumR{});
}

// The value in the low bytes of Vd, the rest cleared.
template <class T, class Acc> aarch64_decode_rc write_scalar(cpu_state* s, unsigned vd, Acc value) {
  alignas(16) uint8_t low[16] = {};
  set_elem<Acc>(low, 0, value);
  std::memcpy(s->z[vd], low, 16);
  zero_bytes16(s->z[vd], 16, SVE_VL_BYTES);
  return DECODE_OK;
}
template <class T, class Op> aarch64_decode_rc fixed_reduce(cpu_state* s, unsigned vd, unsigned pg, unsigned zn) {
  T r = fold<T>(s->z[zn], kElems<T>, LanePred{s->p[pg]}, Op::template start<T>(), Op{});
  return write_scalar<T>(s, vd, r);
}
// UADDV: elements zero-extended (T unsigned) and added in 64 bits. Each
// 16-byte piece, its inactive elements cleared, is read as lanes of twice the
// width and added whole (`all`, modulo the lane) and by its high elements
// (`high`); the low elements' sum, all - high * 2^bits, is exact modulo the
// lane since the seven pieces cannot overflow it. No widening shuffles.
template <class T> [[gnu::always_inline]] inline uint64_t masked_usum(const uint8_t* a, const uint8_t* lanes) {
  using W = IntOf<2 * sizeof(T), false>;
  Lanes<W> all = {}, high = {};
#pragma GCC unroll 8
  for (int k = 0; k < SVE_VL_BYTES / 16; ++k) {
    Lanes<T> x = load_lanes<T>(a + 16 * k), p = load_lanes<T>(lanes + 16 * k);
    Lanes<W> w = as_lanes<W>(x & ~Lanes<T>((sizeof(T) == 1 ? p : p & 1) == 0));  // a byte lane is 0 or 1
    all += w;
    high += w >> kBits<T>;
  }
  Lanes<W> sums = all - (high << kBits<T>) + high;
  W sum = 0;  // the whole sum fits too
  for (unsigned j = 0; j < 16 / sizeof(W); ++j) sum = W(sum + sums[j]);
  return sum;
}
template <class T> aarch64_decode_rc fixed_sum(cpu_state* s, unsigned vd, unsigned pg, unsigned zn) {
  if constexpr (sizeof(T) == 8) {
    return write_scalar<T>(s, vd, uint64_t(sum_of<T>(s->z[zn], kElems<T>, LanePred{s->p[pg]})));
  } else {
    return write_scalar<T>(s, vd, masked_usum<T>(s->z[zn], s->p[pg]));
  }
}

// SADDV: the routine writes the whole result image.
template <class T> void saddv_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t*, CpuContext* c) {
  SumAcc<T> sum = 0;
  agnostic_drive(pg, c, [&](int off, auto bytes, auto pred) {
    sum = SumAcc<T>(sum + sum_of<T>(a + off, bytes() / int(sizeof(T)), pred));
  });
  std::memset(d, 0, size_t(vl_bytes(c)));
  set_elem<uint64_t>(d, 0, uint64_t(int64_t(sum)));
}

// Vd = bits 4-0, Zn = bits 9-5, Pg = bits 12-10.
template <class T, auto Exec> aarch64_decode_rc h_vpz(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, field(w, 4, 0), preg<T>(field(w, 12, 10)), zreg<T>(field(w, 9, 5)));
}
template <AgnosticVV R> aarch64_decode_rc h_agn_vpz(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_elementwise_vv(s, field(w, 4, 0), field(w, 9, 5), int(field(w, 12, 10)), field(w, 9, 5), R);
}

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_REDUCE_EXEC(NAME, SIGNED, OP)                                                               \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, unsigned vd, aarch64_p_reg pg, aarch64_z_reg zn) {   \
    return by_esize<SIGNED>(zn.esize, [&](auto t) {                                                     \
      return fixed_reduce<typename decltype(t)::type, OP>(s, vd, pg.num, zn.num);                      \
    });                                                                                                 \
  }
SVE_REDUCE_EXEC(sve_andv_vpz, false, AndR)
SVE_REDUCE_EXEC(sve_orv_vpz, false, OrR)
SVE_REDUCE_EXEC(sve_eorv_vpz, false, XorR)
SVE_REDUCE_EXEC(sve_smaxv_vpz, true, MaxR)
SVE_REDUCE_EXEC(sve_sminv_vpz, true, MinR)
SVE_REDUCE_EXEC(sve_umaxv_vpz, false, MaxR)
SVE_REDUCE_EXEC(sve_uminv_vpz, false, MinR)
extern "C" aarch64_decode_rc sve_uaddv_vpz(cpu_state* s, unsigned vd, aarch64_p_reg pg, aarch64_z_reg zn) {
  return by_esize<false>(zn.esize, [&](auto t) { return fixed_sum<typename decltype(t)::type>(s, vd, pg.num, zn.num); });
}

SVE_EXPORT_VV(S8, AddReduceV, saddv_routine)
SVE_EXPORT_VV(S16, AddReduceV, saddv_routine)
SVE_EXPORT_VV(S32, AddReduceV, saddv_routine)

namespace {
const HandlerDef kReduceHandlers[] = {
    SVE_DEFS_U(AndReduceV, h_vpz, &sve_andv_vpz),
    SVE_DEFS_U(OrReduceV, h_vpz, &sve_orv_vpz),
    SVE_DEFS_U(XorReduceV, h_vpz, &sve_eorv_vpz),
    SVE_DEFS_U(AddReduceV, h_vpz, &sve_uaddv_vpz),
    SVE_DEFS_S(MaxReduceV, h_vpz, &sve_smaxv_vpz),
    SVE_DEFS_S(MinReduceV, h_vpz, &sve_sminv_vpz),
    SVE_DEFS_U(MaxReduceV, h_vpz, &sve_umaxv_vpz),
    SVE_DEFS_U(MinReduceV, h_vpz, &sve_uminv_vpz),
    SVE_AGN_DEF(S8, AddReduceV, h_agn_vpz),
    SVE_AGN_DEF(S16, AddReduceV, h_agn_vpz),
    SVE_AGN_DEF(S32, AddReduceV, h_agn_vpz),
};
}  // namespace
std::span<const HandlerDef> reduce_handlers() { return kReduceHandlers; }
