#include "cad_overlay.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "debug_view.hpp"
#include "support/scenes.hpp"

namespace {

namespace co = imgtarn::cad_overlay;
using imgtarn::debug_view::RecordingSink;
using imgtarn::debug_view::ScopedSink;

using scenes::Filled;
// A dark board with bright pads: what the splitter sees.
cv::Mat PadField(cv::Size size, const std::vector<cv::Rect>& pads) {
  return Filled(size, pads, 220, 30);
}

std::vector<cv::Rect> Boxes(const co::BlobSplit& split) {
  std::vector<cv::Rect> boxes;
  for (std::size_t i = 0; i < split.blobs.size(); ++i)
    boxes.emplace_back(split.origins[i], split.blobs[i].size());
  return boxes;
}

// ---- Mask geometry ----

// Centroid and box against a per-pixel count on random masks of widths around the blocks of
// sixteen, with empty rows and the two degenerate forms.
TEST(MaskGeometry, ShapeIsTheMeanAndExtentOfTheSetPixels) {
  EXPECT_EQ(co::PixelBoundingBox(cv::Mat()), cv::Rect(0, 0, 0, 0));
  EXPECT_EQ(co::PixelBoundingBox(cv::Mat::zeros(4, 5, CV_8UC1)), cv::Rect(5, 4, -4, -3));
  EXPECT_FALSE(co::PixelCentroid(cv::Mat::zeros(4, 5, CV_8UC1)));
  cv::RNG rng(3);
  for (int cols : {1, 6, 15, 16, 17, 33, 70}) {
    cv::Mat mask = cv::Mat::zeros(9, cols, CV_8UC1);
    for (int i = 0; i < 1 + cols / 3; ++i)
      mask.at<unsigned char>(rng.uniform(1, 8), rng.uniform(0, cols)) = rng.uniform(1, 256);
    long long sumX = 0, sumY = 0, count = 0;
    int x0 = cols, y0 = 9, x1 = 0, y1 = 0;
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < cols; ++x) {
        if (mask.at<unsigned char>(y, x) == 0) continue;
        sumX += x, sumY += y, ++count;
        x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
      }
    const co::MaskShape shape = co::ShapeOf(mask);
    ASSERT_TRUE(shape.centre);
    EXPECT_EQ(*shape.centre, cv::Point(int(sumX / count), int(sumY / count))) << cols;
    EXPECT_EQ(shape.box, cv::Rect(x0, y0, x1 - x0 + 1, y1 - y0 + 1)) << cols;
  }
}

TEST(MaskGeometry, NearestUnitScaleTakesTheRatioNearerOneAndHeightOnATie) {
  EXPECT_FLOAT_EQ(co::NearestUnitScale({0, 0, 10, 10}, {0, 0, 11, 20}), 1.1f);
  EXPECT_FLOAT_EQ(co::NearestUnitScale({0, 0, 10, 10}, {0, 0, 30, 8}), 0.8f);
  EXPECT_FLOAT_EQ(co::NearestUnitScale({0, 0, 10, 10}, {0, 0, 12, 8}), 0.8f);  // tie
}

// ---- Spill weights ----

// A 60 x 60 plane, the pad at 20..39 and the boundary at 10..49 in both directions.
const cv::Size kPlane(60, 60);
const cv::Rect kPad(20, 20, 20, 20);
const cv::Rect kInside(10, 10, 40, 40);
const cv::Mat kCad = Filled(kPlane, {kPad}), kBoundary = Filled(kPlane, {kInside});

TEST(SpillWeightMap, RingsRiseTowardsTheBoundary) {
  const cv::Mat weights = co::BuildSpillWeightMap(kCad, kBoundary);
  // The 11th growth step reaches column 9, outside the boundary: ten rings.
  for (int ring = 1; ring <= 10; ++ring)
    EXPECT_EQ(weights.at<unsigned char>(30, 39 + ring), ring * 255 / 10) << ring;
  EXPECT_EQ(weights.at<unsigned char>(30, 50), 0);
  EXPECT_EQ(weights.at<unsigned char>(30, 30), 255);
}

// The distance-transform version against the growth loop, on structured and random masks.
struct SpillCase {
  const char* name;
  cv::Mat cad, boundary;
};

