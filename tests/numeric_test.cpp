#include "numeric.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "para.hpp"

namespace {

using imgtarn::numeric::InterpolateToTargets;
using imgtarn::numeric::InvertPlane;
using imgtarn::numeric::StepPositionToOffsets;

TEST(TruncToInt, TruncatesTowardZeroAndMapsTheUnrepresentableToIntMin) {
  EXPECT_EQ(imgtarn::TruncToInt(4.9f), 4);
  EXPECT_EQ(imgtarn::TruncToInt(-0.5f), 0);
  EXPECT_EQ(imgtarn::TruncToInt(-1.9f), -1);
  EXPECT_EQ(imgtarn::TruncToInt(2147483520.0f), 2147483520);
  EXPECT_EQ(imgtarn::TruncToInt(2147483648.0f), INT_MIN);
  EXPECT_EQ(imgtarn::TruncToInt(-2147483648.0f), INT_MIN);
  EXPECT_EQ(imgtarn::TruncToInt(std::numeric_limits<float>::quiet_NaN()), INT_MIN);
  EXPECT_EQ(imgtarn::TruncToInt(-std::numeric_limits<float>::infinity()), INT_MIN);
}

TEST(InvertPlane, InvertsTheFirstWidthTimesHeightSamples) {
  unsigned char plane[7] = {0, 10, 255, 128, 1, 254, 77};
  const float para[3] = {3, 2, 1};
  EXPECT_EQ(InvertPlane(plane, para, 3), 0);
  const unsigned char expected[7] = {255, 245, 0, 127, 254, 1, 77};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(plane[i], expected[i]) << i;
}

TEST(InvertPlane, RefusesShortParaAndLeavesThePlaneAloneWhenSwitchedOffOrEmpty) {
  unsigned char plane[2] = {3, 4};
  const float on[3] = {2, 1, 1}, off[3] = {2, 1, -0.0f}, negative[3] = {-2, 1, 1};
  EXPECT_EQ(InvertPlane(plane, on, 2), -1);
  EXPECT_EQ(InvertPlane(plane, off, 3), 0);
  EXPECT_EQ(InvertPlane(plane, negative, 3), 0);
  EXPECT_EQ(plane[0], 3);
  EXPECT_EQ(plane[1], 4);
  const float nanSwitch[3] = {2, 1, std::numeric_limits<float>::quiet_NaN()};
  EXPECT_EQ(InvertPlane(plane, nanSwitch, 3), 0);
  EXPECT_EQ(plane[0], 252);
}

// Each case is the whole input (totalCount, offX, offY, scaleX, scaleY, unitX, unitY,
// adjustOff, countA, countB, stepEnable, stepSize, stepEnable2, posX, posY) and the status
// and output it must give.
struct StepCase {
  const char* why;
  std::vector<float> in;
  int status;              // kUnchecked: not checked
  std::vector<float> out;  // new X, new Y, step flag, remaining X, remaining Y
};
constexpr int kUnchecked = 99;
constexpr float kAny = std::numeric_limits<float>::infinity();  // an output not checked

class StepPosition : public ::testing::TestWithParam<StepCase> {};

TEST_P(StepPosition, StepsHalvesOrAdjustsTheOffset) {
  const StepCase& c = GetParam();
  std::vector<float> out(5, 0.0f);
  const int status = StepPositionToOffsets(c.in.data(), 15, out.data(), 5);
  EXPECT_TRUE(c.status == kUnchecked || status == c.status) << c.why << ": status " << status;
  for (int i = 0; i < 5; ++i) {
    if (c.out[i] == kAny) continue;
    EXPECT_TRUE(std::isnan(c.out[i]) ? std::isnan(out[i]) : out[i] == c.out[i])
        << c.why << ": out[" << i << "] = " << out[i] << ", expected " << c.out[i];
  }
}

std::vector<float> Offset(float offsetX, float stepSize) {
  return {0, offsetX, 0, 1, 1, 1, 1, 1, 0, 0, 1, stepSize, 1, 100.7f, 50};
}
std::vector<float> Covered(float offsetX, float offsetY, float stepEnable) {
  return {100, offsetX, offsetY, 1, 1, 1, 1, 0, 50, 10, stepEnable, 5, 1, 100, 50};
}

INSTANTIATE_TEST_SUITE_P(
    Cases, StepPosition,
    ::testing::Values(
        StepCase{"step", Offset(12, 5), 1, {105, 50, 1, 7, 0}},
        StepCase{"halve", Offset(4, 5), 1, {102, 50, 1, 2, 0}},
        StepCase{"S < d fails when S equals d", Offset(5, 5), 1, {102, 50, 1, 2.5f, 0}},
        StepCase{"step back", Offset(-12, 5), 1, {95, 50, 1, -7, 0}},
        StepCase{"halve back", Offset(-3, 5), 1, {98, 50, 1, -1.5f, 0}},
        StepCase{"nothing to correct", Offset(0, 5), 0, {100, 50, 0, 0, 0}},
        StepCase{"stepping disabled", Offset(12, 0), 0, {100, 50, 0, 12, 0}},
        StepCase{"the step is a 16-bit value", Offset(12, 65541), 1, {105, 50, 1, 7, 0}},
        StepCase{"a position at the end of the int range wraps",
                 {0, -12, 0, 1, 1, 1, 1, 1, 0, 0, 1, 5, 1, -2147483648.0f, 0},
                 1,
                 {2147483643.0f, 0, 1, -7, 0}},
        // 90 % coverage, X error 3 far below it: X takes the coverage offset and is not
        // stepped; Y (1 pixel, within one step) is halved.
        StepCase{"coverage freezes X", Covered(30, 1, 1), 1, {100, 50, 1, 900, 0.5f}},
        StepCase{
            "no adjustment reported without stepping", Covered(30, 1, 0), 0, {100, 50, 0, 30, 1}},
        // Y dominates (|ex| = 0 is not above ey = 0.1): its sign comes from offsetY, 0/0 is NaN.
        StepCase{"coverage moves Y", Covered(0, 1, 1), kUnchecked, {kAny, kAny, kAny, kAny, 900}},
        StepCase{"a zero offset adjusts to NaN",
                 Covered(0, 0, 1),
                 kUnchecked,
                 {kAny, kAny, kAny, kAny, NAN}}),
    [](const ::testing::TestParamInfo<StepCase>& row) {
      std::string name;
      for (const char* p = row.param.why; *p != '\0'; ++p)
        if (std::isalnum(static_cast<unsigned char>(*p))) name += *p;
      return name;
    });

TEST(StepPosition, WritesThePassThroughValuesEvenWhenRefused) {
  const float in[15] = {0, 12.5f, -3, 1, 1, 1, 1, 1, 0, 0, 1, 5, 1, 100.7f, -50.9f};
  float out[5] = {9, 9, 9, 9, 9};
  EXPECT_EQ(StepPositionToOffsets(in, 14, out, 5), -1);
  EXPECT_EQ(std::vector<float>(out, out + 5), (std::vector<float>{100, -50, 0, 12.5f, -3}));
  EXPECT_EQ(StepPositionToOffsets(in, 15, out, 4), -1);
}

struct InterpolationCase {
  float percent;
  float expectedA;  // current A = 10, target A = 20
};

class Interpolation : public ::testing::TestWithParam<InterpolationCase> {};

TEST_P(Interpolation, MovesByTheClampedFraction) {
  const float in[13] = {1, GetParam().percent, 10, 10, 10, 10, 20, 2, 30, 3, 0, 40, 50};
  float out[8] = {};
  EXPECT_EQ(InterpolateToTargets(in, 13, out, 8), 0);
  const float a = GetParam().expectedA;
  EXPECT_EQ(out[0], 1.0f);
  EXPECT_FLOAT_EQ(out[1], a);
  EXPECT_FLOAT_EQ(out[2], a / 20.0f * 2.0f);
  EXPECT_FLOAT_EQ(out[5], out[3] / out[1]);
}

INSTANTIATE_TEST_SUITE_P(Cases, Interpolation,
                         ::testing::Values(InterpolationCase{0, 20}, InterpolationCase{5, 11},
                                           InterpolationCase{50, 15}, InterpolationCase{-40, 11},
                                           InterpolationCase{200, 30}));

TEST(Interpolation, OtherModesAndTinyWeightsWriteNothingBeyondTheFlag) {
  float in[13] = {2, 50, 10, 10, 10, 10, 20, 1, 30, 1, 0, 40, 50};
  float out[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  EXPECT_EQ(InterpolateToTargets(in, 13, out, 8), 0);
  EXPECT_EQ(out[0], 7.0f);
  in[0] = 65537;  // 1 as a 16-bit value
  in[7] = 0.0005f;
  EXPECT_EQ(InterpolateToTargets(in, 13, out, 8), 0);
  EXPECT_EQ(out[0], 0.0f);
  for (int i = 1; i < 8; ++i) EXPECT_EQ(out[i], 7.0f);
  EXPECT_EQ(InterpolateToTargets(in, 12, out, 8), -1);
  EXPECT_EQ(InterpolateToTargets(in, 13, out, 7), -1);
}

}  // namespace
