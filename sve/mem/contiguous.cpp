// Contiguous LD1 and ST1 (scalar plus immediate, scalar plus scalar) in every
// memory and element size, and the non-temporal LDNT1 and STNT1, which behave
// exactly like them. Memory is accessed directly; only active elements are
// touched, so that a predicated access at the end of a mapping never faults.
// Each access is reported through memtrace_lin.
#include "sve/mem/access.h"
#include "sve/mem/operands.h"
#include "sve/mem/trace.h"

namespace sve {
namespace {

// Zt = Pg ? extend(memory element i) : 0, M memory elements from address a.
template <class M, class E>
[[gnu::always_inline]] inline aarch64_decode_rc ld1(cpu_state* s, aarch64_z_reg zt, aarch64_p_reg pg, uint64_t a) {
  const uint8_t* lanes = s->p[pg.num];
  uint8_t* z = s->z[zt.num];
  if (all_active<int(sizeof(E))>(lanes)) {
    if constexpr (sizeof(M) == sizeof(E)) {
      std::memcpy(z, reinterpret_cast<const void*>(a), SVE_VL_BYTES);
    } else {
#pragma GCC unroll 32
      for (int i = 0; i < kElems<E>; ++i) set_elem<E>(z, i, E(load<M>(a + i * sizeof(M))));
    }
  } else {
    zero_vector(z);
    for_each_active<int(sizeof(E))>(lanes, [&](int i) { set_elem<E>(z, i, E(load<M>(a + i * sizeof(M)))); });
  }
  memtrace_lin<M, E>(s, reinterpret_cast<M*>(a), reinterpret_cast<char*>(s->p[pg.num]), MEMACCESS_READ);
  return DECODE_OK;
}

// Memory element i = low M bytes of Zt element i, for active elements only.
template <class M, class E>
[[gnu::always_inline]] inline aarch64_decode_rc st1(cpu_state* s, aarch64_z_reg zt, aarch64_p_reg pg, uint64_t a) {
  const uint8_t* lanes = s->p[pg.num];
  const uint8_t* z = s->z[zt.num];
  if (all_active<int(sizeof(E))>(lanes)) {
    if constexpr (sizeof(M) == sizeof(E)) {
      std::memcpy(reinterpret_cast<void*>(a), z, SVE_VL_BYTES);
    } else {
#pragma GCC unroll 32
      for (int i = 0; i < kElems<E>; ++i) store<M>(a + i * sizeof(M), M(elem<E>(z, i)));
    }
  } else {
    for_each_active<int(sizeof(E))>(lanes, [&](int i) { store<M>(a + i * sizeof(M), M(elem<E>(z, i))); });
  }
  memtrace_lin<M, E>(s, reinterpret_cast<M*>(a), reinterpret_cast<char*>(s->p[pg.num]), MEMACCESS_WRITE);
  return DECODE_OK;
}

// Scalar plus immediate: the immediate counts whole memory footprints (MUL VL).
template <class M, class E> uint64_t addr_vl(const cpu_state* s, aarch64_i_rsp_reg rn, int imm) {
  return read_reg(s, rn) + uint64_t(int64_t(imm) * kElems<E> * int64_t(sizeof(M)));
}
// Scalar plus scalar: the offset register counts memory elements; 31 is none.
template <class M> uint64_t addr_scaled(const cpu_state* s, aarch64_i_rsp_reg rn, aarch64_i_reg rm) {
  return read_reg(s, rn) + read_reg(s, rm) * sizeof(M);
}

template <class E, auto Exec> aarch64_decode_rc h_si(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<E>(zt_field(w)), preg<E>(pg_field(w), true), rn_field(w), imm4_field(w));
}
template <class E, auto Exec> aarch64_decode_rc h_ss(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<E>(zt_field(w)), preg<E>(pg_field(w), true), rn_field(w), rm_field(w));
}

}  // namespace
}  // namespace sve

// Executors, one pair per member: sve_<name>_zpri and sve_<name>_scaled_zprr.
// X(handler type, memory size digit, executor name, memory type, element type)
#define SVE_LD1_MEMBERS(X)                                                                                  \
  X(U8, 1, ld1b, uint8_t, uint8_t) X(U16, 1, ld1b_h, uint8_t, uint16_t) X(U32, 1, ld1b_s, uint8_t, uint32_t) \
  X(U64, 1, ld1b_d, uint8_t, uint64_t) X(S16, 1, ld1sb_h, int8_t, uint16_t)                                 \
  X(S32, 1, ld1sb_s, int8_t, uint32_t) X(S64, 1, ld1sb_d, int8_t, uint64_t)                                 \
  X(U16, 2, ld1h, uint16_t, uint16_t) X(U32, 2, ld1h_s, uint16_t, uint32_t)                                 \
  X(U64, 2, ld1h_d, uint16_t, uint64_t) X(S32, 2, ld1sh_s, int16_t, uint32_t)                               \
  X(S64, 2, ld1sh_d, int16_t, uint64_t) X(U32, 4, ld1w, uint32_t, uint32_t)                                 \
  X(U64, 4, ld1w_d, uint32_t, uint64_t) X(S64, 4, ld1sw_d, int32_t, uint64_t)                               \
  X(U64, 8, ld1d, uint64_t, uint64_t)
