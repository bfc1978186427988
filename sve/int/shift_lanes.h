// Shifts of sixteen bytes of elements at once, as GCC vectors: both hosts
// vectorise these directly, where the element-by-element forms left
// variable-amount and narrow-element shifts to long scalar or widened code.
// Shifts by per-lane amounts: AArch64 has them (USHL/SSHL, a negative amount
// shifting right); x86-64-v2 has none, so there they multiply by a power of
// two: its low half shifts left, its high half shifts right.
#pragma once
#include <cstdint>
#include <cstring>
#include <type_traits>
#if defined(__aarch64__)
#include <arm_neon.h>
#endif

#include "sve/int/lanes.h"
#include "sve/int/wrap.h"

namespace sve {

#if defined(__aarch64__)
// USHL/SSHL: each lane shifted by the signed low byte of its amount lane, left
// when positive, right when negative; by the width or more a lane gives 0 (or
// its sign, shifted right as signed).
inline Lanes<uint8_t> neon_shl(Lanes<uint8_t> x, Lanes<int8_t> k) { return vshlq_u8(x, k); }
inline Lanes<uint16_t> neon_shl(Lanes<uint16_t> x, Lanes<int16_t> k) { return vshlq_u16(x, k); }
inline Lanes<uint32_t> neon_shl(Lanes<uint32_t> x, Lanes<int32_t> k) { return vshlq_u32(x, k); }
inline Lanes<uint64_t> neon_shl(Lanes<uint64_t> x, Lanes<int64_t> k) { return vshlq_u64(x, k); }
inline Lanes<int8_t> neon_shl(Lanes<int8_t> x, Lanes<int8_t> k) { return vshlq_s8(x, k); }
inline Lanes<int16_t> neon_shl(Lanes<int16_t> x, Lanes<int16_t> k) { return vshlq_s16(x, k); }
inline Lanes<int32_t> neon_shl(Lanes<int32_t> x, Lanes<int32_t> k) { return vshlq_s32(x, k); }
inline Lanes<int64_t> neon_shl(Lanes<int64_t> x, Lanes<int64_t> k) { return vshlq_s64(x, k); }
#endif

// ---- one amount for every lane, k < width (bytes: k <= 8) ----
// x86 has no byte shifts and no 64-bit arithmetic shift: there bytes shift as
// 16-bit lanes with the bits that crossed into the other byte masked off, and
// arithmetic shifts of bytes and 64-bit lanes shift logically, then extend the
// shifted sign bit by xor and subtract (in unsigned lanes, where the
// subtraction wraps). AArch64 shifts the lanes as they are.
template <class T> inline Lanes<T> shl_lanes(Lanes<T> x, unsigned k) {
#if !defined(__aarch64__)
  if constexpr (sizeof(T) == 1) return as_lanes<T>(as_lanes<uint16_t>(x) << k) & splat<T>(T(0xFFu << k));
#endif
  return as_lanes<T>(as_lanes<UnsignedOf<T>>(x) << k);
}
template <class T> inline Lanes<T> lsr_lanes(Lanes<T> x, unsigned k) {
  using U = UnsignedOf<T>;
#if defined(__aarch64__)
  if constexpr (sizeof(T) == 1) return as_lanes<T>(neon_shl(as_lanes<U>(x), splat<int8_t>(int8_t(-int(k)))));
#else
  if constexpr (sizeof(T) == 1) return as_lanes<T>(as_lanes<uint16_t>(x) >> k) & splat<T>(T(0xFFu >> k));
#endif
  return as_lanes<T>(as_lanes<U>(x) >> k);
}
template <class T> inline Lanes<T> asr_lanes(Lanes<T> x, unsigned k) {
#if !defined(__aarch64__)
  using U = UnsignedOf<T>;
  if constexpr (sizeof(T) == 1) {
    // The byte mask of the logical shift from the shifted sign bit, that from
    // one 16-bit shift (k <= 7 here).
    Lanes<U> sign = as_lanes<U>(splat<uint16_t>(0x8080) >> k), low = sign + sign - U(1);
    return as_lanes<T>(((as_lanes<U>(as_lanes<uint16_t>(x) >> k) & low) ^ sign) - sign);
  } else if constexpr (sizeof(T) == 8) {
    Lanes<U> sign = splat<U>(U(U(1) << 63 >> k));
    return as_lanes<T>(((as_lanes<U>(x) >> k) ^ sign) - sign);
  }
#endif
  return as_lanes<T>(as_lanes<std::make_signed_t<T>>(x) >> k);
}

// ---- per-lane amounts ----
// min(n, width) in each lane, n unsigned.
template <class T> inline Lanes<UnsignedOf<T>> clamp_amounts(Lanes<T> n) {
  using U = UnsignedOf<T>;
  return min_lanes<U>(as_lanes<U>(n), U(kBits<T>));
}

#if defined(__aarch64__)
template <class T> inline Lanes<std::make_signed_t<T>> neon_amounts(Lanes<T> n) {
  return as_lanes<std::make_signed_t<T>>(clamp_amounts<T>(n));
}
template <class T> inline Lanes<T> shl_by_lanes(Lanes<T> x, Lanes<T> n) {
  return as_lanes<T>(neon_shl(as_lanes<UnsignedOf<T>>(x), neon_amounts<T>(n)));
}
template <class T> inline Lanes<T> lsr_by_lanes(Lanes<T> x, Lanes<T> n) {
  return as_lanes<T>(neon_shl(as_lanes<UnsignedOf<T>>(x), -neon_amounts<T>(n)));
}
template <class T> inline Lanes<T> asr_by_lanes(Lanes<T> x, Lanes<T> n) {
  return as_lanes<T>(neon_shl(as_lanes<std::make_signed_t<T>>(x), -neon_amounts<T>(n)));
}
#else
template <class T>
using Double = std::conditional_t<sizeof(T) == 1, uint16_t, std::conditional_t<sizeof(T) == 2, uint32_t, uint64_t>>;

// 2^e in each lane for e <= width (2^width gives 0), or with Down 2^(width - e)
// (2^width gives 0). Byte j of a lane is 2^(e - 8j) when that is in 0..7,
// else 0: a 16-entry byte table looked up with e - 8j clamped to the first
// zero entry. Down looks up a table of falling powers with e - (8(n - j) - 7),
// so that the subtraction from the width is part of the offsets.
template <class T, bool Down = false> inline Lanes<UnsignedOf<T>> pow2_lanes(Lanes<UnsignedOf<T>> e) {
  using B = Lanes<uint8_t>;
  constexpr int n = int(sizeof(T));
  B idx = as_lanes<uint8_t>(e), offset;
  for (int i = 0; i < 16; ++i) offset[i] = uint8_t(Down ? 8 * (n - i % n) - 7 : 8 * (i % n));
  if constexpr (n > 1) {
    B spread;
    for (int i = 0; i < 16; ++i) spread[i] = uint8_t(i & -n);
    idx = min_lanes<uint8_t>(__builtin_shuffle(idx, spread) - offset, 8);
  } else if constexpr (Down) {
    idx -= offset;  // e = 0 gives 255, which the lookup takes as 15 (bytes: e <= 8 already)
  }
  const B up = {1, 2, 4, 8, 16, 32, 64, 128, 0, 0, 0, 0, 0, 0, 0, 0};
  const B down = {128, 64, 32, 16, 8, 4, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0};
  return as_lanes<UnsignedOf<T>>(__builtin_shuffle(Down ? down : up, idx));
}
// 32-bit lanes take a power of two from a float built from its exponent and
// converted to int, as a negative power so that 2^31 stays in range.
// -2^m for m = min(n, 32) < 32 (x << m is then -(x * -2^m)); m = 32 (bit 5)
// is shifted to the sign and over the exponent's top bits, giving -2^-32,
// which converts to 0.
inline Lanes<uint32_t> neg_pow2(Lanes<uint32_t> m) {
  Lanes<uint32_t> bits = as_lanes<uint32_t>(as_lanes<int32_t>(m << 26) >> 3) + 0xBF800000u;
  return as_lanes<uint32_t>(__builtin_convertvector(as_lanes<float>(bits), Lanes<int32_t>));
}
// -2^(31 - m) for m = min(n, 32): m = 32 gives -0.5, which converts to 0.
inline Lanes<uint32_t> neg_pow2_31_minus(Lanes<uint32_t> m) {
  Lanes<uint32_t> bits = 0xCF000000u - (m << 23);
  return as_lanes<uint32_t>(__builtin_convertvector(as_lanes<float>(bits), Lanes<int32_t>));
}
// Products of byte lanes as 16-bit products of the even bytes and of the odd
// bytes (x86 has no byte multiply): their low bytes or their high bytes.
inline Lanes<uint8_t> mul_low_bytes(Lanes<uint8_t> a, Lanes<uint8_t> b) {
  Lanes<uint16_t> x = as_lanes<uint16_t>(a), y = as_lanes<uint16_t>(b), lo = splat<uint16_t>(0xFF);
  Lanes<uint16_t> even = (x * (y & lo)) & lo, odd = (x & ~lo) * (y >> 8);
  return as_lanes<uint8_t>(even | odd);
}
inline Lanes<uint8_t> mul_high_bytes(Lanes<uint8_t> a, Lanes<uint8_t> b) {
  Lanes<uint16_t> x = as_lanes<uint16_t>(a), y = as_lanes<uint16_t>(b), lo = splat<uint16_t>(0xFF);
  Lanes<uint16_t> even = ((x & lo) * (y & lo)) >> 8, odd = ((x >> 8) * (y >> 8)) & ~lo;
  return as_lanes<uint8_t>(even | odd);
}
template <class U> inline Lanes<U> mul_low(Lanes<U> a, Lanes<U> b) {
  if constexpr (sizeof(U) == 1) return mul_low_bytes(a, b);
  else return a * b;
}
// The double-width product shifted right by Shift (by default its high half),
// lane by lane (the compilers recognise the loop as a widening multiply).
template <class U, int Shift = kBits<U>> inline Lanes<U> mul_high(Lanes<U> a, Lanes<U> b) {
  if constexpr (sizeof(U) == 1) return mul_high_bytes(a, b);
  Lanes<U> r;
  for (int i = 0; i < int(16 / sizeof(U)); ++i) r[i] = U((Double<U>(a[i]) * b[i]) >> Shift);
  return r;
}
// 64-bit lanes (no 64-bit multiply on x86-64-v2) one at a time, as scalar
// shifts (measured cheaper than two whole-vector shifts and a blend).
template <class T, class Shift> inline Lanes<T> each_lane(Lanes<T> x, Lanes<T> n, Shift shift) {
  for (int i = 0; i < int(16 / sizeof(T)); ++i) x[i] = shift(x[i], uint64_t(UnsignedOf<T>(n[i])));
  return x;
}
template <class T> inline Lanes<T> shl_by_lanes(Lanes<T> x, Lanes<T> n) {
  using U = UnsignedOf<T>;
  if constexpr (sizeof(T) == 8)
    return each_lane<T>(x, n, [](T v, uint64_t k) { return k < 64 ? T(U(v) << k) : T(0); });
  else if constexpr (sizeof(T) == 4) return as_lanes<T>(0u - as_lanes<U>(x) * neg_pow2(clamp_amounts<T>(n)));
  else return as_lanes<T>(mul_low<U>(as_lanes<U>(x), pow2_lanes<T>(clamp_amounts<T>(n))));
}
// x >> k is the high half of x * 2^(width - k); k = 0 keeps x. 32-bit lanes
// take bits 31-62 of x * 2^(31 - k) instead, which needs no case for k = 0.
template <class T> inline Lanes<T> lsr_by_lanes(Lanes<T> x, Lanes<T> n) {
  using U = UnsignedOf<T>;
  if constexpr (sizeof(T) == 8) {
    return each_lane<T>(x, n, [](T v, uint64_t k) { return k < 64 ? T(U(v) >> k) : T(0); });
  } else if constexpr (sizeof(T) == 4) {
    return as_lanes<T>(mul_high<U, 31>(as_lanes<U>(x), 0u - neg_pow2_31_minus(clamp_amounts<T>(n))));
  } else {
    Lanes<U> k = clamp_amounts<T>(n);
    Lanes<U> r = mul_high<U>(as_lanes<U>(x), pow2_lanes<T, true>(k));
    return as_lanes<T>(k == U(0) ? as_lanes<U>(x) : r);
  }
}
// The arithmetic shift of a negative x is the complement of the logical shift
// of ~x.
template <class T> inline Lanes<T> asr_by_lanes(Lanes<T> x, Lanes<T> n) {
  using S = std::make_signed_t<T>;
  if constexpr (sizeof(T) == 8)
    return each_lane<T>(x, n, [](T v, uint64_t k) { return T(S(v) >> (k < 63 ? int(k) : 63)); });
  Lanes<T> sign = as_lanes<T>(as_lanes<S>(x) < S(0));
  return lsr_by_lanes<T>(x ^ sign, n) ^ sign;
}
#endif

}  // namespace sve
