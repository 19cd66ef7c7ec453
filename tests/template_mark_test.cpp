// Template mark location: the shared pipeline stages on hand-made inputs and both operations
// on synthetic boards whose marks are drawn at known positions.
#include "template_mark.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/imgproc.hpp>
#include <string>
#include <utility>
#include <vector>

#include "debug_view.hpp"
#include "support/scenes.hpp"

namespace imgtarn::template_mark {
namespace {

using debug_view::RecordingSink;
using debug_view::ScopedSink;

using scenes::Board;
constexpr MarkKind kCross = MarkKind::kCross, kRect = MarkKind::kRectangle;

struct Result {
  int status;
  float values[4];
};

Result Locate(MarkKind kind, cv::Mat plane, float halfW, float halfH, float debug = 0) {
  float para[5] = {static_cast<float>(plane.cols), static_cast<float>(plane.rows), halfW, halfH,
                   debug};
  Result r{0, {-1, -1, -1, -1}};
  r.status = kind == kCross ? LocateCrossMark(plane.data, para, r.values)
                            : LocateRectangleMark(plane.data, para, r.values);
  return r;
}

Polygon Square(cv::Point centre, int half) {
  return {centre + cv::Point(-half, -half), centre + cv::Point(half, -half),
          centre + cv::Point(half, half), centre + cv::Point(-half, half)};
}

// ---- SizeMatches and the rectangle's stricter test ----

TEST(TemplateMark, SizeMatchesJudgesMeasuredAgainstExpectedSize) {
  // Expected and measured width and height; the loose test's verdict, then the rectangle's.
  const auto expect = [](float ew, float eh, float w, float h, bool loose, bool strict) {
    EXPECT_EQ(SizeMatches(ew, eh, w, h, 0.5f), loose) << w << " x " << h;
    EXPECT_EQ(RectangleSizeMatches(ew, eh, w, h, 0.5f), strict) << w << " x " << h;
  };
  expect(30, 30, 30, 30, true, true);
  // Width off by more than half but height right: only the aspect ratio (12 / 20 = 0.6)
  // decides, and it passes the loose test.
  expect(30, 30, 12, 20, true, false);
  // Both off by more than half fail, though the aspect ratio is perfect.
  expect(30, 30, 12, 12, false, false);
  // Right size in one dimension, aspect ratio 1 against 0.5.
  expect(40, 20, 40, 40, false, false);
  // Loose passes on the height, strict fails on 19 / 40 < 0.5.
  expect(40, 20, 19, 11, true, false);
  // A square of the nominal size but half the height (ratio just below 0.5 with the epsilon).
  expect(30, 30, 30, 15, false, false);
  expect(40, 20, 44, 18, true, true);
  // Orientation does not matter for the aspect ratio.
  expect(20, 40, 20, 40, true, true);
}

// ---- FilterMarkPolygons ----

// Filters `contours` found on `binary` (blank unless given); returns the accepted polygons
// and leaves in `contours` the ones kept for the template fallback.
PolygonList Filter(PolygonList& contours, float w, float h, MarkKind kind,
                   const cv::Mat& binary = cv::Mat::zeros(100, 100, CV_8UC1)) {
  PolygonList raw;
  FilterMarkPolygons(binary, contours, w, h, kind, raw);
  return raw;
}

TEST(TemplateMark, FilterAcceptsTheTwelveVertexOutlineOfAPlus) {
  const cv::Mat binary = scenes::Filled({60, 60}, {{15, 25, 30, 10}, {25, 15, 10, 30}});
  PolygonList contours;
  cv::findContours(binary.clone(), contours, cv::RETR_LIST, cv::CHAIN_APPROX_SIMPLE);
  const PolygonList raw = Filter(contours, 30, 30, kCross, binary);
  ASSERT_EQ(raw.size(), 1u);
  EXPECT_EQ(raw[0].size(), 12u);
  EXPECT_EQ(cv::boundingRect(raw[0]), cv::Rect(15, 15, 30, 30));
}

TEST(TemplateMark, FilterAreaLimitsAreInclusive) {
  // Right triangles (legs x and y, area x y / 2) fail the shape test and so stay in the list
  // exactly when the area test passed.
  struct AreaCase {
    MarkKind kind;
    float w, h;
    std::vector<cv::Point> legs;
    std::vector<int> kept;
  };
  const AreaCase cases[] = {
      // Rectangle 20 x 10: A = 200, so 100 and 400 pass, 90 and 420 do not.
      {kRect, 20, 10, {{20, 10}, {20, 9}, {40, 20}, {40, 21}}, {0, 2}},
      // Cross 30 x 30: A = 900 * 0.555555 = 499.9995, a hair below 500, so the limits are
      // 249.99975 and 999.999: 250 and 999 pass, 249.5 and 1000 (exactly 2 x 500) do not.
      {kCross, 30, 30, {{50, 10}, {499, 1}, {999, 2}, {100, 20}}, {0, 2}}};
  const auto triangle = [](cv::Point legs) { return Polygon{{0, 0}, {legs.x, 0}, {0, legs.y}}; };
  for (const AreaCase& c : cases) {
    PolygonList contours, kept;
    for (const cv::Point& legs : c.legs) contours.push_back(triangle(legs));
    for (int i : c.kept) kept.push_back(triangle(c.legs[i]));
    EXPECT_TRUE(Filter(contours, c.w, c.h, c.kind).empty());
    EXPECT_EQ(contours, kept) << static_cast<int>(c.kind);
  }
}

TEST(TemplateMark, FilterAcceptsAnUprightRectangleAndKeepsATiltedOneForTheFallback) {
  cv::Point2f corners[4];
  cv::RotatedRect(cv::Point2f(50, 50), cv::Size2f(40, 24), 30).points(corners);
  PolygonList contours = {Polygon{{30, 38}, {70, 38}, {70, 62}, {30, 62}}, Polygon()};
  for (const cv::Point2f& corner : corners) contours[1].emplace_back(cv::Point(corner));
  const PolygonList given = contours;
  const PolygonList raw = Filter(contours, 40, 24, kRect);
  ASSERT_EQ(raw.size(), 1u);
  EXPECT_EQ(cv::boundingRect(raw[0]), cv::Rect(30, 38, 41, 25));
  EXPECT_EQ(contours, given);
}

TEST(TemplateMark, FilterLeavesTheFirstCornerUnchecked) {
  // Only the corner at vertex 0 is far from square (|cos| 0.32, about 71 degrees).
  PolygonList accepted = {Polygon{{23, 44}, {70, 40}, {70, 64}, {20, 56}}};
  EXPECT_EQ(Filter(accepted, 40, 24, kRect).size(), 1u);
  // The same outline started at another vertex puts the skewed corner under the test.
  PolygonList rotated = {Polygon{{70, 40}, {70, 64}, {20, 56}, {23, 44}}};
  EXPECT_TRUE(Filter(rotated, 40, 24, kRect).empty());
}

// Oracle: the one-pass filter against the literal walk that erases in place, at every ladder
// level of noisy scenes with thousands of contours. Both lists must match in content and
// order: the fallback walks the kept contours and the merge groups by acceptance order.
struct OracleScene {
  const char* name;
  MarkKind kind;
  float w, h;
  bool uniform;  // noise alone, which gives the most contours
};

// Marks of the nominal size (upright and tilted) among pads of half its size, on noise; the
// uniform noise scene gives the most contours.
cv::Mat OraclePlane(const OracleScene& scene) {
  if (scene.uniform) {
    cv::Mat plane(240, 320, CV_8UC1);
    cv::RNG(9).fill(plane, cv::RNG::UNIFORM, 0, 256);
    return plane;
  }
  Board board({320, 240});
  for (int i = 0; i < 12; ++i) {
    const cv::Point2d centre(40 + 80 * (i % 4), 40 + 80 * (i / 4));
    if (i % 3 == 2) {
      board.RotatedRectangle(centre, {scene.w, scene.h}, 15.0f * (i % 5));
    } else if (scene.kind == kCross) {
      board.Plus(centre, scene.w, scene.h);
    } else {
      board.Rectangle(centre, scene.w, scene.h);
    }
    board.Rectangle(centre + cv::Point2d(30, 30), scene.w / 2, scene.h / 2);
  }
  return board.Render(4, 30.0);
}

class FilterOracleTest : public ::testing::TestWithParam<OracleScene> {};

TEST_P(FilterOracleTest, OnePassFilterMatchesTheLiteralWalkAtEveryLevel) {
  const OracleScene& scene = GetParam();
  const cv::Mat grey = OraclePlane(scene);
  size_t found = 0, kept = 0, accepted = 0;
  for (int level = 0; level < LadderLevels(scene.kind); ++level) {
    SCOPED_TRACE(level);
    const cv::Mat binary = LadderLevelImage(grey, level, scene.kind);
    PolygonList literal;
    cv::findContours(binary.clone(), literal, cv::RETR_LIST, cv::CHAIN_APPROX_SIMPLE);
    found += literal.size();
    PolygonList fast = literal;
    // Accepted polygons are appended behind what earlier levels left.
    PolygonList literalRaw = {Square({5, 5}, 2)}, fastRaw = literalRaw;
    FilterMarkPolygonsLiteral(binary, literal, scene.w, scene.h, scene.kind, literalRaw);
    FilterMarkPolygons(binary, fast, scene.w, scene.h, scene.kind, fastRaw);
    EXPECT_TRUE(fast == literal);  // (a mismatch would print thousands of polygons)
    EXPECT_TRUE(fastRaw == literalRaw);
    kept += literal.size();
    accepted += literalRaw.size() - 1;
  }
  // The scene must exercise all three outcomes, or the comparison proves little.
  EXPECT_GT(found, 5000u);
  EXPECT_GT(kept, 0u);
  EXPECT_TRUE(scene.uniform || accepted > 0) << accepted;
}

INSTANTIATE_TEST_SUITE_P(TemplateMark, FilterOracleTest,
                         ::testing::Values(OracleScene{"MarksCross", kCross, 36, 36, false},
                                           OracleScene{"MarksRectangle", kRect, 40, 24, false},
                                           OracleScene{"UniformCross", kCross, 30, 30, true},
                                           OracleScene{"UniformRectangle", kRect, 40, 24, true}),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- MergeCandidates ----

TEST(TemplateMark, MergeOfNothingFailsAndLeavesTheMergedListEmpty) {
  PolygonList merged = {Square({5, 5}, 2)};
  EXPECT_EQ(MergeCandidates({}, merged), -1);
  EXPECT_TRUE(merged.empty());
}

PolygonList Merged(const PolygonList& candidates) {
  PolygonList merged;
  EXPECT_EQ(MergeCandidates(candidates, merged), 0);
  return merged;
}

TEST(TemplateMark, MergeYieldsTheLargerOfTwoAndKeepsDistantMarksApart) {
  const Polygon small = Square({50, 50}, 4), large = Square({50 + 19, 50}, 6);
  EXPECT_EQ(Merged({small, large}), PolygonList{large});
  EXPECT_EQ(Merged({large, small}), PolygonList{large});
  // 20 pixels apart with radii below 20: two groups, in order of acceptance.
  const Polygon far = Square({70, 50}, 4);
  EXPECT_EQ(Merged({far, small}), (PolygonList{far, small}));
  // 25 pixels apart, but the newcomer's enclosing circle (radius ~28) covers the distance.
  const Polygon wide = Square({75, 50}, 20);
  EXPECT_EQ(Merged({small, wide}), PolygonList{wide});
  // Same outline, different starting vertex: equal circles. The newcomer goes ahead of the
  // first one, so the middle of the pair is the first.
  const Polygon twin = {small[1], small[2], small[3], small[0]};
  EXPECT_EQ(Merged({small, twin}), PolygonList{small});
}

// ---- RefineMarkBox on hand-made blocks ----

struct RefineCase {
  const char* name;
  cv::Rect block;   // bright samples on black
  float expectedW;  // the nominal width handed to the refinement
  MarkBox box;      // expected measurement
  int board = 0;    // grey level around the block
};

class RefineTest : public ::testing::TestWithParam<RefineCase> {};

std::vector<float> Values(const MarkBox& box) {
  return {box.centreX, box.centreY, box.halfWidth, box.halfHeight};
}

TEST_P(RefineTest, MeasuresTheBoxFromGradientProjections) {
  const RefineCase& c = GetParam();
  cv::Mat grey(40, 60, CV_8UC1, cv::Scalar(c.board));
  grey(c.block).setTo(200);
  // Only the outline's bounding box counts: two opposite corners stand for the block.
  const Polygon outline = {c.block.tl(), c.block.br() - cv::Point(1, 1)};
  MarkBox box;
  ASSERT_EQ(RefineMarkBox(grey, outline, c.expectedW, 10, kRect, box), 0);
  // Halves of whole pixel counts: exact in float.
  EXPECT_EQ(Values(box), Values(c.box));
}

INSTANTIATE_TEST_SUITE_P(
    TemplateMark, RefineTest,
    ::testing::Values(
        // Hard edges tie between two profile entries; the first of each wins, so the box
        // runs from one column before the block to its last column (11 wide).
        RefineCase{"Centred", {20, 10, 10, 10}, 10, {24.5f, 14.5f, 5.5f, 5.5f}},
        // Odd sides are measured the same way; the suppression window is half of the
        // rounded-up half side.
        RefineCase{"OddSides", {20, 10, 9, 9}, 10, {24.0f, 14.0f, 5.0f, 5.0f}},
        // Region clipped at column 0, rising edge inside the 3-pixel guard: the left side
        // is rebuilt from the right edge and the nominal width 16 (17 wide inclusive).
        RefineCase{"LeftEdgeRebuilt", {1, 10, 10, 10}, 16, {2.5f, 14.5f, 8.5f, 5.5f}},
        // Falling edge on the clipped region's last column: the right side is rebuilt.
        RefineCase{"RightEdgeRebuilt", {50, 10, 10, 10}, 16, {57.5f, 14.5f, 8.5f, 5.5f}},
        // The region is bordered with zeros, not with the board around it: on a grey board
        // (90) the border's step (90 over all 20 lines) outweighs the block's (110 over 10), so the
        // rise is taken at the border and the near side rebuilt from the far one.
        RefineCase{
            "GreyBoardMeetsAZeroBorder", {20, 10, 10, 10}, 10, {29.5f, 19.5f, 5.5f, 5.5f}, 90}),
    [](const ::testing::TestParamInfo<RefineCase>& row) { return row.param.name; });

TEST(TemplateMark, RefineRefusesEmptyInputAndZeroesADegenerateBox) {
  cv::Mat grey(30, 30, CV_8UC1, cv::Scalar(90));
  MarkBox box{1, 2, 3, 4};
  EXPECT_EQ(RefineMarkBox(grey, {}, 10, 10, kCross, box), -1);
  EXPECT_EQ(RefineMarkBox(cv::Mat(), Square({5, 5}, 2), 10, 10, kCross, box), -1);
  // A flat region has no edges; rebuilding from a negative nominal size inverts the box.
  ASSERT_EQ(RefineMarkBox(grey, Square({15, 15}, 4), -8, -8, kCross, box), 0);
  EXPECT_EQ(Values(box), std::vector<float>(4, 0.0f));
}

// ---- The operations on synthetic boards ----

struct MarkCase {
  MarkKind kind;
  cv::Point2d centre;  // in the [i, i + 1) convention of Board
  double w, h;
  int seed;
};

// A plus sign or rectangle of the case's size at the case's centre on a 120 x 100 board.
cv::Mat MarkBoard(const MarkCase& c) {
  Board board({120, 100});
  if (c.kind == kCross) board.Plus(c.centre, c.w, c.h);
  if (c.kind == kRect) board.Rectangle(c.centre, c.w, c.h);
  return board.Render(c.seed);
}

class MarkTest : public ::testing::TestWithParam<MarkCase> {};

TEST_P(MarkTest, FindsCentreAndSizeOfTheMark) {
  const MarkCase& c = GetParam();
  const Result r = Locate(c.kind, MarkBoard(c), c.w / 2, c.h / 2);
  ASSERT_EQ(r.status, 0);
  EXPECT_NEAR(r.values[0], c.centre.x, 1.0);
  EXPECT_NEAR(r.values[1], c.centre.y, 1.0);
  // The cross's central square measures one pixel wide (inclusive edge count); tripled, 1.5.
  EXPECT_NEAR(r.values[2], c.w / 2, 1.5);
  EXPECT_NEAR(r.values[3], c.h / 2, 1.5);
}

INSTANTIATE_TEST_SUITE_P(
    TemplateMark, MarkTest,
    ::testing::Values(
        MarkCase{kCross, {60.5, 50.5}, 30, 30, 1}, MarkCase{kCross, {47.25, 38.75}, 30, 36, 2},
        MarkCase{kCross, {80.75, 60.5}, 42, 30, 3}, MarkCase{kCross, {33.5, 45.25}, 24, 24, 4},
        // Touching the left edge: the bar starts at 1.
        MarkCase{kCross, {16.5, 50.5}, 30, 30, 5}, MarkCase{kCross, {13.5, 30.5}, 24, 24, 6},
        MarkCase{kRect, {60, 50}, 40, 24, 1}, MarkCase{kRect, {55.5, 47.5}, 30, 30, 2},
        MarkCase{kRect, {70.25, 40.75}, 24, 40, 3}, MarkCase{kRect, {44, 61}, 50, 20, 4},
        // Touching the left edge: the rectangle starts at columns 1 and 2.
        MarkCase{kRect, {21, 50}, 40, 24, 5}, MarkCase{kRect, {14.5, 30}, 25, 20, 6}));

// A tilted rectangle of the right size fails the orientation test, but its contour stays for
// the template fallback: at 30 degrees the drawn rectangle still correlates above 0.5 and the
// mark is reported (its box measured along the axes); at 60 degrees nothing is.
TEST(TemplateMark, OnlyTheTemplateFallbackCanReportATiltedRectangle) {
  for (const auto& [degrees, found] : {std::pair{30.0f, true}, std::pair{60.0f, false}}) {
    SCOPED_TRACE(degrees);
    Board board({120, 100});
    const cv::RotatedRect mark(cv::Point2f(60, 50), cv::Size2f(40, 24), degrees);
    board.RotatedRectangle(mark.center, mark.size, degrees);
    const Result r = Locate(kRect, board.Render(3), 20, 12);
    EXPECT_EQ(r.status, 0);
    if (!found) {
      for (float v : r.values) EXPECT_EQ(v, 0.0f);
      continue;
    }
    std::vector<cv::Point2f> outline(4);
    mark.points(outline.data());
    EXPECT_GE(cv::pointPolygonTest(outline, cv::Point2f(r.values[0], r.values[1]), false), 0);
    EXPECT_NEAR(r.values[2], 20, 1.0);
    EXPECT_NEAR(r.values[3], 12, 1.0);
  }
}

// ---- Refused and unusable input ----

TEST(TemplateMark, NullPlaneOrZeroAreaIsRefusedWithoutTouchingTheSwitch) {
  std::vector<unsigned char> plane(100, 50);
  for (MarkKind kind : {kCross, kRect}) {
    SCOPED_TRACE(static_cast<int>(kind));
    RecordingSink sink;
    ScopedSink scope(&sink);
    SetDebugSwitch(kind, 7);
    // A null plane, then planes of no area (a width below 1 truncates to 0).
    const float sizes[][2] = {{10, 10}, {0, 10}, {10, 0}, {0.9f, 10}, {-10, -10}};
    for (int i = 0; i < 5; ++i) {
      float para[5] = {sizes[i][0], sizes[i][1], 3, 3, 1};
      float result[4] = {5, 5, 5, 5};
      unsigned char* data = i == 0 ? nullptr : plane.data();
      const int status = kind == kCross ? LocateCrossMark(data, para, result)
                                        : LocateRectangleMark(data, para, result);
      EXPECT_EQ(status, -1) << i;
      for (float v : result) EXPECT_EQ(v, 0.0f) << i;
    }
    EXPECT_EQ(DebugSwitch(kind), 7);
    EXPECT_TRUE(sink.Empty());
  }
}

// ---- Debug switch values ----

int CountOf(const std::vector<std::string>& names, const std::string& name) {
  return static_cast<int>(std::count(names.begin(), names.end(), name));
}

// 1 closes all windows and shows the source first; other non-zero values show every other view
// (the cross's clear mark stops the ladder early, the rectangle runs all eleven levels); each
// operation keeps its own switch.
TEST(TemplateMark, DebugSwitchValuesChooseTheViews) {
  const MarkCase cross{kCross, {60.5, 50.5}, 30, 30, 31}, rect{kRect, {60, 50}, 40, 24, 32};
  for (const auto& [mark, debug] :
       {std::pair{cross, 1.0f}, std::pair{cross, -1.0f}, std::pair{rect, 3.0f}}) {
    const MarkKind other = mark.kind == kCross ? kRect : kCross;
    SetDebugSwitch(other, 0);
    RecordingSink sink;
    ScopedSink scope(&sink);
    ASSERT_EQ(Locate(mark.kind, MarkBoard(mark), mark.w / 2, mark.h / 2, debug).status, 0);
    EXPECT_EQ(DebugSwitch(mark.kind), static_cast<int>(debug));
    EXPECT_EQ(DebugSwitch(other), 0);
    const std::vector<std::string> titles = sink.Titles();
    EXPECT_EQ(titles.front() == "原图", debug == 1.0f) << debug;
    for (const char* title :
         {"approxPolyDP", "矩形合并结果", "多矩形检测结果", "ROI.jpg", "梯度调整矩形"})
      EXPECT_GE(CountOf(titles, title), 1) << title << " at " << debug;
    // "auto threshold" views: the rectangle's whole ladder, fewer than the cross's 7.
    const int levels = CountOf(titles, "auto threshold");
    EXPECT_TRUE(mark.kind == kRect ? levels == 11 : levels > 0 && levels < 7) << levels;
    EXPECT_EQ(sink.Files(), std::vector<std::string>{"ROI.jpg"});
  }
  RecordingSink sink;
  ScopedSink scope(&sink);
  Locate(kCross, MarkBoard(cross), 15, 15, 0);
  EXPECT_TRUE(sink.Empty());
}

TEST(TemplateMark, TemplateFallbackShowsAndWritesItsTemplate) {
  // A notch in one arm gives the outline more than twelve vertices, but the plus still
  // correlates with the drawn one.
  Board board({120, 100});
  board.Plus({60.5, 50.5}, 30, 30);
  cv::Mat plane = board.Render(41, 4.0);
  plane(cv::Rect(71, 48, 5, 4)).setTo(40);
  RecordingSink sink;
  ScopedSink scope(&sink);
  const Result r = Locate(kCross, plane, 15, 15, 2);
  ASSERT_EQ(r.status, 0);
  EXPECT_GE(CountOf(sink.Files(), "CrossTemplate.jpg"), 1);
  EXPECT_GE(CountOf(sink.Titles(), "CrossTemplate"), 1);
  EXPECT_NEAR(r.values[0], 60.5, 1.0);
  EXPECT_NEAR(r.values[1], 50.5, 1.0);
}

}  // namespace
}  // namespace imgtarn::template_mark
