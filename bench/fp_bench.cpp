// Nanoseconds per operation of the floating-point library next to the host's
// own instruction for add, mul, fma, div and sqrt in each format. Operands are
// random normal values near 1; every result is kept, so neither side is
// vectorised or removed. The library is called as the vector handlers call
// it: a fresh FPSCR from fpcr per element, its flags accumulated into fpsr.
//
// Targets: add, mul and fma within 15 times the hardware instruction, div and
// sqrt within 30 times. On a busy machine compare medians of interleaved runs:
//   fp_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true
#include <benchmark/benchmark.h>

#include <cmath>
#if defined(__x86_64__)
#include <immintrin.h>
#endif
#include <cstdio>
#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "sve/fp/fp.h"

namespace {

using namespace sve;
constexpr size_t kN = 1024;

template <class T> std::vector<T> operands(uint64_t seed) {
  std::mt19937_64 g(seed);
  std::vector<T> v(kN);
  for (T& x : v) x = fp_pack<T>(0, fp_bias<T> - 4 + int(g() % 8), T(g() & fp_frac_mask<T>));
  return v;
}

void per_op(benchmark::State& state) {
  state.counters["ns/op"] = benchmark::Counter(double(state.iterations()) * kN * 1e-9,
                                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

enum Kind { kAdd, kMul, kFma, kDiv, kSqrt };

// The library over the first n operands.
template <class T, Kind K>
uint32_t library_pass(const std::vector<T>& a, const std::vector<T>& b, const std::vector<T>& c, uint32_t fpsr,
                      size_t n = kN) {
  uint32_t fpcr = 0;
  for (size_t i = 0; i < n; ++i) {
    FPSCR s = fpscr_from_fpcr(fpcr);
    T r = K == kAdd   ? FPAdd(a[i], b[i], s)
          : K == kMul ? FPMul(a[i], b[i], s)
          : K == kFma ? FPMulAdd(c[i], a[i], b[i], s)
          : K == kDiv ? FPDiv(a[i], b[i], s)
                      : FPSqrt(a[i], s);
    fpsr = fpsr_accumulate(fpsr, s);
    benchmark::DoNotOptimize(r);
  }
  return fpsr;
}

template <class T, Kind K> void BM_Library(benchmark::State& state) {
  std::vector<T> a = operands<T>(1), b = operands<T>(2), c = operands<T>(3);
  uint32_t fpsr = 0;
  for (auto _ : state) fpsr = library_pass<T, K>(a, b, c, fpsr);
  benchmark::DoNotOptimize(fpsr);
  per_op(state);
}

// --repeat: n operations of one library case, for instruction counts under callgrind.
template <class T, Kind K> void repeat_library(long n) {
  std::vector<T> a = operands<T>(1), b = operands<T>(2), c = operands<T>(3);
  uint32_t fpsr = 0;
  for (long done = 0; done < n; done += long(kN)) fpsr = library_pass<T, K>(a, b, c, fpsr, size_t(std::min<long>(n - done, long(kN))));
  benchmark::DoNotOptimize(fpsr);
}

template <class F, class T> std::vector<F> as_host(const std::vector<T>& bits) {
  std::vector<F> v(bits.size());
  std::memcpy(v.data(), bits.data(), bits.size() * sizeof(T));
  return v;
}

template <class F, class T, Kind K> __attribute__((target("fma"))) void hardware_loop(benchmark::State& state) {
  std::vector<F> a = as_host<F>(operands<T>(1)), b = as_host<F>(operands<T>(2)), c = as_host<F>(operands<T>(3));
  for (auto _ : state) {
    for (size_t i = 0; i < kN; ++i) {
      F r = K == kAdd   ? F(a[i] + b[i])
            : K == kMul ? F(a[i] * b[i])
            : K == kFma ? std::fma(a[i], b[i], c[i])
            : K == kDiv ? F(a[i] / b[i])
                        : std::sqrt(a[i]);
      benchmark::DoNotOptimize(r);
    }
  }
  per_op(state);
}

#if defined(__x86_64__)
// Half precision in hardware needs AVX512-FP16 on x86.
template <Kind K> __attribute__((target("avx512fp16,avx512vl"))) void half_loop(benchmark::State& state) {
  std::vector<_Float16> a = as_host<_Float16>(operands<unsigned short>(1)),
                        b = as_host<_Float16>(operands<unsigned short>(2)),
                        c = as_host<_Float16>(operands<unsigned short>(3));
  for (auto _ : state) {
    for (size_t i = 0; i < kN; ++i) {
      _Float16 r = K == kAdd   ? _Float16(a[i] + b[i])
                   : K == kMul ? _Float16(a[i] * b[i])
                   : K == kFma ? __builtin_fmaf16(a[i], b[i], c[i])
                   : K == kDiv ? _Float16(a[i] / b[i])
                               : _mm_cvtsh_h(_mm_sqrt_sh(_mm_set_sh(a[i]), _mm_set_sh(a[i])));
      benchmark::DoNotOptimize(r);
    }
  }
  per_op(state);
}
template <Kind K> void BM_HardwareHalf(benchmark::State& state) {
  if (!__builtin_cpu_supports("avx512fp16")) {
    state.SkipWithError("no half-precision arithmetic on this host");
    return;
  }
  half_loop<K>(state);
}
#endif

#if defined(__x86_64__)
#define SVE_BENCH_HALF_HARDWARE(K) BENCHMARK(BM_HardwareHalf<K>)->Name("half/" #K "/hardware");
#else
#define SVE_BENCH_HALF_HARDWARE(K)
#endif
// Each library case next to its hardware instruction, so that both run under
// the same machine conditions.
#define SVE_BENCH_KIND(K)                                                           \
  BENCHMARK(BM_Library<unsigned short, K>)->Name("half/" #K "/library");            \
  SVE_BENCH_HALF_HARDWARE(K)                                                        \
  BENCHMARK(BM_Library<unsigned int, K>)->Name("single/" #K "/library");            \
  BENCHMARK(hardware_loop<float, unsigned int, K>)->Name("single/" #K "/hardware");  \
  BENCHMARK(BM_Library<unsigned long, K>)->Name("double/" #K "/library");           \
  BENCHMARK(hardware_loop<double, unsigned long, K>)->Name("double/" #K "/hardware");

SVE_BENCH_KIND(kAdd)
SVE_BENCH_KIND(kMul)
SVE_BENCH_KIND(kFma)
SVE_BENCH_KIND(kDiv)
SVE_BENCH_KIND(kSqrt)

struct RepeatCase {
  const char* name;
  void (*run)(long);
};
#define SVE_REPEAT_KIND(K)                                                                        \
  {"half/" #K, repeat_library<unsigned short, K>}, {"single/" #K, repeat_library<unsigned int, K>}, \
      {"double/" #K, repeat_library<unsigned long, K>},
const RepeatCase kRepeatCases[] = {SVE_REPEAT_KIND(kAdd) SVE_REPEAT_KIND(kMul) SVE_REPEAT_KIND(kFma)
                                       SVE_REPEAT_KIND(kDiv) SVE_REPEAT_KIND(kSqrt)};

}  // namespace

// fp_bench [Google Benchmark options] | --repeat CASE N (N operations of CASE,
// named as half/kAdd, for bench/instr_table.sh) | --labels
int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--labels") == 0) {
    for (const RepeatCase& c : kRepeatCases) std::printf("%s\n", c.name);
    return 0;
  }
  if (argc == 4 && std::strcmp(argv[1], "--repeat") == 0) {
    for (const RepeatCase& c : kRepeatCases)
      if (std::strcmp(c.name, argv[2]) == 0) {
        c.run(std::atol(argv[3]));
        return 0;
      }
    std::fprintf(stderr, "fp_bench: no case %s\n", argv[2]);
    return 2;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