std::vector<SpillCase> SpillCases() {
  const cv::Mat everywhere(kPlane, CV_8UC1, cv::Scalar(255));
  const cv::Size wide(600, 8), line(32770, 1);
  std::vector<SpillCase> cases = {
      {"margin", kCad, kBoundary},
      {"no outside", kCad, everywhere},
      {"first step out", kCad, Filled(kPlane, {{20, 20, 21, 20}})},
      {"pad outside", kCad, Filled(kPlane, {{0, 0, 25, 60}})},
      {"empty pad", cv::Mat::zeros(kPlane, CV_8UC1), kBoundary},
      {"corner pad", Filled(kPlane, {{0, 0, 3, 2}}, 7), everywhere},
      {"edge pad", Filled(kPlane, {{55, 10, 5, 5}}), Filled(kPlane, {kInside}, 254)},
      {"two pads", Filled(kPlane, {{5, 5, 4, 4}, {45, 30, 6, 9}}),
       Filled(kPlane, {{0, 0, 60, 50}})},
      // More than 255 rings: the first rings' weights truncate to 0 and take the next ones'.
      {"many rings", Filled(wide, {{0, 3, 1, 1}}), cv::Mat(wide, CV_8UC1, cv::Scalar(255))},
      // Too long for 16-bit distances: the 32-bit ones take over.
      {"32-bit", Filled(line, {{32000, 0, 3, 1}}), Filled(line, {{31960, 0, 90, 1}})}};
  // Random pads and holes in the boundary, on widths around the eight-cell distance steps.
  cv::RNG rng(5);
  for (int i = 0; i < 16; ++i) {
    const int w = i < 12 ? 60 : std::vector<int>{5, 8, 16, 17}[i - 12];
    cv::Mat cad = cv::Mat::zeros(40, w, CV_8UC1), boundary(40, w, CV_8UC1, cv::Scalar(255));
    for (int b = 0; b < 1 + i % 3; ++b)
      cv::circle(cad, {rng.uniform(0, w), rng.uniform(0, 40)}, rng.uniform(0, 6), 255, -1);
    for (int h = 0; h < i % 4; ++h)
      boundary.at<unsigned char>(rng.uniform(0, 40), rng.uniform(0, w)) = rng.uniform(0, 255);
    cases.push_back({"random", cad, boundary});
  }
  return cases;
}

class FastSpillWeightMap : public ::testing::TestWithParam<SpillCase> {};

// The rings and weights against the growth loop, and the coverage score against a per-pixel
// sum over the literal weights for a random blob.
TEST_P(FastSpillWeightMap, MatchesTheGrowthLoop) {
  const SpillCase& c = GetParam();
  cv::Mat outside;
  cv::bitwise_not(c.boundary, outside);
  EXPECT_EQ(co::CountInsideGrowthStepsFast(c.cad, outside),
            co::CountInsideGrowthSteps(c.cad, outside));
  const cv::Mat literal = co::BuildSpillWeightMap(c.cad, c.boundary);
  const cv::Mat fast = co::BuildSpillWeightMapFast(c.cad, c.boundary);
  ASSERT_EQ(fast.size(), literal.size());
  EXPECT_EQ(cv::countNonZero(fast != literal), 0) << c.name;

  cv::Mat measured(c.cad.size(), CV_8UC1);
  cv::RNG(c.cad.cols).fill(measured, cv::RNG::UNIFORM, 0, 3);  // a third of the pixels clear
  const cv::Mat difference = c.boundary - c.cad;
  double covered = 0, spill = 0;
  for (int i = 0; i < static_cast<int>(measured.total()); ++i) {
    if (measured.data[i] == 0) continue;
    if (c.cad.data[i] != 0)
      covered += 1;
    else if (difference.data[i] != 0)
      spill += literal.data[i] / 255.0;
  }
  const int pad = cv::countNonZero(c.cad);
  const double expected = pad > 0 ? covered / pad - spill / pad : covered - spill;
  EXPECT_EQ(co::CoverageScore(measured, co::OverlayReference(c.cad, c.boundary), false), expected);
}

INSTANTIATE_TEST_SUITE_P(Masks, FastSpillWeightMap, ::testing::ValuesIn(SpillCases()));

// ---- Overlay scoring ----

double Pass(cv::Mat measured, const cv::Mat& cad, const cv::Mat& boundary, int pass) {
  const co::OverlayReference reference(cad, boundary);
  return co::ScoreAlignment(measured, co::ShapeOf(measured), reference, pass, false);
}

