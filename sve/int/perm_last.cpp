// LASTA, LASTB, CLASTA, CLASTB: one element chosen by the last active element
// of Pg, to a general register, a SIMD&FP register or (CLAST vector forms)
// every element of a vector. LASTB and CLASTB to a general register run fixed
// length; the others run length agnostic.
#include "sve/decode/routes.h"
#include "sve/int/flags.h"
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// Element position chosen from the last active element `last` (-1 when none)
// among n: the one after it (A) or it (B). LAST forms fall back to element 0
// (A) or n - 1 (B); CLAST forms report -1.
template <bool After> constexpr int chosen(int last, int n, bool conditional) {
  if (last < 0) return conditional ? -1 : (After ? 0 : n - 1);
  return After ? (last + 1 == n ? 0 : last + 1) : last;
}

// Last active element of unpacked lanes at T's width.
template <class T> inline int last_active_lanes(const uint8_t* pg) {
  for (int i = kElems<T> - 1; i >= 0; --i)
    if (pg[i * sizeof(T)] & 1) return i;
  return -1;
}

// A SIMD&FP scalar write: the low element-width bytes of Zd, the rest zeroed.
template <class T> inline void write_v(cpu_state* s, unsigned vd, T v) {
  std::memset(s->z[vd], 0, SVE_VL_BYTES);
  set_elem<T>(s->z[vd], 0, v);
}

// ---- length agnostic ----

// *dn = the chosen element of z, or (CLAST, none active) the low bits of *dn.
using AgnosticScalar = void (*)(uint64_t* dn, const uint8_t* z, const PredV* pg, CpuContext* c);

template <class T, bool After, bool Conditional>
void scalar_routine(uint64_t* dn, const uint8_t* z, const PredV* pg, CpuContext* c) {
  int n = agnostic_elems<T>(c);
  int pos = chosen<After>(FindLastActive(*pg, int(sizeof(T)) * 8, c), n, Conditional);
  *dn = pos < 0 ? uint64_t(T(*dn)) : uint64_t(elem<T>(z, pos));
}
// Every element of d = the chosen element of b; d = a when none is active.
template <class T, bool After>
void vector_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  int n = agnostic_elems<T>(c);
  int pos = chosen<After>(FindLastActive(*pg, int(sizeof(T)) * 8, c), n, true);
  if (pos < 0) {
    std::memcpy(d, a, size_t(vl_bytes(c)));
    return;
  }
  T v = elem<T>(b, pos);
  for (int i = 0; i < n; ++i) set_elem<T>(d, i, v);
}

}  // namespace
}  // namespace sve

aarch64_decode_rc sve_lastb_rpz(cpu_state* s, aarch64_i_reg rd, aarch64_p_reg pg, aarch64_z_reg zn) {
  return sve::by_esize<false>(zn.esize, [&](auto tag) {
    using T = typename decltype(tag)::type;
    int pos = sve::chosen<false>(sve::last_active_lanes<T>(s->p[pg.num]), sve::kElems<T>, false);
    write_reg(s, rd, sve::elem<T>(s->z[zn.num], pos));
    return DECODE_OK;
  });
}
aarch64_decode_rc sve_lastb_vpz(cpu_state* s, unsigned vd, aarch64_p_reg pg, aarch64_z_reg zn) {
  return sve::by_esize<false>(zn.esize, [&](auto tag) {
    using T = typename decltype(tag)::type;
    int pos = sve::chosen<false>(sve::last_active_lanes<T>(s->p[pg.num]), sve::kElems<T>, false);
    sve::write_v<T>(s, vd, sve::elem<T>(s->z[zn.num], pos));
    return DECODE_OK;
  });
}
aarch64_decode_rc sve_clastb_rpz(cpu_state* s, aarch64_i_reg rdn, aarch64_p_reg pg, aarch64_z_reg zm) {
  return sve::by_esize<false>(zm.esize, [&](auto tag) {
    using T = typename decltype(tag)::type;
    int pos = sve::chosen<false>(sve::last_active_lanes<T>(s->p[pg.num]), sve::kElems<T>, true);
    write_reg(s, rdn, pos < 0 ? uint64_t(T(read_reg(s, rdn))) : uint64_t(sve::elem<T>(s->z[zm.num], pos)));
    return DECODE_OK;
  });
}

#define SVE_LAST_SCALAR_EXPORT(NAME, T, AFTER, COND)                                                  \
  extern "C" void NAME(uint64_t* dn, const uint8_t* z, const PredV* pg, CpuContext* c) {              \
    sve::scalar_routine<T, AFTER, COND>(dn, z, pg, c);                                                \
  }
