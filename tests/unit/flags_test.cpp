// The predicate test, in its fixed-length and length-agnostic forms.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "sve/int/flags.h"
#include "test_support.h"

namespace {

// The element-by-element rule that the word-wise tests must agree with.
// Over `elems` elements: active(i) is the governing bit, first(i) the tested
// element's lowest bit (for N and C), any(i) whether it counts as true for Z.
template <class Active, class First, class Any>
sve::NzcFlags predicate_test(int elems, Active active, First first, Any any) {
  sve::NzcFlags f{false, true, true};
  int first_active = -1, last_active = -1;
  for (int i = 0; i < elems; ++i) {
    if (!active(i)) continue;
    if (first_active < 0) first_active = i;
    last_active = i;
    if (any(i)) f.z = false;
  }
  if (first_active >= 0) {
    f.n = first(first_active);
    f.c = !first(last_active);
  }
  return f;
}

using namespace test_support;
using namespace sve;

struct Lanes {
  char b[SVE_VL_BYTES] = {};
};

unsigned flags_of(const cpu_state& s) { return unsigned(s.nzcv >> 28); }
unsigned nzc(NzcFlags f) { return unsigned(f.n) << 3 | unsigned(f.z) << 2 | unsigned(f.c) << 1; }
PredV packed(const Lanes& l) { return pack_pred(reinterpret_cast<const uint8_t*>(l.b)); }

template <class T> class PredicateTestOf : public ::testing::Test {};
using ElementTypes = ::testing::Types<signed char, short, int, long>;
TYPED_TEST_SUITE(PredicateTestOf, ElementTypes);

// The packed form agrees with the fixed-length one on predicates whose
// elements have only their lowest bit set.
TYPED_TEST(PredicateTestOf, PackedFormAgreesOnLowestBits) {
  constexpr int E = int(sizeof(TypeParam));
  std::mt19937 rng(3 + E);
  CpuContext c{};
  c.vl = SVE_VL_BYTES / 8;
  for (int round = 0; round < 500; ++round) {
    Lanes g, t;
    for (int k = 0; k < SVE_VL_BYTES; k += E) {
      g.b[k] = rng() % 3 == 0;
      t.b[k] = rng() % 2;
    }
    cpu_state s{};
    sve_ptest<TypeParam>(&s, g.b, t.b);
    c.flags = 0x10000000u;
    PredSetNZCV(packed(g), packed(t), 8 * E, &c);
    ASSERT_EQ(c.flags >> 28, flags_of(s));
  }
}

// They differ in Z when a non-lowest bit of an active element is set.
TEST(PredicateTest, PackedFormDiffersInZOnNonLowestBits) {
  CpuContext c{};
  c.vl = SVE_VL_BYTES / 8;
  Lanes g, t;
  g.b[0] = 1;
  t.b[1] = 1;  // second lane of an active halfword
  cpu_state s{};
  sve_ptest<short>(&s, g.b, t.b);
  c.flags = 0;
  PredSetNZC(packed(g), packed(t), 16, &c);
  EXPECT_EQ(flags_of(s), Z | C);
  EXPECT_EQ(c.flags >> 28, C);  // Z clear: the element counts as true
}

// The fixed-length test against the element-by-element rule, on lanes that
// also hold set bits outside element starts (which must be ignored).
TYPED_TEST(PredicateTestOf, FixedLengthFormFollowsTheElementRule) {
  using T = TypeParam;
  constexpr int E = int(sizeof(T));
  std::mt19937 rng(11 + E);
  for (int round = 0; round < 2000; ++round) {
    Lanes g, t;
    int density = int(rng() % 4);
    for (int k = 0; k < SVE_VL_BYTES; ++k) {
      g.b[k] = char(rng() % 4 < unsigned(density) ? 1 : 0) | char(rng() & 6);
      t.b[k] = char(rng() & 1) | char(rng() & 0xFE);
    }
    cpu_state s{};
    sve_ptest<T>(&s, g.b, t.b);
    auto gi = [&](int i) { return (g.b[i * E] & 1) != 0; };
    auto ti = [&](int i) { return (t.b[i * E] & 1) != 0; };
    ASSERT_EQ(flags_of(s), nzc(predicate_test(SVE_VL_BYTES / E, gi, ti, ti)));
  }
}

// The closed forms used by WHILE and PTRUES against the fixed-length test of
// every leading run at every element size.
TYPED_TEST(PredicateTestOf, LeadingRunClosedFormsFollowTheTest) {
  using T = TypeParam;
  constexpr int E = int(sizeof(T)), n = SVE_VL_BYTES / E;
  for (int count = 0; count <= n; ++count) {
    Lanes all, run;
    for (int i = 0; i < n; ++i) all.b[i * E] = 1, run.b[i * E] = i < count;
    cpu_state s{};
    sve_ptest<T>(&s, all.b, run.b);
    ASSERT_EQ(flags_of(s), nzc(leading_run_test(count, n))) << count;
    sve_ptest<T>(&s, run.b, run.b);
    ASSERT_EQ(flags_of(s), nzc(leading_run_self_test(count))) << count;
  }
}

TEST(PredicateTest, SetNzcKeepsVAndTheVariantsKeepZ) {
  CpuContext c{};
  c.vl = 14;
  PredV none{};
  c.flags = 0x1000ABCDu;
  PredSetNZC(none, none, 8, &c);
  EXPECT_EQ(c.flags, 0x7000ABCDu);  // Z, C set; V kept
  PredSetNZCV(none, none, 8, &c);
  EXPECT_EQ(c.flags, 0x6000ABCDu);
  c.flags = 0x0u;
  PredSetNC(none, none, 8, &c);
  EXPECT_EQ(c.flags, 0x20000000u);  // Z untouched
  c.vl = 0;  // no element at all
  EXPECT_EQ(FindFirstActive(none, 8, &c), -1);
}

}  // namespace
