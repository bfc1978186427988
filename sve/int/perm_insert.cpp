// INSR from a general or SIMD&FP register: elements move up by one and
// element 0 receives the scalar. Length agnostic.
#include "sve/decode/routes.h"
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

template <class T>
void insert_routine(uint8_t* d, const uint8_t* a, const PredV*, uint64_t scalar, CpuContext* c) {
  int n = agnostic_elems<T>(c);
  std::memmove(d + sizeof(T), a, (n - 1) * sizeof(T));
  set_elem<T>(d, 0, T(scalar));
}

// Zdn = bits 4-0; Rm (31 = zero register) or Vm = bits 9-5.
template <class T, bool FromSimd, AgnosticVI R> aarch64_decode_rc insert_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  unsigned m = field(w, 9, 5);
  uint64_t v = FromSimd ? uint64_t(elem<T>(s->z[m], 0)) : read_reg(s, aarch64_i_reg{uint8_t(m)});
  return run_agnostic_vi(s, field(w, 4, 0), field(w, 4, 0), -1, v, R);
}

}  // namespace
}  // namespace sve

#define SVE_INSR_EXPORT(NAME, T)                                                                  \
  extern "C" void NAME(uint8_t* d, const uint8_t* a, const PredV* p, uint64_t v, CpuContext* c) { \
    sve::insert_routine<T>(d, a, p, v, c);                                                        \
  }
SVE_INSR_EXPORT(VecU8InsertS, uint8_t)
SVE_INSR_EXPORT(VecU16InsertS, uint16_t)
SVE_INSR_EXPORT(VecU32InsertS, uint32_t)
SVE_INSR_EXPORT(VecU64InsertS, uint64_t)
SVE_INSR_EXPORT(VecB8InsertS, uint8_t)
SVE_INSR_EXPORT(VecH16InsertS, uint16_t)
SVE_INSR_EXPORT(VecF32InsertS, uint32_t)
SVE_INSR_EXPORT(VecD64InsertS, uint64_t)

const HandlerDef kPermInsertHandlers[] = {
    {"VecU8InsertS", &sve::insert_handler<uint8_t, false, &VecU8InsertS>},
    {"VecU16InsertS", &sve::insert_handler<uint16_t, false, &VecU16InsertS>},
    {"VecU32InsertS", &sve::insert_handler<uint32_t, false, &VecU32InsertS>},
    {"VecU64InsertS", &sve::insert_handler<uint64_t, false, &VecU64InsertS>},
    {"VecB8InsertS", &sve::insert_handler<uint8_t, true, &VecB8InsertS>},
    {"VecH16InsertS", &sve::insert_handler<uint16_t, true, &VecH16InsertS>},
    {"VecF32InsertS", &sve::insert_handler<uint32_t, true, &VecF32InsertS>},
    {"VecD64InsertS", &sve::insert_handler<uint64_t, true, &VecD64InsertS>},
};
std::span<const HandlerDef> perm_insert_handlers() { return kPermInsertHandlers; }
