// Helpers of the memory tests: instruction words built from the decode data,
// mappings with chosen protections, and the log of the recording trace
// library (defined in mem_trace_test.cpp).
#pragma once
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "sve/decode/decode.h"
#include "sve/mem/trace.h"

namespace memtest {

// The word of handler `name` with the given operand fields (letters of its
// pattern); a value fills its field from the least significant bit upward,
// also across the pieces of a split field.
inline uint32_t encode(const std::string& name, std::initializer_list<std::pair<char, int64_t>> fields) {
  for (const DecodeEntry& e : kDecodeEntries) {
    if (entry_name(e) != name) continue;
    uint32_t w = e.word;
    for (auto [letter, value] : fields) {
      int k = 0;
      for (int bit = 0; bit < 32; ++bit)
        if (e.enc->pattern[31 - bit] == letter) w |= uint32_t((uint64_t(value) >> k++) & 1) << bit;
      if (k == 0) throw std::invalid_argument(name + " has no field " + letter);
    }
    return w;
  }
  throw std::invalid_argument("no handler " + name);
}

inline aarch64_decode_rc run(cpu_state& s, uint32_t word) {
  Handler h = get_sve_handler(word);
  if (!h) throw std::invalid_argument("word not live");
  return h(&s, word);
}

inline cpu_state blank_state() {
  cpu_state s;
  std::memset(&s, 0, sizeof s);
  return s;
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

// What the recording trace library has seen.
struct TraceLog {
  std::vector<sve_mem_ref_t> records;
  long incr_calls = 0;
  uint64_t counter = 1000;
  void clear() {
    records.clear();
    incr_calls = 0;
    counter = 1000;
  }
};
TraceLog& trace_log();

}  // namespace memtest
