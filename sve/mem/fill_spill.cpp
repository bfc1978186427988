// LDR and STR of whole Z and P registers (unpredicated, untraced). The
// immediate counts whole registers: 112 bytes for Z, 14 for P, where a P
// register is stored packed, lane 8k+j as bit j of byte k.
#include "sve/mem/access.h"
#include "sve/mem/operands.h"

namespace {

uint64_t reg_addr(const cpu_state* s, aarch64_i_rsp_reg rn, int imm, int bytes) {
  return read_reg(s, rn) + uint64_t(int64_t(int32_t(imm * bytes)));
}

}  // namespace

extern "C" aarch64_decode_rc sve_ldr_zri(cpu_state* s, aarch64_z_reg zt, aarch64_i_rsp_reg rn, int imm) {
  std::memcpy(s->z[zt.num], reinterpret_cast<const void*>(reg_addr(s, rn, imm, SVE_VL_BYTES)), SVE_VL_BYTES);
  return DECODE_OK;
}
extern "C" aarch64_decode_rc sve_str_zri(cpu_state* s, aarch64_z_reg zt, aarch64_i_rsp_reg rn, int imm) {
  std::memcpy(reinterpret_cast<void*>(reg_addr(s, rn, imm, SVE_VL_BYTES)), s->z[zt.num], SVE_VL_BYTES);
  return DECODE_OK;
}
extern "C" aarch64_decode_rc sve_ldr_pri(cpu_state* s, aarch64_p_reg pt, aarch64_i_rsp_reg rn, int imm) {
  uint64_t a = reg_addr(s, rn, imm, SVE_PL_BYTES);
  alignas(8) uint8_t lanes[SVE_VL_BYTES];
  for (int k = 0; k < SVE_PL_BYTES; ++k) {
    uint64_t x = kSpread8.v[sve::load<uint8_t>(a + k)];
    std::memcpy(lanes + 8 * k, &x, 8);
  }
  std::memcpy(s->p[pt.num], lanes, SVE_VL_BYTES);
  return DECODE_OK;
}
extern "C" aarch64_decode_rc sve_str_pri(cpu_state* s, aarch64_p_reg pt, aarch64_i_rsp_reg rn, int imm) {
  uint64_t a = reg_addr(s, rn, imm, SVE_PL_BYTES);
  uint8_t packed[SVE_PL_BYTES];
  for (int k = 0; k < SVE_PL_BYTES; ++k) packed[k] = pack8(s->p[pt.num] + 8 * k);
  std::memcpy(reinterpret_cast<void*>(a), packed, SVE_PL_BYTES);
  return DECODE_OK;
}

namespace sve {
namespace {

// Zt or Pt = bits 4-0 (Pt 3-0), Rn = bits 9-5, imm9 split over 21-16 and 12-10.
template <auto Exec> aarch64_decode_rc h_z(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<uint64_t>(zt_field(w)), rn_field(w), imm9_field(w));
}
template <auto Exec> aarch64_decode_rc h_p(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, aarch64_p_reg{uint8_t(field(w, 3, 0)), 0, false}, rn_field(w), imm9_field(w));
}

const HandlerDef kFillSpillHandlers[] = {
    {"VecU64FillSI", &h_z<&sve_ldr_zri>},
    {"VecU64SpillSI", &h_z<&sve_str_zri>},
    {"VecPFillSI", &h_p<&sve_ldr_pri>},
    {"VecPSpillSI", &h_p<&sve_str_pri>},
};

}  // namespace
}  // namespace sve

std::span<const HandlerDef> fill_spill_handlers() { return sve::kFillSpillHandlers; }
