// MOVPRFX, predicated: active elements of Zd take Zn; inactive ones are kept
// (merging) or cleared (zeroing), as the governing operand says.
#include "sve/decode/routes.h"

namespace sve {
namespace {
struct Copy {
  template <class T> T operator()(T a) const { return a; }
};
}  // namespace
}  // namespace sve

using namespace sve;

extern "C" aarch64_decode_rc sve_movprfx_zpz(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, aarch64_z_reg zn) {
  return by_esize<false>(zd.esize, [&](auto t) {
    return fixed_unary<typename decltype(t)::type>(s, zd.num, pg.num, zn.num, Copy{}, pg.zeroing);
  });
}

namespace {
const HandlerDef kMovprfxHandlers[] = {
    SVE_DEFS_U(MovePrefix1VM, h_zpz, &sve_movprfx_zpz),
    SVE_DEFS_U(MovePrefix1VZ, h_zpz_zeroing, &sve_movprfx_zpz),
};
}  // namespace
std::span<const HandlerDef> movprfx_handlers() { return kMovprfxHandlers; }
