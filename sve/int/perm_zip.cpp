// ZIP1, ZIP2, UZP1, UZP2, TRN1, TRN2 on vectors (fixed length).
#include "sve/decode/routes.h"
#include "sve/int/perm_arrays.h"

namespace sve {
namespace {
// Zd = bits 4-0, Zn = bits 9-5, Zm = bits 20-16; the element type is the handler's.
template <class T, class Map> aarch64_decode_rc zzz_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  permute_elems<Map, T>(s->z[field(w, 4, 0)], s->z[field(w, 9, 5)], s->z[field(w, 20, 16)]);
  return DECODE_OK;
}
}  // namespace
}  // namespace sve

const HandlerDef kPermZipHandlers[] = {
    SVE_DEFS_U(Zip1VV, sve::zzz_handler, sve::Zip1), SVE_DEFS_U(Zip2VV, sve::zzz_handler, sve::Zip2),
    SVE_DEFS_U(Uzp1VV, sve::zzz_handler, sve::Uzp<0>), SVE_DEFS_U(Uzp2VV, sve::zzz_handler, sve::Uzp<1>),
    SVE_DEFS_U(Trn1VV, sve::zzz_handler, sve::Trn<0>), SVE_DEFS_U(Trn2VV, sve::zzz_handler, sve::Trn<1>),
};
std::span<const HandlerDef> perm_zip_handlers() { return kPermZipHandlers; }
