// Decode tables: contents, key derivation, probe order and the first-hit rule.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>

#include "sve/decode/decode.h"

namespace {

// The number of live handlers only grows; raise it as families land.
constexpr int kMinLive = 970;

TEST(DecodeTables, HoldEveryHandlerOnce) {
  std::set<std::pair<int, std::string>> have;
  for (const DecodeEntry& e : kDecodeEntries)
    EXPECT_TRUE(have.insert({int(e.table), entry_name(e)}).second) << entry_name(e) << " entered twice";
  EXPECT_EQ(kNumDecodeEntries, 1483);
}

TEST(DecodeTables, KeysAreUniqueWithinATable) {
  std::map<std::pair<int, uint32_t>, std::string> seen;
  for (const DecodeEntry& e : kDecodeEntries) {
    auto [it, fresh] = seen.emplace(std::pair<int, uint32_t>(int(e.table), e.key), entry_name(e));
    EXPECT_TRUE(fresh) << entry_name(e) << " and " << it->second << " share key 0x" << std::hex << e.key
                       << " in decode_map__" << kTableSuffix[int(e.table)];
  }
}

TEST(DecodeTables, LiveHandlersAreCountedAndReachable) {
  int live = 0;
  for (const DecodeEntry& e : kDecodeEntries) {
    Handler h = entry_handler(e);
    if (h) ++live;
    if (find_decode_entry(e.word) == &e) {
      EXPECT_EQ(get_sve_handler(e.word), h) << entry_name(e);
    }
  }
  std::printf("live handlers: %d of %d\n", live, kNumDecodeEntries);
  EXPECT_GE(live, kMinLive);
}

TEST(DecodeTables, EveryPublishedHandlerHasAnEntry) {
  std::set<std::string> names;
  for (const DecodeEntry& e : kDecodeEntries) names.insert(entry_name(e));
  for (auto family : handler_registry())
    for (const HandlerDef& d : family) EXPECT_TRUE(names.count(d.name)) << d.name << " has no decode entry";
}

TEST(DecodeKeys, FollowTheTableName) {
  EXPECT_EQ(table_key(Table::m31_21__15_10, 0x04200000u), 0x840u);
  EXPECT_EQ(table_key(Table::m31_9__4_0, 0xFFFFFFFFu), (1u << 28) - 1);
  EXPECT_EQ(table_key(Table::m31_9__4_0, 0x252C8000u | (5u << 5) | 3u), ((0x252C8000u >> 9) << 5) | 3u);
  EXPECT_EQ(table_key(Table::m31_14__9_9__4_0, 1u << 9), 1u << 5);
  EXPECT_EQ(table_key(Table::m31_0, 0x252C9000u), 0x252C9000u);
  EXPECT_EQ(table_key_width(Table::m31_21__15_15), 12);
}

TEST(DecodeLookup, NonSveWordsGiveNull) {
  for (uint32_t w : {0xD503201Fu, 0x00000000u, 0x8B020020u, 0x4E228420u, 0xD65F03C0u})
    EXPECT_EQ(find_decode_entry(w), nullptr) << std::hex << w;
}

TEST(DecodeLookup, SetffrResolvesInTheFirstTableOnly) {
  const DecodeEntry* e = find_decode_entry(0x252C9000u);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(entry_name(*e), "VecPClearFFSR");
  EXPECT_EQ(e->table, Table::m31_0);
  for (int b = 0; b < 32; ++b) {
    const DecodeEntry* o = find_decode_entry(0x252C9000u ^ (1u << b));
    EXPECT_TRUE(!o || o->table != Table::m31_0) << b;
  }
}

// A word that matches entries in two tables resolves to the earlier probe.
TEST(DecodeLookup, FirstHitInProbeOrderWins) {
  int overlaps = 0;
  for (const DecodeEntry& e : kDecodeEntries)
    for (const DecodeEntry& o : kDecodeEntries) {
      if (int(o.table) <= int(e.table)) continue;
      // Does o's pattern also accept e's fixed word?
      if (table_key(o.table, e.word) != o.key) continue;
      ++overlaps;
      EXPECT_EQ(find_decode_entry(e.word), &e) << entry_name(e) << " shadowed by " << entry_name(o);
    }
  std::printf("words matching entries of two tables: %d\n", overlaps);
}

}  // namespace
