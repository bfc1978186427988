// Cases where the reference CPU and the emulator are expected to differ.
//
// kDeliberateDeviations: where the emulator differs from the architecture on
// purpose; each with the reason. kReferenceErrata: where the reference CPU
// (qemu 7.2 at a 112-byte vector length) is wrong; each with its evidence.
// In both, matching cases are counted and reported but not compared.
#pragma once
#include <cstdint>
#include <cstring>

struct Expectation {
  const char* handler_prefix;  // handler names starting with this
  bool (*applies)(uint32_t word);
  const char* why;
};

inline bool always(uint32_t) { return true; }

inline constexpr Expectation kDeliberateDeviations[] = {
    {"", nullptr, nullptr},  // (none among the live handlers yet)
};

inline constexpr Expectation kReferenceErrata[] = {
    {"VecP8Uzp", always,
     "qemu 7.2 computes predicate UZP1/UZP2 wrongly at 112-byte vectors: a small program that loads 200 "
     "random Pn/Pm pairs and runs uzp1/uzp2 p0.b found 10438 elements differing from the even/odd "
     "elements of Pn:Pm at 112 bytes and none at 128 bytes (sve-default-vector-length=128); the "
     "emulator's UZP1/UZP2 are checked against that definition by PredicateUzp in the unit tests"},
    {"VecP16Uzp", always, "as VecP8Uzp"},
    {"VecP32Uzp", always, "as VecP8Uzp"},
    {"VecP64Uzp", always, "as VecP8Uzp"},
};

template <size_t N>
inline const Expectation* find_expectation(const Expectation (&table)[N], const char* name, uint32_t word) {
  for (const Expectation& e : table)
    if (e.applies && std::strncmp(name, e.handler_prefix, std::strlen(e.handler_prefix)) == 0 && e.applies(word))
      return &e;
  return nullptr;
}
