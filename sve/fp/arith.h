// Arithmetic of the library: add, subtract, multiply, divide, fused
// multiply-add and square root over raw bit patterns. Each operation takes
// FPSCR by reference, reads its control bits and ORs in the exceptions raised.
#pragma once
#include "sve/fp/add.h"
#include "sve/fp/format.h"
#include "sve/fp/mul.h"
#include "sve/fp/muladd.h"
#include "sve/fp/round.h"

namespace sve {

template <class T> T FPDiv(T op1, T op2, FPSCR& fpscr);
template <class T> T FPSqrt(T op, FPSCR& fpscr);

template <class T> constexpr T FPNeg(T op) { return T(op ^ fp_sign_bit<T>); }
template <class T> constexpr T FPAbs(T op) { return T(op & ~fp_sign_bit<T>); }

// The mode-word entry points of add, multiply and fused multiply-add
// (fp_add, fp_mul, fp_muladd: the rounding mode is mode & 3) are in their
// headers, inline.

}  // namespace sve
