// Circle mark location on synthetic planes whose answer is known by construction: a bright
// disc of known centre and radius on a darker, noisy board.
#include "circle_mark.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <string>
#include <tuple>
#include <vector>

#include "debug_view.hpp"
#include "support/scenes.hpp"

namespace imgtarn::circle_mark {
namespace {

using scenes::DiscPlane;

constexpr char kGrouped[] = "All Found Circles In Edges by HoughCircles";

bool Contains(const std::vector<std::string>& titles, const std::string& title) {
  return std::find(titles.begin(), titles.end(), title) != titles.end();
}

using MarkSlot = int (*)(unsigned char*, float*, float*);
constexpr MarkSlot RoiSlot = LocateCircleMarkRoi;

struct Found {
  int status;
  cv::Point2f centre;
  float radius;
  std::vector<std::string> titles, files;  // debug output when run with debug 1
};

Found RunMark(MarkSlot slot, const cv::Mat& plane, float radius, int debug = 0) {
  std::vector<float> para = {static_cast<float>(plane.cols), static_cast<float>(plane.rows), radius,
                             0.0f, static_cast<float>(debug)};
  float result[3] = {-1, -1, -1};
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  const int status = slot(plane.data, para.data(), result);
  return {status, cv::Point2f(result[0], result[1]), result[2], sink.Titles(), sink.Files()};
}

// ---- Toolkit ----

TEST(CircleToolkit, OddTemplateHasTruncatedRadiusAndPutsTheCentreAtItsIntegerHalf) {
  const cv::Mat disc = MakeDiscTemplate(10.7f);
  ASSERT_EQ(disc.size(), cv::Size(23, 23));
  EXPECT_EQ(disc.at<uchar>(11, 21), 255);  // radius trunc(10.7) = 10
  EXPECT_EQ(disc.at<uchar>(11, 22), 0);
  cv::Mat plane = DiscPlane(cv::Size(90, 70), cv::Point2f(-100, -100), 1.0f);
  disc.copyTo(plane(cv::Rect(37, 21, disc.cols, disc.rows)), disc);
  const CircleEstimate found = FindDiscByTemplate(plane, disc, 10.7f, false);
  EXPECT_EQ(cv::Point2f(found.x, found.y), cv::Point2f(48, 32));  // 11 px in from the corner
  EXPECT_EQ(found.radius, 10.7f);
  EXPECT_GT(found.score, 0.95f);
}

TEST(CircleToolkit, GradientMeasureFindsDiameterAndCentreInAClippedWindow) {
  const cv::Mat plane = DiscPlane(cv::Size(100, 80), cv::Point2f(40.0f, 30.0f), 15.0f);
  const auto measure = MeasureCircleByGradient(plane, cv::Rect(20, 10, 40, 40));
  ASSERT_TRUE(measure);
  EXPECT_NEAR(measure->columns.Diameter(), 30, 1);
  EXPECT_NEAR(SpanCentre(measure->window.x, measure->columns), 40.0f, 0.6f);
  EXPECT_NEAR(SpanCentre(measure->window.y, measure->rows), 30.0f, 0.6f);
  const auto partly = MeasureCircleByGradient(plane, cv::Rect(-10, 70, 30, 30));
  ASSERT_TRUE(partly);
  EXPECT_EQ(partly->window, cv::Rect(0, 70, 20, 10));
  EXPECT_FALSE(MeasureCircleByGradient(plane, cv::Rect(100, 0, 10, 10)));
}

TEST(CircleToolkit, ClosingCircleOfOneRingIsNearItsCentreAndNothingOnAFlatRegion) {
  const cv::Mat plane = DiscPlane(cv::Size(80, 80), cv::Point2f(40.0f, 40.0f), 15.0f, 1, 5.0f);
  const cv::Mat region = OpenTwice(SmoothPlane(plane))(cv::Rect(24, 24, 32, 32));
  const auto centre = ClosingCircleCentre(region, 15.0f, false);
  ASSERT_TRUE(centre);
  EXPECT_LE(std::hypot(centre->x - 16.0f, centre->y - 16.0f), 1.5f);  // truncated centres
  EXPECT_FALSE(ClosingCircleCentre(cv::Mat(32, 32, CV_8UC1, cv::Scalar(90)), 15.0f, false));
  // A single Hough circle is its own enclosing circle: its centre, truncated.
  const cv::Mat disc = DiscPlane(cv::Size(80, 80), cv::Point2f(40.3f, 39.6f), 10.0f);
  const cv::Mat single = OpenTwice(SmoothPlane(disc))(cv::Rect(29, 29, 22, 22));
  const CircleList circles = HoughGradientCircles(single, 50, 25, 8, 12);
  ASSERT_EQ(circles.size(), 1u);
  EXPECT_EQ(ClosingCircleCentre(single, 10.0f, false),
            cv::Point(static_cast<int>(circles[0][0]), static_cast<int>(circles[0][1])));
}

// The thresholds the searches branch on include their boundaries.
TEST(CircleToolkit, BranchThresholdsIncludeTheirBoundaries) {
  using E = TemplateEvidence;
  const float below = std::nextafter(0.85f, 0.0f);
  const std::tuple<float, std::size_t, E> evidence[] = {
      {0.85f, 0, E::kTemplate}, {below, 5, E::kClosingCircle}, {below, 4, E::kFullImage}};
  for (const auto& [score, circles, expected] : evidence)
    EXPECT_EQ(WeighTemplateEvidence(score, circles), expected) << score << " " << circles;
  // Five circles in the first pass stop the edge stage's Hough loop, four do not.
  const std::tuple<std::size_t, int, bool> lists[] = {
      {5, 0, true}, {4, 0, false}, {10, 6, true}, {11, 1, true}, {11, 2, false}};
  for (const auto& [circles, pass, settled] : lists)
    EXPECT_EQ(EdgeCircleListSettled(circles, pass), settled) << circles << " " << pass;
  EXPECT_TRUE(TemplateWinsAtBorder(0.95f));
  EXPECT_FALSE(TemplateWinsAtBorder(std::nextafter(0.95f, 0.0f)));
}

// Oracle: the scored full-image search judges every circle it finds by a Hough search of the
// circle's own box, in parallel; the debug run searches them in order on the calling thread,
// as the search always has. Both, on one thread or two, must give the same centre.
TEST(CircleToolkit, ParallelScoringMatchesTheSerialWalkOnNoise) {
  for (int seed : {1, 2}) {
    // Rings a little wider than the mark: inside the full-image range, outside the region's.
    cv::Mat noise = DiscPlane(cv::Size(400, 300), cv::Point2f(-100, -100), 1, seed);
    for (int y = 60; y < 300; y += 100)
      for (int x = 60; x < 400; x += 100) cv::circle(noise, {x, y}, 45, cv::Scalar(200), 3);
    const Found serial = RunMark(LocateCircleMarkQuick, noise, 40, 1);
    EXPECT_GT(std::count(serial.titles.begin(), serial.titles.end(), "hCRoi"), 20) << seed;
    const int threads = cv::getNumThreads();
    for (int n : {1, 2}) {
      cv::setNumThreads(n);
      const Found parallel = RunMark(LocateCircleMarkQuick, noise, 40);
      EXPECT_EQ(parallel.status, serial.status) << seed << " " << n;
      EXPECT_EQ(parallel.centre, serial.centre) << seed << " " << n;
    }
    cv::setNumThreads(threads);
  }
}

// ---- Mark location: accuracy over radii and placements ----

enum class Side { kNone, kRight, kLeft, kBottom, kTop };

// One slot's answer for a disc on a plane about five radii wide and four high. An uncut disc
// near a border leaves 2.3 px to it, so the search's 5-pixel margin is crossed but nothing is
// cut; a cut disc has 30 % of its radius outside the plane. Slot 11 at radius 8 may end unfound
// (SmallMarkWithOneEdgeCircleIsLeftUnfound), never wrong.
void ExpectAccurate(MarkSlot slot, float radius, Side side, bool cut, float bound) {
  const int number = slot == LocateCircleMarkQuick ? 10 : slot == RoiSlot ? 12 : 11;
  SCOPED_TRACE(::testing::Message() << "slot " << number << " radius " << radius << " side "
                                    << static_cast<int>(side) << (cut ? " cut" : ""));
  const cv::Size size(static_cast<int>(5 * radius + 40), static_cast<int>(4 * radius + 40));
  const float fromBorder = cut ? 0.7f * radius : radius + 2.3f;
  cv::Point2f centre = cut ? cv::Point2f(size.width * 0.5f + 0.3f, size.height * 0.5f - 0.2f)
                           : cv::Point2f(size.width * 0.45f + 0.3f, size.height * 0.55f + 0.6f);
  if (side == Side::kRight) centre.x = size.width - fromBorder;
  if (side == Side::kLeft) centre.x = fromBorder;
  if (side == Side::kBottom) centre.y = size.height - fromBorder;
  if (side == Side::kTop) centre.y = fromBorder;
  const int seed = static_cast<int>(radius) + static_cast<int>(side) + (cut ? 99 : 0);
  const Found found = RunMark(slot, DiscPlane(size, centre, radius, seed), radius);
  if (slot == LocateCircleMark && radius < 10.0f && found.status == -1) {
    EXPECT_EQ(found.centre, cv::Point2f(0, 0));
    return;
  }
  EXPECT_EQ(found.status, 0);
  EXPECT_LE(cv::norm(found.centre - centre), bound) << found.centre << centre;
  EXPECT_EQ(found.radius, radius);
}

// Slots 10 and 11 to 1 px, slot 11 also on cut marks. The quick search is not run on cut
// marks: a template kept inside the plane stops 0.3 r + 1 short of a centre cut by 0.3 r, and
// a score above 0.85 returns it. Slot 12 to 2 px: its half-size centres step by whole-plane
// pixels and each edge is found to half a half-size pixel.
TEST(MarkAccuracy, CentreWithinItsBoundOverRadiiAndPlacements) {
  for (Side side : {Side::kNone, Side::kRight, Side::kLeft, Side::kBottom, Side::kTop}) {
    for (float radius : {8.0f, 12.0f, 20.0f, 35.0f, 60.0f}) {
      ExpectAccurate(LocateCircleMark, radius, side, false, 1.0f);
      ExpectAccurate(LocateCircleMarkQuick, radius, side, false, 1.0f);
      if (side != Side::kNone) ExpectAccurate(LocateCircleMark, radius, side, true, 1.0f);
    }
    for (float radius : {20.0f, 60.0f}) ExpectAccurate(RoiSlot, radius, side, false, 2.0f);
  }
}

// ---- Mark location: branches, told apart by their debug output ----

TEST(LocateCircleMark, InsideMarkIsMeasuredAndWritesTheDebugFileOnlyWithDebug) {
  const cv::Mat plane = DiscPlane(cv::Size(140, 120), cv::Point2f(70.3f, 60.6f), 20.0f);
  const Found quiet = RunMark(LocateCircleMark, plane, 20.0f, 0);
  EXPECT_TRUE(quiet.titles.empty() && quiet.files.empty());
  const Found traced = RunMark(LocateCircleMark, plane, 20.0f, 1);
  EXPECT_EQ(traced.titles, (std::vector<std::string>{"Edges Image", "---template find --bilateral",
                                                     "Using Grad method found the best circle."}));
  EXPECT_EQ(traced.files, std::vector<std::string>{"D:\\picture\\Result\\121401.bmp"});
}

TEST(LocateCircleMark, NearBorderMarkMatchingTheTemplateTakesTheTemplateEstimate) {
  const cv::Mat disc = MakeDiscTemplate(20.0f);  // correlation close to 1
  cv::Mat plane(120, 140, CV_8UC1, cv::Scalar(60));
  const cv::Rect at(140 - disc.cols - 3, 40, disc.cols, disc.rows);
  disc.copyTo(plane(at), disc);
  const Found found = RunMark(LocateCircleMark, plane, 20.0f, 1);
  EXPECT_EQ(found.centre, cv::Point2f(at.x + disc.cols / 2, at.y + disc.rows / 2));
  EXPECT_FALSE(Contains(found.titles, "The new ROI"));
}

// A small clean disc gives the edge Hough a single accumulator peak at every threshold the loop
// tries (85 of 200 random discs of radius 8), and one circle ends the search before the
// template stage; the quick search finds the same disc.
TEST(LocateCircleMark, SmallMarkWithOneEdgeCircleIsLeftUnfound) {
  const cv::Mat plane = DiscPlane(cv::Size(80, 72), cv::Point2f(40.64f, 36.58f), 8.0f, 6);
  const Found full = RunMark(LocateCircleMark, plane, 8.0f, 1);
  EXPECT_EQ(full.status, -1);
  EXPECT_EQ(full.centre, cv::Point2f(0, 0));
  EXPECT_FALSE(Contains(full.titles, "Original Image"));
  const Found quick = RunMark(LocateCircleMarkQuick, plane, 8.0f);
  EXPECT_LE(cv::norm(quick.centre - cv::Point2f(40.64f, 36.58f)), 1.0) << quick.centre;
}

// A disc of radius 20 on a 140 x 120 plane, the window that proves its branch ran and one that
// proves another did not.
struct BranchCase {
  MarkSlot slot;
  cv::Point2f centre;
  int seed;
  float hole, bound;
  const char *shown, *notShown;
};

class MarkBranch : public ::testing::TestWithParam<BranchCase> {};

TEST_P(MarkBranch, ShowsItsWindowsAndFindsTheMark) {
  const BranchCase c = GetParam();
  const Found found =
      RunMark(c.slot, DiscPlane(cv::Size(140, 120), c.centre, 20.0f, c.seed, c.hole), 20.0f, 1);
  EXPECT_EQ(found.status, 0);
  EXPECT_LE(cv::norm(found.centre - c.centre), c.bound) << found.centre;
  EXPECT_TRUE(Contains(found.titles, c.shown));
  EXPECT_FALSE(Contains(found.titles, c.notShown));
  EXPECT_TRUE(found.files.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MarkBranch,
    ::testing::Values(
        // Near the right border, template score 0.94: the candidate is re-tested at the border.
        BranchCase{LocateCircleMark, {117.7f, 66.6f}, 21, 0, 1, "The new ROI", kGrouped},
        // Cut by 0.21 r with a Hough circle near the template estimate: re-tested from that
        // candidate, whose cut axis no window can correct. A template kept inside the plane
        // stops c r + 1 short of the centre and the candidate lies within r/10 of it, so the
        // bound is (c + 0.1) r + 1 = 7.2 px (c = 0.21).
        BranchCase{LocateCircleMark, {15.72f, 72.47f}, 97, 0, 7.2f, "The new ROI", kGrouped},
        // Within 5 px of two borders: left to the template stage.
        BranchCase{LocateCircleMark, {117.7f, 97.6f}, 1, 0, 1, "Original Image", "The new ROI"},
        // A convincing template match needs nothing after the region's Hough search.
        BranchCase{LocateCircleMarkQuick, {60.3f, 60.4f}, 1, 0, 1, "tempHCRoi", "hCRoi"},
        // A ring correlates weakly: the closing circle of the region's circles (whole pixels).
        BranchCase{LocateCircleMarkQuick, {60, 60}, 1, 8, 1.5f, "--closing circle--", "guaCircle"},
        // Cut by 60 % of r: the scored full-image search, good to 2 px on a partial arc.
        BranchCase{LocateCircleMarkQuick, {132, 60}, 1, 0, 2, "hCRoi", "--closing circle--"}));

// ---- Refused input (all three mark searches) ----

TEST(MarkRefusal, NullPlaneZeroAreaUnusableRadiiAndNoDiscGiveMinusOneAndZeros) {
  const cv::Mat plane = DiscPlane(cv::Size(60, 50), cv::Point2f(30, 25), 10.0f);
  const cv::Mat noDisc = DiscPlane(cv::Size(140, 120), cv::Point2f(-100, -100), 1.0f);
  for (MarkSlot slot : {LocateCircleMark, LocateCircleMarkQuick, RoiSlot}) {
    SCOPED_TRACE(slot == LocateCircleMark ? 11 : slot == RoiSlot ? 12 : 10);
    std::vector<float> para = {60, 50, 10, 0, 0};
    float result[3] = {7, 7, 7};
    EXPECT_EQ(slot(nullptr, para.data(), result), -1);
    EXPECT_EQ(std::vector<float>(result, result + 3), std::vector<float>(3, 0.0f));
    para[0] = 0.0f;
    EXPECT_EQ(slot(plane.data, para.data(), result), -1);
    para[0] = 60.0f;
    for (float radius : {0.0f, -4.0f, 25.0f, 1e12f, std::numeric_limits<float>::quiet_NaN()}) {
      para[2] = radius;
      result[0] = result[1] = 7;
      EXPECT_EQ(slot(plane.data, para.data(), result), -1) << radius;
      EXPECT_EQ(cv::Point2f(result[0], result[1]), cv::Point2f(0, 0)) << radius;
    }
    // A mark as wide as a taller plane (2 r + 2 is its width) is searched, not refused.
    EXPECT_FALSE(RunMark(slot, DiscPlane({50, 60}, {25, 30}, 20.0f), 24.0f, 1).titles.empty());
    const Found none = RunMark(slot, noDisc, 20.0f, 1);
    EXPECT_EQ(none.status, -1);
    EXPECT_EQ(none.centre, cv::Point2f(0, 0));
    EXPECT_FALSE(Contains(none.titles, "Original Image"));  // no edge circles: no template stage
  }
}

// ---- Direct Hough detection ----

TEST(DirectHough, NearestRadiusWinsAndTiesKeepTheEarlierCircle) {
  EXPECT_EQ(*NearestRadiusCircle({{1, 1, 19}, {2, 2, 21}}, 20.0f), cv::Vec3f(1, 1, 19));
  EXPECT_EQ(*NearestRadiusCircle({{2, 2, 21}, {1, 1, 19}}, 20.0f), cv::Vec3f(2, 2, 21));
  EXPECT_EQ(*NearestRadiusCircle({{1, 1, 23}, {2, 2, 19.5f}}, 20.0f), cv::Vec3f(2, 2, 19.5f));
  EXPECT_FALSE(NearestRadiusCircle({}, 20.0f));
}

// Slot 4 reads its numbers from text (a threshold below 1 reads as 15) and slot 5 reports the
// radius it found; both always show their window. Slot 4 clears its result when it refuses.
TEST(DirectHough, TextAndPlainSlotsFindTheCircleAndAlwaysShowTheirWindow) {
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  cv::Mat plane = DiscPlane(cv::Size(120, 100), cv::Point2f(60.3f, 50.6f), 20.0f);
  const auto run = [&](std::string width, std::string threshold) {
    char height[] = "100", radius[] = "20";
    char* texts[4] = {width.data(), height, radius, threshold.data()};
    std::vector<float> result(3, -1.0f);
    const int status = DetectCirclesFromText(plane.data, texts, result.data());
    return std::pair{status, result};
  };
  const std::vector<float> fifteen = run("120", "15").second;
  EXPECT_LE(std::hypot(fifteen[0] - 60.3f, fifteen[1] - 50.6f), 2.0f);
  EXPECT_EQ(run("120", "0.5").second, fifteen);
  EXPECT_EQ(run("0", "15"), std::pair(-1, std::vector<float>(3, 0.0f)));
  float plain[3] = {7, 7, 7};
  ASSERT_EQ(DetectCirclesPlain(plane.data, 120, 100, 21.5f, 60.0f, plain), 0);
  EXPECT_NEAR(plain[2], 20.0f, 1.5f);  // the radius found, not the one asked for
  EXPECT_EQ(sink.Titles(), std::vector<std::string>(3, "Hough Circle Transform Demo"));
  plain[0] = 7;
  EXPECT_EQ(DetectCirclesPlain(nullptr, 120, 100, 20.0f, 60.0f, plain), -1);
  EXPECT_EQ(plain[0], 7.0f);
}

TEST(DirectHough, SmoothedWidensItsRangeOnlyWithALongEnoughArrayAndShowsWindowsWithDebug) {
  cv::Mat plane = DiscPlane(cv::Size(120, 100), cv::Point2f(60.0f, 50.0f), 20.0f);
  // Expected radius 28: the default tolerance 5 searches 23..33 and misses the disc of 20.
  std::vector<float> para = {120, 100, 28, 0, 0, 0, 0, 0, 0, 10};
  float result[3] = {7, 7, 7};
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  for (const auto& [count, tolerance, radius] :
       {std::tuple{9, 10.0f, 0.0f}, std::tuple{10, 10.0f, 20.0f}, std::tuple{10, 2.0f, 0.0f}}) {
    para[9] = tolerance;
    ASSERT_EQ(DetectCirclesSmoothed(plane.data, para.data(), count, result), 0);
    EXPECT_NEAR(result[2], radius, 1.5f) << count << " " << tolerance;
  }
  EXPECT_TRUE(sink.Empty());
  para[2] = 20.0f;  // found with debug on: every window
  para[4] = 1.0f;
  ASSERT_EQ(DetectCirclesSmoothed(plane.data, para.data(), 5, result), 0);
  EXPECT_EQ(sink.Titles(),
            (std::vector<std::string>{"Smoothing", "Circles Image", "Circle Found"}));
  EXPECT_EQ(DetectCirclesSmoothed(plane.data, para.data(), 4, result), -1);
}

// ---- Edge adjustment ----

// The disc case is the raw-table test of slot 17; an ellipse needs both semi-axes.
TEST(AdjustCircleEdges, RecoversTheAxesOfAnEllipseAndRefusesTooFewEdgePoints) {
  float result[5] = {};
  cv::Mat ellipse(100, 120, CV_8UC1, cv::Scalar(50));
  cv::ellipse(ellipse, cv::Point(60, 50), cv::Size(30, 20), 0, 0, 360, cv::Scalar(210), -1,
              cv::LINE_AA);
  float guess[5] = {120, 100, 60.0f, 50.0f, 25.0f};
  ASSERT_EQ(AdjustCircleEdges(ellipse.data, guess, result), 0);
  EXPECT_NEAR(result[0], 60.0f, 0.3f);
  EXPECT_NEAR(result[1], 50.0f, 0.3f);
  EXPECT_NEAR(std::max(result[2], result[3]), 30.0f, 1.0f);
  EXPECT_NEAR(std::min(result[2], result[3]), 20.0f, 1.0f);
  cv::Mat flat(100, 120, CV_8UC1, cv::Scalar(80));
  EXPECT_EQ(AdjustCircleEdges(flat.data, guess, result), -1);
  for (float radius : {0.0f, 121.0f, 1e30f}) {
    guess[4] = radius;
    EXPECT_EQ(AdjustCircleEdges(ellipse.data, guess, result), -1) << radius;
  }
  guess[0] = 0.0f;
  EXPECT_EQ(AdjustCircleEdges(ellipse.data, guess, result), -1);
}

}  // namespace
}  // namespace imgtarn::circle_mark
