// The decode data: one line per instruction family, written as the
// architecture's encoding pattern, expanded to one entry per element type.
//
//   {Table::m31_21__15_10, "00000100ss1mmmmm000100nnnnnddddd", "QAddVVX", "S8 S16 S32 S64", "sqadd"}
//
// names VecS8QAddVVX .. VecS64QAddVVX, with the 's' bits replaced by the
// type's size code (B 0, H 1, S 2, D 3; a single 's' bit takes the code's low
// bit). The mnemonic lists the disassembler's spellings ("orr|mov") and is
// what the encoding test checks against the cross disassembler.
#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "sve/decode/tables.h"

#define SVE_ELEMENT_TYPES(X)                                                          \
  X(U8, 0) X(U16, 1) X(U32, 2) X(U64, 3) X(S8, 0) X(S16, 1) X(S32, 2) X(S64, 3)      \
  X(F16, 1) X(F32, 2) X(D64, 3) X(F64, 3) X(B8, 0) X(H16, 1) X(H32, 2) X(H64, 3)     \
  X(P8, 0) X(P16, 1) X(P32, 2) X(P64, 3) X(P, 0) X(U128, 0)

enum class EType : uint8_t {
#define SVE_ETYPE_ENUM(n, c) n,
  SVE_ELEMENT_TYPES(SVE_ETYPE_ENUM)
#undef SVE_ETYPE_ENUM
};
constexpr std::string_view kETypeName[] = {
#define SVE_ETYPE_NAME(n, c) #n,
    SVE_ELEMENT_TYPES(SVE_ETYPE_NAME)
#undef SVE_ETYPE_NAME
};
constexpr uint8_t kETypeSize[] = {
#define SVE_ETYPE_SIZE(n, c) c,
    SVE_ELEMENT_TYPES(SVE_ETYPE_SIZE)
#undef SVE_ETYPE_SIZE
};
constexpr int kNumETypes = sizeof(kETypeSize);

struct Encoding {
  Table table;
  const char* pattern;   // 32 characters, bit 31 first
  const char* op;        // handler name after Vec and the type
  const char* types;     // space-separated type prefixes
  const char* mnemonic;  // '|'-separated disassembler spellings
};

// ---- pattern arithmetic (all constexpr: keys are fixed at compile time) ----

constexpr int type_index(std::string_view name) {
  for (int i = 0; i < kNumETypes; ++i)
    if (kETypeName[i] == name) return i;
  return -1;
}

// Word with every fixed bit set from the pattern, 's' bits from the size code
// and operand bits 0.
constexpr uint32_t pattern_word(std::string_view pat, int size_code) {
  int nsize = 0;
  for (char c : pat) nsize += c == 's';
  uint32_t w = 0;
  int seen = 0;
  for (int i = 0; i < 32; ++i) {
    char c = pat[i];
    uint32_t bit = 0;
    if (c == '1') bit = 1;
    else if (c == 's') bit = (size_code >> (nsize - 1 - seen++)) & 1;
    w |= bit << (31 - i);
  }
  return w;
}
// Mask of the operand-field bits (letters other than 's').
constexpr uint32_t pattern_operand_mask(std::string_view pat) {
  uint32_t m = 0;
  for (int i = 0; i < 32; ++i)
    if (pat[i] != '0' && pat[i] != '1' && pat[i] != 's') m |= 1u << (31 - i);
  return m;
}
// A pattern is well formed when it has 32 characters and its table's key bits
// are all fixed ('0', '1' or 's'), and no 's' lies outside the key.
constexpr bool pattern_ok(Table t, std::string_view pat) {
  if (pat.size() != 32) return false;
  uint32_t key = table_key_mask(t);
  for (int i = 0; i < 32; ++i) {
    char c = pat[i];
    bool in_key = (key >> (31 - i)) & 1;
    bool fixed = c == '0' || c == '1' || c == 's';
    if (in_key && !fixed) return false;
    if (!in_key && c == 's') return false;
    if (!(fixed || (c >= 'a' && c <= 'z'))) return false;
  }
  return true;
}

