// Conversions between the three formats, between floating point and integers
// (with fbits fraction bits), and rounding to an integral value.
#pragma once
#include "sve/fp/format.h"

namespace sve {

// From half, single or double to another of them, rounding by rm when narrowing.
template <class To, class From> To FPConvert(From op, FPRounding rm, FPSCR& fpscr);

// To an integer of To's width (unsigned short/int/long carrier), saturating.
template <class From, class To>
To fplibFPToFixed(From op, int fbits, bool is_unsigned, FPRounding rm, FPSCR& fpscr);

// From a 64-bit integer (narrower sources arrive sign- or zero-extended).
template <class T> T fplibFixedToFP(unsigned long op, int fbits, bool is_unsigned, FPRounding rm, FPSCR& fpscr);

template <class T> T FPRoundInt(T op, FPRounding rm, bool exact, FPSCR& fpscr);

// Whether an integer magnitude with the given error class (0 exact, 1 below
// half, 2 half, 3 above half) rounds up in magnitude under rm.
constexpr bool fp_round_up_int(uint64_t magnitude, int err, int sign, FPRounding rm) {
  switch (rm) {
    case FPRounding_TIEEVEN: return err == 3 || (err == 2 && (magnitude & 1));
    case FPRounding_POSINF: return err != 0 && !sign;
    case FPRounding_NEGINF: return err != 0 && sign;
    case FPRounding_TIEAWAY: return err >= 2;
    default: return false;
  }
}

// The integer part of mnt / 2^shift and the error class of the rest.
struct FPIntPart {
  uint64_t magnitude;
  int err;
};
constexpr FPIntPart fp_int_part(uint64_t mnt, int shift) {
  if (shift <= 0) return {mnt << -shift, 0};
  if (shift >= 64) return {0, mnt ? 1 : 0};
  uint64_t rem = mnt & ((uint64_t(1) << shift) - 1), half = uint64_t(1) << (shift - 1);
  return {mnt >> shift, rem == 0 ? 0 : rem < half ? 1 : rem == half ? 2 : 3};
}

}  // namespace sve
