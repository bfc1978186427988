// SDOT and UDOT: vectors and indexed, 32-bit accumulators over bytes and
// 64-bit accumulators over halfwords. Length-agnostic route.
#include <type_traits>

#include "sve/decode/routes.h"

namespace sve {
namespace {

// Narrow source element type for an accumulator type: 4 products per element.
template <class Acc> using Narrow =
    std::conditional_t<sizeof(Acc) == 4, std::conditional_t<std::is_signed_v<Acc>, int8_t, uint8_t>,
                       std::conditional_t<std::is_signed_v<Acc>, int16_t, uint16_t>>;

// Zda[i] += sum over k of Zn[4i+k] * Zm[4g+k], g = group(i); wraps at the element width.
template <class Acc, class Group>
void dot_loop(uint8_t* d, const uint8_t* acc, const uint8_t* zn, const uint8_t* zm, int n, Group group) {
  using N = Narrow<Acc>;
  using UAcc = std::make_unsigned_t<Acc>;
  for (int i = 0; i < n; ++i) {
    UAcc sum = UAcc(elem<Acc>(acc, i));
    int g = group(i);
    for (int k = 0; k < 4; ++k)
      sum += UAcc(int64_t(elem<N>(zn, 4 * i + k)) * int64_t(elem<N>(zm, 4 * g + k)));
    set_elem<Acc>(d, i, Acc(sum));
  }
}

template <class Acc>
void dot_routine(uint8_t* d, const uint8_t* a, const PredV*, const uint8_t* zn, const uint8_t* zm, CpuContext* c) {
  dot_loop<Acc>(d, a, zn, zm, agnostic_elems<Acc>(c), [](int i) { return i; });
}
// The Zm group of element i is `index` within the element's 128-bit segment.
template <class Acc>
void dot_index_routine(uint8_t* d, const uint8_t* a, const PredV*, const uint8_t* zn, const uint8_t* zm, int index,
                       CpuContext* c) {
  constexpr int per_segment = 16 / int(sizeof(Acc));
  dot_loop<Acc>(d, a, zn, zm, agnostic_elems<Acc>(c),
                [index](int i) { return i - i % per_segment + index; });
}

// Zda = bits 4-0, Zn = bits 9-5, Zm = bits 20-16.
template <AgnosticVVV R> aarch64_decode_rc dot_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_vvvi(s, field(w, 4, 0), field(w, 9, 5), field(w, 20, 16), 0, &without_index<R>);
}
// 32-bit accumulators: Zm = bits 18-16, index = bits 20-19; 64-bit: Zm = bits 19-16, index = bit 20.
template <class Acc, AgnosticVVVI R> aarch64_decode_rc dot_index_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  bool wide = sizeof(Acc) == 8;
  unsigned zm = wide ? field(w, 19, 16) : field(w, 18, 16);
  int index = int(wide ? field(w, 20, 20) : field(w, 20, 19));
  return run_agnostic_vvvi(s, field(w, 4, 0), field(w, 9, 5), zm, index, R);
}

}  // namespace
}  // namespace sve

#define SVE_DOT_EXPORTS(T)                                                                              \
  extern "C" void Vec##T##DotVVVX(uint8_t* d, const uint8_t* a, const PredV* p, const uint8_t* n,      \
                                  const uint8_t* m, CpuContext* c) {                                    \
    sve::dot_routine<sve::ty::T>(d, a, p, n, m, c);                                                     \
  }                                                                                                     \
  extern "C" void Vec##T##DotVVVIX(uint8_t* d, const uint8_t* a, const PredV* p, const uint8_t* n,     \
                                   const uint8_t* m, int index, CpuContext* c) {                        \
    sve::dot_index_routine<sve::ty::T>(d, a, p, n, m, index, c);                                        \
  }
SVE_DOT_EXPORTS(S32) SVE_DOT_EXPORTS(S64) SVE_DOT_EXPORTS(U32) SVE_DOT_EXPORTS(U64)

#define SVE_DOT_DEFS(T)                                                                   \
  HandlerDef{"Vec" #T "DotVVVX", &sve::dot_handler<&Vec##T##DotVVVX>},                    \
      HandlerDef{"Vec" #T "DotVVVIX", &sve::dot_index_handler<sve::ty::T, &Vec##T##DotVVVIX>},

const HandlerDef kDotHandlers[] = {SVE_DOT_DEFS(S32) SVE_DOT_DEFS(S64) SVE_DOT_DEFS(U32) SVE_DOT_DEFS(U64)};
std::span<const HandlerDef> dot_handlers() { return kDotHandlers; }
