// Records of the length-agnostic route: packed predicates and the context word
// block. Routines on this route serve any vector length up to 2048 bits.
#pragma once
#include <cstdint>
#include <cstring>

#include "sve/state/cpu_state.h"

constexpr int SVE_MAX_VL_BYTES = 256;      // 2048-bit vectors
constexpr uint32_t FPCR_CONTEXT_MASK = 0x07C89F00u;
constexpr uint32_t VL_UNITS_MASK = 0x3FFFFFFu;

// One bit per vector byte (bit k for byte k) of a vector of up to 2048 bits.
struct PredV {
  uint64_t w[SVE_MAX_VL_BYTES / 64];
  bool bit(int k) const { return (w[k >> 6] >> (k & 63)) & 1; }
  void set(int k, bool v) {
    uint64_t m = uint64_t(1) << (k & 63);
    w[k >> 6] = v ? (w[k >> 6] | m) : (w[k >> 6] & ~m);
  }
};

struct CpuContext {
  uint32_t flags;    // condition flags in the nzcv layout
  uint32_t fpsr;     // cumulative FP status
  uint32_t fpcr;     // FP control, masked with FPCR_CONTEXT_MASK
  uint32_t vl;       // vector length in 64-bit units in the low 26 bits
  PredV ffr;
};
static_assert(offsetof(CpuContext, vl) == 12, "length word is the fourth 32-bit word");

inline int vl_bytes(const CpuContext* c) { return int(c->vl & VL_UNITS_MASK) * 8; }

inline PredV pack_pred(const uint8_t* lanes) {
  PredV p{};
  for (int k = 0; k < SVE_VL_BYTES; ++k) p.set(k, lanes[k] & 1);
  return p;
}
inline void unpack_pred(const PredV& p, uint8_t* lanes) {
  for (int k = 0; k < SVE_VL_BYTES; ++k) lanes[k] = p.bit(k);
}

// A context filled from the state, as the handlers of this route pass it.
inline CpuContext make_context(const cpu_state* s) {
  CpuContext c{};
  c.flags = uint32_t(s->nzcv);
  c.fpsr = s->fpsr;
  c.fpcr = s->fpcr & FPCR_CONTEXT_MASK;
  c.vl = SVE_VL_BYTES / 8;
  c.ffr = pack_pred(s->ffr);
  return c;
}

// A 256-byte image of a Z register; bytes past the vector length are zero.
struct VecImage {
  alignas(16) uint8_t b[SVE_MAX_VL_BYTES];
};
inline VecImage load_image(const cpu_state* s, int zreg) {
  VecImage v{};
  std::memcpy(v.b, s->z[zreg], SVE_VL_BYTES);
  return v;
}
