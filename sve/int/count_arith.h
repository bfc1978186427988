// Arithmetic shared by the element-count families: wrapping and saturating
// steps of a register or element by a count.
#pragma once
#include <cstdint>
#include <type_traits>

#include "sve/int/helpers.h"

namespace sve {

// x + amount or x - amount saturated to `bits` (signed or unsigned); a signed
// result is sign-extended to 64 bits, an unsigned one zero-extended.
inline uint64_t sat_step(uint64_t x, uint64_t amount, int bits, bool is_unsigned, bool decrement) {
  int sh = 64 - bits;
  int128 v = is_unsigned ? int128((x << sh) >> sh) : int128(int64_t(x << sh) >> sh);
  v = decrement ? v - int128(amount) : v + int128(amount);
  int128 lo = is_unsigned ? 0 : -(int128(1) << (bits - 1));
  int128 hi = is_unsigned ? (int128(1) << bits) - 1 : (int128(1) << (bits - 1)) - 1;
  v = v < lo ? lo : v > hi ? hi : v;
  return uint64_t(v);  // in range: a signed value comes out sign-extended
}

// The step of one element of type T (saturating when Sat).
template <class T, bool Sat, bool Decrement> struct CountStep {
  uint64_t amount;
  T operator()(T x) const {
    if constexpr (Sat) {
      using U = std::make_unsigned_t<T>;
      return T(sat_step(uint64_t(U(x)), amount, int(sizeof(T)) * 8, std::is_unsigned_v<T>, Decrement));
    } else {
      using U = std::make_unsigned_t<T>;
      return T(Decrement ? U(U(x) - U(amount)) : U(U(x) + U(amount)));
    }
  }
};

}  // namespace sve
