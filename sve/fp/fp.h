// The floating-point library: every operation over raw half, single and
// double bit patterns.
#pragma once
#include "sve/fp/arith.h"
#include "sve/fp/compare.h"
#include "sve/fp/convert.h"
#include "sve/fp/estimate.h"
#include "sve/fp/format.h"
#include "sve/fp/fpscr.h"
#include "sve/fp/round.h"
