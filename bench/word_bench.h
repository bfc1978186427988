// Shared driver of the per-instruction benchmarks: each case is one
// instruction word run through get_sve_handler's handler on a prepared state.
//
//   <bench> [Google Benchmark options]   nanoseconds per emulated instruction
//   <bench> --repeat LABEL N             runs one case N times and exits (for
//                                        instruction counts under callgrind)
//   <bench> --labels                     lists the cases
// Built without Google Benchmark (SVE_BENCH_COUNT_ONLY: the aarch64 build,
// for instruction counts under qemu) only the last two forms exist.
#pragma once
#if !defined(SVE_BENCH_COUNT_ONLY)
#include <benchmark/benchmark.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <span>

#include "sve/decode/decode.h"

// A state with random Z registers, predicates of random 0/1 lanes and, with
// small_x, general registers below 200 (counts and WHILE bounds stay short).
inline cpu_state* bench_state(bool small_x) {
  static cpu_state s;
  std::mt19937_64 g(42);
  std::memset(&s, 0, sizeof s);
  for (auto& z : s.z)
    for (auto& b : z) b = uint8_t(g());
  for (auto& p : s.p)
    for (auto& b : p) b = uint8_t(g() & 1);
  if (small_x)
    for (auto& x : s.x) x = g() % 200;
  return &s;
}

// Keeps each call and its stores to the state from being optimised away.
inline void keep_result(aarch64_decode_rc rc) { asm volatile("" : : "r"(rc) : "memory"); }

struct BenchCase {
  const char* label;  // family/route/form
  uint32_t word;
  const char* text;
};

struct WordBench {
  const char* tool;
  std::span<const BenchCase> cases;
  cpu_state* (*make_state)();

  Handler handler_of(const BenchCase& c) const {
    Handler h = get_sve_handler(c.word);
    if (!h) {
      std::fprintf(stderr, "%s: no handler for %08x (%s)\n", tool, c.word, c.text);
      std::exit(2);
    }
    return h;
  }

  int repeat(const char* label, long n) const {
    for (const BenchCase& c : cases) {
      if (std::strcmp(c.label, label) != 0) continue;
      cpu_state* s = make_state();
      Handler h = handler_of(c);
      for (long i = 0; i < n; ++i) keep_result(h(s, c.word));
      return 0;
    }
    std::fprintf(stderr, "%s: no case %s\n", tool, label);
    return 2;
  }

  int main(int argc, char** argv) const {
    if (argc == 4 && std::strcmp(argv[1], "--repeat") == 0) return repeat(argv[2], std::atol(argv[3]));
    if (argc == 2 && std::strcmp(argv[1], "--labels") == 0) {
      for (const BenchCase& c : cases) std::printf("%s\n", c.label);
      return 0;
    }
#if defined(SVE_BENCH_COUNT_ONLY)
    std::fprintf(stderr, "usage: %s --repeat LABEL N | --labels (built without Google Benchmark)\n", tool);
    return 2;
#else
    for (const BenchCase& c : cases)
      benchmark::RegisterBenchmark(c.label, [this, &c](benchmark::State& st) {
        cpu_state* s = make_state();
        Handler h = handler_of(c);
        for (auto _ : st) {
          benchmark::DoNotOptimize(h(s, c.word));
          benchmark::ClobberMemory();
        }
        st.SetLabel(c.text);
      });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
#endif
  }
};
