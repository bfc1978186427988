// Reciprocal and reciprocal square root estimates with their Newton steps,
// the exponent-only reciprocal, and the SVE exponential and trigonometric
// helpers.
#pragma once
#include "sve/fp/format.h"

namespace sve {

template <class T> T FPRecipEstimate(T op, FPSCR& fpscr);
template <class T> T FPRSqrtEstimate(T op, FPSCR& fpscr);
template <class T> T FPRecipStepFused(T op1, T op2, FPSCR& fpscr);  // 2 - op1*op2
template <class T> T FPRSqrtStepFused(T op1, T op2, FPSCR& fpscr);  // (3 - op1*op2) / 2
template <class T> T FPRecpX(T op, FPSCR& fpscr);

template <class T> T FPEXPA(T op);
// op1 * abs(op2) + coefficient `index` of the sine (op2 positive) or cosine series.
template <class T> T FPTRIMADD(int index, T op1, T op2, FPSCR& fpscr);
template <class T> T FPTRISMUL(T op1, T op2, FPSCR& fpscr);  // op1 * op1, sign from op2 bit 0
template <class T> T FPTRISSEL(T op1, T op2);                // ftssel: op1 or 1.0, sign from op2 bit 1

}  // namespace sve
