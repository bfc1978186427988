// Arithmetic shared by the element-count families: wrapping and saturating
// steps of a register or element by a count.
#pragma once
#include <cstdint>
#include <limits>
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

// The step of one element of type T (saturating when Sat). Narrow elements
// step in 64 bits and clamp (an amount of 2^33 or more saturates them all the
// same); 64-bit elements saturate on overflow, which the amount (never
// negative) can only cause upward for increments and downward for decrements.
template <class T, bool Sat, bool Decrement> struct CountStep {
  uint64_t amount;
  T operator()(T x) const {
    using U = std::make_unsigned_t<T>;
    if constexpr (!Sat) {
      return T(Decrement ? U(U(x) - U(amount)) : U(U(x) + U(amount)));
    } else if constexpr (sizeof(T) < 8) {
      constexpr int64_t lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
      int64_t a = int64_t(amount < (uint64_t(1) << 33) ? amount : uint64_t(1) << 33);
      int64_t v = Decrement ? int64_t(x) - a : int64_t(x) + a;
      return T(v < lo ? lo : v > hi ? hi : v);
    } else {
      T r;
      bool over = Decrement ? __builtin_sub_overflow(x, amount, &r) : __builtin_add_overflow(x, amount, &r);
      return over ? (Decrement ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max()) : r;
    }
  }
};

}  // namespace sve
