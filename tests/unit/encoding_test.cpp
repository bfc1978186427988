// Every decode entry checked against the cross disassembler: operand fields
// filled with random values, the words disassembled by objdump, and the
// mnemonic and element size compared with what the entry's handler stands for.
// Environment: SVE_ENC_FILTER (substring of handler names), SVE_ENC_GROUP
// (Integer, Predicate, Permute, Count, Float, Memory), SVE_ENC_FILLS.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "sve/decode/decode.h"
#include "tools/disasm.h"

namespace {

struct Case {
  const DecodeEntry* e;
  uint32_t word;
};

std::vector<const DecodeEntry*> selected_entries() {
  const char* f = std::getenv("SVE_ENC_FILTER");
  const char* g = std::getenv("SVE_ENC_GROUP");
  std::vector<const DecodeEntry*> v;
  for (const DecodeEntry& e : kDecodeEntries)
    if ((!f || entry_name(e).find(f) != std::string::npos) && (!g || entry_group(e) == g)) v.push_back(&e);
  return v;
}

int fills() {
  const char* k = std::getenv("SVE_ENC_FILLS");
  return k ? std::atoi(k) : 8;
}

uint32_t random_fill(const DecodeEntry& e, std::mt19937& rng) { return e.word | (uint32_t(rng()) & e.operand_mask); }

bool invalid(const std::string& dis) {
  return dis.empty() || dis.rfind(".inst", 0) == 0 || dis.find("undefined") != std::string::npos ||
         dis.rfind("udf", 0) == 0;
}

std::string mnemonic_of(const std::string& dis) { return dis.substr(0, dis.find_first_of(" \t")); }

bool mnemonic_ok(const std::string& dis, const char* alternatives) {
  std::string mn = mnemonic_of(dis);
  std::stringstream ss(alternatives);
  std::string alt;
  while (std::getline(ss, alt, '|'))
    if (alt == mn) return true;
  return false;
}

// The element-size letter that a type prefix stands for (0: none).
char size_letter(const DecodeEntry& e) {
  std::string t(kETypeName[e.type]);
  if (t == "P") return 0;
  if (t == "U128") return 'q';
  return "bhsd"[kETypeSize[e.type]];
}

// The letter must appear as an element suffix of some operand; forms with no
// vector or predicate operand (scalar counts, RDVL, CTERM, scalar prefetches)
// carry the size in the mnemonic or not at all.
bool size_ok(const DecodeEntry& e, const std::string& dis) {
  char want = size_letter(e);
  if (!want) return true;
  // Bitmask-immediate forms work on 64-bit chunks; the disassembler prints the
  // size that the immediate's pattern implies.
  for (const char* op : {"AndVIX", "OrVIX", "XorVIX", "DupMaskI"})
    if (std::string_view(e.enc->op) == op) return true;
  std::string ops = dis.substr(std::min(dis.size(), dis.find_first_of(" \t")));
  ops = ops.substr(0, ops.find("//"));
  static const std::regex suffix(R"(\.([bhsdq])\b)");
  bool any = false;
  for (std::sregex_iterator it(ops.begin(), ops.end(), suffix), end; it != end; ++it) {
    any = true;
    if ((*it)[1].str()[0] == want) return true;
  }
  return !any;
}

TEST(Encoding, EveryEntryMatchesDisassembler) {
  std::mt19937 rng(12345);
  std::vector<Case> cases;
  for (const DecodeEntry* e : selected_entries()) {
    cases.push_back({e, e->word});
    for (int k = 0; k < fills(); ++k) cases.push_back({e, random_fill(*e, rng)});
  }
  std::vector<uint32_t> words;
  for (const Case& c : cases) words.push_back(c.word);
  std::vector<std::string> dis = disassemble_words(words, SVE_OBJDUMP);
  ASSERT_EQ(dis.size(), words.size());

  std::map<const DecodeEntry*, int> valid;
  int failures = 0;
  for (size_t i = 0; i < cases.size(); ++i) {
    const Case& c = cases[i];
    if (invalid(dis[i])) continue;
    ++valid[c.e];
    const DecodeEntry* got = find_decode_entry(c.word);
    std::string why;
    if (!mnemonic_ok(dis[i], c.e->enc->mnemonic)) why = std::string("mnemonic, expected ") + c.e->enc->mnemonic;
    else if (!size_ok(*c.e, dis[i])) why = std::string("element size, expected .") + size_letter(*c.e);
    else if (got != c.e) why = "decodes to " + (got ? entry_name(*got) : std::string("nothing"));
    if (!why.empty() && ++failures <= 60)
      ADD_FAILURE() << entry_name(*c.e) << " " << c.e->enc->pattern << " word 0x" << std::hex << c.word << ": \""
                    << dis[i] << "\": " << why;
  }
  for (size_t i = 0; i < cases.size(); ++i)
    if (cases[i].word == cases[i].e->word && !valid[cases[i].e])
      ADD_FAILURE() << entry_name(*cases[i].e) << " " << cases[i].e->enc->pattern
                    << ": no filling disassembles (0x" << std::hex << cases[i].word << ": \"" << dis[i] << "\")";
  EXPECT_EQ(failures, 0);
}

TEST(Encoding, OperandBitsNeverChangeTheEntry) {
  std::mt19937 rng(777);
  int failures = 0;
  for (const DecodeEntry* e : selected_entries())
    for (int k = 0; k < 64; ++k) {
      uint32_t w = random_fill(*e, rng);
      const DecodeEntry* got = find_decode_entry(w);
      if (got != e && ++failures <= 40)
        ADD_FAILURE() << entry_name(*e) << " " << e->enc->pattern << " word 0x" << std::hex << w << " decodes to "
                      << (got ? entry_name(*got) : std::string("nothing"));
    }
  EXPECT_EQ(failures, 0);
}

}  // namespace
