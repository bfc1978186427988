// Executors that the executor layer names but does not provide. Each reports
// itself on stderr and returns DECODE_UNIMPLEMENTED, changing nothing. The
// decode tables never reach them: the handlers of these operations take the
// length-agnostic route instead. They take the operands that an implemented
// executor of the same shape would, and ignore them.
#include <cstddef>
#include <cstdio>

#include "sve/decode/unimplemented.h"

aarch64_decode_rc report_unimplemented(cpu_state* s, const char* name) {
  std::fprintf(stderr, "Unimplemented instruction: [  %tx:\t %08x\t %s  ]\n",
               static_cast<std::ptrdiff_t>(reinterpret_cast<intptr_t>(s->pc)),
               static_cast<unsigned>(s->insn & 0xFFFFFFFFu), name);
  return DECODE_UNIMPLEMENTED;
}

#define SVE_UNIMPLEMENTED(name, ...) \
  extern "C" aarch64_decode_rc name(cpu_state* s, __VA_ARGS__) { return report_unimplemented(s, #name); }
#include "sve/decode/unimplemented.def"
