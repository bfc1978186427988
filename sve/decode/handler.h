// What every instruction handler is: (state, word) in, a result code out.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

#include "sve/state/cpu_state.h"

enum aarch64_decode_rc : int32_t {
  DECODE_OK = 0,
  DECODE_UNIMPLEMENTED = 2,
};

using Handler = aarch64_decode_rc (*)(cpu_state*, unsigned int);

// A live handler, published by its family file under its Vec... name.
struct HandlerDef {
  const char* name;
  Handler fn;
};

// Every family's published handlers; the decode tables take their pointers from here.
std::span<const std::span<const HandlerDef>> handler_registry();

// Field extraction from an instruction word.
constexpr unsigned field(uint32_t w, int hi, int lo) { return (w >> lo) & ((1u << (hi - lo + 1)) - 1); }
constexpr int64_t sfield(uint32_t w, int hi, int lo) {
  int width = hi - lo + 1;
  int64_t v = field(w, hi, lo);
  return (v ^ (int64_t(1) << (width - 1))) - (int64_t(1) << (width - 1));
}
