// SPLICE and COMPACT: active elements packed at the bottom of the result.
// Length agnostic.
#include "sve/decode/routes.h"
#include "sve/int/flags.h"
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// The elements of a from its first to its last active element, then the
// elements of b from element 0 until the vector is full.
template <class T>
void splice_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  int bits = int(sizeof(T)) * 8, vl = vl_bytes(c);
  int first = FindFirstActive(*pg, bits, c), last = FindLastActive(*pg, bits, c);
  size_t taken = first < 0 ? 0 : size_t(last - first + 1) * sizeof(T);
  std::memcpy(d, a + (first < 0 ? 0 : first) * int(sizeof(T)), taken);
  std::memcpy(d + taken, b, size_t(vl) - taken);
}
// The active elements of a in order, the rest 0: the set bits of the map
// words at element starts, lowest first.
template <class T>
void compact_routine(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t*, CpuContext* c) {
  constexpr int E = int(sizeof(T));
  const int vl = vl_bytes(c);
  std::memset(d, 0, size_t(vl));
  int x = 0;
  for (int w = 0; w * 64 < vl; ++w)
    for (uint64_t m = pg->w[w] & kElementStarts<E> & (vl - 64 * w < 64 ? top_word_bits(vl) : ~uint64_t(0)); m;
         m &= m - 1)
      set_elem<T>(d, x++, elem<T>(a, (64 * w + __builtin_ctzll(m)) / E));
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
