// SQADD, UQADD, SQSUB, UQSUB: vectors (unpredicated) and immediate.
// Length-agnostic route; the routines are exported as VecS8QAddVVX and so on.
#include <type_traits>

#include "sve/decode/routes.h"
#include "sve/int/helpers.h"

namespace sve {
namespace {

template <class T> constexpr int kBits = int(sizeof(T)) * 8;
template <class T> constexpr bool kUnsigned = std::is_unsigned_v<T>;
template <class T> constexpr uint64_t raw(T v) { return uint64_t(std::make_unsigned_t<T>(v)); }

template <class T> struct QAdd {
  T operator()(T a, T b) const { return T(SatAdd(raw(a), raw(b), kBits<T>, kUnsigned<T>)); }
};
template <class T> struct QSub {
  T operator()(T a, T b) const { return T(SatSub(raw(a), raw(b), kBits<T>, kUnsigned<T>)); }
};
// The immediate is unsigned for signed and unsigned elements alike.
template <class T> struct QAddImm {
  uint64_t imm;
  T operator()(T a) const {
    return T(SatQ(AddInt(Int(raw(a), kBits<T>, kUnsigned<T>), UInt(imm, 64)), kBits<T>, kUnsigned<T>).first);
  }
};
template <class T> struct QSubImm {
  uint64_t imm;
  T operator()(T a) const {
    return T(SatQ(SubInt(Int(raw(a), kBits<T>, kUnsigned<T>), UInt(imm, 64)), kBits<T>, kUnsigned<T>).first);
  }
};

template <class T, template <class> class Op>
void vv_routine(uint8_t* d, const uint8_t* a, const PredV*, const uint8_t* b, CpuContext* c) {
  map2<T>(d, a, b, agnostic_elems<T>(c), AllTrue{}, Op<T>{});
}
template <class T, template <class> class Op>
void vi_routine(uint8_t* d, const uint8_t* a, const PredV*, uint64_t imm, CpuContext* c) {
  map_imm<T>(d, a, agnostic_elems<T>(c), AllTrue{}, Op<T>{imm});
}

// Zd = bits 4-0, Zn = bits 9-5, Zm = bits 20-16.
template <AgnosticVV R> aarch64_decode_rc vvx_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vv(s, field(w, 4, 0), field(w, 9, 5), -1, field(w, 20, 16), R);
}
// Zdn = bits 4-0, imm8 = bits 12-5, shifted left by 8 when bit 13 is set.
template <AgnosticVI R> aarch64_decode_rc vix_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  uint64_t imm = field(w, 12, 5) << (field(w, 13, 13) ? 8 : 0);
  return run_agnostic_vi(s, field(w, 4, 0), field(w, 4, 0), -1, imm, R);
}

}  // namespace
}  // namespace sve

#define SVE_SAT_EXPORTS(T)                                                                             \
  extern "C" void Vec##T##QAddVVX(uint8_t* d, const uint8_t* a, const PredV* p, const uint8_t* b,     \
                                  CpuContext* c) { sve::vv_routine<sve::ty::T, sve::QAdd>(d, a, p, b, c); } \
  extern "C" void Vec##T##QSubVVX(uint8_t* d, const uint8_t* a, const PredV* p, const uint8_t* b,     \
                                  CpuContext* c) { sve::vv_routine<sve::ty::T, sve::QSub>(d, a, p, b, c); } \
  extern "C" void Vec##T##QAddVIX(uint8_t* d, const uint8_t* a, const PredV* p, uint64_t imm,         \
                                  CpuContext* c) { sve::vi_routine<sve::ty::T, sve::QAddImm>(d, a, p, imm, c); } \
  extern "C" void Vec##T##QSubVIX(uint8_t* d, const uint8_t* a, const PredV* p, uint64_t imm,         \
                                  CpuContext* c) { sve::vi_routine<sve::ty::T, sve::QSubImm>(d, a, p, imm, c); }
SVE_SAT_EXPORTS(S8) SVE_SAT_EXPORTS(S16) SVE_SAT_EXPORTS(S32) SVE_SAT_EXPORTS(S64)
SVE_SAT_EXPORTS(U8) SVE_SAT_EXPORTS(U16) SVE_SAT_EXPORTS(U32) SVE_SAT_EXPORTS(U64)

#define SVE_SAT_DEFS(T)                                                      \
  HandlerDef{"Vec" #T "QAddVVX", &sve::vvx_handler<&Vec##T##QAddVVX>},       \
      HandlerDef{"Vec" #T "QSubVVX", &sve::vvx_handler<&Vec##T##QSubVVX>},   \
      HandlerDef{"Vec" #T "QAddVIX", &sve::vix_handler<&Vec##T##QAddVIX>},   \
      HandlerDef{"Vec" #T "QSubVIX", &sve::vix_handler<&Vec##T##QSubVIX>},

const HandlerDef kSaturatingHandlers[] = {
    SVE_SAT_DEFS(S8) SVE_SAT_DEFS(S16) SVE_SAT_DEFS(S32) SVE_SAT_DEFS(S64)
    SVE_SAT_DEFS(U8) SVE_SAT_DEFS(U16) SVE_SAT_DEFS(U32) SVE_SAT_DEFS(U64)};
std::span<const HandlerDef> saturating_handlers() { return kSaturatingHandlers; }
