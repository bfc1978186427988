// ZIP1, ZIP2, UZP1, UZP2, TRN1, TRN2 on vectors (fixed length), and the
// byte-array helpers that the predicate forms share.
#include "sve/decode/routes.h"
#include "sve/int/perm_arrays.h"

namespace {
inline uint8_t* u8(char* p) { return reinterpret_cast<uint8_t*>(p); }
}  // namespace

void sve_zip1(char* d, char* a, char* b, int element_size) {
  sve::permute_bytes<sve::Zip1>(u8(d), u8(a), u8(b), element_size);
}
void sve_zip2(char* d, char* a, char* b, int element_size) {
  sve::permute_bytes<sve::Zip2>(u8(d), u8(a), u8(b), element_size);
}
void sve_uzp1(char* d, char* a, char* b, int element_size) {
  sve::permute_bytes<sve::Uzp<0>>(u8(d), u8(a), u8(b), element_size);
}

namespace sve {
namespace {
template <class Map> aarch64_decode_rc zzz_permute(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  permute_bytes<Map>(s->z[zd.num], s->z[zn.num], s->z[zm.num], 1 << zd.esize);
  return DECODE_OK;
}
}  // namespace
}  // namespace sve

aarch64_decode_rc sve_zip1_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Zip1>(s, zd, zn, zm);
}
aarch64_decode_rc sve_zip2_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Zip2>(s, zd, zn, zm);
}
aarch64_decode_rc sve_uzp1_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Uzp<0>>(s, zd, zn, zm);
}
aarch64_decode_rc sve_uzp2_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Uzp<1>>(s, zd, zn, zm);
}
aarch64_decode_rc sve_trn1_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Trn<0>>(s, zd, zn, zm);
}
aarch64_decode_rc sve_trn2_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::zzz_permute<sve::Trn<1>>(s, zd, zn, zm);
}

// Zd = bits 4-0, Zn = bits 9-5, Zm = bits 20-16 (sve::h_zzz).
const HandlerDef kPermZipHandlers[] = {
    SVE_DEFS_U(Zip1VV, sve::h_zzz, &sve_zip1_zzz), SVE_DEFS_U(Zip2VV, sve::h_zzz, &sve_zip2_zzz),
    SVE_DEFS_U(Uzp1VV, sve::h_zzz, &sve_uzp1_zzz), SVE_DEFS_U(Uzp2VV, sve::h_zzz, &sve_uzp2_zzz),
    SVE_DEFS_U(Trn1VV, sve::h_zzz, &sve_trn1_zzz), SVE_DEFS_U(Trn2VV, sve::h_zzz, &sve_trn2_zzz),
};
std::span<const HandlerDef> perm_zip_handlers() { return kPermZipHandlers; }
