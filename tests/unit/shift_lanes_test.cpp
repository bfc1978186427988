// Shifts of sixteen bytes of lanes against plain element shifts, for every
// amount up to twice the width and for random large ones, each lane shifted
// by a different amount; the length-agnostic routines built on them.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "sve/int/shift_lanes.h"
#include "sve/state/context.h"
#include "tests/common/edges.h"

extern "C" void VecU16ShrVWM(uint8_t*, const uint8_t*, const PredV*, const uint8_t*, CpuContext*);
extern "C" void VecS32ShrRVVM(uint8_t*, const uint8_t*, const PredV*, const uint8_t*, CpuContext*);
extern "C" void VecS8ShrDVIM(uint8_t*, const uint8_t*, const PredV*, uint64_t, CpuContext*);

namespace {
using namespace sve;

template <class T> uint64_t lsl_ref(T x, uint64_t n) {
  return n >= uint64_t(kBits<T>) ? 0 : uint64_t(UnsignedOf<T>(UnsignedOf<T>(x) << n));
}
template <class T> uint64_t lsr_ref(T x, uint64_t n) {
  return n >= uint64_t(kBits<T>) ? 0 : uint64_t(UnsignedOf<T>(x) >> n);
}
template <class T> uint64_t asr_ref(T x, uint64_t n) {
  using S = std::make_signed_t<T>;
  return uint64_t(UnsignedOf<T>(S(S(x) >> (n >= uint64_t(kBits<T>) ? kBits<T> - 1 : int(n)))));
}

template <class T> T edge_value(std::mt19937_64& g) { return T(refcommon::edge_int(g, kBits<T>)); }

template <class T> class ShiftLanes : public ::testing::Test {};
using LaneTypes = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, uint32_t, int32_t, uint64_t, int64_t>;
TYPED_TEST_SUITE(ShiftLanes, LaneTypes);

constexpr int kLanes(int bytes) { return 16 / bytes; }

// Each lane of the three shifts of x against the element shifts by amount(i).
template <class T, class Amount>
void expect_element_shifts(const Lanes<T>& x, Amount amount, const Lanes<T>& l, const Lanes<T>& r, const Lanes<T>& s) {
  using U = UnsignedOf<T>;
  for (int i = 0; i < kLanes(sizeof(T)); ++i) {
    uint64_t k = amount(i);
    SCOPED_TRACE(::testing::Message() << "x " << +x[i] << " by " << k);
    EXPECT_EQ(uint64_t(U(l[i])), lsl_ref<T>(x[i], k));
    EXPECT_EQ(uint64_t(U(r[i])), lsr_ref<T>(x[i], k));
    EXPECT_EQ(uint64_t(U(s[i])), asr_ref<T>(x[i], k));
  }
}

TYPED_TEST(ShiftLanes, ByLaneAmountsMatchElementShifts) {
  using T = TypeParam;
  using U = UnsignedOf<T>;
  constexpr int n = kLanes(sizeof(T));
  std::mt19937_64 g(7);
  std::vector<U> amounts;
  for (int k = 0; k <= 2 * kBits<T> + 1; ++k) amounts.push_back(U(k));
  for (int k = 0; k < 64; ++k) amounts.push_back(U(g()));
  // Large amounts whose low byte is small (AArch64 shifts by the low byte).
  for (int k : {1, 8, 31}) amounts.push_back(U(U(1) << (kBits<T> - 1) | U(k))), amounts.push_back(U(0x100 + k));
  amounts.push_back(U(~U(0)));
  for (size_t first = 0; first < amounts.size(); first += n) {
    Lanes<T> x, a;
    for (int i = 0; i < n; ++i) x[i] = edge_value<T>(g), a[i] = T(amounts[(first + i) % amounts.size()]);
    expect_element_shifts<T>(x, [&](int i) { return uint64_t(U(a[i])); }, shl_by_lanes<T>(x, a),
                             lsr_by_lanes<T>(x, a), asr_by_lanes<T>(x, a));
  }
}

TYPED_TEST(ShiftLanes, UniformAmountsMatchElementShifts) {
  using T = TypeParam;
  std::mt19937_64 g(9);
  for (unsigned k = 0; k < unsigned(kBits<T>); ++k) {
    Lanes<T> x;
    for (int i = 0; i < kLanes(sizeof(T)); ++i) x[i] = edge_value<T>(g);
    expect_element_shifts<T>(x, [&](int) { return uint64_t(k); }, shl_lanes<T>(x, k), lsr_lanes<T>(x, k),
                             asr_lanes<T>(x, k));
  }
}

template <class T> T elem_at(const uint8_t* v, int i) {
  T x;
  std::memcpy(&x, v + i * sizeof(T), sizeof(T));
  return x;
}

// The routines over lengths that end in a piece of eight bytes or not: each
// active element as the element shift gives it, inactive ones kept, nothing
// past the length written.
TEST(ShiftRoutines, FollowTheContextLength) {
  std::mt19937_64 g(11);
  for (int units : {2, 3, 14, 15, 32}) {
    int vl = units * 8;
    SCOPED_TRACE(::testing::Message() << "vl " << vl);
    VecImage a, b, d;
    PredV p{};
    for (int i = 0; i < 256; ++i) a.b[i] = uint8_t(g()), b.b[i] = uint8_t(g() % 4 ? g() % 40 : g());
    for (int i = 0; i < vl; ++i) p.set(i, g() & 1);
    CpuContext c{};
    c.vl = uint32_t(units);
    auto untouched_past_vl = [&] {
      for (int i = vl; i < 256; ++i) ASSERT_EQ(d.b[i], 0xEE) << i;
    };
    std::memset(d.b, 0xEE, 256);
    VecU16ShrVWM(d.b, a.b, &p, b.b, &c);
    for (int i = 0; i < vl / 2; ++i) {
      uint16_t x = elem_at<uint16_t>(a.b, i);
      uint64_t want = p.bit(2 * i) ? lsr_ref<uint16_t>(x, elem_at<uint64_t>(b.b, i / 4)) : x;
      ASSERT_EQ(elem_at<uint16_t>(d.b, i), want) << i;
    }
    untouched_past_vl();
    std::memset(d.b, 0xEE, 256);
    VecS32ShrRVVM(d.b, a.b, &p, b.b, &c);
    for (int i = 0; i < vl / 4; ++i) {
      int32_t x = elem_at<int32_t>(a.b, i), y = elem_at<int32_t>(b.b, i);
      uint32_t want = p.bit(4 * i) ? uint32_t(asr_ref<int32_t>(y, uint32_t(x))) : uint32_t(x);
      ASSERT_EQ(elem_at<uint32_t>(d.b, i), want) << i;
    }
    untouched_past_vl();
    for (int n : {1, 3, 8}) {
      std::memset(d.b, 0xEE, 256);
      VecS8ShrDVIM(d.b, a.b, &p, uint64_t(n), &c);
      for (int i = 0; i < vl; ++i) {
        int8_t x = int8_t(a.b[i]);
        ASSERT_EQ(int8_t(d.b[i]), p.bit(i) ? int8_t(x / (1 << n)) : x) << i << " by " << n;
      }
      untouched_past_vl();
    }
  }
}

}  // namespace
