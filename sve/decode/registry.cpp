// The families whose handlers are live. A family file publishes its handlers
// as a span of HandlerDef; adding a family here makes its entries live.
#include "sve/decode/handler.h"

std::span<const HandlerDef> saturating_handlers();
std::span<const HandlerDef> dot_handlers();

std::span<const std::span<const HandlerDef>> handler_registry() {
  static const std::span<const HandlerDef> families[] = {
      saturating_handlers(),
      dot_handlers(),
  };
  return families;
}
