// INDEX (immediate and register base and step), RDVL, ADDVL and ADDPL.
// Fixed length.
#include "sve/decode/routes.h"

namespace sve {
namespace {
// Element i of Zd = base + i * step, wrapping at the element width.
inline aarch64_decode_rc index_fill(cpu_state* s, aarch64_z_reg zd, uint64_t base, uint64_t step) {
  return by_esize<false>(zd.esize, [&](auto tag) {
    using T = typename decltype(tag)::type;
    using W = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;  // wraps like T once truncated
    const W b = W(base), st = W(step);
    uint8_t* d = s->z[zd.num];
#pragma GCC unroll 16
    for (int i = 0; i < kElems<T>; ++i) set_elem<T>(d, i, T(b + W(i) * st));
    return DECODE_OK;
  });
}
}  // namespace
}  // namespace sve

aarch64_decode_rc sve_index_zii(cpu_state* s, aarch64_z_reg zd, int64_t base, int64_t step) {
  return sve::index_fill(s, zd, uint64_t(base), uint64_t(step));
}
aarch64_decode_rc sve_index_zir(cpu_state* s, aarch64_z_reg zd, int64_t base, aarch64_i_reg rm) {
  return sve::index_fill(s, zd, uint64_t(base), read_reg(s, rm));
}
aarch64_decode_rc sve_index_zri(cpu_state* s, aarch64_z_reg zd, aarch64_i_reg rn, int64_t step) {
  return sve::index_fill(s, zd, read_reg(s, rn), uint64_t(step));
}
aarch64_decode_rc sve_index_zrr(cpu_state* s, aarch64_z_reg zd, aarch64_i_reg rn, aarch64_i_reg rm) {
  return sve::index_fill(s, zd, read_reg(s, rn), read_reg(s, rm));
}

// Xd = imm * 112; Xd|SP = Xn|SP + imm * 112 (ADDVL) or imm * 14 (ADDPL).
aarch64_decode_rc sve_rdvl_ri(cpu_state* s, aarch64_i_reg rd, int imm) {
  write_reg(s, rd, uint64_t(int64_t(int32_t(imm * SVE_VL_BYTES))));
  return DECODE_OK;
}
aarch64_decode_rc sve_addvl_rri(cpu_state* s, aarch64_i_rsp_reg rd, aarch64_i_rsp_reg rn, int imm) {
  write_reg(s, rd, read_reg(s, rn) + uint64_t(int64_t(int32_t(imm * SVE_VL_BYTES))));
  return DECODE_OK;
}
aarch64_decode_rc sve_addpl_rri(cpu_state* s, aarch64_i_rsp_reg rd, aarch64_i_rsp_reg rn, int imm) {
  write_reg(s, rd, read_reg(s, rn) + uint64_t(int64_t(int32_t(imm * SVE_VL_BYTES / 8))));
  return DECODE_OK;
}

namespace sve {
namespace {

// Zd = bits 4-0; the first operand in bits 9-5, the second in bits 20-16
// (imm5 signed or a general register, 31 the zero register).
inline aarch64_i_reg r(uint32_t w, int hi, int lo) { return {uint8_t(field(w, hi, lo))}; }
template <class T> aarch64_decode_rc index_ii(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_index_zii(s, zreg<T>(field(w, 4, 0)), sfield(w, 9, 5), sfield(w, 20, 16));
}
template <class T> aarch64_decode_rc index_is(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_index_zir(s, zreg<T>(field(w, 4, 0)), sfield(w, 9, 5), r(w, 20, 16));
}
template <class T> aarch64_decode_rc index_si(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_index_zri(s, zreg<T>(field(w, 4, 0)), r(w, 9, 5), sfield(w, 20, 16));
}
template <class T> aarch64_decode_rc index_ss(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_index_zrr(s, zreg<T>(field(w, 4, 0)), r(w, 9, 5), r(w, 20, 16));
}
// RDVL: Rd = bits 4-0, imm6 = bits 10-5. ADDVL/ADDPL: Rd|SP = bits 4-0, Rn|SP = bits 20-16.
aarch64_decode_rc rdvl_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_rdvl_ri(s, r(w, 4, 0), int(sfield(w, 10, 5)));
}
template <aarch64_decode_rc (*X)(cpu_state*, aarch64_i_rsp_reg, aarch64_i_rsp_reg, int)>
aarch64_decode_rc addvl_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, aarch64_i_rsp_reg{uint8_t(field(w, 4, 0))}, aarch64_i_rsp_reg{uint8_t(field(w, 20, 16))},
           int(sfield(w, 10, 5)));
}

}  // namespace
}  // namespace sve

const HandlerDef kCountIndexHandlers[] = {
    SVE_DEFS_S(IndexII, sve::index_ii), SVE_DEFS_S(IndexIS, sve::index_is),
    SVE_DEFS_S(IndexSI, sve::index_si), SVE_DEFS_S(IndexSS, sve::index_ss),
    HandlerDef{"VecS64VLX", &sve::rdvl_handler},
    HandlerDef{"VecS64AddVLX", &sve::addvl_handler<&sve_addvl_rri>},
    HandlerDef{"VecS64AddPLX", &sve::addvl_handler<&sve_addpl_rri>},
};
std::span<const HandlerDef> count_index_handlers() { return kCountIndexHandlers; }
