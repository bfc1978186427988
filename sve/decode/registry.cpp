// The families whose handlers are live. A family file publishes its handlers
// as a span of HandlerDef; listing it in a families_*.inc file makes its
// decode entries live.
#include "sve/decode/handler.h"

#define SVE_FAMILY(fn) std::span<const HandlerDef> fn();
#include "sve/int/families_arith.inc"
#include "sve/int/families_pred.inc"
#include "sve/mem/families.inc"
#undef SVE_FAMILY

std::span<const std::span<const HandlerDef>> handler_registry() {
#define SVE_FAMILY(fn) fn(),
  static const std::span<const HandlerDef> families[] = {
#include "sve/int/families_arith.inc"
#include "sve/int/families_pred.inc"
#include "sve/mem/families.inc"
  };
#undef SVE_FAMILY
  return families;
}
