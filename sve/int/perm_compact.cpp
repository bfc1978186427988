// SPLICE and COMPACT: active elements packed at the bottom of the result.
// Length agnostic.
#include "sve/decode/routes.h"
#include "sve/int/flags.h"

namespace sve {
namespace {

// The elements of a from its first to its last active element, then the
// elements of b from element 0 until the vector is full.
template <class T>
void splice_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  int n = agnostic_elems<T>(c), bits = int(sizeof(T)) * 8;
  int first = FindFirstActive(*pg, bits, c), last = FindLastActive(*pg, bits, c);
  int x = 0;
  if (first >= 0)
    for (int e = first; e <= last; ++e) set_elem<T>(d, x++, elem<T>(a, e));
  for (int e = 0; x < n; ++e) set_elem<T>(d, x++, elem<T>(b, e));
}
// The active elements of a in order, the rest 0.
template <class T>
void compact_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t*, CpuContext* c) {
  int n = agnostic_elems<T>(c), x = 0;
  for (int e = 0; e < n; ++e)
    if (pg->bit(e * int(sizeof(T)))) set_elem<T>(d, x++, elem<T>(a, e));
  for (; x < n; ++x) set_elem<T>(d, x, T(0));
}

// SPLICE: Zdn = bits 4-0, Zm = bits 9-5, Pg = bits 12-10.
template <AgnosticVV R> aarch64_decode_rc splice_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vv(s, field(w, 4, 0), field(w, 4, 0), int(field(w, 12, 10)), field(w, 9, 5), R);
}
// COMPACT: Zd = bits 4-0, Zn = bits 9-5, Pg = bits 12-10.
template <AgnosticVV R> aarch64_decode_rc compact_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vv(s, field(w, 4, 0), field(w, 9, 5), int(field(w, 12, 10)), field(w, 9, 5), R);
}

}  // namespace
}  // namespace sve

SVE_FOR_U(SVE_EXPORT_VV, SpliceVV, splice_routine)
SVE_EXPORT_VV(U32, CompressVV, compact_routine)
SVE_EXPORT_VV(U64, CompressVV, compact_routine)

const HandlerDef kPermCompactHandlers[] = {
    SVE_LIST_U(SVE_AGN_DEF, SpliceVV, sve::splice_handler),
    SVE_AGN_DEF(U32, CompressVV, sve::compact_handler),
    SVE_AGN_DEF(U64, CompressVV, sve::compact_handler),
};
std::span<const HandlerDef> perm_compact_handlers() { return kPermCompactHandlers; }
