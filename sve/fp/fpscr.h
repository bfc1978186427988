// The floating-point control/status word of the library, the rounding-mode
// argument, and the internal mode and flags words derived from them.
#pragma once
#include <cstdint>

namespace sve {

// FPCR and FPSR folded into one word: the library reads RMode, FZ, DN, AHP and
// FZ16 and ORs the cumulative exception bits into it.
using FPSCR = uint32_t;

constexpr FPSCR FPSCR_IOC = 1u << 0;
constexpr FPSCR FPSCR_DZC = 1u << 1;
constexpr FPSCR FPSCR_OFC = 1u << 2;
constexpr FPSCR FPSCR_UFC = 1u << 3;
constexpr FPSCR FPSCR_IXC = 1u << 4;
constexpr FPSCR FPSCR_IDC = 1u << 7;
constexpr FPSCR FPSCR_FZ16 = 1u << 19;
constexpr int FPSCR_RMODE_SHIFT = 22;
constexpr FPSCR FPSCR_FZ = 1u << 24;
constexpr FPSCR FPSCR_DN = 1u << 25;
constexpr FPSCR FPSCR_AHP = 1u << 26;

// What a caller keeps of fpcr for one call, and what of the result it keeps in fpsr.
constexpr uint32_t FPSCR_CONTROL_MASK = 0x07C89F00u;
constexpr uint32_t FPSR_KEEP_MASK = 0xF800009Fu;

constexpr FPSCR fpscr_from_fpcr(uint32_t fpcr) { return fpcr & FPSCR_CONTROL_MASK; }
constexpr uint32_t fpsr_accumulate(uint32_t fpsr, FPSCR used) { return (fpsr | used) & FPSR_KEEP_MASK; }

// Explicit rounding mode of the instructions that name their own.
using FPRounding = int;
constexpr FPRounding FPRounding_TIEEVEN = 0;
constexpr FPRounding FPRounding_POSINF = 1;
constexpr FPRounding FPRounding_NEGINF = 2;
constexpr FPRounding FPRounding_ZERO = 3;
constexpr FPRounding FPRounding_TIEAWAY = 4;
constexpr FPRounding FPRounding_ODD = 5;

// Mode word: bits 1:0 rounding mode, then FZ, DN, AHP, FZ16.
constexpr int MODE_RMODE = 3;
constexpr int MODE_FZ = 4;
constexpr int MODE_DN = 8;
constexpr int MODE_AHP = 16;
constexpr int MODE_FZ16 = 32;

// Flags word: the same bit values as the cumulative exception bits.
constexpr int FLAG_IOC = 1;
constexpr int FLAG_DZC = 2;
constexpr int FLAG_OFC = 4;
constexpr int FLAG_UFC = 8;
constexpr int FLAG_IXC = 16;
constexpr int FLAG_IDC = 128;

// AHP is left out on purpose: arithmetic never uses the alternative format.
constexpr int fp_mode(FPSCR s) { return int((s >> 22) & 15) | int((s >> 19) & 1) << 5; }

// Marks the lambdas of the inline entry points, which the compiler would
// otherwise keep out of line once the fast path is inlined into them.
#define SVE_FP_INLINE __attribute__((always_inline))

// The pseudocode's entry points over an FPSCR: op(mode, &flags) runs under
// the word's mode and its exception flags accumulate into the word.
template <class Op> [[gnu::always_inline]] inline auto with_fpscr(FPSCR& fpscr, Op op) {
  int flags = 0;
  auto r = op(fp_mode(fpscr), &flags);
  fpscr |= FPSCR(flags);
  return r;
}
constexpr int fp_rmode(FPSCR s) { return int((s >> 22) & 3); }

}  // namespace sve
