// Comparisons and selections: the predicates behind the vector compares, the
// flag-setting compare, and maximum and minimum with the architecture's
// signed-zero and NaN rules.
#pragma once
#include "sve/fp/format.h"

namespace sve {

template <class T> bool FPCompareEQ(T op1, T op2, FPSCR& fpscr);
template <class T> bool FPCompareGE(T op1, T op2, FPSCR& fpscr);
template <class T> bool FPCompareGT(T op1, T op2, FPSCR& fpscr);
template <class T> bool FPCompareUN(T op1, T op2, FPSCR& fpscr);
// NZCV as a 4-bit value: 3 unordered, 6 equal, 8 less, 2 greater.
template <class T> int FPCompare(T op1, T op2, bool signal_nans, FPSCR& fpscr);

template <class T> T FPMax(T op1, T op2, FPSCR& fpscr);
template <class T> T FPMin(T op1, T op2, FPSCR& fpscr);
template <class T> T FPMaxNum(T op1, T op2, FPSCR& fpscr);
template <class T> T FPMinNum(T op1, T op2, FPSCR& fpscr);

}  // namespace sve
