// SEL on vectors: Zd = Pg ? Zn : Zm element by element. Fixed length.
#include "sve/decode/routes.h"

aarch64_decode_rc sve_sel_zpzz(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::by_esize<false>(zd.esize, [&](auto tag) {
    using T = typename decltype(tag)::type;
    alignas(16) uint8_t tmp[SVE_VL_BYTES];
    const uint8_t *g = s->p[pg.num], *n = s->z[zn.num], *m = s->z[zm.num];
    for (int i = 0; i < sve::kElems<T>; ++i) {
      T mask = T(T(0) - T(sve::elem<T>(g, i) & 1));
      sve::set_elem<T>(tmp, i, T((sve::elem<T>(n, i) & mask) | (sve::elem<T>(m, i) & T(~mask))));
    }
    std::memcpy(s->z[zd.num], tmp, SVE_VL_BYTES);
    return DECODE_OK;
  });
}

namespace sve {
namespace {
// Zd = bits 4-0, Zn = bits 9-5, Pg = bits 13-10, Zm = bits 20-16.
template <class T> aarch64_decode_rc sel_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_sel_zpzz(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 13, 10)), zreg<T>(field(w, 9, 5)),
                      zreg<T>(field(w, 20, 16)));
}
}  // namespace
}  // namespace sve

const HandlerDef kPermSelHandlers[] = {SVE_DEFS_U(SelVV, sve::sel_handler)};
std::span<const HandlerDef> perm_sel_handlers() { return kPermSelHandlers; }
