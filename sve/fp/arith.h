// Arithmetic of the library: add, subtract, multiply, divide, fused
// multiply-add and square root over raw bit patterns. Each operation takes
// FPSCR by reference, reads its control bits and ORs in the exceptions raised.
#pragma once
#include "sve/fp/format.h"
#include "sve/fp/round.h"

namespace sve {

template <class T> T FPAdd(T op1, T op2, FPSCR& fpscr);
template <class T> T FPSub(T op1, T op2, FPSCR& fpscr);
template <class T> T FPMul(T op1, T op2, FPSCR& fpscr);
template <class T> T FPMulX(T op1, T op2, FPSCR& fpscr);
template <class T> T FPDiv(T op1, T op2, FPSCR& fpscr);
template <class T> T FPMulAdd(T addend, T op1, T op2, FPSCR& fpscr);
template <class T> T FPSqrt(T op, FPSCR& fpscr);

template <class T> constexpr T FPNeg(T op) { return T(op ^ fp_sign_bit<T>); }
template <class T> constexpr T FPAbs(T op) { return T(op & ~fp_sign_bit<T>); }

// Mode-word level entry points (the rounding mode is mode & 3).
template <class T> T fp_add(T op1, T op2, bool negate_op2, int mode, int* flags);
template <class T> T fp_mul(T op1, T op2, bool zero_times_inf_is_two, int mode, int* flags);
// addend + op1 * op2, times 2^scale, rounded once.
template <class T> T fp_muladd(T addend, T op1, T op2, int scale, int mode, int* flags);

unsigned short fp16_muladd(unsigned short a, unsigned short b, unsigned short c, int scale, int mode, int* flags);
unsigned int fp32_muladd(unsigned int a, unsigned int b, unsigned int c, int scale, int mode, int* flags);
unsigned long fp64_muladd(unsigned long a, unsigned long b, unsigned long c, int scale, int mode, int* flags);

}  // namespace sve
