// Integer helper library in the shape of the architecture's pseudocode
// functions. Values travel as 64-bit words holding an N-bit field in their
// low bits; wide intermediates are 128-bit signed integers.
#pragma once
#include <cstdint>
#include <utility>

namespace sve {

using int128 = __int128;
using uint128 = unsigned __int128;

// All ones shifted right by (64 - n) mod 64: ones(0) is deliberately all ones.
constexpr uint64_t ones(int n) { return ~uint64_t(0) >> ((64 - n) & 63); }

constexpr int HighestBitSet(unsigned long x, int N) {
  for (int i = N - 1; i >= 0; --i)
    if ((x >> i) & 1) return i;
  return -1;
}
constexpr int CountLeadingZeroBits(unsigned long x, int N) { return N - 1 - HighestBitSet(x, N); }
constexpr int CountLeadingSignBits(unsigned long x, int N) {
  return CountLeadingZeroBits((x & ~(uint64_t(1) << 63)) ^ (x >> 1), N - 1);
}
constexpr int BitCount(unsigned long x, int N) {
  if (N < 1) return 0;
  return __builtin_popcountll(x & ones(N));
}
constexpr uint64_t BitReverse(unsigned long x, int N) {
  if (N < 1) return 0;
  uint64_t r = 0;
  for (int i = 0; i < N; ++i) r |= ((x >> i) & 1) << (N - 1 - i);
  return r;
}
// The (N/8)/unit units of `unit` bytes of x in reverse order.
constexpr uint64_t Reverse(unsigned long x, int N, int unit) {
  if (unit != 1 && unit != 2 && unit != 4) return 0;
  int units = (N / 8) / unit, ubits = unit * 8;
  uint64_t r = 0;
  for (int i = 0; i < units; ++i) {
    uint64_t u = (x >> (i * ubits)) & ones(ubits);
    r |= u << ((units - 1 - i) * ubits);
  }
  return r;
}

constexpr bool valid_width(int N) { return N == 8 || N == 16 || N == 32 || N == 64; }

constexpr int128 UInt(unsigned long x, int N) { return int128(x & ones(N)); }
constexpr int128 SInt(unsigned long x, int N) {
  if (!valid_width(N)) return 0;
  uint64_t v = x & ones(N);
  uint64_t sign = uint64_t(1) << (N - 1);
  return int128(int64_t((v ^ sign) - sign));
}
// Sign- or zero-extension of an N-bit field, bit by bit so that any N in 1..64 works.
constexpr int128 Int(unsigned long x, int N, bool is_unsigned) {
  int128 r = 0;
  for (int i = 0; i < N; ++i)
    if ((x >> i) & 1) r |= int128(1) << i;
  if (!is_unsigned && ((x >> (N - 1)) & 1)) r -= int128(1) << N;
  return r;
}

// On a tie the first argument; widths other than 8/16/32/64 give 0.
constexpr uint64_t Max(unsigned long a, unsigned long b, int N, bool is_unsigned) {
  if (!valid_width(N)) return 0;
  return Int(a, N, is_unsigned) >= Int(b, N, is_unsigned) ? a : b;
}
constexpr uint64_t Min(unsigned long a, unsigned long b, int N, bool is_unsigned) {
  if (!valid_width(N)) return 0;
  return Int(a, N, is_unsigned) <= Int(b, N, is_unsigned) ? a : b;
}
constexpr uint64_t ShiftLeft(unsigned long x, int shift, int /*N*/) { return shift >= 64 ? 0 : x << shift; }

constexpr uint64_t bits(int128 v) { return uint64_t(v); }
constexpr int128 AbsInt(int128 v) { return v < 0 ? -v : v; }
constexpr int128 NegInt(int128 v) { return -v; }
constexpr int128 AddInt(int128 a, int128 b) { return int128(uint128(a) + uint128(b)); }
constexpr int128 SubInt(int128 a, int128 b) { return int128(uint128(a) - uint128(b)); }
constexpr int128 ShiftLeftInt(int128 v, int128 amount) {
  return amount >= 128 ? 0 : int128(uint128(v) << int(amount));
}
constexpr int128 ShiftRightInt(int128 v, int128 amount) {
  return amount >= 128 ? (v < 0 ? -1 : 0) : v >> int(amount);
}

// Clamp to N bits: {result, saturated}.
constexpr std::pair<uint64_t, bool> SatQ(int128 value, int N, bool is_unsigned) {
  if (!is_unsigned) {
    int128 max = (int128(1) << (N - 1)) - 1, min = -(int128(1) << (N - 1));
    if (value > max) return {bits(max) & ones(N), true};
    if (value >= min) return {bits(value) & ones(N), false};
    return {bits(min) & ones(N), true};
  }
  if (value < 0) return {0, true};
  if (value >= (int128(1) << N)) return {ones(N), true};
  return {bits(value) & ones(N), false};
}
constexpr std::pair<uint64_t, bool> SatQShift(int128 value, int N, bool is_unsigned) {
  return SatQ(value, N, is_unsigned);
}
constexpr std::pair<uint64_t, bool> SatQUShift(int128 value, int N) { return SatQ(value, N, true); }
constexpr std::pair<uint64_t, bool> ShiftQLeftInt(int128 value, int amount, int N, bool is_unsigned) {
  if (value != 0 && amount >= N) return SatQ(value < 0 ? -(int128(1) << 100) : (int128(1) << 100), N, is_unsigned);
  return SatQ(ShiftLeftInt(value, amount), N, is_unsigned);
}

// Saturating N-bit sum: the clamped value when clamping happened, otherwise
// the low 64 bits of the 128-bit sum (sign-extended for signed operands).
constexpr uint64_t SatAdd(unsigned long a, unsigned long b, int N, bool is_unsigned) {
  int128 sum = AddInt(Int(a, N, is_unsigned), Int(b, N, is_unsigned));
  auto [r, sat] = SatQ(sum, N, is_unsigned);
  return sat ? r : bits(sum);
}
constexpr uint64_t SatSub(unsigned long a, unsigned long b, int N, bool is_unsigned) {
  return SatQ(SubInt(Int(a, N, is_unsigned), Int(b, N, is_unsigned)), N, is_unsigned).first;
}
// Forms the product and runs the clamp, but returns the wrapped product.
constexpr uint64_t SatMult(unsigned long a, unsigned long b, int N, bool is_unsigned) {
  int128 prod = int128(uint128(Int(a, N, is_unsigned)) * uint128(Int(b, N, is_unsigned)));
  (void)SatQ(prod, N, is_unsigned);
  return bits(prod);
}
constexpr uint64_t SatShiftLeft(unsigned long a, int amount, int N, bool is_unsigned) {
  return ShiftQLeftInt(Int(a, N, is_unsigned), amount, N, is_unsigned).first;
}
constexpr uint64_t SatShiftLeftU(unsigned long a, int amount, int N) {
  return ShiftQLeftInt(Int(a, N, false), amount, N, true).first;
}

// Carry-less product of two 64-bit values.
constexpr uint128 PolynomialMult(uint64_t a, uint64_t b) {
  uint128 r = 0;
  for (int i = 0; i < 64; ++i)
    if ((b >> i) & 1) r ^= uint128(a) << i;
  return r;
}

// Reciprocal estimate step: a in [256, 512), result in [256, 512).
constexpr int recip_estimate(int a) {
  a = a * 2 + 1;
  int b = (1 << 19) / a;
  return (b + 1) / 2;
}
// Reciprocal square-root estimate step: a in [128, 512), result in [256, 512).
constexpr int recip_sqrt_estimate(int a) {
  if (a < 256) a = a * 2 + 1;
  else a = ((a >> 1) << 1) * 2 + 2;
  int b = 512;
  while (int64_t(a) * (b + 1) * (b + 1) < (int64_t(1) << 28)) ++b;
  return (b + 1) / 2;
}
constexpr uint32_t UnsignedRecipEstimate(uint32_t op) {
  if (!(op >> 31)) return 0xFFFFFFFFu;
  return uint32_t(recip_estimate(int(op >> 23))) << 23;
}
constexpr uint32_t UnsignedRSqrtEstimate(uint32_t op) {
  if ((op >> 30) == 0) return 0xFFFFFFFFu;
  return uint32_t(recip_sqrt_estimate(int(op >> 23))) << 23;
}

}  // namespace sve
