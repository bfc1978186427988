// What the two comparisons with the reference CPU (tests/diff, tests/fp)
// share: the random source, and the command-line options that seed, select,
// shard, list and report their items.
#pragma once
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace refcommon {

struct Rng {
  std::mt19937_64 g;
  explicit Rng(uint64_t seed) : g(seed) {}
  uint64_t next() { return g(); }
  int below(int n) { return int(g() % uint64_t(n)); }
  bool chance(int pct) { return below(100) < pct; }
};

struct Options {
  uint64_t seed = 1;
  std::string filter;  // substring of the item names
  int reports = 20;    // mismatches printed in full
  bool list = false;
  int shard = 0, shards = 1;  // only items whose index % shards == shard
  // Whether the item is filtered in and falls to this shard; `index` counts
  // the items filtered in so far.
  bool picks(const std::string& name, int& index) const {
    if (!filter.empty() && name.find(filter) == std::string::npos) return false;
    return ++index % shards == shard;
  }
};

// Parses the shared options into `o` and the others through
// extra(option, value), where value() takes the next argument and extra
// returns false for an option it does not know. An unknown option, a missing
// value or a bad --shard K/N (0 <= K < N) prints `usage` and exits with 2.
template <class Extra> void parse_options(int argc, char** argv, const char* usage, Options& o, Extra extra) {
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    bool ok = true;
    auto value = [&]() -> const char* {
      if (i + 1 < argc) return argv[++i];
      ok = false;
      return "";
    };
    if (a == "--seed") o.seed = std::strtoull(value(), nullptr, 0);
    else if (a == "--filter") o.filter = value();
    else if (a == "--reports") o.reports = std::atoi(value());
    else if (a == "--list") o.list = true;
    else if (a == "--shard")
      ok = std::sscanf(value(), "%d/%d", &o.shard, &o.shards) == 2 && o.shards >= 1 && o.shard >= 0 &&
           o.shard < o.shards && ok;
    else ok = extra(a, value) && ok;
    if (!ok) {
      std::fprintf(stderr, "bad option %s\nusage: %s\n", a.c_str(), usage);
      std::exit(2);
    }
  }
}

}  // namespace refcommon
