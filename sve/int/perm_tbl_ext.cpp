// Reordering within vectors: TBL, EXT and REV (vector). Fixed length.
#include "sve/decode/routes.h"
#include "sve/int/perm_arrays.h"

namespace sve {
namespace {
// Zd[i] = Zn[Zm[i]] when the index is below the element count, else 0. The
// table is copied with zeros after it: byte indices (all below 256) look it
// up directly, wider ones clamped to the first zero; so d may be any source
// and the loop has no branch.
template <class T> void tbl(uint8_t* d, const uint8_t* table, const uint8_t* idx) {
  constexpr int n = kElems<T>, slots = sizeof(T) == 1 ? 256 : n + 1;
  T t[slots];
  std::memcpy(t, table, SVE_VL_BYTES);
  for (int k = n; k < slots; ++k) t[k] = 0;
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    T k = elem<T>(idx, i);
    if constexpr (sizeof(T) == 1) set_elem<T>(d, i, t[k]);
    else set_elem<T>(d, i, t[k < T(n) ? k : T(n)]);
  }
}
}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_tbl_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::by_esize<false>(zd.esize, [&](auto t) {
    sve::tbl<typename decltype(t)::type>(s->z[zd.num], s->z[zn.num], s->z[zm.num]);
    return DECODE_OK;
  });
}
SVE_EXECUTORS_END

// Zdn = 112 bytes of Zdn:Zm from the byte offset; an offset past the vector counts as 0.
aarch64_decode_rc sve_ext_zzi(cpu_state* s, aarch64_z_reg zdn, aarch64_z_reg zm, unsigned offset) {
  if (offset >= unsigned(SVE_VL_BYTES)) offset = 0;
  alignas(16) uint8_t both[2 * SVE_VL_BYTES];  // fixed-size copies, no library calls
  std::memcpy(both, s->z[zdn.num], SVE_VL_BYTES);
  std::memcpy(both + SVE_VL_BYTES, s->z[zm.num], SVE_VL_BYTES);
  std::memcpy(s->z[zdn.num], both + offset, SVE_VL_BYTES);
  return DECODE_OK;
}

aarch64_decode_rc sve_rev_zz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn) {
  sve::permute_bytes<sve::Rev>(s->z[zd.num], s->z[zn.num], s->z[zn.num], 1 << zd.esize);
  return DECODE_OK;
}

namespace sve {
namespace {
// EXT: Zdn = bits 4-0, Zm = bits 9-5, offset = bits 20-16 : 12-10.
aarch64_decode_rc ext_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_ext_zzi(s, zreg<uint8_t>(field(w, 4, 0)), zreg<uint8_t>(field(w, 9, 5)),
                     (field(w, 20, 16) << 3) | field(w, 12, 10));
}
// REV: Zd = bits 4-0, Zn = bits 9-5.
template <class T> aarch64_decode_rc rev_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_rev_zz(s, zreg<T>(field(w, 4, 0)), zreg<T>(field(w, 9, 5)));
}
}  // namespace
}  // namespace sve

const HandlerDef kPermTblExtHandlers[] = {
    SVE_DEFS_U(TblVV, sve::h_zzz, &sve_tbl_zzz),
    SVE_DEFS_U(ReverseV, sve::rev_handler),
    HandlerDef{"VecU8SlideVI", &sve::ext_handler},
};
std::span<const HandlerDef> perm_tbl_ext_handlers() { return kPermTblExtHandlers; }
