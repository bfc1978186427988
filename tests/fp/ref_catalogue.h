// The operations compared with the reference CPU: for each, the name of its
// kernel (k_<name> in ref_kernels.S), the library call, the operand generator
// and where the instruction leaves its result.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/fp/ref_gen.h"

namespace fpref {

struct RefCase {
  uint64_t a, b, c;  // operands, in d0/x3, d1/x4, d2/x5
  uint32_t fpcr, pad;
};
struct RefOut {
  uint64_t fp, x;
  uint32_t fpsr, nzcv;
};
using Kernel = void (*)(const RefCase*, RefOut*, size_t);

struct Observed {
  uint64_t value;
  uint32_t flags;  // IOC, DZC, OFC, UFC, IXC, IDC
};

enum class Src { FP, X, NZCV };

struct Op {
  std::string name;
  Kernel kernel;
  Observed (*lib)(const RefCase&);
  void (*gen)(Rng&, uint64_t*);
  Src src;
  int width;             // result bits compared
  bool half_exhaustive;  // every 16-bit input instead of random cases
};

std::vector<Op> catalogue();

// Where the library and the reference CPU are expected to differ.
struct Expectation {
  const char* op_prefix;
  bool (*applies)(const RefCase&, const Observed& ref, const Observed& lib);
  const char* why;
};

extern const std::vector<Expectation> kExpectedDeviations;
extern const std::vector<Expectation> kReferenceErrata;

inline const Expectation* find_expectation(const std::vector<Expectation>& table, const Op& op, const RefCase& c,
                                           const Observed& ref, const Observed& lib) {
  for (const Expectation& e : table)
    if (op.name.compare(0, std::strlen(e.op_prefix), e.op_prefix) == 0 && e.applies(c, ref, lib)) return &e;
  return nullptr;
}

}  // namespace fpref
