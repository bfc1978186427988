// Predicate logic: AND, BIC, EOR, ORR, NOR, NAND, ORN under a zeroing
// governing predicate, their flag-setting forms, and SEL on predicates.
// AND/BIC/EOR/ORR/NOR and SEL run fixed length over the lanes; NAND, ORN and
// every flag-setting form run length agnostic on packed maps.
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// One bit operation, applied to lane bytes (bit 0) and to packed words alike.
struct And { uint64_t operator()(uint64_t n, uint64_t m) const { return n & m; } };
struct Bic { uint64_t operator()(uint64_t n, uint64_t m) const { return n & ~m; } };
struct Eor { uint64_t operator()(uint64_t n, uint64_t m) const { return n ^ m; } };
struct Orr { uint64_t operator()(uint64_t n, uint64_t m) const { return n | m; } };
struct Nor { uint64_t operator()(uint64_t n, uint64_t m) const { return ~(n | m); } };
struct Nand { uint64_t operator()(uint64_t n, uint64_t m) const { return ~(n & m); } };
struct Orn { uint64_t operator()(uint64_t n, uint64_t m) const { return n | ~m; } };

// The map words of a vector of the context's length, the last one masked.
inline int map_words(const CpuContext* c) { return (vl_bytes(c) + 63) / 64; }
inline uint64_t word_mask(const CpuContext* c, int j) {
  int rest = vl_bytes(c) - 64 * j;
  return rest >= 64 ? ~uint64_t(0) : (uint64_t(1) << rest) - 1;
}

template <class Op, bool SetFlags>
void logic_routine(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  *d = PredV{};
  for (int j = 0; j < map_words(c); ++j) d->w[j] = g->w[j] & Op{}(n->w[j], m->w[j]) & word_mask(c, j);
  if (SetFlags) PredSetNZCV(*g, *d, 8, c);
}

// Pd = bits 3-0, Pn = bits 8-5, Pg = bits 13-10, Pm = bits 19-16.
struct PFields {
  aarch64_p_reg d, g, n, m;
};
inline PFields pfields(uint32_t w) {
  return {{uint8_t(field(w, 3, 0)), 0, true}, {uint8_t(field(w, 13, 10)), 0, true},
          {uint8_t(field(w, 8, 5)), 0, true}, {uint8_t(field(w, 19, 16)), 0, true}};
}

template <class Op>
aarch64_decode_rc fixed_logic(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  lanes_ppp(s->p[pd.num], s->p[pg.num], s->p[pn.num], s->p[pm.num], pg.zeroing, Op{});
  return DECODE_OK;
}

}  // namespace
}  // namespace sve

aarch64_decode_rc sve_and_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  return sve::fixed_logic<sve::And>(s, pd, pg, pn, pm);
}
aarch64_decode_rc sve_bic_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  return sve::fixed_logic<sve::Bic>(s, pd, pg, pn, pm);
}
aarch64_decode_rc sve_eor_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  return sve::fixed_logic<sve::Eor>(s, pd, pg, pn, pm);
}
aarch64_decode_rc sve_orr_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  return sve::fixed_logic<sve::Orr>(s, pd, pg, pn, pm);
}
aarch64_decode_rc sve_nor_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  return sve::fixed_logic<sve::Nor>(s, pd, pg, pn, pm);
}
// Pd = Pg ? Pn : Pm, lane by lane: Pn where Pg is set, else Pm (that is, Pm
// as the merged-in destination and no zeroing).
aarch64_decode_rc sve_sel_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  sve::lanes_select(s->p[pd.num], s->p[pg.num], s->p[pn.num], s->p[pm.num]);
  return DECODE_OK;
}

#define SVE_PLOGIC_EXPORT(NAME, OP, FLAGS)                                                          \
  extern "C" void NAME(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) { \
    sve::logic_routine<sve::OP, FLAGS>(d, g, n, m, c);                                            \
  }
SVE_PLOGIC_EXPORT(VecPNandPPZ, Nand, false)
SVE_PLOGIC_EXPORT(VecPOrNPPZ, Orn, false)
SVE_PLOGIC_EXPORT(VecPAndFlgPPZ, And, true)
SVE_PLOGIC_EXPORT(VecPBicFlgPPZ, Bic, true)
SVE_PLOGIC_EXPORT(VecPXorFlgPPZ, Eor, true)
SVE_PLOGIC_EXPORT(VecPOrFlgPPZ, Orr, true)
SVE_PLOGIC_EXPORT(VecPNorFlgPPZ, Nor, true)
SVE_PLOGIC_EXPORT(VecPNandFlgPPZ, Nand, true)
SVE_PLOGIC_EXPORT(VecPOrNFlgPPZ, Orn, true)

namespace sve {
namespace {

using PExec = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg);
template <PExec X> aarch64_decode_rc fixed_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  PFields f = pfields(w);
  return X(s, f.d, f.g, f.n, f.m);
}
template <AgnosticPPPP R> aarch64_decode_rc agnostic_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  PFields f = pfields(w);
  return run_agnostic_pppp(s, f.d.num, f.g.num, f.n.num, f.m.num, R);
}

}  // namespace
}  // namespace sve

const HandlerDef kPredLogicHandlers[] = {
    {"VecPAndPPZ", &sve::fixed_handler<&sve_and_pppp>},
    {"VecPBicPPZ", &sve::fixed_handler<&sve_bic_pppp>},
    {"VecPXorPPZ", &sve::fixed_handler<&sve_eor_pppp>},
    {"VecPOrPPZ", &sve::fixed_handler<&sve_orr_pppp>},
    {"VecPNorPPZ", &sve::fixed_handler<&sve_nor_pppp>},
    {"VecPSelPP", &sve::fixed_handler<&sve_sel_pppp>},
    {"VecPNandPPZ", &sve::agnostic_handler<&VecPNandPPZ>},
    {"VecPOrNPPZ", &sve::agnostic_handler<&VecPOrNPPZ>},
    {"VecPAndFlgPPZ", &sve::agnostic_handler<&VecPAndFlgPPZ>},
    {"VecPBicFlgPPZ", &sve::agnostic_handler<&VecPBicFlgPPZ>},
    {"VecPXorFlgPPZ", &sve::agnostic_handler<&VecPXorFlgPPZ>},
    {"VecPOrFlgPPZ", &sve::agnostic_handler<&VecPOrFlgPPZ>},
    {"VecPNorFlgPPZ", &sve::agnostic_handler<&VecPNorFlgPPZ>},
    {"VecPNandFlgPPZ", &sve::agnostic_handler<&VecPNandFlgPPZ>},
    {"VecPOrNFlgPPZ", &sve::agnostic_handler<&VecPOrNFlgPPZ>},
};
std::span<const HandlerDef> pred_logic_handlers() { return kPredLogicHandlers; }
