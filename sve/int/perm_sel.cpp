// SEL on vectors: Zd = Pg ? Zn : Zm element by element. Fixed length.
#include "sve/decode/routes.h"
#include "sve/int/perm_arrays.h"

namespace sve {
namespace {
// Zd = Pg ? Zn : Zm at T elements, through a temporary (Zd may be any source).
template <class T> inline void select(uint8_t* d, const uint8_t* g, const uint8_t* n, const uint8_t* m) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
#pragma GCC unroll 16
  for (int i = 0; i < kElems<T>; ++i) set_elem<T>(tmp, i, merge<T>(LanePred{g}.mask<T>(i), elem<T>(n, i), elem<T>(m, i)));
  std::memcpy(d, tmp, SVE_VL_BYTES);
}
}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_sel_zpzz(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::by_esize<false>(zd.esize, [&](auto t) {
    sve::select<typename decltype(t)::type>(s->z[zd.num], s->p[pg.num], s->z[zn.num], s->z[zm.num]);
    return DECODE_OK;
  });
}
SVE_EXECUTORS_END

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
