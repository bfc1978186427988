// Helpers of the unit tests that drive handlers by word: states, words built
// from the decode data, predicates, and mappings with chosen protections.
#pragma once
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

#include "sve/decode/decode.h"

namespace test_support {

inline cpu_state zero_state() {
  cpu_state s;
  std::memset(&s, 0, sizeof s);
  return s;
}
// Runs the word's handler, which must exist and succeed.
inline void run(cpu_state& s, uint32_t w) {
  Handler h = get_sve_handler(w);
  ASSERT_NE(h, nullptr) << std::hex << w;
  ASSERT_EQ(h(&s, w), DECODE_OK) << std::hex << w;
}
inline unsigned flags(const cpu_state& s) { return unsigned(s.nzcv >> 28) & 15; }
constexpr unsigned N = 8, Z = 4, C = 2, V = 1;

// The entry of handler `name`, and its word with the given operand fields
// (letters of its pattern); a value fills its field from the least
// significant bit upward, also across the pieces of a split field.
inline const DecodeEntry& entry_named(const std::string& name) {
  for (const DecodeEntry& e : kDecodeEntries)
    if (entry_name(e) == name) return e;
  throw std::invalid_argument("no handler " + name);
}
inline uint32_t encode(const std::string& name, std::initializer_list<std::pair<char, int64_t>> fields) {
  const DecodeEntry& e = entry_named(name);
  uint32_t w = e.word;
  for (auto [letter, value] : fields) {
    int k = 0;
    for (int bit = 0; bit < 32; ++bit)
      if (e.enc->pattern[31 - bit] == letter) w |= uint32_t((uint64_t(value) >> k++) & 1) << bit;
    if (k == 0) throw std::invalid_argument(name + " has no field " + letter);
  }
  return w;
}
// The usual operand fields of loads and stores: Zt, Pg, Xn and the immediate.
inline uint32_t encode_tgni(const std::string& name, int t, int g, int n, int i) {
  return encode(name, {{'t', t}, {'g', g}, {'n', n}, {'i', i}});
}

// Predicate lanes of E-byte elements, element i active when active(i).
template <class F> void set_pred(cpu_state& s, int p, int ebytes, F active) {
  std::memset(s.p[p], 0, SVE_VL_BYTES);
  for (int i = 0; i < SVE_VL_BYTES / ebytes; ++i) s.p[p][i * ebytes] = active(i) ? 1 : 0;
}

inline int host_page() { return int(sysconf(_SC_PAGESIZE)); }

// Pages of anonymous memory; protect() changes one page.
struct Pages {
  uint8_t* base = nullptr;
  size_t bytes = 0;
  explicit Pages(int count) : bytes(size_t(count) * size_t(host_page())) {
    void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) throw std::runtime_error("mmap");
    base = static_cast<uint8_t*>(p);
  }
  ~Pages() { munmap(base, bytes); }
  uint8_t* page(int i) const { return base + size_t(i) * size_t(host_page()); }
  void protect(int i, int prot) const { mprotect(page(i), size_t(host_page()), prot); }
  Pages(const Pages&) = delete;
  Pages& operator=(const Pages&) = delete;
};

}  // namespace test_support
