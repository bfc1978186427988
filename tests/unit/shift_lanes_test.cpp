// Shifts of sixteen bytes of lanes against plain element shifts, for every
// amount up to twice the width and for random large ones, each lane shifted
// by a different amount.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "sve/int/shift_lanes.h"

namespace {
using namespace sve;

template <class T> uint64_t lsl_ref(T x, uint64_t n) { return n >= uint64_t(kBits<T>) ? 0 : uint64_t(UnsignedOf<T>(UnsignedOf<T>(x) << n)); }
template <class T> uint64_t lsr_ref(T x, uint64_t n) { return n >= uint64_t(kBits<T>) ? 0 : uint64_t(UnsignedOf<T>(x) >> n); }
template <class T> uint64_t asr_ref(T x, uint64_t n) {
  using S = std::make_signed_t<T>;
  return uint64_t(UnsignedOf<T>(S(S(x) >> (n >= uint64_t(kBits<T>) ? kBits<T> - 1 : int(n)))));
}

template <class T> T edge_value(std::mt19937_64& g) {
  using U = UnsignedOf<T>;
  const U edges[] = {0, 1, U(~U(0)), U(U(1) << (kBits<T> - 1)), U((U(1) << (kBits<T> - 1)) - 1)};
  return T(g() % 3 ? U(g()) : edges[g() % 5]);
}

template <class T> class ShiftLanes : public ::testing::Test {};
using LaneTypes = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, uint32_t, int32_t>;
TYPED_TEST_SUITE(ShiftLanes, LaneTypes);

constexpr int kLanes(int bytes) { return 16 / bytes; }

TYPED_TEST(ShiftLanes, ByLaneAmountsMatchElementShifts) {
  using T = TypeParam;
  using U = UnsignedOf<T>;
  constexpr int n = kLanes(sizeof(T));
  std::mt19937_64 g(7);
  std::vector<U> amounts;
  for (int k = 0; k <= 2 * kBits<T> + 1; ++k) amounts.push_back(U(k));
  for (int k = 0; k < 64; ++k) amounts.push_back(U(g()));
  amounts.push_back(U(~U(0)));
  for (int round = 0; round < 40; ++round) {
    Lanes<T> x, a;
    for (int i = 0; i < n; ++i) x[i] = edge_value<T>(g), a[i] = T(amounts[(round * n + i) % amounts.size()]);
    Lanes<T> l = shl_by_lanes<T>(x, a), r = lsr_by_lanes<T>(x, a), s = asr_by_lanes<T>(x, a);
    for (int i = 0; i < n; ++i) {
      uint64_t k = U(a[i]);
      SCOPED_TRACE(::testing::Message() << "x " << +x[i] << " by " << k);
      EXPECT_EQ(uint64_t(U(l[i])), lsl_ref<T>(x[i], k));
      EXPECT_EQ(uint64_t(U(r[i])), lsr_ref<T>(x[i], k));
      EXPECT_EQ(uint64_t(U(s[i])), asr_ref<T>(x[i], k));
    }
  }
}

template <class T> class UniformShiftLanes : public ::testing::Test {};
using UniformTypes = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, uint32_t, int32_t, uint64_t, int64_t>;
TYPED_TEST_SUITE(UniformShiftLanes, UniformTypes);

TYPED_TEST(UniformShiftLanes, MatchElementShifts) {
  using T = TypeParam;
  using U = UnsignedOf<T>;
  constexpr int n = kLanes(sizeof(T));
  std::mt19937_64 g(9);
  for (unsigned k = 0; k < unsigned(kBits<T>); ++k) {
    Lanes<T> x;
    for (int i = 0; i < n; ++i) x[i] = edge_value<T>(g);
    Lanes<T> l = shl_lanes<T>(x, k), r = lsr_lanes<T>(x, k), s = asr_lanes<T>(x, k);
    for (int i = 0; i < n; ++i) {
      SCOPED_TRACE(::testing::Message() << "x " << +x[i] << " by " << k);
      EXPECT_EQ(uint64_t(U(l[i])), lsl_ref<T>(x[i], k));
      EXPECT_EQ(uint64_t(U(r[i])), lsr_ref<T>(x[i], k));
      EXPECT_EQ(uint64_t(U(s[i])), asr_ref<T>(x[i], k));
    }
  }
}

}  // namespace