// Shift 0 is the identical blob, which scores 1 on both passes.
class ShiftedBlob : public ::testing::TestWithParam<int> {};
TEST_P(ShiftedBlob, PassZeroIsChargedTwoToTheOffsetError) {
  const int dx = GetParam();
  const cv::Mat measured = Filled(kPlane, {kPad + cv::Point(dx, 0)});

  // Pixels beyond the pad weigh ring / 10 of a pixel (ten rings, see above).
  double spill = 0.0;
  for (int i = 1; i <= std::abs(dx); ++i) spill += 20.0 * (i * 255 / 10) / 255.0;
  const double raw = (400.0 - 20.0 * std::abs(dx)) / 400.0 - spill / 400.0;
  const double coverage = co::CoverageScore(measured, co::OverlayReference(kCad, kBoundary), false);
  EXPECT_NEAR(coverage, raw, 1e-12);

  // The centroids are 29 and trunc((59 + 2 dx) / 2); the ratio is 1 - 2 d / 20.
  const int d = 29 - (59 + 2 * dx) / 2;
  float ratio = 1.0f - static_cast<float>(2 * d) / 20.0f;
  if (ratio > 1.0f) ratio = 1.0f / ratio;
  EXPECT_DOUBLE_EQ(Pass(measured, kCad, kBoundary, 0), raw / powf(2.0f, 1.0f - ratio));

  // Pass 1 moves the blob home and pays exp of the same error instead.
  EXPECT_DOUBLE_EQ(Pass(measured.clone(), kCad, kBoundary, 1), 1.0 / expf(1.0f - ratio));
}
INSTANTIATE_TEST_SUITE_P(Shifts, ShiftedBlob, ::testing::Values(-3, -2, 0, 2, 4));

TEST(CadOverlay, ScaledBlobIsRescaledByPassOneWhichWins) {
  const cv::Mat measured = Filled(kPlane, {cv::Rect(22, 22, 16, 16)});
  EXPECT_DOUBLE_EQ(Pass(measured.clone(), kCad, kBoundary, 0), 256.0 / 400.0);
  // 16 -> 20 on both axes: scale ratio 1.25, read as 0.8.
  const double pass1 = Pass(measured.clone(), kCad, kBoundary, 1);
  EXPECT_DOUBLE_EQ(pass1, 1.0 / expf(0.2f));
  cv::Mat copy = measured.clone();
  EXPECT_FLOAT_EQ(co::BestOverlayScore(copy, kCad, kBoundary, false), static_cast<float>(pass1));
}

TEST(CadOverlay, EmptyMasksAndABlobAsWideAsThePlaneFailTheAlignmentAZeroSideRaises) {
  const cv::Mat empty = cv::Mat::zeros(kPlane, CV_8UC1);
  co::Alignment alignment;
  const auto follow = [&](cv::Mat measured, const cv::Mat& target) {
    return co::FollowToCad(measured, co::ShapeOf(measured), target, co::ShapeOf(target), 1,
                           &alignment);
  };
  EXPECT_FALSE(follow(empty.clone(), kCad));
  EXPECT_EQ(Pass(empty.clone(), kCad, kBoundary, 0), 0.0);
  EXPECT_EQ(Pass(kCad.clone(), empty, kBoundary, 1), 0.0);
  const cv::Mat strip = Filled(kPlane, {cv::Rect(0, 20, 60, 20)});
  EXPECT_FALSE(follow(Filled(kPlane, {cv::Rect(0, 22, 60, 16)}), strip));
  // A 1 x 40 blob on the 20 x 20 pad is scaled by 0.5 (the ratio nearer 1): its width
  // truncates to 0 and the resize's error leaves pass 1, as it does for the template patch.
  EXPECT_THROW(follow(Filled(kPlane, {cv::Rect(30, 10, 1, 40)}), kCad), cv::Exception);
  cv::Mat patch = Filled({20, 20}, {{9, 0, 1, 20}});
  EXPECT_THROW(co::FollowPatch(patch, Filled({20, 20}, {{0, 5, 20, 10}})), cv::Exception);
}

// ---- Slot 20 adapter ----

