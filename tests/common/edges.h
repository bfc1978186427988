// Integers of a given width weighted to their edges, for the unit tests and
// the differential harness (g is any 64-bit random engine).
#pragma once
#include <cstdint>

namespace refcommon {

// 0, 1, all ones (-1), the most negative and most positive signed values,
// small values, values just below all ones, or random bits.
template <class G> uint64_t edge_int(G& g, int bits) {
  uint64_t m = bits == 64 ? ~uint64_t(0) : (uint64_t(1) << bits) - 1;
  uint64_t top = uint64_t(1) << (bits - 1);
  switch (g() % 10) {
    case 0: return 0;
    case 1: return 1;
    case 2: return m;
    case 3: return top;
    case 4: return top - 1;
    case 5: return g() % 5;
    case 6: return (m - g() % 4) & m;
    default: return g() & m;
  }
}

}  // namespace refcommon
