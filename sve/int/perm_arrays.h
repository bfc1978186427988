// Element permutes written once as index maps (output element i takes
// element `index` of the first or second source) and driven over 112-byte
// arrays (Z registers and unpacked P registers alike) or packed maps.
#pragma once
#include <cstdint>
#include <cstring>

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

// d = the permute of a (and b) at E-byte elements over 112 bytes; d may alias a source.
template <class Map, int E>
inline void permute_bytes(uint8_t* d, const uint8_t* a, const uint8_t* b) {
  constexpr int n = SVE_VL_BYTES / E;
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  for (int i = 0; i < n; ++i) {
    Source s = Map::at(i, n);
    std::memcpy(tmp + i * E, (s.which ? b : a) + s.index * E, E);
  }
  std::memcpy(d, tmp, SVE_VL_BYTES);
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
// over a vector of vl bytes.
template <class Map>
inline void permute_bits(PredV* d, const PredV* a, const PredV* b, int ebytes, int vl) {
  PredV r{};
  int n = vl / ebytes;
  for (int i = 0; i < n; ++i) {
    Source s = Map::at(i, n);
    const PredV* src = s.which ? b : a;
    for (int k = 0; k < ebytes; ++k) r.set(i * ebytes + k, src->bit(s.index * ebytes + k));
  }
  *d = r;
}

}  // namespace sve

// Byte-array helpers shared by the vector and predicate permutes: 112-byte
// destination, first and second source, element size in bytes.
void sve_zip1(char* d, char* a, char* b, int element_size);
void sve_zip2(char* d, char* a, char* b, int element_size);
void sve_uzp1(char* d, char* a, char* b, int element_size);
