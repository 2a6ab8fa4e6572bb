// The frame: version record, scale tables, integer rules and scratch helpers.
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/fixed.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "support/harness.h"

namespace {

using namespace vsptest;

TEST(Version, RecordIsTheConstantOne) {
  const VspLibraryVersion* v = vspsrGetLibVersion();
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v, vspsrGetLibVersion());
  EXPECT_EQ(v->major, 6);
  EXPECT_EQ(v->minor, 1);
  EXPECT_EQ(v->majorBuild, 137);
  EXPECT_EQ(v->build, 782);
  EXPECT_EQ(std::memcmp(v->targetTag, "mx\0\0", 4), 0);
  EXPECT_STREQ(v->name, "vspsrmx-6.1.dll");
  EXPECT_STREQ(v->versionText, "6.1 build 137.20");
  EXPECT_STREQ(v->buildDate, "Jun 10 2009");
}

TEST(Scale32, ExactPowersAndClampedEnds) {
  for (int n = -127; n <= 149; ++n) EXPECT_EQ(vsp::scale32(n), std::ldexp(1.0f, -n)) << "n=" << n;
  EXPECT_TRUE(std::isinf(vsp::scale32(-128)) && vsp::scale32(-128) > 0);
  EXPECT_TRUE(std::isinf(vsp::scale32(-100000)));
  EXPECT_TRUE(std::isinf(vsp::scale32(int64_t(INT32_MIN) - 5)));
  EXPECT_EQ(vsp::scale32(-127), 0x1p127f);
  EXPECT_EQ(vsp::scale32(149), std::numeric_limits<float>::denorm_min());
  EXPECT_EQ(bits(vsp::scale32(150)), 0u);
  EXPECT_EQ(bits(vsp::scale32(int64_t(INT32_MAX) + 1)), 0u);
}

TEST(Scale64, ExactPowersAndClampedEnds) {
  for (int n = -1023; n <= 1074; ++n) EXPECT_EQ(vsp::scale64(n), std::ldexp(1.0, -n)) << "n=" << n;
  EXPECT_TRUE(std::isinf(vsp::scale64(-1024)) && vsp::scale64(-1024) > 0);
  EXPECT_TRUE(std::isinf(vsp::scale64(-5000)));
  EXPECT_EQ(vsp::scale64(-1023), 0x1p1023);
  EXPECT_EQ(vsp::scale64(1074), std::numeric_limits<double>::denorm_min());
  for (int n : {1075, 1080, 1087, 1088, 100000}) EXPECT_EQ(bits(vsp::scale64(n)), 0u) << n;
}

TEST(Fixed, ShiftsTakeTheCountModuloTheWidth) {
  struct Row {
    int64_t v;
    int64_t n;
    int64_t want64;
    int32_t want32;
  };
  const Row rows[] = {
      {1, 1, 0, 0},     // truncation toward minus infinity
      {-1, 1, -1, -1},  // ... so -1 stays -1
      {-1, 40, -1, -1},
      {-7, 1, -4, -4},
      {5, 0, 5, 5},
      {3, -2, 12, 12},  // negative factor: left shift
      {1, -31, int64_t(1) << 31, INT32_MIN},
      {1, -32, int64_t(1) << 32, 1},  // 32-bit count wraps to 0
      {1, 64, 1, 1},                  // 64 mod 64 = 0, 64 mod 32 = 0
      {1, -64, 1, 1},
      {256, 33, 0, 128},               // 33 mod 32 = 1
      {1, -63, INT64_MIN, INT32_MIN},  // -63 mod 32 = 31
      {INT64_MIN, INT64_MIN, INT64_MIN, 0},
  };
  for (const Row& r : rows) {
    EXPECT_EQ(vsp::shiftByScale64(r.v, r.n), r.want64) << r.v << " by " << r.n;
    EXPECT_EQ(vsp::shiftByScale32(vsp::low32(r.v), r.n), r.want32) << r.v << " by " << r.n;
  }
}

TEST(Fixed, SaturationAndWrap) {
  EXPECT_EQ(vsp::sat32(int64_t(1) << 40), INT32_MAX);
  EXPECT_EQ(vsp::sat32(-(int64_t(1) << 40)), INT32_MIN);
  EXPECT_EQ(vsp::sat16(40000), 32767);
  EXPECT_EQ(vsp::sat16(-40000), -32768);
  EXPECT_EQ(vsp::sat8u(-1), 0);
  EXPECT_EQ(vsp::sat8u(256), 255);
  EXPECT_EQ(vsp::low32(int64_t(0x180000000)), INT32_MIN);
  EXPECT_EQ(vsp::wrapAdd64(INT64_MAX, 1), INT64_MIN);
  EXPECT_EQ(vsp::wrapSub32(INT32_MIN, 1), INT32_MAX);
  EXPECT_EQ(vsp::shiftRoundHalfUp64(3, 1), 2);    // 1.5 -> 2
  EXPECT_EQ(vsp::shiftRoundHalfUp64(-3, 1), -1);  // -1.5 -> -1: ties go up
}

TEST(Fixed, FloatToIntegerClampsThenTruncates) {
  EXPECT_EQ(vsp::f32ToS32Clamp(3e9f), INT32_MIN);  // the bound itself overflows
  EXPECT_EQ(vsp::f32ToS32Clamp(-0.75f), 0);
  EXPECT_EQ(vsp::f32ToS32Branch(3e9f), INT32_MAX);
  EXPECT_EQ(vsp::f32ToS32Branch(2147483648.0f), INT32_MIN);
  EXPECT_EQ(vsp::f32ToS32Branch(-3e9f), INT32_MIN);
  EXPECT_EQ(vsp::f64ToS32Sat(2147483647.0), INT32_MAX);
  EXPECT_EQ(vsp::f64ToS32Sat(1e300), INT32_MAX);
  EXPECT_EQ(vsp::f64ToS32Sat(-2.9), -2);
  EXPECT_EQ(vsp::f64ToS16Sat(32767.9), 32767);
  EXPECT_EQ(vsp::f32ToS16Sat(-40000.0f), -32768);
  EXPECT_EQ(vsp::f32ToS16Sat(-0.5f), 0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(vsp::truncToS32(nan), INT32_MIN);  // never undefined behaviour
  EXPECT_EQ(vsp::f32ToS16Sat(nan), 0);
  EXPECT_EQ(vsp::roundHalfAway(2.5), 3.0);
  EXPECT_EQ(vsp::roundHalfAway(-2.5f), -3.0f);
}

TEST(Scratch, CountBelowOneNeverAllocates) {
  const long before = vspcoreTestAllocations();
  EXPECT_EQ(vsp::scratch8(0), nullptr);
  EXPECT_EQ(vsp::scratch16(-1), nullptr);
  EXPECT_EQ(vsp::scratch64(INT32_MIN), nullptr);
  EXPECT_EQ(vspcoreTestAllocations(), before);
}

TEST(Core, BlocksAreAlignedTo64Bytes) {
  for (size_t n : {1, 3, 64, 1000, 4097}) {
    void* p = vspMalloc(n);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    vspFree(p);
  }
}

}  // namespace
