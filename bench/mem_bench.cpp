// Cost per emulated contiguous load and store (LD1W, ST1W), through the
// decode lookup and the handler as the client calls them, with an all-true
// and a sparse predicate, with the thread's trace off and on (the default
// trace library, which only counts).
//
//   mem_bench [Google Benchmark options]   nanoseconds per emulated instruction
//   mem_bench --insns                      host instructions per emulated instruction,
//                                          counted under callgrind (valgrind)
//   mem_bench --repeat LABEL N             runs one case N times and exits
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "sve/decode/decode.h"
#include "sve/mem/trace.h"

namespace {

struct Case {
  const char* label;
  uint32_t word;
  const char* text;
  bool trace;
};

// P0 is all true for words, P1 sparse (every seventh word element active).
const Case kCases[] = {
    {"ld1w/all_true/trace_off", 0xA540A000, "ld1w {z0.s}, p0/z, [x0]", false},
    {"ld1w/sparse/trace_off", 0xA540A400, "ld1w {z0.s}, p1/z, [x0]", false},
    {"st1w/all_true/trace_off", 0xE540E000, "st1w {z0.s}, p0, [x0]", false},
    {"st1w/sparse/trace_off", 0xE540E400, "st1w {z0.s}, p1, [x0]", false},
    {"ld1w/all_true/trace_on", 0xA540A000, "ld1w {z0.s}, p0/z, [x0]", true},
    {"ld1w/sparse/trace_on", 0xA540A400, "ld1w {z0.s}, p1/z, [x0]", true},
    {"st1w/all_true/trace_on", 0xE540E000, "st1w {z0.s}, p0, [x0]", true},
    {"st1w/sparse/trace_on", 0xE540E400, "st1w {z0.s}, p1, [x0]", true},
};

alignas(64) uint8_t g_buffer[4096];

cpu_state* make_state(const Case& c) {
  static cpu_state s;
  std::mt19937_64 g(42);
  std::memset(&s, 0, sizeof s);
  for (auto& z : s.z)
    for (auto& b : z) b = uint8_t(g());
  for (int i = 0; i < SVE_VL_BYTES; i += 4) {
    s.p[0][i] = 1;
    s.p[1][i] = (i / 4) % 7 == 3;
  }
  s.x[0] = reinterpret_cast<uint64_t>(g_buffer + 1024);
  enable_trace = c.trace;
  return &s;
}

Handler handler_of(const Case& c) {
  Handler h = get_sve_handler(c.word);
  if (!h) {
    std::fprintf(stderr, "mem_bench: no handler for %08x (%s)\n", c.word, c.text);
    std::exit(2);
  }
  return h;
}

void run_case(benchmark::State& st, const Case* c) {
  cpu_state* s = make_state(*c);
  Handler h = handler_of(*c);
  for (auto _ : st) {
    benchmark::DoNotOptimize(h(s, c->word));
    benchmark::ClobberMemory();
  }
  st.SetLabel(c->text);
}

int repeat(const char* label, long n) {
  for (const Case& c : kCases) {
    if (std::strcmp(c.label, label) != 0) continue;
    cpu_state* s = make_state(c);
    Handler h = handler_of(c);
    for (long i = 0; i < n; ++i) {
      benchmark::DoNotOptimize(h(s, c.word));
      benchmark::ClobberMemory();
    }
    return 0;
  }
  std::fprintf(stderr, "mem_bench: no case %s\n", label);
  return 2;
}

// Instructions that callgrind collects for `self --repeat label n`, or -1.
long long collected(const char* self, const char* label, long n) {
  std::string cmd = std::string("valgrind --tool=callgrind --callgrind-out-file=/dev/null ") + self + " --repeat " +
                    label + " " + std::to_string(n) + " 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return -1;
  char line[512];
  long long total = -1;
  while (std::fgets(line, sizeof line, p)) {
    const char* at = std::strstr(line, "Collected :");
    if (at) total = std::atoll(at + std::strlen("Collected :"));
  }
  pclose(p);
  return total;
}

// The difference of two run lengths removes start-up and set-up costs.
int count_instructions(const char* self) {
  constexpr long kShort = 1000, kLong = 21000;
  std::printf("%-28s %-28s %s\n", "case", "instruction", "host instructions per emulated instruction");
  for (const Case& c : kCases) {
    long long a = collected(self, c.label, kShort), b = collected(self, c.label, kLong);
    if (a < 0 || b < 0) {
      std::fprintf(stderr, "mem_bench: callgrind (valgrind) is needed for --insns\n");
      return 2;
    }
    std::printf("%-28s %-28s %.1f\n", c.label, c.text, double(b - a) / double(kLong - kShort));
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--repeat") == 0) return repeat(argv[2], std::atol(argv[3]));
  if (argc == 2 && std::strcmp(argv[1], "--insns") == 0) return count_instructions(argv[0]);
  for (const Case& c : kCases) benchmark::RegisterBenchmark(c.label, run_case, &c);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
