#include <climits>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "common/para.hpp"
#include "numeric/numeric.hpp"

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

// totalCount, offX, offY, scaleX, scaleY, unitX, unitY, adjustOff, countA, countB,
// stepEnable, stepSize, stepEnable2, posX, posY
struct StepCase {
  float offsetX, stepSize;
  int expectedStatus;
  float newX, remainingX;
};

class StepPosition : public ::testing::TestWithParam<StepCase> {};

TEST_P(StepPosition, StepsOrHalvesTheOffset) {
  const StepCase c = GetParam();
  const float in[15] = {0, c.offsetX, 0, 1, 1, 1, 1, 1, 0, 0, 1, c.stepSize, 1, 100.7f, 50};
  float out[5] = {};
  EXPECT_EQ(StepPositionToOffsets(in, 15, out, 5), c.expectedStatus);
  EXPECT_EQ(out[0], c.newX);
  EXPECT_EQ(out[1], 50.0f);
  EXPECT_EQ(out[2], static_cast<float>(c.expectedStatus));
  EXPECT_EQ(out[3], c.remainingX);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, StepPosition,
    ::testing::Values(StepCase{12, 5, 1, 105, 7}, StepCase{4, 5, 1, 102, 2},
                      StepCase{5, 5, 1, 102, 2.5f},       // S < d fails when S equals d
                      StepCase{-12, 5, 1, 95, -7}, StepCase{-3, 5, 1, 98, -1.5f},
                      StepCase{0, 5, 0, 100, 0},          // nothing to correct on either axis
                      StepCase{12, 0, 0, 100, 12},        // stepping disabled
                      StepCase{12, 65541, 1, 105, 7}));   // the step is a 16-bit value

TEST(StepPosition, WritesThePassThroughValuesEvenWhenRefused) {
  const float in[15] = {0, 12.5f, -3, 1, 1, 1, 1, 1, 0, 0, 1, 5, 1, 100.7f, -50.9f};
  float out[5] = {9, 9, 9, 9, 9};
  EXPECT_EQ(StepPositionToOffsets(in, 14, out, 5), -1);
  EXPECT_EQ(out[0], 100.0f);
  EXPECT_EQ(out[1], -50.0f);
  EXPECT_EQ(out[2], 0.0f);
  EXPECT_EQ(out[3], 12.5f);
  EXPECT_EQ(out[4], -3.0f);
  EXPECT_EQ(StepPositionToOffsets(in, 15, out, 4), -1);
}

TEST(StepPosition, APositionAtTheEndOfTheIntRangeWrapsInsteadOfOverflowing) {
  const float in[15] = {0, -12, 0, 1, 1, 1, 1, 1, 0, 0, 1, 5, 1, -2147483648.0f, 0};
  float out[5] = {};
  EXPECT_EQ(StepPositionToOffsets(in, 15, out, 5), 1);
  EXPECT_EQ(out[0], static_cast<float>(2147483643));
}

TEST(StepPosition, CoverageAdjustmentFreezesTheDominantAxisAndReportsItsNewOffset) {
  // 90 % coverage, X error 3 far below it: X takes the coverage offset and is not stepped;
  // Y (1 pixel, within one step) is halved.
  const float in[15] = {100, 30, 1, 1, 1, 1, 1, 0, 50, 10, 1, 5, 1, 100, 50};
  float out[5] = {};
  EXPECT_EQ(StepPositionToOffsets(in, 15, out, 5), 1);
  EXPECT_EQ(out[0], 100.0f);
  EXPECT_EQ(out[3], 900.0f);
  EXPECT_EQ(out[1], 50.0f);
  EXPECT_EQ(out[4], 0.5f);
}

TEST(StepPosition, AnAdjustmentIsNotReportedWhenSteppingIsOff) {
  const float in[15] = {100, 30, 1, 1, 1, 1, 1, 0, 50, 10, 0, 5, 1, 100, 50};
  float out[5] = {};
  EXPECT_EQ(StepPositionToOffsets(in, 15, out, 5), 0);
  EXPECT_EQ(out[3], 30.0f);
}

TEST(StepPosition, AdjustingAZeroOffsetGivesNaN) {
  // Y dominates (|ex| = 0 is not above ey = 0.1) but offsetY is 0: sign 0/0 is NaN.
  const float in[15] = {100, 0, 1, 1, 1, 1, 1, 0, 50, 10, 1, 5, 1, 100, 50};
  float out[5] = {};
  StepPositionToOffsets(in, 15, out, 5);
  EXPECT_EQ(out[4], 900.0f);  // offsetY = 1: sign +1
  const float zeroY[15] = {100, 0, 0, 1, 1, 1, 1, 0, 50, 10, 1, 5, 1, 100, 50};
  StepPositionToOffsets(zeroY, 15, out, 5);
  EXPECT_TRUE(std::isnan(out[4]));
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
                                           InterpolationCase{50, 15},
                                           InterpolationCase{-40, 11},
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
