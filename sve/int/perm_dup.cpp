// Broadcasts and copies: DUP (indexed, including quadwords; immediate;
// scalar), CPY (immediate merging and zeroing; scalar; SIMD&FP scalar) and the
// unpredicated MOVPRFX. Fixed length.
#include "sve/decode/routes.h"
#include "sve/int/perm_arrays.h"

namespace sve {
namespace {

// Every element of d = v.
template <class T> inline void fill(uint8_t* d, T v) {
#pragma GCC unroll 16
  for (int i = 0; i < kElems<T>; ++i) set_elem<T>(d, i, v);
}
// Active elements = v; inactive keep d (merging) or become 0 (zeroing).
// Built in a temporary, which the compiler knows is apart from the sources.
template <class T, bool Zeroing> inline void fill_active(uint8_t* d, const uint8_t* pg, T v) {
  using U = std::make_unsigned_t<T>;
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
#pragma GCC unroll 16
  for (int i = 0; i < kElems<T>; ++i) {
    U m = LanePred{pg}.mask<T>(i);
    U old = Zeroing ? U(0) : elem<U>(d, i);
    set_elem<U>(tmp, i, U((U(v) & m) | (old & U(~m))));
  }
  std::memcpy(d, tmp, SVE_VL_BYTES);
}

// Element `index` of n in every element of d (zeros past the vector); the
// same for 16-byte quadwords.
template <class T> inline void dup_element(uint8_t* d, const uint8_t* n, unsigned index) {
  fill<T>(d, index < unsigned(kElems<T>) ? elem<T>(n, int(index)) : T(0));
}
inline void dup_quadword(uint8_t* d, const uint8_t* n, unsigned index) {
  alignas(16) uint8_t q[16] = {};
  if (index < unsigned(SVE_VL_BYTES / 16)) std::memcpy(q, n + 16 * index, 16);
#pragma GCC unroll 8
  for (int off = 0; off < SVE_VL_BYTES; off += 16) std::memcpy(d + off, q, 16);
}

// Active elements of Zd = v, the rest as the predicate's zeroing bit says.
template <class T> [[gnu::always_inline]] inline void fill_active_pred(uint8_t* d, const uint8_t* pg, T v, bool zeroing) {
  if (zeroing) fill_active<T, true>(d, pg, v);
  else fill_active<T, false>(d, pg, v);
}
[[gnu::always_inline]] inline aarch64_decode_rc fill_z(cpu_state* s, aarch64_z_reg zd, uint64_t v) {
  return by_esize<false>(zd.esize, [&](auto t) {
    using T = typename decltype(t)::type;
    fill<T>(s->z[zd.num], T(v));
    return DECODE_OK;
  });
}
[[gnu::always_inline]] inline aarch64_decode_rc fill_active_z(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, uint64_t v) {
  return by_esize<false>(zd.esize, [&](auto t) {
    using T = typename decltype(t)::type;
    fill_active_pred<T>(s->z[zd.num], s->p[pg.num], T(v), pg.zeroing);
    return DECODE_OK;
  });
}

}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
// Element `index` of Zn (16-byte quadwords when esize is 4) in every element
// of Zd; all zeros when the element lies past the vector.
SVE_EXECUTOR aarch64_decode_rc sve_dup_zzi(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, unsigned index) {
  uint8_t* d = s->z[zd.num];
  const uint8_t* n = s->z[zn.num];
  switch (zd.esize) {
    case 0: sve::dup_element<uint8_t>(d, n, index); break;
    case 1: sve::dup_element<uint16_t>(d, n, index); break;
    case 2: sve::dup_element<uint32_t>(d, n, index); break;
    case 3: sve::dup_element<uint64_t>(d, n, index); break;
    default: sve::dup_quadword(d, n, index); break;
  }
  return DECODE_OK;
}
SVE_EXECUTOR aarch64_decode_rc sve_dup_zi(cpu_state* s, aarch64_z_reg zd, int64_t imm) { return sve::fill_z(s, zd, uint64_t(imm)); }
SVE_EXECUTOR aarch64_decode_rc sve_dup_zr(cpu_state* s, aarch64_z_reg zd, aarch64_i_rsp_reg rn) {
  return sve::fill_z(s, zd, read_reg(s, rn));
}
SVE_EXECUTOR aarch64_decode_rc sve_cpy_zpi(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, int64_t imm) {
  return sve::fill_active_z(s, zd, pg, uint64_t(imm));
}
SVE_EXECUTOR aarch64_decode_rc sve_cpy_zpr(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, aarch64_i_rsp_reg rn) {
  return sve::fill_active_z(s, zd, pg, read_reg(s, rn));
}
// The low element of SIMD&FP register Vn (the low bytes of Zn).
SVE_EXECUTOR aarch64_decode_rc sve_cpy_zpv(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, unsigned vn) {
  uint64_t v;
  std::memcpy(&v, s->z[vn], 8);
  return sve::fill_active_z(s, zd, pg, v);
}
SVE_EXECUTORS_END

aarch64_decode_rc sve_movprfx_zz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn) {
  std::memmove(s->z[zd.num], s->z[zn.num], SVE_VL_BYTES);
  return DECODE_OK;
}