struct OverlayPlanes {
  cv::Mat boundary = Filled(kPlane, {kInside});
  cv::Mat cad = Filled(kPlane, {kPad});
  cv::Mat measured = Filled(kPlane, {kPad + cv::Point(2, 1)});
  float score = -5.0f;
  int Run(float debug, float width = 60, float height = 60) {
    float para[3] = {width, height, debug};
    return co::FollowCadOverlay(cad.data, boundary.data, measured.data, para, &score);
  }
};

TEST(FollowCadOverlay, RefusesNullPlanesAndZeroAreaRoundsSizesAndLeavesTheMeasuredPlane) {
  OverlayPlanes planes;
  float para[3] = {60, 60, 0};
  EXPECT_EQ(co::FollowCadOverlay(nullptr, planes.boundary.data, planes.measured.data, para,
                                 &planes.score),
            -1);
  EXPECT_EQ(planes.score, -5.0f);          // untouched
  EXPECT_EQ(planes.Run(0, 0.4f, 60), -1);  // rounds to 0
  EXPECT_EQ(planes.score, 0.0f);
  const cv::Mat before = planes.measured.clone();
  ASSERT_EQ(planes.Run(0, 59.6f, 59.5f), 0);
  EXPECT_GT(planes.score, 0.5f);
  EXPECT_LT(planes.score, 1.0f);
  EXPECT_EQ(cv::countNonZero(before != planes.measured), 0);
}

// The switch counts above 0.00001: all windows closed first, then per pass the overlap, the CAD
// pad, the moved blob and the three score views; the CAD image is written as AfterFollowing.bmp.
TEST(FollowCadOverlay, DebugAboveTheThresholdShowsBothPassesAndWritesTheirFiles) {
  const std::pair<float, bool> cases[] = {{0.000005f, false}, {0.00002f, true}, {-1.0f, true}};
  for (const auto& [debug, shown] : cases) {
    RecordingSink sink;
    ScopedSink scope(&sink);
    OverlayPlanes planes;
    ASSERT_EQ(planes.Run(debug), 0);
    EXPECT_EQ(sink.Empty(), !shown);
    if (!shown) continue;
    EXPECT_EQ(sink.Events().front().kind, RecordingSink::Kind::kCloseAll);
    const std::vector<std::string> pass = {"matOverlapCad", "matCAD",       "matSrcOffset",
                                           "源图像",        "目标模板图像", "外模板图像"};
    std::vector<std::string> titles = pass;
    titles.insert(titles.end(), pass.begin(), pass.end());
    EXPECT_EQ(sink.Titles(), titles);
    EXPECT_EQ(sink.Files(), (std::vector<std::string>{"matOverlapCad.bmp", "AfterFollowing.bmp",
                                                      "matOverlapCad.bmp", "AfterFollowing.bmp"}));
    for (const auto& event : sink.Events())
      EXPECT_TRUE(event.name != "AfterFollowing.bmp" ||
                  cv::countNonZero(event.image != planes.cad) == 0);
  }
}

// ---- Contour method ----

const cv::Size kField(120, 60);
const std::vector<cv::Rect> kRowOfThree = {{10, 20, 20, 20}, {50, 20, 20, 20}, {90, 20, 20, 20}};
const std::vector<cv::Rect> kColumnOfThree = {{20, 5, 20, 10}, {20, 25, 20, 10}, {20, 45, 20, 10}};

co::SplitParams Params(cv::Size size, int gridRows = 0, int gridCols = 0, bool debug = false) {
  return co::SplitParams{size.width, size.height, true, debug, gridRows, gridCols};
}

struct GridCase {
  std::vector<cv::Rect> pads;
  int gridRows, gridCols, expectedCols;
};
class ContourGrid : public ::testing::TestWithParam<GridCase> {};
TEST_P(ContourGrid, EveryPadIsABlobAndAGivenGridSetsTheColumnsOnly) {
  const GridCase c = GetParam();
  const auto split =
      co::ContourSplit(PadField(kField, c.pads), Params(kField, c.gridRows, c.gridCols));
  ASSERT_TRUE(split);
  EXPECT_EQ(split->gridRows, 1);
  EXPECT_EQ(split->gridCols, c.expectedCols);
  std::vector<cv::Rect> boxes = Boxes(*split);
  ASSERT_EQ(boxes.size(), c.pads.size());
  for (const cv::Rect& pad : c.pads)
    EXPECT_NE(std::find(boxes.begin(), boxes.end(), pad), boxes.end()) << pad;
  for (const cv::Mat& blob : split->blobs) EXPECT_GT(cv::countNonZero(blob), 0.9 * blob.total());
}
INSTANTIATE_TEST_SUITE_P(Fields, ContourGrid,
                         ::testing::Values(GridCase{kRowOfThree, 0, 0, 3},
                                           GridCase{kRowOfThree, 2, 5, 5},
                                           GridCase{kRowOfThree, 0, 5, 3},
                                           GridCase{kColumnOfThree, 0, 0, 3},
                                           GridCase{kColumnOfThree, 3, 1, 1}));

