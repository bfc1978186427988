// Prefetches (PRFB, PRFH, PRFW, PRFD in every addressing form): hints that the
// emulator does not act on. They touch no memory and produce no trace record.
#include "sve/decode/handler.h"

namespace {

aarch64_decode_rc prefetch(cpu_state* s, unsigned w) {
  s->insn = w;
  return DECODE_OK;
}

// Per memory size: scalar plus scalar, scalar plus immediate, vector plus
// immediate, scalar plus 64-bit vector offsets, and SXTW / UXTW vector offsets.
#define SVE_PREFETCH_DEFS(MS, T)                                                                         \
  HandlerDef{"Vec" #T "Prefetch" #MS "LSS", &prefetch}, HandlerDef{"Vec" #T "Prefetch" #MS "SI", &prefetch}, \
      HandlerDef{"VecU32Prefetch" #MS "VI", &prefetch}, HandlerDef{"VecU64Prefetch" #MS "VI", &prefetch},    \
      HandlerDef{"VecU64Prefetch" #MS "SV", &prefetch}, HandlerDef{"VecU32Prefetch" #MS "XSV", &prefetch},   \
      HandlerDef{"VecU64Prefetch" #MS "XSV", &prefetch}, HandlerDef{"VecU32Prefetch" #MS "YSV", &prefetch},  \
      HandlerDef{"VecU64Prefetch" #MS "YSV", &prefetch},

const HandlerDef kPrefetchHandlers[] = {
    SVE_PREFETCH_DEFS(1, U8) SVE_PREFETCH_DEFS(2, U16) SVE_PREFETCH_DEFS(4, U32) SVE_PREFETCH_DEFS(8, U64)};

}  // namespace

std::span<const HandlerDef> prefetch_handlers() { return kPrefetchHandlers; }