namespace sve {
namespace {

// imm8 = bits 12-5 signed, shifted left by 8 when bit 13 is set.
inline int64_t imm8_shifted(uint32_t w) { return sfield(w, 12, 5) * (field(w, 13, 13) ? 256 : 1); }

// DUP indexed: Zd = bits 4-0, Zn = bits 9-5; the lowest set bit of tsz (bits
// 20-16) gives the element size, imm2 (bits 23-22) and the tsz bits above it the index.
aarch64_decode_rc dup_index_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  unsigned imm7 = (field(w, 23, 22) << 5) | field(w, 20, 16);
  int esize = __builtin_ctz(field(w, 20, 16));
  return sve_dup_zzi(s, aarch64_z_reg{uint8_t(field(w, 4, 0)), uint8_t(esize)},
                     aarch64_z_reg{uint8_t(field(w, 9, 5)), uint8_t(esize)}, imm7 >> (esize + 1));
}
template <class T> aarch64_decode_rc dup_imm_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_dup_zi(s, zreg<T>(field(w, 4, 0)), imm8_shifted(w));
}
// DUP scalar: Zd = bits 4-0, Rn|SP = bits 9-5.
template <class T> aarch64_decode_rc dup_scalar_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_dup_zr(s, zreg<T>(field(w, 4, 0)), aarch64_i_rsp_reg{uint8_t(field(w, 9, 5))});
}
// CPY immediate: Zd = bits 4-0, Pg = bits 19-16.
template <class T, bool Zeroing> aarch64_decode_rc cpy_imm_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_cpy_zpi(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 19, 16), Zeroing), imm8_shifted(w));
}
// CPY scalar: Zd = bits 4-0, Pg = bits 12-10, Rn|SP or Vn = bits 9-5.
template <class T> aarch64_decode_rc cpy_scalar_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_cpy_zpr(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 12, 10)), aarch64_i_rsp_reg{uint8_t(field(w, 9, 5))});
}
template <class T> aarch64_decode_rc cpy_simd_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_cpy_zpv(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 12, 10)), field(w, 9, 5));
}
aarch64_decode_rc movprfx_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_movprfx_zz(s, zreg<uint32_t>(field(w, 4, 0)), zreg<uint32_t>(field(w, 9, 5)));
}

}  // namespace
}  // namespace sve

const HandlerDef kPermDupHandlers[] = {
    {"VecU128ExtDupVI", &sve::dup_index_handler},
    {"VecU64ExtDupVI", &sve::dup_index_handler},
    {"VecU32ExtDupVI", &sve::dup_index_handler},
    {"VecU16ExtDupVI", &sve::dup_index_handler},
    {"VecU8ExtDupVI", &sve::dup_index_handler},
    SVE_DEFS_S(DupI, sve::dup_imm_handler),
    SVE_DEFS_U(DupS, sve::dup_scalar_handler),
    SVE_DEFS_S(DupIM, sve::cpy_imm_handler, false),
    SVE_DEFS_S(DupIZ, sve::cpy_imm_handler, true),
    SVE_DEFS_U(DupSM, sve::cpy_scalar_handler),
    {"VecB8DupSM", &sve::cpy_simd_handler<uint8_t>},
    {"VecH16DupSM", &sve::cpy_simd_handler<uint16_t>},
    {"VecF32DupSM", &sve::cpy_simd_handler<uint32_t>},
    {"VecD64DupSM", &sve::cpy_simd_handler<uint64_t>},
    {"VecU32SpecialMoveV", &sve::movprfx_handler},
};
std::span<const HandlerDef> perm_dup_handlers() { return kPermDupHandlers; }