#define SVE_LAST_TYPE_EXPORTS(TU, TV, T)                                  \
  SVE_LAST_SCALAR_EXPORT(Vec##TU##LastAV, T, true, false)                 \
  SVE_LAST_SCALAR_EXPORT(Vec##TV##LastAV, T, true, false)                 \
  SVE_LAST_SCALAR_EXPORT(Vec##TU##CondXASV, T, true, true)                \
  SVE_LAST_SCALAR_EXPORT(Vec##TV##CondXASV, T, true, true)                \
  SVE_LAST_SCALAR_EXPORT(Vec##TV##CondXBSV, T, false, true)               \
  SVE_EXPORT_VV(TU, VCondXAVV, vector_routine, true)                      \
  SVE_EXPORT_VV(TU, VCondXBVV, vector_routine, false)
SVE_LAST_TYPE_EXPORTS(U8, B8, uint8_t)
SVE_LAST_TYPE_EXPORTS(U16, H16, uint16_t)
SVE_LAST_TYPE_EXPORTS(U32, F32, uint32_t)
SVE_LAST_TYPE_EXPORTS(U64, D64, uint64_t)

namespace sve {
namespace {

// Rd/Rdn/Vd/Vdn/Zdn = bits 4-0, Zn/Zm = bits 9-5, Pg = bits 12-10.
template <class T> aarch64_decode_rc lastb_r_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_lastb_rpz(s, aarch64_i_reg{uint8_t(field(w, 4, 0))}, preg<T>(field(w, 12, 10)), zreg<T>(field(w, 9, 5)));
}
template <class T> aarch64_decode_rc lastb_v_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_lastb_vpz(s, field(w, 4, 0), preg<T>(field(w, 12, 10)), zreg<T>(field(w, 9, 5)));
}
template <class T> aarch64_decode_rc clastb_r_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_clastb_rpz(s, aarch64_i_reg{uint8_t(field(w, 4, 0))}, preg<T>(field(w, 12, 10)), zreg<T>(field(w, 9, 5)));
}

// Agnostic scalar forms: the routine gets Xdn (or Vdn's low element) and the
// packed Pg; the result goes to the general or the SIMD&FP register. The
// routine reads one element below the length, so it reads Zn in place.
template <class T, bool ToSimd, AgnosticScalar R> aarch64_decode_rc scalar_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  unsigned d = field(w, 4, 0);
  CpuContext c = make_context_without_ffr(s);
  PredV pg = pack_pred(s->p[field(w, 12, 10)]);
  uint64_t v = ToSimd ? uint64_t(elem<T>(s->z[d], 0)) : read_reg(s, aarch64_i_reg{uint8_t(d)});
  R(&v, s->z[field(w, 9, 5)], &pg, &c);
  if (ToSimd) write_v<T>(s, d, T(v));
  else write_reg(s, aarch64_i_reg{uint8_t(d)}, v);
  return DECODE_OK;
}
template <AgnosticVV R> aarch64_decode_rc vector_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vv(s, field(w, 4, 0), field(w, 4, 0), int(field(w, 12, 10)), field(w, 9, 5), R);
}

}  // namespace
}  // namespace sve

#define SVE_LAST_DEFS(TU, TV, T)                                                                  \
  HandlerDef{"Vec" #TU "LastBV", &sve::lastb_r_handler<T>},                                       \
      HandlerDef{"Vec" #TV "LastBV", &sve::lastb_v_handler<T>},                                   \
      HandlerDef{"Vec" #TU "CondXBSV", &sve::clastb_r_handler<T>},                                \
      HandlerDef{"Vec" #TU "LastAV", &sve::scalar_handler<T, false, &Vec##TU##LastAV>},           \
      HandlerDef{"Vec" #TV "LastAV", &sve::scalar_handler<T, true, &Vec##TV##LastAV>},            \
      HandlerDef{"Vec" #TU "CondXASV", &sve::scalar_handler<T, false, &Vec##TU##CondXASV>},       \
      HandlerDef{"Vec" #TV "CondXASV", &sve::scalar_handler<T, true, &Vec##TV##CondXASV>},        \
      HandlerDef{"Vec" #TV "CondXBSV", &sve::scalar_handler<T, true, &Vec##TV##CondXBSV>},        \
      HandlerDef{"Vec" #TU "VCondXAVV", &sve::vector_handler<&Vec##TU##VCondXAVV>},               \
      HandlerDef{"Vec" #TU "VCondXBVV", &sve::vector_handler<&Vec##TU##VCondXBVV>},

const HandlerDef kPermLastHandlers[] = {SVE_LAST_DEFS(U8, B8, uint8_t) SVE_LAST_DEFS(U16, H16, uint16_t)
                                            SVE_LAST_DEFS(U32, F32, uint32_t) SVE_LAST_DEFS(U64, D64, uint64_t)};
std::span<const HandlerDef> perm_last_handlers() { return kPermLastHandlers; }
