// The 44 decode tables: each keys on a selection of the word's bit ranges,
// named in the table's name (decode_map__31_21__15_10 keys on [31:21]:[15:10]).
// Encodings are written as 32-character bit patterns, bit 31 first:
//   '0'/'1'  fixed bits (inside or outside the table's key),
//   's'      element-size bits, replaced per element type (key bits only),
//   letters  operand fields (register numbers, immediates, predicates).
#pragma once
#include <cstdint>
#include <string_view>

// Tables in probe order (most fixed bits first).
#define SVE_DECODE_TABLES(X)                                                      \
  X(31_0) X(31_9__4_0) X(31_4) X(31_14__9_9__4_0) X(31_9__4_4) X(31_10__4_4)       \
  X(31_9) X(31_13__9_6) X(31_21__15_10__4_0) X(31_10) X(31_13__9_8) X(31_11)      \
  X(31_24__21_10) X(31_20__15_9__4_4) X(31_14__9_9__4_4) X(31_13__4_4)            \
  X(31_13__9_9) X(31_14__9_9) X(31_19__15_10) X(31_24__21_21__19_10) X(31_13)     \
  X(31_17__15_13) X(31_14) X(31_23__21_13) X(31_20__15_10)                        \
  X(31_24__21_21__18_10) X(31_21__15_10__4_4) X(31_24__21_21__17_10)              \
  X(31_21__15_10) X(31_21__15_11) X(31_20__15_14__9_9__4_4)                       \
  X(31_24__21_21__16_10) X(31_23__21_21__15_10) X(31_21__15_13__4_4)              \
  X(31_21__15_12) X(31_20__15_13) X(31_21__15_13) X(31_20__15_14) X(31_18)        \
  X(31_22__15_13__4_4) X(31_21__15_14) X(31_21__13_13__4_4) X(31_22__15_13)       \
  X(31_21__15_15)

enum class Table : uint8_t {
#define SVE_TABLE_ENUM(n) m##n,
  SVE_DECODE_TABLES(SVE_TABLE_ENUM)
#undef SVE_TABLE_ENUM
};
constexpr int kNumTables = 44;

constexpr std::string_view kTableSuffix[] = {
#define SVE_TABLE_NAME(n) #n,
    SVE_DECODE_TABLES(SVE_TABLE_NAME)
#undef SVE_TABLE_NAME
};
static_assert(sizeof(kTableSuffix) / sizeof(kTableSuffix[0]) == kNumTables);

// Bit ranges of a table, parsed from its name: "31_21__15_10" -> [31:21], [15:10].
struct BitRange { int hi, lo; };
struct TableRanges { BitRange r[5]; int n; };

constexpr int parse_int(std::string_view s, size_t& i) {
  int v = 0;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') v = v * 10 + (s[i++] - '0');
  return v;
}
constexpr TableRanges table_ranges(Table t) {
  std::string_view s = kTableSuffix[int(t)];
  TableRanges out{};
  size_t i = 0;
  while (i < s.size()) {
    int hi = parse_int(s, i);
    ++i;  // '_'
    int lo = parse_int(s, i);
    out.r[out.n++] = {hi, lo};
    i += 2;  // "__"
  }
  return out;
}
constexpr uint32_t table_key_mask(Table t) {
  TableRanges tr = table_ranges(t);
  uint32_t m = 0;
  for (int k = 0; k < tr.n; ++k)
    for (int b = tr.r[k].lo; b <= tr.r[k].hi; ++b) m |= 1u << b;
  return m;
}
constexpr int table_key_width(Table t) { return __builtin_popcount(table_key_mask(t)); }

// Key of a word in a table: the named ranges concatenated, first range highest.
constexpr uint32_t table_key(Table t, uint32_t word) {
  TableRanges tr = table_ranges(t);
  uint64_t key = 0;
  for (int k = 0; k < tr.n; ++k) {
    int w = tr.r[k].hi - tr.r[k].lo + 1;
    key = (key << w) | ((uint64_t(word) >> tr.r[k].lo) & ((uint64_t(1) << w) - 1));
  }
  return uint32_t(key);
}

// Probe order must be by non-increasing key width.
constexpr bool probe_order_ok() {
  for (int i = 1; i < kNumTables; ++i)
    if (table_key_width(Table(i)) > table_key_width(Table(i - 1))) return false;
  return true;
}
static_assert(probe_order_ok());
static_assert(table_key(Table::m31_21__15_10, 0x04200000) == 0x840);
static_assert(table_key(Table::m31_0, 0x252C9000) == 0x252C9000);
