// Compares the floating-point library with the reference CPU: each operation
// runs as its A64 (or SVE) instruction under the same FPCR, with FPSR cleared
// before and read after, and the result bits and cumulative flags must match.
//
//   fp_reference [--cases N] [--seed S] [--filter SUBSTR] [--half-settings K]
//                [--reports N] [--shard K/N] [--list]
//
// Random operations take N cases each (default 100000). One-operand half
// operations run over all 65536 inputs under K FPCR settings (default all 32:
// every RMode with FZ16, DN and AHP on and off).
#include <dlfcn.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/fp/ref_catalogue.h"

namespace fpref {
namespace {

struct Options : refcommon::Options {
  uint64_t cases = 100000;
  int half_settings = 32;
};

Options parse(int argc, char** argv) {
  Options o;
  o.reports = 5;
  refcommon::parse_options(argc, argv,
                           "fp_reference [--cases N] [--seed S] [--filter SUBSTR] [--half-settings K] [--reports N] "
                           "[--shard K/N] [--list]",
                           o, [&](const std::string& a, auto value) {
                             if (a == "--cases") o.cases = std::strtoull(value(), nullptr, 0);
                             else if (a == "--half-settings") o.half_settings = std::atoi(value());
                             else return false;
                             return true;
                           });
  return o;
}

// FPCR with RMode, FZ, DN, AHP and FZ16 drawn independently.
uint32_t random_fpcr(Rng& r) {
  return uint32_t(r.below(4)) << 22 | (r.chance(50) ? FPSCR_FZ : 0) | (r.chance(50) ? FPSCR_DN : 0) |
         (r.chance(50) ? FPSCR_AHP : 0) | (r.chance(50) ? FPSCR_FZ16 : 0);
}

// Setting k of 32: RMode in bits 1:0, then FZ16, DN, AHP; FZ follows DN^AHP.
uint32_t half_setting(int k) {
  bool fz16 = k & 4, dn = k & 8, ahp = k & 16;
  return uint32_t(k & 3) << 22 | (fz16 ? FPSCR_FZ16 : 0) | (dn ? FPSCR_DN : 0) | (ahp ? FPSCR_AHP : 0) |
         (dn != ahp ? FPSCR_FZ : 0);
}

uint64_t mask(int width) { return width == 64 ? ~uint64_t(0) : (uint64_t(1) << width) - 1; }

Observed from_reference(const Op& op, const RefOut& o) {
  uint64_t v = op.src == Src::FP ? o.fp : op.src == Src::X ? o.x : o.nzcv >> 28;
  return {v & mask(op.width), o.fpsr & 0x9F};
}

struct Tally {
  uint64_t cases = 0, mismatches = 0, deviations = 0, errata = 0;
  uint32_t flags_seen = 0;  // union of the reference's flags: evidence the cases reach them
};

void report(const Op& op, const RefCase& c, const Observed& ref, const Observed& lib, const char* tag) {
  std::printf("  %-7s %-16s a=%016" PRIx64 " b=%016" PRIx64 " c=%016" PRIx64 " fpcr=%08x  ref=%016" PRIx64
              "/%02x lib=%016" PRIx64 "/%02x\n",
              tag, op.name.c_str(), c.a, c.b, c.c, c.fpcr, ref.value, ref.flags, lib.value, lib.flags);
}

void run_batch(const Op& op, std::vector<RefCase>& cases, std::vector<RefOut>& out, Tally& t, const Options& o) {
  out.resize(cases.size());
  op.kernel(cases.data(), out.data(), cases.size());
  for (size_t i = 0; i < cases.size(); ++i) {
    Observed ref = from_reference(op, out[i]);
    Observed lib = op.lib(cases[i]);
    lib.value &= mask(op.width);
    ++t.cases;
    t.flags_seen |= ref.flags;
    if (ref.value == lib.value && ref.flags == lib.flags) continue;
    if (find_expectation(kExpectedDeviations, op, cases[i], ref, lib)) {
      ++t.deviations;
    } else if (find_expectation(kReferenceErrata, op, cases[i], ref, lib)) {
      ++t.errata;
    } else if (++t.mismatches <= uint64_t(o.reports)) {
      report(op, cases[i], ref, lib, "MISMATCH");
    }
  }
}

Tally run_op(const Op& op, const Options& o, Rng& rng) {
  Tally t;
  std::vector<RefCase> cases;
  std::vector<RefOut> out;
  constexpr size_t kBatch = 1 << 16;
  if (op.half_exhaustive) {
    int step = 32 / (o.half_settings < 1 ? 1 : o.half_settings > 32 ? 32 : o.half_settings);
    for (int k = int(rng.below(step)); k < 32; k += step) {
      cases.assign(kBatch, RefCase{});
      for (size_t v = 0; v < kBatch; ++v) cases[v] = {v, 0, 0, half_setting(k), 0};
      run_batch(op, cases, out, t, o);
    }
    return t;
  }
  for (uint64_t done = 0; done < o.cases;) {
    size_t n = size_t(std::min<uint64_t>(kBatch, o.cases - done));
    cases.resize(n);
    for (RefCase& c : cases) {
      uint64_t ops[3] = {0, 0, 0};
      op.gen(rng, ops);
      c = {ops[0], ops[1], ops[2], random_fpcr(rng), 0};
    }
    run_batch(op, cases, out, t, o);
    done += n;
  }
  return t;
}

}  // namespace
}  // namespace fpref

int main(int argc, char** argv) {
  using namespace fpref;
  Options o = parse(argc, argv);
  std::vector<Op> ops = catalogue();
  uint64_t total_mismatches = 0, total_cases = 0;
  int index = -1;
  for (Op& op : ops) {
    if (!o.picks(op.name, index)) continue;
    if (o.list) {
      std::printf("%s\n", op.name.c_str());
      continue;
    }
    op.kernel = reinterpret_cast<Kernel>(dlsym(RTLD_DEFAULT, ("k_" + op.name).c_str()));
    if (!op.kernel) {
      std::printf("%-16s no reference kernel\n", op.name.c_str());
      ++total_mismatches;
      continue;
    }
    Rng rng(o.seed ^ std::hash<std::string>()(op.name));
    auto t0 = std::chrono::steady_clock::now();
    Tally t = run_op(op, o, rng);
    double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    std::printf("%-16s %10" PRIu64 " cases %8" PRIu64 " mismatches %8" PRIu64 " deviations %8" PRIu64
                " errata  flags %02x %7.2fs\n",
                op.name.c_str(), t.cases, t.mismatches, t.deviations, t.errata, t.flags_seen, secs);
    std::fflush(stdout);
    total_mismatches += t.mismatches;
    total_cases += t.cases;
  }
  if (!o.list) std::printf("total: %" PRIu64 " cases, %" PRIu64 " mismatches\n", total_cases, total_mismatches);
  return total_mismatches ? 1 : 0;
}
