// Circle mark location on synthetic planes whose answer is known by construction: a bright
// disc of known centre and radius on a darker, noisy board.
#include "circle_mark/circle_mark.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "common/debug_view.hpp"

namespace cm = imgtarn::circle_mark;
namespace debug_view = imgtarn::debug_view;

namespace {

constexpr char kDebugFile[] = "D:\\picture\\Result\\121401.bmp";

// A disc of value 200 on a board of 60 with Gaussian noise (sigma 6), drawn anti-aliased at a
// sub-pixel centre; `hole` > 0 punches a dark hole of that radius into it (a ring).
cv::Mat DiscPlane(cv::Size size, cv::Point2f centre, float radius, int seed = 1,
                  float hole = 0.0f) {
  cv::Mat board(size, CV_32F, cv::Scalar(60));
  const cv::Point at(cvRound(centre.x * 16), cvRound(centre.y * 16));
  cv::circle(board, at, cvRound(radius * 16), cv::Scalar(200), -1, cv::LINE_AA, 4);
  if (hole > 0.0f) cv::circle(board, at, cvRound(hole * 16), cv::Scalar(60), -1, cv::LINE_AA, 4);
  cv::Mat noise(size, CV_32F);
  cv::RNG rng(seed);
  rng.fill(noise, cv::RNG::NORMAL, 0, 6);
  cv::Mat plane;
  cv::Mat(board + noise).convertTo(plane, CV_8U);
  return plane;
}

std::vector<float> MarkPara(const cv::Mat& plane, float radius, int debug = 0) {
  return {static_cast<float>(plane.cols), static_cast<float>(plane.rows), radius, 0.0f,
          static_cast<float>(debug)};
}

bool Contains(const std::vector<std::string>& titles, const std::string& title) {
  return std::find(titles.begin(), titles.end(), title) != titles.end();
}

// ---- Toolkit ----

TEST(CircleToolkit, DiscTemplateHasTruncatedSideAndRadius) {
  const cv::Mat disc = cm::MakeDiscTemplate(10.7f);
  ASSERT_EQ(disc.size(), cv::Size(23, 23));
  EXPECT_EQ(disc.at<uchar>(11, 11), 255);
  EXPECT_EQ(disc.at<uchar>(11, 21), 255);  // radius trunc(10.7) = 10
  EXPECT_EQ(disc.at<uchar>(11, 22), 0);
  EXPECT_EQ(disc.at<uchar>(0, 0), 0);
}

TEST(CircleToolkit, TemplateSearchPutsCentreAtIntegerHalfOfOddTemplate) {
  const cv::Mat disc = cm::MakeDiscTemplate(10.5f);  // side 23
  cv::Mat plane = DiscPlane(cv::Size(90, 70), cv::Point2f(-100, -100), 1.0f);
  disc.copyTo(plane(cv::Rect(37, 21, disc.cols, disc.rows)), disc);
  const cm::CircleEstimate found = cm::FindDiscByTemplate(plane, disc, 10.5f, false);
  EXPECT_EQ(found.x, 48.0f);
  EXPECT_EQ(found.y, 32.0f);
  EXPECT_EQ(found.radius, 10.5f);
  EXPECT_GT(found.score, 0.95f);
}

TEST(CircleToolkit, GradientMeasureFindsDiameterAndCentreInAClippedWindow) {
  const cv::Mat plane = DiscPlane(cv::Size(100, 80), cv::Point2f(40.0f, 30.0f), 15.0f);
  const auto measure = cm::MeasureCircleByGradient(plane, cv::Rect(20, 10, 40, 40));
  ASSERT_TRUE(measure);
  EXPECT_NEAR(measure->columns.Diameter(), 30, 1);
  EXPECT_NEAR(measure->rows.Diameter(), 30, 1);
  EXPECT_NEAR(cm::SpanCentre(measure->window.x, measure->columns), 40.0f, 0.6f);
  EXPECT_NEAR(cm::SpanCentre(measure->window.y, measure->rows), 30.0f, 0.6f);
  const auto partly = cm::MeasureCircleByGradient(plane, cv::Rect(-10, 70, 30, 30));
  ASSERT_TRUE(partly);
  EXPECT_EQ(partly->window, cv::Rect(0, 70, 20, 10));
  EXPECT_FALSE(cm::MeasureCircleByGradient(plane, cv::Rect(100, 0, 10, 10)));
}

TEST(CircleToolkit, ClosingCircleOfOneDiscIsNearItsCentre) {
  // As the mark search uses it: a template-sized region of the opened plane around the disc.
  const cv::Mat plane = DiscPlane(cv::Size(80, 80), cv::Point2f(40.0f, 40.0f), 15.0f, 1, 5.0f);
  const cv::Mat region = cm::OpenTwice(cm::SmoothPlane(plane))(cv::Rect(24, 24, 32, 32));
  const auto centre = cm::ClosingCircleCentre(region, 15.0f, false);
  ASSERT_TRUE(centre);
  // Whole pixels: the Hough centres are truncated before the enclosing circle is taken.
  EXPECT_LE(std::hypot(centre->x - 16.0f, centre->y - 16.0f), 1.5f);
  const cv::Mat flat(32, 32, CV_8UC1, cv::Scalar(90));
  EXPECT_FALSE(cm::ClosingCircleCentre(flat, 15.0f, false));
}

TEST(CircleToolkit, ZeroIsNeverCaptioned) {
  cv::Mat image = cv::Mat::zeros(60, 300, CV_8UC1);
  cm::DrawValueText(image, 0.0, cv::Point(5, 30));
  EXPECT_EQ(cv::countNonZero(image), 0);
  cm::DrawValueText(image, 1.25, cv::Point(5, 30));
  EXPECT_GT(cv::countNonZero(image), 0);
}

TEST(CircleToolkit, MosaicTilesTwoPerRow) {
  const cv::Mat image = cv::Mat::zeros(30, 40, CV_8UC1);
  const cm::CircleList circles = {{20, 15, 5}, {10, 10, 4}, {30, 20, 6}};
  const cv::Mat mosaic = cm::CircleMosaic(circles, image, false);
  ASSERT_EQ(mosaic.size(), cv::Size(80, 60));
  EXPECT_EQ(mosaic.at<uchar>(15, 20), 255);       // tile 0: dot at its centre
  EXPECT_EQ(mosaic.at<uchar>(10, 40 + 10), 255);  // tile 1: right of it
  EXPECT_EQ(mosaic.at<uchar>(30 + 20, 30), 255);  // tile 2: second row, first column
  EXPECT_EQ(cv::countNonZero(mosaic(cv::Rect(40, 30, 40, 30))), 0);  // no fourth tile
}

// ---- Mark location: accuracy over radii and placements ----

enum class Side { kNone, kRight, kLeft, kBottom, kTop };

struct Scene {
  cv::Mat plane;
  cv::Point2f centre;
};

// A plane about five radii wide and four high with the disc near `side`: an uncut disc leaves
// 1.5 to 3 px to the border, so the 5-pixel margin of the search is crossed but nothing is
// cut; a cut disc has 30 % of its radius outside the plane.
Scene PlaceDisc(float radius, Side side, bool cut = false) {
  const cv::Size size(static_cast<int>(5 * radius + 40), static_cast<int>(4 * radius + 40));
  const float fromBorder = cut ? 0.7f * radius : radius + 2.3f;
  cv::Point2f centre = cut ? cv::Point2f(size.width * 0.5f + 0.3f, size.height * 0.5f - 0.2f)
                           : cv::Point2f(size.width * 0.45f + 0.3f, size.height * 0.55f + 0.6f);
  if (side == Side::kRight) centre.x = size.width - fromBorder;
  if (side == Side::kLeft) centre.x = fromBorder;
  if (side == Side::kBottom) centre.y = size.height - fromBorder;
  if (side == Side::kTop) centre.y = fromBorder;
  const int seed = static_cast<int>(radius) + static_cast<int>(side) + (cut ? 99 : 0);
  return {DiscPlane(size, centre, radius, seed), centre};
}

struct Found {
  int status;
  cv::Point2f centre;
  float radius;
};

using MarkSlot = int (*)(unsigned char*, float*, void*, float*);

Found RunMark(MarkSlot slot, const cv::Mat& plane, float radius, int debug = 0) {
  std::vector<float> para = MarkPara(plane, radius, debug);
  float result[3] = {-1, -1, -1};
  const int status = slot(plane.data, para.data(), nullptr, result);
  return {status, cv::Point2f(result[0], result[1]), result[2]};
}

int RoiSlot(unsigned char* plane, float* para, void*, float* result) {
  return cm::LocateCircleMarkRoi(plane, para, result);
}

struct AccuracyCase {
  MarkSlot slot;
  float radius;
  Side side;
};

class MarkAccuracy : public ::testing::TestWithParam<AccuracyCase> {};

TEST_P(MarkAccuracy, CentreWithinOnePixel) {
  const AccuracyCase c = GetParam();
  const Scene scene = PlaceDisc(c.radius, c.side);
  const Found found = RunMark(c.slot, scene.plane, c.radius);
  EXPECT_EQ(found.status, 0);
  EXPECT_LE(cv::norm(found.centre - scene.centre), 1.0) << found.centre;
  EXPECT_EQ(found.radius, c.radius);
}

// Slot 11 from radius 12 up (its edge stage needs two Hough circles, which a radius of 8 often
// does not give), the quick search from 8.
std::vector<AccuracyCase> AccuracyCases() {
  std::vector<AccuracyCase> cases;
  for (Side side : {Side::kNone, Side::kRight, Side::kLeft, Side::kBottom, Side::kTop}) {
    for (float radius : {12.0f, 20.0f, 35.0f, 60.0f})
      cases.push_back({cm::LocateCircleMark, radius, side});
    for (float radius : {8.0f, 12.0f, 20.0f, 35.0f, 60.0f})
      cases.push_back({cm::LocateCircleMarkQuick, radius, side});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(RadiiAndBorders, MarkAccuracy, ::testing::ValuesIn(AccuracyCases()));

// A cut mark cannot be measured across the cut: that axis comes from the Hough centres, which
// wander by a pixel or two on a partial arc; the other axis is still measured.
class CutMarkAccuracy : public ::testing::TestWithParam<std::tuple<float, Side>> {};

TEST_P(CutMarkAccuracy, UncutAxisWithinOnePixelCutAxisWithinThree) {
  const auto [radius, cut] = GetParam();
  const Scene scene = PlaceDisc(radius, cut, true);
  const Found found = RunMark(cm::LocateCircleMark, scene.plane, radius);
  ASSERT_EQ(found.status, 0);
  const bool horizontal = cut == Side::kRight || cut == Side::kLeft;
  const float cutError =
      horizontal ? found.centre.x - scene.centre.x : found.centre.y - scene.centre.y;
  const float uncutError =
      horizontal ? found.centre.y - scene.centre.y : found.centre.x - scene.centre.x;
  EXPECT_LE(std::fabs(uncutError), 1.0f) << found.centre;
  EXPECT_LE(std::fabs(cutError), 3.0f) << found.centre;
}

INSTANTIATE_TEST_SUITE_P(RadiiAndBorders, CutMarkAccuracy,
                         ::testing::Combine(::testing::Values(12.0f, 20.0f, 35.0f, 60.0f),
                                            ::testing::Values(Side::kRight, Side::kLeft,
                                                              Side::kBottom, Side::kTop)));

// ---- Mark location: branches, told apart by their debug output ----

struct Traced {
  Found found;
  std::vector<std::string> titles, files;
};

Traced RunTraced(MarkSlot slot, const cv::Mat& plane, float radius) {
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  const Found found = RunMark(slot, plane, radius, 1);
  return {found, sink.Titles(), sink.Files()};
}

TEST(LocateCircleMark, InsideMarkIsMeasuredAndWritesTheDebugFileOnlyWithDebug) {
  const cv::Mat plane = DiscPlane(cv::Size(140, 120), cv::Point2f(70.3f, 60.6f), 20.0f);
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  RunMark(cm::LocateCircleMark, plane, 20.0f, 0);
  EXPECT_TRUE(sink.Empty());
  const Traced traced = RunTraced(cm::LocateCircleMark, plane, 20.0f);
  EXPECT_EQ(traced.titles, (std::vector<std::string>{"Edges Image", "---template find --bilateral",
                                                     "Using Grad method found the best circle."}));
  EXPECT_EQ(traced.files, std::vector<std::string>{kDebugFile});
}

TEST(LocateCircleMark, NearBorderMarkWithOrdinaryTemplateScoreIsReTested) {
  const Scene scene = PlaceDisc(20.0f, Side::kRight);
  const Traced traced = RunTraced(cm::LocateCircleMark, scene.plane, 20.0f);
  EXPECT_LE(cv::norm(traced.found.centre - scene.centre), 1.0);
  EXPECT_TRUE(Contains(traced.titles, "The new ROI"));
  EXPECT_TRUE(Contains(traced.titles, "Test the circle's position."));
  EXPECT_TRUE(traced.files.empty());
}

TEST(LocateCircleMark, NearBorderMarkMatchingTheTemplateTakesTheTemplateEstimate) {
  // The disc is the template itself, so the correlation is close to 1.
  const cv::Mat disc = cm::MakeDiscTemplate(20.0f);
  cv::Mat plane(120, 140, CV_8UC1, cv::Scalar(60));
  const cv::Rect at(140 - disc.cols - 3, 40, disc.cols, disc.rows);
  disc.copyTo(plane(at), disc);
  const Traced traced = RunTraced(cm::LocateCircleMark, plane, 20.0f);
  EXPECT_EQ(traced.found.centre, cv::Point2f(at.x + disc.cols / 2, at.y + disc.rows / 2));
  EXPECT_FALSE(Contains(traced.titles, "The new ROI"));
}

TEST(LocateCircleMark, MarkInACornerIsLeftToTheTemplateStage) {
  const cv::Mat plane = DiscPlane(cv::Size(140, 120), cv::Point2f(132, 112), 20.0f);
  const Traced traced = RunTraced(cm::LocateCircleMark, plane, 20.0f);
  EXPECT_TRUE(Contains(traced.titles, "Original Image"));
  EXPECT_TRUE(Contains(traced.titles, "guaCircle"));
}

TEST(QuickMark, ConvincingTemplateMatchNeedsNoFurtherSearch) {
  const cv::Mat plane = DiscPlane(cv::Size(140, 120), cv::Point2f(60.3f, 60.4f), 20.0f);
  const Traced traced = RunTraced(cm::LocateCircleMarkQuick, plane, 20.0f);
  EXPECT_EQ(traced.found.status, 0);
  EXPECT_EQ(traced.titles,
            (std::vector<std::string>{"Orginal Image", "Smoothing", "---template find --bilateral",
                                      "ROI", "tempHCRoi"}));
}

TEST(QuickMark, RingWithWeakTemplateScoreUsesTheClosingCircle) {
  const cv::Mat plane = DiscPlane(cv::Size(140, 120), cv::Point2f(60.0f, 60.0f), 20.0f, 1, 8.0f);
  const Traced traced = RunTraced(cm::LocateCircleMarkQuick, plane, 20.0f);
  EXPECT_EQ(traced.found.status, 0);
  // Whole pixels: the closing circle works on truncated Hough centres.
  EXPECT_LE(cv::norm(traced.found.centre - cv::Point2f(60, 60)), 1.5) << traced.found.centre;
  EXPECT_TRUE(Contains(traced.titles, "--closing circle--"));
  EXPECT_TRUE(Contains(traced.titles, "tempHCRoi2"));
  EXPECT_FALSE(Contains(traced.titles, "guaCircle"));
}

TEST(QuickMark, CutMarkIsFoundByTheScoredFullImageSearch) {
  // Cut by 60 % of its radius, the disc no longer correlates with the template.
  const cv::Point2f centre(132.0f, 60.0f);
  const Traced traced =
      RunTraced(cm::LocateCircleMarkQuick, DiscPlane(cv::Size(140, 120), centre, 20.0f), 20.0f);
  EXPECT_EQ(traced.found.status, 0);
  EXPECT_LE(cv::norm(traced.found.centre - centre), 2.0) << traced.found.centre;
  EXPECT_TRUE(Contains(traced.titles, "guaCircle"));
  EXPECT_TRUE(Contains(traced.titles, "hCRoi"));
  EXPECT_TRUE(traced.files.empty());
}

TEST(LocateCircleMarkRoi, FindsTheMarkAtHalfSizeInWholePlanePixels) {
  const Scene scene = PlaceDisc(35.0f, Side::kNone);
  const Found found = RunMark(RoiSlot, scene.plane, 35.0f);
  EXPECT_EQ(found.status, 0);
  // Half-size pixels are two whole-plane pixels wide.
  EXPECT_LE(cv::norm(found.centre - scene.centre), 2.0) << found.centre;
  EXPECT_EQ(found.radius, 35.0f);
}

// ---- Refused input (all three mark searches) ----

class MarkRefusal : public ::testing::TestWithParam<MarkSlot> {};

TEST_P(MarkRefusal, NullPlaneZeroAreaAndUnusableRadiiGiveMinusOneAndZeros) {
  const MarkSlot slot = GetParam();
  const cv::Mat plane = DiscPlane(cv::Size(60, 50), cv::Point2f(30, 25), 10.0f);
  std::vector<float> para = MarkPara(plane, 10.0f);
  float result[3] = {7, 7, 7};
  EXPECT_EQ(slot(nullptr, para.data(), nullptr, result), -1);
  EXPECT_EQ(std::vector<float>(result, result + 3), std::vector<float>(3, 0.0f));
  para[0] = 0.0f;
  EXPECT_EQ(slot(plane.data, para.data(), nullptr, result), -1);
  para[0] = 60.0f;
  for (float radius : {0.0f, -4.0f, 25.0f, 1e12f, std::numeric_limits<float>::quiet_NaN()}) {
    para[2] = radius;
    result[0] = result[1] = 7;
    EXPECT_EQ(slot(plane.data, para.data(), nullptr, result), -1) << radius;
    EXPECT_EQ(cv::Point2f(result[0], result[1]), cv::Point2f(0, 0)) << radius;
  }
}

// A plane without a disc ends after the edge stage: the template stage never runs.
TEST_P(MarkRefusal, PlaneWithoutDiscGivesMinusOneAndNoCentre) {
  const cv::Mat plane = DiscPlane(cv::Size(140, 120), cv::Point2f(-100, -100), 1.0f);
  const Traced traced = RunTraced(GetParam(), plane, 20.0f);
  EXPECT_EQ(traced.found.status, -1);
  EXPECT_EQ(traced.found.centre, cv::Point2f(0, 0));
  EXPECT_FALSE(Contains(traced.titles, "Original Image"));
}

INSTANTIATE_TEST_SUITE_P(Slots, MarkRefusal,
                         ::testing::Values(cm::LocateCircleMark, cm::LocateCircleMarkQuick,
                                           RoiSlot));

// ---- Direct Hough detection ----

TEST(DirectHough, NearestRadiusWinsAndTiesKeepTheEarlierCircle) {
  EXPECT_EQ(*cm::NearestRadiusCircle({{1, 1, 19}, {2, 2, 21}}, 20.0f), cv::Vec3f(1, 1, 19));
  EXPECT_EQ(*cm::NearestRadiusCircle({{2, 2, 21}, {1, 1, 19}}, 20.0f), cv::Vec3f(2, 2, 21));
  EXPECT_EQ(*cm::NearestRadiusCircle({{1, 1, 23}, {2, 2, 19.5f}}, 20.0f), cv::Vec3f(2, 2, 19.5f));
  EXPECT_FALSE(cm::NearestRadiusCircle({}, 20.0f));
}

TEST(DirectHough, PlainReportsTheRadiusFoundAndAlwaysShowsItsWindow) {
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  cv::Mat plane = DiscPlane(cv::Size(120, 100), cv::Point2f(60.0f, 50.0f), 20.0f);
  float result[3] = {};
  ASSERT_EQ(cm::DetectCirclesPlain(plane.data, 120, 100, 21.5f, 60.0f, result), 0);
  // The radius found, not the one asked for (the centre is checked through the raw table).
  EXPECT_NEAR(result[2], 20.0f, 1.5f);
  EXPECT_NE(result[2], 21.5f);
  EXPECT_EQ(sink.Titles(), std::vector<std::string>{"Hough Circle Transform Demo"});
}

TEST(DirectHough, TextThresholdBelowOneReadsAsFifteen) {
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  cv::Mat plane = DiscPlane(cv::Size(120, 100), cv::Point2f(60.3f, 50.6f), 20.0f);
  const auto run = [&](const char* param1) {
    char width[] = "120", height[] = "100", radius[] = "20";
    std::string threshold = param1;
    char* texts[4] = {width, height, radius, threshold.data()};
    std::vector<float> result(3, -1.0f);
    EXPECT_EQ(cm::DetectCirclesFromText(plane.data, texts, nullptr, result.data()), 0);
    return result;
  };
  const std::vector<float> fifteen = run("15");
  EXPECT_LE(std::hypot(fifteen[0] - 60.3f, fifteen[1] - 50.6f), 2.0f);
  EXPECT_EQ(run("0"), fifteen);
  EXPECT_EQ(run("0.5"), fifteen);
  EXPECT_EQ(sink.Titles().size(), 3u);
  EXPECT_EQ(sink.Titles()[0], "Hough Circle Transform Demo");
}

TEST(DirectHough, RefusalClearsTheResultOfSlot4AndLeavesSlot5Alone) {
  float result[3] = {7, 8, 9};
  unsigned char sample = 0;
  EXPECT_EQ(cm::DetectCirclesPlain(nullptr, 10, 10, 3.0f, 60.0f, result), -1);
  EXPECT_EQ(cm::DetectCirclesPlain(&sample, 0, 10, 3.0f, 60.0f, result), -1);
  EXPECT_EQ(result[0], 7.0f);
  char zero[] = "0", ten[] = "10", radius[] = "3", threshold[] = "15";
  char* texts[4] = {zero, ten, radius, threshold};
  EXPECT_EQ(cm::DetectCirclesFromText(&sample, texts, nullptr, result), -1);
  EXPECT_EQ(result[0], 0.0f);
  EXPECT_EQ(result[2], 0.0f);
  EXPECT_EQ(cm::DetectCirclesFromText(&sample, nullptr, nullptr, result), -1);
}

TEST(DirectHough, SmoothedWidensItsRangeOnlyWithALongEnoughArrayAndShowsWindowsWithDebug) {
  cv::Mat plane = DiscPlane(cv::Size(120, 100), cv::Point2f(60.0f, 50.0f), 20.0f);
  // Expected radius 28: the default tolerance 5 searches 23..33 and misses the disc of 20.
  std::vector<float> para = {120, 100, 28, 0, 0, 0, 0, 0, 0, 10};
  float result[3] = {7, 7, 7};
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  ASSERT_EQ(cm::DetectCirclesSmoothed(plane.data, para.data(), 9, result), 0);
  EXPECT_EQ(result[2], 0.0f);
  ASSERT_EQ(cm::DetectCirclesSmoothed(plane.data, para.data(), 10, result), 0);
  EXPECT_LE(std::hypot(result[0] - 60.0f, result[1] - 50.0f), 2.0f);
  EXPECT_NEAR(result[2], 20.0f, 1.5f);
  para[9] = 2.0f;  // not above 2: the default again
  ASSERT_EQ(cm::DetectCirclesSmoothed(plane.data, para.data(), 10, result), 0);
  EXPECT_EQ(result[2], 0.0f);
  EXPECT_TRUE(sink.Empty());
  para[2] = 20.0f;  // found with debug on: every window
  para[4] = 1.0f;
  ASSERT_EQ(cm::DetectCirclesSmoothed(plane.data, para.data(), 5, result), 0);
  EXPECT_EQ(sink.Titles(),
            (std::vector<std::string>{"Smoothing", "Circles Image", "Circle Found"}));
  EXPECT_EQ(cm::DetectCirclesSmoothed(plane.data, para.data(), 4, result), -1);
  EXPECT_EQ(cm::DetectCirclesSmoothed(nullptr, para.data(), 5, result), -1);
}

// ---- Edge adjustment ----

// The disc case is the raw-table test of slot 17; an ellipse needs both semi-axes.
TEST(AdjustCircleEdges, RecoversTheAxesOfAnEllipse) {
  float result[5] = {};
  cv::Mat ellipse(100, 120, CV_8UC1, cv::Scalar(50));
  cv::ellipse(ellipse, cv::Point(60, 50), cv::Size(30, 20), 0, 0, 360, cv::Scalar(210), -1,
              cv::LINE_AA);
  float guess[5] = {120, 100, 60.0f, 50.0f, 25.0f};
  ASSERT_EQ(cm::AdjustCircleEdges(ellipse.data, guess, nullptr, result), 0);
  EXPECT_NEAR(result[0], 60.0f, 0.3f);
  EXPECT_NEAR(result[1], 50.0f, 0.3f);
  EXPECT_NEAR(std::max(result[2], result[3]), 30.0f, 1.0f);
  EXPECT_NEAR(std::min(result[2], result[3]), 20.0f, 1.0f);
}

TEST(AdjustCircleEdges, RefusesNullPlaneZeroAreaAndTooFewEdgePoints) {
  cv::Mat flat(50, 50, CV_8UC1, cv::Scalar(80));
  float para[5] = {50, 50, 25, 25, 10};
  float result[5] = {1, 2, 3, 4, 5};
  EXPECT_EQ(cm::AdjustCircleEdges(nullptr, para, nullptr, result), -1);
  EXPECT_EQ(cm::AdjustCircleEdges(flat.data, para, nullptr, result), -1);  // no edge at all
  cv::Mat disc = DiscPlane(cv::Size(50, 50), cv::Point2f(25, 25), 10.0f);
  for (float radius : {0.0f, 51.0f, 1e30f}) {
    para[4] = radius;
    EXPECT_EQ(cm::AdjustCircleEdges(disc.data, para, nullptr, result), -1) << radius;
  }
  para[0] = 0.0f;
  EXPECT_EQ(cm::AdjustCircleEdges(flat.data, para, nullptr, result), -1);
  EXPECT_EQ(result[0], 1.0f);
}

// ---- Hough display of a test image ----

TEST(HoughCircleDemo, ShowsBothViewsOfAReadableImage) {
  const std::string path = ::testing::TempDir() + "circle_demo.png";
  ASSERT_TRUE(cv::imwrite(path, DiscPlane(cv::Size(120, 100), cv::Point2f(60, 50), 25.0f)));
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  auto* text = reinterpret_cast<unsigned char*>(const_cast<char*>(path.c_str()));
  EXPECT_EQ(cm::HoughCircleDemo(text), 0);
  EXPECT_EQ(sink.Titles(), (std::vector<std::string>{"Sobel Edges", "Hough Circles"}));
}

}  // namespace
