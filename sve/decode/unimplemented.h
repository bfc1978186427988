// The unimplemented executors (declared with C linkage; see unimplemented.cpp).
#pragma once
#include <cstdint>

#include "sve/decode/handler.h"

aarch64_decode_rc report_unimplemented(cpu_state* s, const char* name);

#define SVE_UNIMPLEMENTED(name, ...) extern "C" aarch64_decode_rc name(cpu_state* s, __VA_ARGS__);
#include "sve/decode/unimplemented.def"
#undef SVE_UNIMPLEMENTED
