// Load and replicate: LD1R (one element to every active element, fixed
// length) and LD1RQ (a 16-byte block to every quadword of the vector, length
// agnostic through the guarded reads). Neither is traced.
#include "sve/mem/access.h"
#include "sve/mem/operands.h"

namespace sve {
namespace {

// Zt = Pg ? extend(element at a) : 0; the element is read once, and not at
// all when no element is active.
template <class M, class E>
aarch64_decode_rc ld1r(cpu_state* s, aarch64_z_reg zt, aarch64_p_reg pg, uint64_t a) {
  const uint8_t* lanes = s->p[pg.num];
  uint8_t* z = s->z[zt.num];
  if (!any_active<int(sizeof(E))>(lanes)) {
    zero_vector(z);
    return DECODE_OK;
  }
  E v = E(load<M>(a));
#pragma GCC unroll 16
  for (int i = 0; i < kElems<E>; ++i) set_elem<E>(z, i, merge<E>(LanePred{lanes}.mask<E>(i), v, E(0)));
  return DECODE_OK;
}

template <class E, auto Exec> aarch64_decode_rc h_ld1r(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<E>(zt_field(w)), preg<E>(pg_field(w), true), rn_field(w), imm6_field(w));
}

// The 16-byte block at addr, its inactive elements (governed by the first 16
// lanes) zero, copied to every quadword of the context's vector length. A
// read that faults is the application's fault: it is made again unguarded.
template <class T> void ld1rq_routine(uint8_t* d, const PredV* pg, uint64_t addr, CpuContext* c) {
  alignas(16) uint8_t q[16];
  for (int i = 0; i < 16 / int(sizeof(T)); ++i) {
    uint64_t a = addr + uint64_t(i) * sizeof(T);
    T v = 0;
    if (pg->bit(i * int(sizeof(T)))) {
      bool fault = false;
      v = T(read_mem_lib<T>(a, 0, &fault, c));
      if (fault) v = T(read_mem_lib<T>(a, 0, nullptr, c));
    }
    set_elem<T>(q, i, v);
  }
  for (int off = 0; off < vl_bytes(c); off += 16) std::memcpy(d + off, q, 16);
}

using AgnosticLoadRQ = void (*)(uint8_t* d, const PredV* pg, uint64_t addr, CpuContext* c);

inline aarch64_decode_rc run_ld1rq(cpu_state* s, unsigned w, uint64_t addr, AgnosticLoadRQ routine) {
  CpuContext c = make_context(s);
  PredV p = pack_pred(s->p[pg_field(w)]);
  VecImage out;
  routine(out.b, &p, addr, &c);
  std::memcpy(s->z[zt_field(w)], out.b, SVE_VL_BYTES);
  return DECODE_OK;
}
// Scalar plus immediate: imm4 counts 16-byte blocks.
template <AgnosticLoadRQ R> aarch64_decode_rc h_ld1rq_si(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_ld1rq(s, w, read_reg(s, rn_field(w)) + uint64_t(int64_t(imm4_field(w)) * 16), R);
}
// Scalar plus scalar: Rm counts memory elements of Bytes.
template <int Bytes, AgnosticLoadRQ R> aarch64_decode_rc h_ld1rq_ss(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_ld1rq(s, w, read_reg(s, rn_field(w)) + read_reg(s, rm_field(w)) * Bytes, R);
}

}  // namespace
}  // namespace sve

// X(handler type, memory size digit, executor name, memory type, element type)
#define SVE_LD1R_MEMBERS(X)                                                                                     \
  X(U8, 1, ld1rb, uint8_t, uint8_t) X(U16, 1, ld1rb_h, uint8_t, uint16_t) X(U32, 1, ld1rb_s, uint8_t, uint32_t) \
  X(U64, 1, ld1rb_d, uint8_t, uint64_t) X(S16, 1, ld1rsb_h, int8_t, uint16_t)                                   \
  X(S32, 1, ld1rsb_s, int8_t, uint32_t) X(S64, 1, ld1rsb_d, int8_t, uint64_t)                                   \
  X(U16, 2, ld1rh, uint16_t, uint16_t) X(U32, 2, ld1rh_s, uint16_t, uint32_t)                                   \
  X(U64, 2, ld1rh_d, uint16_t, uint64_t) X(S32, 2, ld1rsh_s, int16_t, uint32_t)                                 \
  X(S64, 2, ld1rsh_d, int16_t, uint64_t) X(U32, 4, ld1rw, uint32_t, uint32_t)                                   \
  X(U64, 4, ld1rw_d, uint32_t, uint64_t) X(S64, 4, ld1rsw_d, int32_t, uint64_t)                                 \
  X(U64, 8, ld1rd, uint64_t, uint64_t)

// The unsigned immediate counts memory elements.
#define SVE_LD1R_EXEC(T, MS, NAME, M, E)                                                                       \
  extern "C" aarch64_decode_rc sve_##NAME##_zpri(cpu_state* s, aarch64_z_reg zt, aarch64_p_reg pg,             \
                                                 aarch64_i_rsp_reg rn, unsigned int imm) {                     \
    return sve::ld1r<M, E>(s, zt, pg, read_reg(s, rn) + uint64_t(imm) * sizeof(M));                            \
  }
SVE_LD1R_MEMBERS(SVE_LD1R_EXEC)

#define SVE_LD1RQ_EXPORT(T, MS)                                                                      \
  extern "C" void Vec##T##LoadDup##MS##QSIZ(uint8_t* d, const PredV* p, uint64_t a, CpuContext* c) { \
    sve::ld1rq_routine<sve::ty::T>(d, p, a, c);                                                      \
  }                                                                                                  \
  extern "C" void Vec##T##LoadDup##MS##QSSZ(uint8_t* d, const PredV* p, uint64_t a, CpuContext* c) { \
    sve::ld1rq_routine<sve::ty::T>(d, p, a, c);                                                      \
  }
SVE_LD1RQ_EXPORT(U8, 1)
SVE_LD1RQ_EXPORT(U16, 2)
SVE_LD1RQ_EXPORT(U32, 4)
SVE_LD1RQ_EXPORT(U64, 8)

#define SVE_LD1R_DEF(T, MS, NAME, M, E) HandlerDef{"Vec" #T "LoadDup" #MS "SIZ", &sve::h_ld1r<E, &sve_##NAME##_zpri>},
#define SVE_LD1RQ_DEFS(T, MS)                                                                       \
  HandlerDef{"Vec" #T "LoadDup" #MS "QSIZ", &sve::h_ld1rq_si<&Vec##T##LoadDup##MS##QSIZ>},          \
      HandlerDef{"Vec" #T "LoadDup" #MS "QSSZ", &sve::h_ld1rq_ss<MS, &Vec##T##LoadDup##MS##QSSZ>},

namespace {
const HandlerDef kReplicateHandlers[] = {
    SVE_LD1R_MEMBERS(SVE_LD1R_DEF) SVE_LD1RQ_DEFS(U8, 1) SVE_LD1RQ_DEFS(U16, 2) SVE_LD1RQ_DEFS(U32, 4)
        SVE_LD1RQ_DEFS(U64, 8)};
}  // namespace
std::span<const HandlerDef> replicate_handlers() { return kReplicateHandlers; }
