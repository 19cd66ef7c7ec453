// The three numeric routines and the float-to-int conversion every para value goes through.
#include "numeric.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "para.hpp"

namespace imgtarn::numeric {
namespace {

using Floats = std::vector<float>;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(TruncToInt, TruncatesTowardZeroAndMapsTheUnrepresentableToIntMin) {
  EXPECT_EQ(TruncToInt(4.9f), 4);
  EXPECT_EQ(TruncToInt(-0.5f), 0);
  EXPECT_EQ(TruncToInt(-1.9f), -1);
  EXPECT_EQ(TruncToInt(2147483520.0f), 2147483520);  // the largest float below 2^31
  EXPECT_EQ(TruncToInt(kNaN), INT_MIN);
  EXPECT_EQ(TruncToInt(-INFINITY), INT_MIN);
  EXPECT_EQ(TruncToInt(2147483648.0f), INT_MIN);
  EXPECT_EQ(TruncToInt(-2147483648.0f), INT_MIN);
}

// Only the first width x height samples change, and only with the switch on (NaN included) and
// a para of three entries or more.
TEST(InvertPlane, InvertsTheFirstWidthTimesHeightSamplesWhenSwitchedOn) {
  using Bytes = std::vector<unsigned char>;
  Bytes plane = {0, 10, 255, 128, 1, 254, 77};
  const float on[3] = {3, 2, 1}, off[3] = {3, 2, -0.0f}, negative[3] = {-3, 2, 1};
  const float nan[3] = {3, 2, kNaN};
  EXPECT_EQ(InvertPlane(plane.data(), on, 2), -1);
  EXPECT_EQ(InvertPlane(plane.data(), off, 3), 0);
  EXPECT_EQ(InvertPlane(plane.data(), negative, 3), 0);
  EXPECT_EQ(plane, (Bytes{0, 10, 255, 128, 1, 254, 77}));
  EXPECT_EQ(InvertPlane(plane.data(), on, 3), 0);
  EXPECT_EQ(plane, (Bytes{255, 245, 0, 127, 254, 1, 77}));
  EXPECT_EQ(InvertPlane(plane.data(), nan, 3), 0);
  EXPECT_EQ(plane[0], 0);
}

Floats Offset(float offsetX, float stepSize, float positionX = 100.7f) {
  return {0, offsetX, 0, 1, 1, 1, 1, 1, 0, 0, 1, stepSize, 1, positionX, 50};
}
Floats Covered(float offsetX, float offsetY, float stepEnable) {
  return {100, offsetX, offsetY, 1, 1, 1, 1, 0, 50, 10, stepEnable, 5, 1, 100, 50};
}

// Whole inputs and the status and output (new X, new Y, step flag, remaining X and Y) they give;
// the coverage cases (90 %, X error far below it) replace X's offset and leave X unstepped.
TEST(StepPosition, StepsHalvesOrAdjustsTheOffset) {
  const struct {
    Floats in;
    int status;
    Floats out;
  } cases[] = {
      {Offset(12, 5), 1, {105, 50, 1, 7, 0}},
      {Offset(4, 5), 1, {102, 50, 1, 2, 0}},
      {Offset(5, 5), 1, {102, 50, 1, 2.5f, 0}},  // a step equal to the offset halves it
      {Offset(-12, 5), 1, {95, 50, 1, -7, 0}},
      {Offset(-3, 5), 1, {98, 50, 1, -1.5f, 0}},
      {Offset(-5, 5), 1, {97, 50, 1, -2.5f, 0}},
      {Offset(0, 5), 0, {100, 50, 0, 0, 0}},
      {Offset(12, 0), 0, {100, 50, 0, 12, 0}},
      {Offset(12, 65541), 1, {105, 50, 1, 7, 0}},  // the step is a 16-bit value
      {Offset(-12, 5, -2147483648.0f), 1, {2147483643.0f, 50, 1, -7, 0}},  // wraps
      {Covered(30, 1, 1), 1, {100, 50, 1, 900, 0.5f}},
      {Covered(30, 1, 0), 0, {100, 50, 0, 30, 1}},
  };
  for (const auto& c : cases) {
    Floats out(5, 0.0f);
    EXPECT_EQ(StepPositionToOffsets(c.in.data(), 15, out.data(), 5), c.status) << c.in[1];
    EXPECT_EQ(out, c.out) << c.in[1];
  }
  // Y dominates (|ex| = 0 is not above ey = 0.1): its sign comes from offsetY, 0 / 0 is NaN.
  Floats out(5, 0.0f);
  StepPositionToOffsets(Covered(0, 1, 1).data(), 15, out.data(), 5);
  EXPECT_EQ(out[4], 900.0f);
  StepPositionToOffsets(Covered(0, 0, 1).data(), 15, out.data(), 5);
  EXPECT_TRUE(std::isnan(out[4]));
}

TEST(StepPosition, WritesThePassThroughValuesEvenWhenRefused) {
  const float in[15] = {0, 12.5f, -3, 1, 1, 1, 1, 1, 0, 0, 1, 5, 1, 100.7f, -50.9f};
  float out[5] = {9, 9, 9, 9, 9};
  EXPECT_EQ(StepPositionToOffsets(in, 14, out, 5), -1);
  EXPECT_EQ(Floats(out, out + 5), (Floats{100, -50, 0, 12.5f, -3}));
  EXPECT_EQ(StepPositionToOffsets(in, 15, out, 4), -1);
}

// Current A = 10, target 20: 0 % goes all the way, below 10 % moves 10 %, above 100 % overshoots.
TEST(Interpolation, MovesByTheClampedFraction) {
  for (const auto& [percent, a] :
       {std::pair{0.0f, 20.0f}, std::pair{5.0f, 11.0f}, std::pair{50.0f, 15.0f},
        std::pair{-40.0f, 11.0f}, std::pair{200.0f, 30.0f}}) {
    const float in[13] = {1, percent, 10, 10, 10, 10, 20, 2, 30, 3, 0, 40, 50};
    float out[8] = {};
    EXPECT_EQ(InterpolateToTargets(in, 13, out, 8), 0);
    EXPECT_EQ(out[0], 1.0f);
    EXPECT_FLOAT_EQ(out[1], a);
    EXPECT_FLOAT_EQ(out[2], a / 20.0f * 2.0f);
    EXPECT_FLOAT_EQ(out[5], out[3] / out[1]);
  }
}

TEST(Interpolation, OtherModesAndTinyWeightsWriteNothingBeyondTheFlag) {
  float in[13] = {2, 50, 10, 10, 10, 10, 20, 1, 30, 1, 0, 40, 50};
  float out[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  EXPECT_EQ(InterpolateToTargets(in, 13, out, 8), 0);
  EXPECT_EQ(out[0], 7.0f);
  in[0] = 65537;  // 1 as a 16-bit value
  in[7] = 0.0005f;
  EXPECT_EQ(InterpolateToTargets(in, 13, out, 8), 0);
  EXPECT_EQ(Floats(out, out + 8), (Floats{0, 7, 7, 7, 7, 7, 7, 7}));
  EXPECT_EQ(InterpolateToTargets(in, 12, out, 8), -1);
  EXPECT_EQ(InterpolateToTargets(in, 13, out, 7), -1);
}

}  // namespace
}  // namespace imgtarn::numeric
