// Broadcasts and copies: DUP (indexed, including quadwords; immediate;
// scalar), CPY (immediate merging and zeroing; scalar; SIMD&FP scalar) and the
// unpredicated MOVPRFX. Fixed length.
#include "sve/decode/routes.h"

namespace sve {
namespace {

// Every element of d = v.
template <class T> inline void fill(uint8_t* d, T v) {
  for (int i = 0; i < kElems<T>; ++i) set_elem<T>(d, i, v);
}
// Active elements = v; inactive keep d (merging) or become 0 (zeroing).
template <class T> inline void fill_active(uint8_t* d, const uint8_t* pg, T v, bool zeroing) {
  for (int i = 0; i < kElems<T>; ++i) {
    T m = T(T(0) - T(elem<T>(pg, i) & 1));
    T old = zeroing ? T(0) : elem<T>(d, i);
    set_elem<T>(d, i, T((v & m) | (old & T(~m))));
  }
}

inline aarch64_decode_rc fill_z(cpu_state* s, aarch64_z_reg zd, uint64_t v) {
  return by_esize<false>(zd.esize, [&](auto tag) {
    using T = typename decltype(tag)::type;
    fill<T>(s->z[zd.num], T(v));
    return DECODE_OK;
  });
}
inline aarch64_decode_rc fill_active_z(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, uint64_t v) {
  return by_esize<false>(zd.esize, [&](auto tag) {
    using T = typename decltype(tag)::type;
    fill_active<T>(s->z[zd.num], s->p[pg.num], T(v), pg.zeroing);
    return DECODE_OK;
  });
}

}  // namespace
}  // namespace sve

// Element `index` of Zn (16-byte quadwords when esize is 4) in every element
// of Zd; all zeros when the element lies past the vector.
aarch64_decode_rc sve_dup_zzi(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, unsigned index) {
  int ebytes = 1 << zd.esize;
  alignas(16) uint8_t element[16] = {};
  if (index * unsigned(ebytes) < unsigned(SVE_VL_BYTES)) std::memcpy(element, s->z[zn.num] + index * ebytes, ebytes);
  for (int off = 0; off < SVE_VL_BYTES; off += ebytes) std::memcpy(s->z[zd.num] + off, element, ebytes);
  return DECODE_OK;
}
aarch64_decode_rc sve_dup_zi(cpu_state* s, aarch64_z_reg zd, int64_t imm) { return sve::fill_z(s, zd, uint64_t(imm)); }
aarch64_decode_rc sve_dup_zr(cpu_state* s, aarch64_z_reg zd, aarch64_i_rsp_reg rn) {
  return sve::fill_z(s, zd, read_reg(s, rn));
}
aarch64_decode_rc sve_cpy_zpi(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, int64_t imm) {
  return sve::fill_active_z(s, zd, pg, uint64_t(imm));
}
aarch64_decode_rc sve_cpy_zpr(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, aarch64_i_rsp_reg rn) {
  return sve::fill_active_z(s, zd, pg, read_reg(s, rn));
}
// The low element of SIMD&FP register Vn (the low bytes of Zn).
aarch64_decode_rc sve_cpy_zpv(cpu_state* s, aarch64_z_reg zd, aarch64_p_reg pg, unsigned vn) {
  uint64_t v;
  std::memcpy(&v, s->z[vn], 8);
  return sve::fill_active_z(s, zd, pg, v);
}
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