// One handler's entry: table, key and the word with operand fields clear.
struct DecodeEntry {
  Table table;
  uint8_t type;           // EType
  uint32_t key;
  uint32_t word;          // fixed bits, operand fields clear
  uint32_t operand_mask;  // operand-field bits
  const Encoding* enc;
};

// The data, one file per instruction group.
inline constexpr Encoding kIntegerEncodings[] = {
#include "sve/decode/encodings_integer.inc"
};
inline constexpr Encoding kPredicateEncodings[] = {
#include "sve/decode/encodings_predicate.inc"
};
inline constexpr Encoding kPermuteEncodings[] = {
#include "sve/decode/encodings_permute.inc"
};
inline constexpr Encoding kCountEncodings[] = {
#include "sve/decode/encodings_count.inc"
};
inline constexpr Encoding kFloatEncodings[] = {
#include "sve/decode/encodings_float.inc"
};
inline constexpr Encoding kMemoryEncodings[] = {
#include "sve/decode/encodings_memory.inc"
};

template <size_t N>
constexpr int count_types(const Encoding (&lines)[N]) {
  int n = 0;
  for (const Encoding& e : lines) {
    std::string_view t = e.types;
    bool in = false;
    for (char c : t) {
      if (c != ' ' && !in) ++n;
      in = c != ' ';
    }
  }
  return n;
}

template <size_t N>
constexpr bool lines_ok(const Encoding (&lines)[N]) {
  for (const Encoding& e : lines)
    if (!pattern_ok(e.table, e.pattern)) return false;
  return true;
}

// Expands lines into per-type entries, appending at out[pos..].
template <size_t N, size_t M>
constexpr int expand(const Encoding (&lines)[N], std::array<DecodeEntry, M>& out, int pos) {
  for (const Encoding& e : lines) {
    std::string_view t = e.types;
    size_t i = 0;
    while (i < t.size()) {
      while (i < t.size() && t[i] == ' ') ++i;
      size_t j = i;
      while (j < t.size() && t[j] != ' ') ++j;
      if (j == i) break;
      int ty = type_index(t.substr(i, j - i));
      if (ty < 0) throw "unknown element type";
      uint32_t w = pattern_word(e.pattern, kETypeSize[ty]);
      out[pos++] = DecodeEntry{e.table, uint8_t(ty), table_key(e.table, w), w,
                               pattern_operand_mask(e.pattern), &e};
      i = j;
    }
  }
  return pos;
}

#define SVE_ENCODING_GROUPS(X) \
  X(kIntegerEncodings) X(kPredicateEncodings) X(kPermuteEncodings) X(kCountEncodings) \
  X(kFloatEncodings) X(kMemoryEncodings)

#define SVE_GROUP_OK(g) static_assert(lines_ok(g), "malformed pattern in " #g);
SVE_ENCODING_GROUPS(SVE_GROUP_OK)
#undef SVE_GROUP_OK

constexpr int kNumDecodeEntries = 0
#define SVE_GROUP_COUNT(g) +count_types(g)
    SVE_ENCODING_GROUPS(SVE_GROUP_COUNT)
#undef SVE_GROUP_COUNT
    ;

constexpr std::array<DecodeEntry, kNumDecodeEntries> make_decode_entries() {
  std::array<DecodeEntry, kNumDecodeEntries> out{};
  int pos = 0;
#define SVE_GROUP_EXPAND(g) pos = expand(g, out, pos);
  SVE_ENCODING_GROUPS(SVE_GROUP_EXPAND)
#undef SVE_GROUP_EXPAND
  return out;
}
// Every entry's table key, computed by the compiler from the patterns.
inline constexpr std::array<DecodeEntry, kNumDecodeEntries> kDecodeEntries = make_decode_entries();

// The group (data file) an entry comes from: "Integer", "Predicate", ...
inline std::string_view entry_group(const DecodeEntry& e) {
#define SVE_GROUP_OF(g) \
  if (e.enc >= std::begin(g) && e.enc < std::end(g)) return std::string_view(#g).substr(1, std::string_view(#g).size() - 10);
  SVE_ENCODING_GROUPS(SVE_GROUP_OF)
#undef SVE_GROUP_OF
  return "";
}

inline std::string entry_name(const DecodeEntry& e) {
  return "Vec" + std::string(kETypeName[e.type]) + e.enc->op;
}
