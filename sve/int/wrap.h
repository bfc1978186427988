// Element arithmetic that wraps at the element width without undefined
// behaviour: the value is computed in an unsigned type at least as wide as int.
#pragma once
#include <cstdint>
#include <type_traits>

namespace sve {

template <class T> using UnsignedOf = std::make_unsigned_t<T>;
template <class T> using Wide = std::conditional_t<(sizeof(T) < 4), uint32_t, UnsignedOf<T>>;
template <class T> constexpr Wide<T> raw_bits(T v) { return Wide<T>(UnsignedOf<T>(v)); }

template <class T> constexpr T wrap_add(T a, T b) { return T(raw_bits(a) + raw_bits(b)); }
template <class T> constexpr T wrap_sub(T a, T b) { return T(raw_bits(a) - raw_bits(b)); }
template <class T> constexpr T wrap_mul(T a, T b) { return T(raw_bits(a) * raw_bits(b)); }
template <class T> constexpr int kBits = int(sizeof(T)) * 8;

}  // namespace sve