TEST(ContourSplit, AnUnlikeAreaEndsTheListWhateverFollows) {
  // Two pads (92 contour points, area 529), a thin bar (82 points, area 78) and a smaller pad
  // (68 points, area 289) that would pass against the pads but comes after the bar.
  const auto split = co::ContourSplit(
      PadField({200, 60}, {{5, 5, 24, 24}, {40, 5, 24, 24}, {75, 10, 40, 3}, {140, 5, 18, 18}}),
      Params({200, 60}));
  ASSERT_TRUE(split);
  const std::vector<cv::Rect> expected = {{5, 5, 24, 24}, {40, 5, 24, 24}};
  std::vector<cv::Rect> boxes = Boxes(*split);
  std::sort(boxes.begin(), boxes.end(), [](auto& a, auto& b) { return a.x < b.x; });
  EXPECT_EQ(boxes, expected);
}

// ---- Projection method ----

TEST(Bands, ChooseBandsKeepsTheExpectedOrTheLeadingAlikeRun) {
  const std::vector<co::Band> byMass = {{0, 1, 100}, {5, 1, 60}, {9, 1, 15}, {12, 1, 14}};
  // Given 0 the count is chosen (15 / 60 < 0.3 ends the run); a negative grid's first -2 bands
  // are none. {expected given, bands kept, expected after}:
  for (auto [expected, kept, after] : {std::array{0, 2, 2}, {3, 3, 3}, {9, 4, 9}, {-2, 0, -2}}) {
    EXPECT_EQ(co::ChooseBands(byMass, expected).size(), std::size_t(kept));
    EXPECT_EQ(expected, after);
  }
}

struct ProjectionCase {
  std::vector<cv::Rect> pads;
  int gridRows, gridCols, expectedRows, expectedCols;
  std::vector<cv::Rect> boxes;  // blob boxes in blob order
};
class Projection : public ::testing::TestWithParam<ProjectionCase> {};
TEST_P(Projection, SplitsTheStrongestBandIntoBlobsOneLineLongerThanTheirPads) {
  const ProjectionCase c = GetParam();
  const auto split =
      co::ProjectionSplit(PadField(kField, c.pads), Params(kField, c.gridRows, c.gridCols));
  ASSERT_TRUE(split);
  EXPECT_EQ(split->gridRows, c.expectedRows);
  EXPECT_EQ(split->gridCols, c.expectedCols);
  EXPECT_EQ(Boxes(*split), c.boxes);
}
const std::vector<cv::Rect> kRowOfFour = {
    {5, 20, 20, 20}, {35, 20, 20, 20}, {65, 20, 20, 20}, {95, 20, 20, 20}};
const std::vector<cv::Rect> kRowOfFourBlobs = {
    {5, 20, 21, 21}, {35, 20, 21, 21}, {65, 20, 21, 21}, {95, 20, 21, 21}};
const std::vector<cv::Rect> kColumnOfThreeBlobs = {
    {20, 5, 21, 11}, {20, 25, 21, 11}, {20, 45, 21, 11}};
const std::vector<cv::Rect> kRowOpenAtTheRight = {
    {10, 20, 20, 20}, {50, 20, 20, 20}, {100, 20, 20, 20}};
