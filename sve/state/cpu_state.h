// The per-thread emulated register file: X0-X30, SP, flags, FP control/status,
// Z0-Z31 at a fixed 896-bit vector length, P0-P15 and FFR held unpacked.
#pragma once
#include <cstddef>
#include <cstdint>

constexpr int SVE_VL_BYTES = 112;                // bytes per Z register
constexpr int SVE_PL_BYTES = SVE_VL_BYTES / 8;   // architectural predicate bytes

// Element-size codes: element count = SVE_VL_BYTES >> esize.
enum esize_t : uint8_t { ESIZE_B = 0, ESIZE_H = 1, ESIZE_S = 2, ESIZE_D = 3 };

struct cpu_state {
  uint64_t x[31];                  // X0..X30
  uint64_t sp;                     // directly after X30: x[31] reaches it
  uint8_t* pc;                     // address of the instruction being emulated
  uint64_t nzcv;                   // N bit 31, Z 30, C 29, V 28; other bits carried through
  uint32_t fpsr;
  uint32_t fpcr;                   // shadow of the application's FPCR
  uint8_t z[32][SVE_VL_BYTES];     // byte i of a register is byte lane i, little-endian elements
  uint8_t p[16][SVE_VL_BYTES];     // one byte (0 or 1) per vector byte lane
  uint8_t ffr[SVE_VL_BYTES];       // same unpacked form as p
  uint64_t insn;                   // word being emulated, zero-extended
};

// The inserted code of the client addresses these fields by offset.
static_assert(offsetof(cpu_state, x) == 0);
static_assert(offsetof(cpu_state, sp) == 248);
static_assert(offsetof(cpu_state, pc) == 256);
static_assert(offsetof(cpu_state, nzcv) == 264);
static_assert(offsetof(cpu_state, fpsr) == 272);
static_assert(offsetof(cpu_state, fpcr) == 276);
static_assert(offsetof(cpu_state, z) == 280);
static_assert(offsetof(cpu_state, p) == 280 + 32 * 112);
static_assert(offsetof(cpu_state, ffr) == 280 + 48 * 112);
static_assert(offsetof(cpu_state, insn) == 280 + 49 * 112);
static_assert(sizeof(cpu_state) == 280 + 49 * 112 + 8);

// Register operands handed from handlers to executors.
struct aarch64_z_reg { uint8_t num; uint8_t esize; };
// A P operand carries the element size and, for governing predicates, the
// predication qualifier (merging keeps inactive destination elements).
struct aarch64_p_reg { uint8_t num; uint8_t esize; bool zeroing; };
struct aarch64_i_reg { uint8_t num; };       // 31 is the zero register
struct aarch64_i_rsp_reg { uint8_t num; };   // 31 is SP

inline uint64_t read_reg(const cpu_state* s, aarch64_i_reg r) { return r.num == 31 ? 0 : s->x[r.num]; }
inline void write_reg(cpu_state* s, aarch64_i_reg r, uint64_t v) { if (r.num != 31) s->x[r.num] = v; }
inline uint64_t read_reg(const cpu_state* s, aarch64_i_rsp_reg r) { return r.num == 31 ? s->sp : s->x[r.num]; }
inline void write_reg(cpu_state* s, aarch64_i_rsp_reg r, uint64_t v) {
  if (r.num == 31) s->sp = v; else s->x[r.num] = v;
}

// Governing bit of element i of E bytes: bit 0 of lane byte i*E.
inline bool pred_active(const uint8_t* pred, int i, int ebytes) { return pred[i * ebytes] & 1; }

// Condition flag bits of nzcv.
constexpr uint64_t NZCV_N = 1u << 31, NZCV_Z = 1u << 30, NZCV_C = 1u << 29, NZCV_V = 1u << 28;
