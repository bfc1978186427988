// Counts of active predicate elements: CNTP, INCP/DECP (register and vector)
// and SQINCP/UQINCP/SQDECP/UQDECP (32- and 64-bit register, vector). CNTP and
// INCP (register) run fixed length; the others run length agnostic.
#include <bit>

#include "sve/decode/routes.h"
#include "sve/int/count_arith.h"
#include "sve/int/perm_arrays.h"
#include "sve/int/pred_drivers.h"

// Xd = elements active in both Pg and Pn at the element width.
SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_cntp_rpp(cpu_state* s, aarch64_i_reg rd, aarch64_p_reg pg, aarch64_p_reg pn) {
  return sve::by_esize<false>(pn.esize, [&](auto t) {
    constexpr int E = int(sizeof(typename decltype(t)::type));
    write_reg(s, rd, uint64_t(sve::count_lanes<E>(s->p[pg.num], s->p[pn.num])));
    return DECODE_OK;
  });
}
// Xdn += elements active in Pm.
SVE_EXECUTOR aarch64_decode_rc sve_incp_rp(cpu_state* s, aarch64_i_reg rdn, aarch64_p_reg pm) {
  return sve::by_esize<false>(pm.esize, [&](auto t) {
    constexpr int E = int(sizeof(typename decltype(t)::type));
    const uint8_t* m = s->p[pm.num];
    write_reg(s, rdn, read_reg(s, rdn) + uint64_t(sve::count_lanes<E>(m, m)));
    return DECODE_OK;
  });
}
SVE_EXECUTORS_END

namespace sve {
namespace {

// Active elements of a map: the popcount of its words at element starts, the
// top word within the length.
template <class T> inline uint64_t active_count(const PredV* pm, const CpuContext* c) {
  const int bytes = vl_bytes(c);
  uint64_t n = 0;
  for (int w = 0; w * 64 < bytes; ++w)
    n += uint64_t(std::popcount(pm->w[w] & kElementStarts<int(sizeof(T))> &
                                       (bytes - 64 * w < 64 ? top_word_bits(bytes) : ~uint64_t(0))));
  return n;
}

// Register routines: *x is Xdn.
using AgnosticPCount = void (*)(uint64_t* x, const PredV* pm, CpuContext* c);

template <class T> void decp_routine(uint64_t* x, const PredV* pm, CpuContext* c) { *x -= active_count<T>(pm, c); }
template <class T, int Bits, bool Decrement> void sat_r_routine(uint64_t* x, const PredV* pm, CpuContext* c) {
  *x = sat_step(*x, active_count<T>(pm, c), Bits, std::is_unsigned_v<T>, Decrement);
}
// Vector routines: every element of a stepped by the count of Pm.
template <class T, bool Sat, bool Decrement>
void z_routine(uint8_t* d, const uint8_t* a, const PredV* pm, uint64_t, CpuContext* c) {
  agnostic_map_imm<T>(d, a, nullptr, c, CountStep<T, Sat, Decrement>{active_count<T>(pm, c)});
}

}  // namespace
}  // namespace sve

#define SVE_PCOUNT_R(NAME, R, ...) \
  extern "C" void NAME(uint64_t* x, const PredV* pm, CpuContext* c) { sve::R<__VA_ARGS__>(x, pm, c); }