using PC = ProjectionCase;
INSTANTIATE_TEST_SUITE_P(
    Fields, Projection,
    ::testing::Values(
        // A row band split by columns: y is the band's first row, the crop one row taller.
        PC{kRowOfFour, 0, 0, 1, 4, kRowOfFourBlobs}, PC{kRowOfFour, 3, 4, 1, 4, kRowOfFourBlobs},
        PC{kRowOfFour, 1, 2, 1, 2, {{5, 20, 21, 21}, {35, 20, 21, 21}}},
        // A column band split by rows: x is the band's first column.
        PC{kColumnOfThree, 0, 0, 3, 1, kColumnOfThreeBlobs},
        PC{kColumnOfThree, 3, 2, 3, 1, kColumnOfThreeBlobs},
        // A pad touching the right edge leaves its column band open: it is not found.
        PC{kRowOpenAtTheRight, 0, 0, 1, 2, {{10, 20, 21, 21}, {50, 20, 21, 21}}},
        // Only a row band (the column touches the right edge): the whole image is split by
        // rows. Only a column band (the row touches the bottom): split by columns.
        PC{{{100, 5, 20, 10}, {100, 25, 20, 10}}, 0, 0, 2, 1, {{0, 5, 120, 11}, {0, 25, 120, 11}}},
        PC{{{10, 40, 20, 20}, {50, 40, 20, 20}}, 0, 0, 1, 2, {{10, 0, 21, 60}, {50, 0, 21, 60}}}));

TEST(Projection, FailsWithoutAnyClosedBand) {
  EXPECT_FALSE(co::ProjectionSplit(PadField(kField, {{100, 40, 20, 20}}), Params(kField)));
}

// Debug off shows nothing; on, each method shows its own views, stacked blobs by index.
TEST(SplitPads, DebugShowsEachMethodsViewsOnlyWhenOn) {
  RecordingSink sink;
  ScopedSink scope(&sink);
  ASSERT_TRUE(co::SplitPads(PadField(kField, kRowOfThree), Params(kField)));
  EXPECT_TRUE(sink.Empty());
  ASSERT_TRUE(co::SplitPads(PadField(kField, kRowOfThree), Params(kField, 0, 0, true)));
  EXPECT_EQ(sink.Titles(), (std::vector<std::string>{"tmp/debug_Sobel", "tmp/debug_threshold",
                                                     "tmp/debug_Contours", "matFillContours"}));
  sink.Clear();
  ASSERT_TRUE(co::ProjectionSplit(PadField(kField, kColumnOfThree), Params(kField, 0, 0, true)));
  EXPECT_EQ(sink.Titles(),
            (std::vector<std::string>{"二值化图片", "垂直投影", "水平投影", "二值化图片",
                                      "水平投影", "0.jpg", "1.jpg", "2.jpg"}));
  EXPECT_TRUE(sink.Files().empty());
}

// ---- Blob buffers ----

TEST(SplitPadBlobs, AdapterWritesGridRectsAndPixelsOrLeavesThemAlone) {
  std::vector<unsigned char> pixels(3 * 400, 7);
  std::vector<int> rects;
  std::vector<float> grid;
  const auto split = [&](const cv::Mat& plane, float gridRows, float gridCols) {
    float para[6] = {120, 60, 1, 0, gridRows, gridCols};
    grid.assign(2, -1), rects.assign(16, -1);
    return co::SplitPadBlobs(plane.data, para, grid.data(), pixels.data(), rects.data());
  };
  const cv::Mat image = PadField(kField, kRowOfThree);
  ASSERT_EQ(split(image, 0, 0), 0);
  EXPECT_EQ(grid, (std::vector<float>{1, 3}));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(cv::Size(rects[4 * i + 2], rects[4 * i + 3]), kPad.size());
  // Only a zero leaves the grid out: -1 rows and 5 columns is a grid, whose columns count.
  ASSERT_EQ(split(image, -1, 5), 0);
  EXPECT_EQ(grid, (std::vector<float>{1, 5}));
  // Specks of five 1s in a 3 x 3 cell vanish in the contour method's 5 x 5 Gaussian (at most
  // 0.36 per pixel) but survive the projection method's 3 x 3 box (5 / 9 in the middle): a
  // row of four one-pixel pads, each blob one line longer than its pad.
  cv::Mat faint = cv::Mat::zeros(kField, CV_8UC1);
  for (int x : {15, 45, 75, 105})
    for (const cv::Point d : {cv::Point(-1, -1), {1, -1}, {-1, 1}, {1, 1}, {0, -1}})
      faint.at<unsigned char>(cv::Point(x, 30) + d) = 1;
  ASSERT_EQ(split(faint, 0, 0), 0);
  EXPECT_EQ(grid, (std::vector<float>{1, 4}));
  EXPECT_EQ(std::vector<int>(rects.begin(), rects.begin() + 8),
            (std::vector<int>{15, 30, 2, 2, 45, 30, 2, 2}));
  // Nothing found, or no plane: refused, the grid and the rectangles untouched.
  for (const cv::Mat& plane : {cv::Mat(kField, CV_8UC1, cv::Scalar(0)), cv::Mat()}) {
    EXPECT_EQ(split(plane, 0, 0), -1);
    EXPECT_EQ(grid, std::vector<float>(2, -1));
    EXPECT_EQ(rects, std::vector<int>(16, -1));
  }
}

