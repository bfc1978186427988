// The 44 decode tables, built at static initialisation from the constant
// entry data, and the probe that walks them in order.
#include "sve/decode/decode.h"
#include "sve/mem/access.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <unordered_map>

int page_size = int(sysconf(_SC_PAGESIZE));

namespace {

using DecodeMap = std::map<int, Handler>;

// Handlers published by the family files, by name.
const std::unordered_map<std::string, Handler>& registry_by_name() {
  static const std::unordered_map<std::string, Handler> byname = [] {
    std::unordered_map<std::string, Handler> m;
    for (auto family : handler_registry())
      for (const HandlerDef& d : family) m.emplace(d.name, d.fn);
    return m;
  }();
  return byname;
}

// Entries not yet implemented stay in the table with a null handler, so that
// the first-hit rule still holds for them.
DecodeMap build(Table t) {
  DecodeMap m;
  for (const DecodeEntry& e : kDecodeEntries)
    if (e.table == t) m.emplace(int(e.key), entry_handler(e));
  return m;
}

// Constructed in this order (destroyed in reverse at exit).
#define SVE_DEFINE_MAP(n) DecodeMap decode_map__##n = build(Table::m##n);
SVE_DEFINE_MAP(31_13)
SVE_DEFINE_MAP(31_10)
SVE_DEFINE_MAP(31_21__15_13__4_4)
SVE_DEFINE_MAP(31_13__9_6)
SVE_DEFINE_MAP(31_21__15_10)
SVE_DEFINE_MAP(31_13__4_4)
SVE_DEFINE_MAP(31_20__15_13)
SVE_DEFINE_MAP(31_17__15_13)
SVE_DEFINE_MAP(31_21__15_15)
SVE_DEFINE_MAP(31_21__15_13)
SVE_DEFINE_MAP(31_19__15_10)
SVE_DEFINE_MAP(31_21__15_12)
SVE_DEFINE_MAP(31_23__21_21__15_10)
SVE_DEFINE_MAP(31_9__4_4)
SVE_DEFINE_MAP(31_20__15_9__4_4)
SVE_DEFINE_MAP(31_10__4_4)
SVE_DEFINE_MAP(31_20__15_14__9_9__4_4)
SVE_DEFINE_MAP(31_14__9_9__4_4)
SVE_DEFINE_MAP(31_0)
SVE_DEFINE_MAP(31_4)
SVE_DEFINE_MAP(31_22__15_13__4_4)
SVE_DEFINE_MAP(31_14__9_9__4_0)
SVE_DEFINE_MAP(31_9__4_0)
SVE_DEFINE_MAP(31_14)
SVE_DEFINE_MAP(31_20__15_14)
SVE_DEFINE_MAP(31_22__15_13)
SVE_DEFINE_MAP(31_9)
SVE_DEFINE_MAP(31_20__15_10)
SVE_DEFINE_MAP(31_13__9_9)
SVE_DEFINE_MAP(31_21__15_10__4_4)
SVE_DEFINE_MAP(31_21__15_11)
SVE_DEFINE_MAP(31_18)
SVE_DEFINE_MAP(31_23__21_13)
SVE_DEFINE_MAP(31_11)
SVE_DEFINE_MAP(31_13__9_8)
SVE_DEFINE_MAP(31_24__21_10)
SVE_DEFINE_MAP(31_21__13_13__4_4)
SVE_DEFINE_MAP(31_24__21_21__17_10)
SVE_DEFINE_MAP(31_14__9_9)
SVE_DEFINE_MAP(31_21__15_14)
SVE_DEFINE_MAP(31_21__15_10__4_0)
SVE_DEFINE_MAP(31_24__21_21__18_10)
SVE_DEFINE_MAP(31_24__21_21__19_10)
SVE_DEFINE_MAP(31_24__21_21__16_10)
#undef SVE_DEFINE_MAP
const int sve_lib_initialized = SVEInitialize();  // last step: the fault handler, once the tables exist

// The same tables in probe order.
const DecodeMap* const kProbe[kNumTables] = {
#define SVE_PROBE_ENTRY(n) &decode_map__##n,
    SVE_DECODE_TABLES(SVE_PROBE_ENTRY)
#undef SVE_PROBE_ENTRY
};

// Entries sorted by (table, key) for find_decode_entry.
struct SortedEntries {
  std::array<const DecodeEntry*, kNumDecodeEntries> e;
  SortedEntries() {
    for (int i = 0; i < kNumDecodeEntries; ++i) e[i] = &kDecodeEntries[i];
    std::sort(e.begin(), e.end(), [](const DecodeEntry* a, const DecodeEntry* b) {
      return a->table != b->table ? a->table < b->table : int(a->key) < int(b->key);
    });
  }
};
const SortedEntries& sorted_entries() {
  static const SortedEntries s;
  return s;
}

}  // namespace

Handler entry_handler(const DecodeEntry& e) {
  const auto& reg = registry_by_name();
  auto it = reg.find(entry_name(e));
  return it == reg.end() ? nullptr : it->second;
}

Handler get_sve_handler(unsigned int word) {
  for (int t = 0; t < kNumTables; ++t) {
    const DecodeMap& m = *kProbe[t];
    auto it = m.find(int(table_key(Table(t), word)));
    if (it != m.end()) return it->second;
  }
  return nullptr;
}

const DecodeEntry* find_decode_entry(uint32_t word) {
  const auto& s = sorted_entries().e;
  for (int t = 0; t < kNumTables; ++t) {
    int key = int(table_key(Table(t), word));
    auto it = std::lower_bound(s.begin(), s.end(), std::pair<int, int>(t, key),
                               [](const DecodeEntry* a, std::pair<int, int> k) {
                                 return int(a->table) != k.first ? int(a->table) < k.first
                                                                 : int(a->key) < k.second;
                               });
    if (it != s.end() && int((*it)->table) == t && int((*it)->key) == key) return *it;
  }
  return nullptr;
}
