// ZIP1, ZIP2, UZP1, UZP2, TRN1, TRN2 on vectors (fixed length).
#include "sve/decode/routes.h"
#include "sve/int/perm_arrays.h"

namespace sve {
namespace {
// Zd = the permute of Zn and Zm at the element type of Zd's size code.
template <class Map>
[[gnu::always_inline]] inline aarch64_decode_rc zzz_permute(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return by_esize<false>(zd.esize, [&](auto t) {
    permute_elems<Map, typename decltype(t)::type>(s->z[zd.num], s->z[zn.num], s->z[zm.num]);
    return DECODE_OK;
  });
}
}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_zip1_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Zip1>(s, zd, zn, zm);
}
SVE_EXECUTOR aarch64_decode_rc sve_zip2_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Zip2>(s, zd, zn, zm);
}
SVE_EXECUTOR aarch64_decode_rc sve_uzp1_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Uzp<0>>(s, zd, zn, zm);
}
SVE_EXECUTOR aarch64_decode_rc sve_uzp2_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Uzp<1>>(s, zd, zn, zm);
}
SVE_EXECUTOR aarch64_decode_rc sve_trn1_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Trn<0>>(s, zd, zn, zm);
}
SVE_EXECUTOR aarch64_decode_rc sve_trn2_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Trn<1>>(s, zd, zn, zm);
}
SVE_EXECUTORS_END

// Zd = bits 4-0, Zn = bits 9-5, Zm = bits 20-16 (sve::h_zzz).
const HandlerDef kPermZipHandlers[] = {
    SVE_DEFS_U(Zip1VV, sve::h_zzz, &sve_zip1_zzz), SVE_DEFS_U(Zip2VV, sve::h_zzz, &sve_zip2_zzz),
    SVE_DEFS_U(Uzp1VV, sve::h_zzz, &sve_uzp1_zzz), SVE_DEFS_U(Uzp2VV, sve::h_zzz, &sve_uzp2_zzz),
    SVE_DEFS_U(Trn1VV, sve::h_zzz, &sve_trn1_zzz), SVE_DEFS_U(Trn2VV, sve::h_zzz, &sve_trn2_zzz),
};
std::span<const HandlerDef> perm_zip_handlers() { return kPermZipHandlers; }