// ---- Template matching ----

TEST(MatchOneTemplate, OwnPadScoresOneAnEmptyTemplateZeroAndALargerOneFitsInsideABorder) {
  const cv::Mat scene = Filled(kField, {{10, 20, 20, 20}, {50, 15, 30, 25}});
  EXPECT_NEAR(co::MatchOneTemplate(scene, cv::Mat(25, 30, CV_8UC1, cv::Scalar(255))), 1.0f, 1e-5f);
  EXPECT_EQ(co::MatchOneTemplate(scene, cv::Mat::zeros(8, 8, CV_8UC1)), 0.0f);
  // 10 wider than the scene (dx = -9): the border gives the pad room to sit under it. One
  // wider or higher (dx or dy = 0) is framed the same way.
  const cv::Mat small = Filled({30, 20}, {{5, 5, 20, 10}});
  for (const cv::Size size : std::vector<cv::Size>{{40, 20}, {31, 20}, {30, 21}, {31, 21}})
    EXPECT_NEAR(co::MatchOneTemplate(small, Filled(size, {{5, 5, 20, 10}})), 1.0f, 1e-5f) << size;
}

TEST(ShapeAgreement, IdenticalIsOneAndMissingPartsLowerIt) {
  const cv::Mat templ = Filled({30, 30}, {{5, 5, 20, 20}});
  EXPECT_DOUBLE_EQ(co::ShapeAgreement(templ.clone(), templ), 1.0);
  // A half pad is rescaled to the template box by its nearer-to-one ratio (height: 1), so
  // half of the template stays uncovered.
  EXPECT_NEAR(co::ShapeAgreement(Filled({30, 30}, {{5, 5, 10, 20}}), templ), 0.5, 1e-9);
  // A patch of another size pays 2^(1 - v) for the ratio farther from 1.
  EXPECT_NEAR(co::ShapeAgreement(Filled({60, 30}, {{10, 5, 40, 20}}), templ),
              1.0 / powf(2.0f, 0.5f), 1e-6);
}

TEST(FollowPatch, BlobTooLargeAfterScalingIsScaledAgainToFit) {
  // The template's blob spans the full width; the patch's 16 x 8 blob is scaled by 1.25 onto
  // that width and no longer fits, so it is fitted to the patch and placed anyway, then moved
  // onto the template's centroid.
  const cv::Mat templ = Filled({20, 20}, {{0, 5, 20, 10}});
  cv::Mat patch = Filled({20, 20}, {{2, 6, 16, 8}});
  co::FollowPatch(patch, templ);
  EXPECT_EQ(cv::countNonZero(patch != templ), 0);
}

TEST(MatchPadTemplates, StopsWithoutTemplatesAndShowsOnlyWhenAsked) {
  RecordingSink sink;
  ScopedSink scope(&sink);
  cv::Mat image = PadField(kField, kRowOfThree);
  float para[7] = {120, 60, 1, 0, 0, 0, 0};
  float scores[2] = {5, 5};
  std::vector<unsigned char> pixels(400, 255);
  int rects[4] = {0, 0, 20, 20};
  EXPECT_EQ(co::MatchPadTemplates(image.data, para, scores, pixels.data(), rects), -1);
  EXPECT_EQ(scores[0], 0.0f);  // zeroed first, then no template to score
  EXPECT_EQ(scores[1], 5.0f);
  para[6] = 1;
  EXPECT_EQ(co::MatchPadTemplates(image.data, para, scores, pixels.data(), rects), 0);
  EXPECT_GT(scores[0], 0.99f);
  EXPECT_TRUE(sink.Empty());
  para[3] = 1;
  co::MatchPadTemplates(image.data, para, scores, pixels.data(), rects);
  const std::vector<std::string> titles = {"拆解图0", "tmp/debug_Sobel", "tmp/debug_threshold"};
  EXPECT_EQ(sink.Titles(), titles);
}

}  // namespace
