// Sixteen bytes of elements as one GCC vector of lanes: both hosts keep such
// values in one register (SSE / NEON) and give the lane operators their own
// instructions, where element loops may stay scalar.
#pragma once
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "sve/int/wrap.h"

namespace sve {

template <class T> struct LanesOf {
  typedef T type __attribute__((vector_size(16)));
};
template <class T> using Lanes = typename LanesOf<T>::type;

template <class T> inline Lanes<T> load_lanes(const uint8_t* p) {
  Lanes<T> v;
  std::memcpy(&v, p, 16);
  return v;
}
template <class T> inline void store_lanes(uint8_t* p, Lanes<T> v) { std::memcpy(p, &v, 16); }
// The same sixteen bytes seen as lanes of T.
template <class T, class V> inline Lanes<T> as_lanes(V v) { return (Lanes<T>)v; }

// v in every lane (a scalar operand narrower than int would be promoted).
template <class T> inline Lanes<T> splat(T v) {
  Lanes<T> r;
  for (int i = 0; i < int(16 / sizeof(T)); ++i) r[i] = v;
  return r;
}
// Lane by lane: yes where the predicate lane (bit 0 of the element's first
// byte of the unpacked predicate) is set, no elsewhere.
// 32- and 64-bit lanes test bit 0 as the sign after a shift, which x86 blends
// on alone (the same shift and compare for 16-bit lanes measured slower).
template <class T> inline Lanes<T> select_active(const uint8_t* lanes, Lanes<T> yes, Lanes<T> no) {
  using U = UnsignedOf<T>;
  using S = std::make_signed_t<T>;
  if constexpr (sizeof(T) == 1) return load_lanes<U>(lanes) ? yes : no;  // byte lanes hold 0 or 1
  else if constexpr (sizeof(T) == 2) return (load_lanes<U>(lanes) & U(1)) ? yes : no;
  else return as_lanes<S>(load_lanes<U>(lanes) << (kBits<T> - 1)) < S(0) ? yes : no;
}
// min(a, b) lane by lane, as a loop: the compilers make it one unsigned
// minimum, where the vector ?: form became a compare and a blend.
template <class U> inline Lanes<U> min_lanes(Lanes<U> a, U b) {
  for (int i = 0; i < int(16 / sizeof(U)); ++i) a[i] = a[i] < b ? a[i] : b;
  return a;
}

// Whether any bit of the sixteen bytes is set, of those set in `mask` in
// each of the two 64-bit halves.
inline bool any_set(Lanes<uint8_t> v, uint64_t mask = ~uint64_t(0)) {
  uint64_t half[2];
  std::memcpy(half, &v, 16);
  return ((half[0] | half[1]) & mask) != 0;
}

}  // namespace sve
