// Element permutes written once as index maps (output element i takes
// element `index` of the first or second source) and driven over 112-byte
// arrays (Z registers and unpacked P registers alike) or packed maps.
#pragma once
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "sve/decode/routes.h"
#include "sve/int/pred_drivers.h"
#include "sve/state/context.h"
#include "sve/state/cpu_state.h"

namespace sve {

struct Source {
  int which;  // 0: first source, 1: second source
  int index;
};

// n is the element count; every count at this length is even.
struct Zip1 {
  static constexpr Source at(int i, int) { return {i & 1, i / 2}; }
};
struct Zip2 {
  static constexpr Source at(int i, int n) { return {i & 1, n / 2 + i / 2}; }
};
template <int Odd> struct Uzp {  // even (0) or odd (1) elements of first:second
  static constexpr Source at(int i, int n) {
    int j = 2 * i + Odd;
    return j < n ? Source{0, j} : Source{1, j - n};
  }
};
template <int Odd> struct Trn {
  static constexpr Source at(int i, int) { return {i & 1, (i & ~1) + Odd}; }
};
struct Rev {
  static constexpr Source at(int i, int n) { return {0, n - 1 - i}; }
};

// body(i) for i in [0, N) as a run whose length is a multiple of the elements
// of T in 16 bytes, unrolled, and the rest, so that both vectorise whole.
template <class T, int N, class Body> inline void for_vectors(Body body) {
  constexpr int per = 16 / int(sizeof(T)), whole = N / per * per;
#pragma GCC unroll 16
  for (int i = 0; i < whole; ++i) body(i);
  for (int i = whole; i < N; ++i) body(i);
}

// d = the permute of a (and b) at T elements over 112 bytes, written per map
// as plain element loops with constant trip counts (the compiler turns them
// into vector shuffles); d may alias a source.
template <class Map, class T>
inline void permute_elems(uint8_t* d, const uint8_t* a, const uint8_t* b) {
  constexpr int n = SVE_VL_BYTES / int(sizeof(T)), half = n / 2;
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  if constexpr (std::is_same_v<Map, Zip1> || std::is_same_v<Map, Zip2>) {
    constexpr int base = std::is_same_v<Map, Zip2> ? half : 0;
    for_vectors<T, half>([&](int i) {
      set_elem<T>(tmp, 2 * i, elem<T>(a, base + i));
      set_elem<T>(tmp, 2 * i + 1, elem<T>(b, base + i));
    });
  } else if constexpr (std::is_same_v<Map, Uzp<0>> || std::is_same_v<Map, Uzp<1>>) {
    constexpr int odd = std::is_same_v<Map, Uzp<1>>;
    for_vectors<T, half>([&](int i) { set_elem<T>(tmp, i, elem<T>(a, 2 * i + odd)); });
    for_vectors<T, half>([&](int i) { set_elem<T>(tmp, half + i, elem<T>(b, 2 * i + odd)); });
  } else if constexpr (std::is_same_v<Map, Trn<0>> || std::is_same_v<Map, Trn<1>>) {
    constexpr int odd = std::is_same_v<Map, Trn<1>>;
    for_vectors<T, half>([&](int i) {
      set_elem<T>(tmp, 2 * i, elem<T>(a, 2 * i + odd));
      set_elem<T>(tmp, 2 * i + 1, elem<T>(b, 2 * i + odd));
    });
  } else {
    for_vectors<T, n>([&](int i) {
      Source s = Map::at(i, n);
      set_elem<T>(tmp, i, elem<T>(s.which ? b : a, s.index));
    });
  }
  std::memcpy(d, tmp, SVE_VL_BYTES);
}
template <class Map, int E>
inline void permute_bytes(uint8_t* d, const uint8_t* a, const uint8_t* b) {
  using T = IntOf<E, false>;
  permute_elems<Map, T>(d, a, b);
}
// The same at a run-time element size of 1, 2, 4 or 8 bytes.
template <class Map>
inline void permute_bytes(uint8_t* d, const uint8_t* a, const uint8_t* b, int element_size) {
  switch (element_size) {
    case 2: permute_bytes<Map, 2>(d, a, b); break;
    case 4: permute_bytes<Map, 4>(d, a, b); break;
    case 8: permute_bytes<Map, 8>(d, a, b); break;
    default: permute_bytes<Map, 1>(d, a, b); break;
  }
}

// Packed maps: elements of E bits (every bit of an element moves with it),
// over a vector of vl bytes. TRN and UZP work a 64-bit word at a time (pairs
// of elements never straddle a word); the other maps go element by element.

// In each group of 2g bits, the low g bits.
constexpr uint64_t low_halves(int g) {
  uint64_t m = 0;
  for (int k = 0; k < 64; ++k) m |= uint64_t((k / g) % 2 == 0) << k;
  return m;
}
// The even E-bit elements of x packed into its low 32 bits.
inline uint64_t even_elements_packed(uint64_t x, int ebits) {
  x &= low_halves(ebits);
  for (int g = 2 * ebits; g <= 32; g *= 2) x = (x | x >> (g / 2)) & low_halves(g);
  return x;
}
constexpr uint64_t low_half_masks[4] = {low_halves(1), low_halves(2), low_halves(4), low_halves(8)};
inline uint64_t valid_map_bits(int vl, int w) {
  return vl - 64 * w >= 64 ? ~uint64_t(0) : vl <= 64 * w ? 0 : (uint64_t(1) << (vl - 64 * w)) - 1;
}

template <class Map>
inline void permute_bits(PredV* d, const PredV* a, const PredV* b, int ebytes, int vl) {
  PredV r{};
  constexpr bool kTrn = std::is_same_v<Map, Trn<0>> || std::is_same_v<Map, Trn<1>>;
  constexpr bool kUzp = std::is_same_v<Map, Uzp<0>> || std::is_same_v<Map, Uzp<1>>;
  constexpr int odd = std::is_same_v<Map, Trn<1>> || std::is_same_v<Map, Uzp<1>>;
  const int shift = odd * ebytes;
  if constexpr (kTrn) {
    const uint64_t even = low_half_masks[__builtin_ctz(unsigned(ebytes))];
    for (int w = 0; w * 64 < vl; ++w) {
      uint64_t x = (a->w[w] >> shift) & even, y = (b->w[w] >> shift) & even;
      r.w[w] = (x | y << ebytes) & valid_map_bits(vl, w);
    }
  } else if constexpr (kUzp) {
    // The even (odd) elements of a, then those of b: vl / 2 bits from each.
    int pos = 0;
    for (const PredV* src : {a, b})
      for (int w = 0; w * 64 < vl; ++w) {
        uint64_t v = even_elements_packed((src->w[w] & valid_map_bits(vl, w)) >> shift, ebytes);
        int bits = (vl - 64 * w >= 64 ? 64 : vl - 64 * w) / 2;
        r.w[pos >> 6] |= v << (pos & 63);
        if ((pos & 63) + bits > 64) r.w[(pos >> 6) + 1] |= v >> (64 - (pos & 63));
        pos += bits;
      }
  } else {
    int n = vl / ebytes;
    for (int i = 0; i < n; ++i) {
      Source s = Map::at(i, n);
      const PredV* src = s.which ? b : a;
      for (int k = 0; k < ebytes; ++k) r.set(i * ebytes + k, src->bit(s.index * ebytes + k));
    }
  }
  *d = r;
}

}  // namespace sve

// Byte-array helpers shared by the vector and predicate permutes: 112-byte
// destination, first and second source, element size in bytes.
void sve_zip1(char* d, char* a, char* b, int element_size);
void sve_zip2(char* d, char* a, char* b, int element_size);
void sve_uzp1(char* d, char* a, char* b, int element_size);