#define SVE_PCOUNT_R_TYPE(T, ...)                                                         \
  SVE_PCOUNT_R(Vec##T##QIncrSCount4PS, sat_r_routine, sve::ty::T, 32, false)              \
  SVE_PCOUNT_R(Vec##T##QIncrSCount8PS, sat_r_routine, sve::ty::T, 64, false)              \
  SVE_PCOUNT_R(Vec##T##QDecrSCount4PS, sat_r_routine, sve::ty::T, 32, true)               \
  SVE_PCOUNT_R(Vec##T##QDecrSCount8PS, sat_r_routine, sve::ty::T, 64, true)
SVE_FOR_U(SVE_PCOUNT_R_TYPE)
SVE_FOR_S(SVE_PCOUNT_R_TYPE)
SVE_PCOUNT_R(VecU8DecrSCountPS, decp_routine, uint8_t)
SVE_PCOUNT_R(VecU16DecrSCountPS, decp_routine, uint16_t)
SVE_PCOUNT_R(VecU32DecrSCountPS, decp_routine, uint32_t)
SVE_PCOUNT_R(VecU64DecrSCountPS, decp_routine, uint64_t)
#define SVE_PCOUNT_Z(T, ...)                                               \
  SVE_EXPORT_VI(T, IncrCountPV, z_routine, false, false)                   \
  SVE_EXPORT_VI(T, DecrCountPV, z_routine, false, true)
#define SVE_QPCOUNT_Z(T, ...)                                              \
  SVE_EXPORT_VI(T, QIncrCountPV, z_routine, true, false)                   \
  SVE_EXPORT_VI(T, QDecrCountPV, z_routine, true, true)
SVE_PCOUNT_Z(U16) SVE_PCOUNT_Z(U32) SVE_PCOUNT_Z(U64)
SVE_QPCOUNT_Z(U16) SVE_QPCOUNT_Z(U32) SVE_QPCOUNT_Z(U64)
SVE_QPCOUNT_Z(S16) SVE_QPCOUNT_Z(S32) SVE_QPCOUNT_Z(S64)

namespace sve {
namespace {

inline aarch64_i_reg rd(uint32_t w) { return {uint8_t(field(w, 4, 0))}; }

// CNTP: Rd = bits 4-0, Pn = bits 8-5, Pg = bits 13-10.
template <class T> aarch64_decode_rc cntp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_cntp_rpp(s, rd(w), preg<T>(field(w, 13, 10)), preg<T>(field(w, 8, 5)));
}
// INCP and the rest: Rdn or Zdn = bits 4-0, Pm = bits 8-5.
template <class T> aarch64_decode_rc incp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_incp_rp(s, rd(w), preg<T>(field(w, 8, 5)));
}
template <AgnosticPCount R> aarch64_decode_rc r_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  CpuContext c = make_context_without_ffr(s);
  PredV pm = pack_pred(s->p[field(w, 8, 5)]);
  uint64_t x = read_reg(s, rd(w));
  R(&x, &pm, &c);
  write_reg(s, rd(w), x);
  return DECODE_OK;
}
template <AgnosticVI R> aarch64_decode_rc z_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vi(s, field(w, 4, 0), field(w, 4, 0), int(field(w, 8, 5)), 0, R);
}

}  // namespace
}  // namespace sve

#define SVE_PCOUNT_R_DEFS(T, ...)                                                \
  SVE_AGN_DEF(T, QIncrSCount4PS, sve::r_handler), SVE_AGN_DEF(T, QIncrSCount8PS, sve::r_handler), \
      SVE_AGN_DEF(T, QDecrSCount4PS, sve::r_handler), SVE_AGN_DEF(T, QDecrSCount8PS, sve::r_handler)

const HandlerDef kCountPredHandlers[] = {
    SVE_DEFS_U(SCountP, sve::cntp_handler),
    SVE_DEFS_U(IncrSCountPS, sve::incp_handler),
    SVE_LIST_U(SVE_AGN_DEF, DecrSCountPS, sve::r_handler),
    SVE_LIST_U(SVE_PCOUNT_R_DEFS),
    SVE_LIST_S(SVE_PCOUNT_R_DEFS),
    SVE_AGN_DEF(U16, IncrCountPV, sve::z_handler), SVE_AGN_DEF(U32, IncrCountPV, sve::z_handler),
    SVE_AGN_DEF(U64, IncrCountPV, sve::z_handler), SVE_AGN_DEF(U16, DecrCountPV, sve::z_handler),
    SVE_AGN_DEF(U32, DecrCountPV, sve::z_handler), SVE_AGN_DEF(U64, DecrCountPV, sve::z_handler),
    SVE_AGN_DEF(U16, QIncrCountPV, sve::z_handler), SVE_AGN_DEF(U32, QIncrCountPV, sve::z_handler),
    SVE_AGN_DEF(U64, QIncrCountPV, sve::z_handler), SVE_AGN_DEF(U16, QDecrCountPV, sve::z_handler),
    SVE_AGN_DEF(U32, QDecrCountPV, sve::z_handler), SVE_AGN_DEF(U64, QDecrCountPV, sve::z_handler),
    SVE_AGN_DEF(S16, QIncrCountPV, sve::z_handler), SVE_AGN_DEF(S32, QIncrCountPV, sve::z_handler),
    SVE_AGN_DEF(S64, QIncrCountPV, sve::z_handler), SVE_AGN_DEF(S16, QDecrCountPV, sve::z_handler),
    SVE_AGN_DEF(S32, QDecrCountPV, sve::z_handler), SVE_AGN_DEF(S64, QDecrCountPV, sve::z_handler),
};
std::span<const HandlerDef> count_pred_handlers() { return kCountPredHandlers; }