#define SVE_ST1_MEMBERS(X)                                                                                  \
  X(U8, 1, st1b, uint8_t, uint8_t) X(U16, 1, st1b_h, uint8_t, uint16_t) X(U32, 1, st1b_s, uint8_t, uint32_t) \
  X(U64, 1, st1b_d, uint8_t, uint64_t) X(U16, 2, st1h, uint16_t, uint16_t)                                  \
  X(U32, 2, st1h_s, uint16_t, uint32_t) X(U64, 2, st1h_d, uint16_t, uint64_t)                               \
  X(U32, 4, st1w, uint32_t, uint32_t) X(U64, 4, st1w_d, uint32_t, uint64_t) X(U64, 8, st1d, uint64_t, uint64_t)
#define SVE_LDNT1_MEMBERS(X)                                                                     \
  X(U8, 1, ldnt1b, uint8_t, uint8_t) X(U16, 2, ldnt1h, uint16_t, uint16_t)                       \
  X(U32, 4, ldnt1w, uint32_t, uint32_t) X(U64, 8, ldnt1d, uint64_t, uint64_t)
#define SVE_STNT1_MEMBERS(X)                                                                     \
  X(U8, 1, stnt1b, uint8_t, uint8_t) X(U16, 2, stnt1h, uint16_t, uint16_t)                       \
  X(U32, 4, stnt1w, uint32_t, uint32_t) X(U64, 8, stnt1d, uint64_t, uint64_t)

#define SVE_CONTIG_EXECUTORS(OP, T, MS, NAME, M, E)                                                          \
  extern "C" aarch64_decode_rc sve_##NAME##_zpri(cpu_state* s, aarch64_z_reg zt, aarch64_p_reg pg,           \
                                                 aarch64_i_rsp_reg rn, int imm) {                            \
    return sve::OP<M, E>(s, zt, pg, sve::addr_vl<M, E>(s, rn, imm));                                         \
  }                                                                                                          \
  extern "C" aarch64_decode_rc sve_##NAME##_scaled_zprr(cpu_state* s, aarch64_z_reg zt, aarch64_p_reg pg,    \
                                                        aarch64_i_rsp_reg rn, aarch64_i_reg rm) {            \
    return sve::OP<M, E>(s, zt, pg, sve::addr_scaled<M>(s, rn, rm));                                         \
  }
#define SVE_LD1_EXEC(...) SVE_CONTIG_EXECUTORS(ld1, __VA_ARGS__)
#define SVE_ST1_EXEC(...) SVE_CONTIG_EXECUTORS(st1, __VA_ARGS__)
SVE_LD1_MEMBERS(SVE_LD1_EXEC)
SVE_LDNT1_MEMBERS(SVE_LD1_EXEC)
SVE_ST1_MEMBERS(SVE_ST1_EXEC)
SVE_STNT1_MEMBERS(SVE_ST1_EXEC)

// Handlers: Vec<T><OP><M>SIZ (scalar plus immediate), Vec<T><OP><M>LSSZ (scalar plus scalar).
#define SVE_CONTIG_DEFS(OP, T, MS, NAME, M, E)                                              \
  HandlerDef{"Vec" #T #OP #MS "SIZ", &sve::h_si<E, &sve_##NAME##_zpri>},                    \
      HandlerDef{"Vec" #T #OP #MS "LSSZ", &sve::h_ss<E, &sve_##NAME##_scaled_zprr>},
#define SVE_LD1_DEF(...) SVE_CONTIG_DEFS(CLoad, __VA_ARGS__)
#define SVE_LDNT1_DEF(...) SVE_CONTIG_DEFS(CLoadNT, __VA_ARGS__)
#define SVE_ST1_DEF(...) SVE_CONTIG_DEFS(CStore, __VA_ARGS__)
#define SVE_STNT1_DEF(...) SVE_CONTIG_DEFS(CStoreNT, __VA_ARGS__)

namespace {
const HandlerDef kContiguousHandlers[] = {
    SVE_LD1_MEMBERS(SVE_LD1_DEF) SVE_LDNT1_MEMBERS(SVE_LDNT1_DEF) SVE_ST1_MEMBERS(SVE_ST1_DEF)
        SVE_STNT1_MEMBERS(SVE_STNT1_DEF)};
}  // namespace
std::span<const HandlerDef> contiguous_handlers() { return kContiguousHandlers; }
