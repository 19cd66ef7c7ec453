// Edge detection: the production detector against the literal one (both kernel sets, one and
// several threads, many stripes), the literal one against OpenCV's Canny, the threshold rule,
// the input checks and the adapter of slot 23.
#include "edges.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <string>
#include <tuple>
#include <vector>

#include "canny_fast.hpp"
#include "canny_rows.hpp"
#include "debug_view.hpp"

namespace {

using namespace imgtarn::edges;

enum class Kind { kRandom, kTextured, kFlat, kContrast, kDarkBoard, kPlateaus, kRamps, kStripes };

std::string KindName(Kind kind) {
  const char* names[] = {"Random",    "Textured", "Flat",  "Contrast",
                         "DarkBoard", "Plateaus", "Ramps", "Stripes"};
  return names[static_cast<int>(kind)];
}

template <typename Value>
void FillBy(cv::Mat& plane, Value value) {
  plane.forEach<uchar>(
      [&](uchar& v, const int* at) { v = static_cast<uchar>(value(at[0], at[1])); });
}

cv::Mat MakePlane(Kind kind, cv::Size size, std::uint64_t seed) {
  cv::RNG rng(seed);
  cv::Mat plane(size, CV_8UC1, cv::Scalar(kind == Kind::kDarkBoard ? 20 : 0));
  const int a = rng.uniform(1, 4), b = rng.uniform(1, 4), c = rng.uniform(-9, 10);
  if (kind == Kind::kRandom || kind == Kind::kTextured) rng.fill(plane, cv::RNG::UNIFORM, 0, 256);
  if (kind == Kind::kTextured) {  // blurred noise over a blocky wave
    cv::GaussianBlur(plane, plane, cv::Size(5, 5), 1.5);
    cv::Mat wave(size, CV_8UC1);
    FillBy(wave, [](int r, int col) { return (r / 3 + col / 5) % 4 * 20; });
    plane = plane / 2 + wave;
  }
  if (kind == Kind::kFlat) plane.setTo(rng.uniform(0, 256));
  for (int i = 0; i < (kind == Kind::kDarkBoard ? 3 : kind == Kind::kContrast ? 12 : 0); ++i) {
    const cv::Point p(rng.uniform(-5, size.width + 5), rng.uniform(-5, size.height + 5));
    const cv::Point q(rng.uniform(-5, size.width + 5), rng.uniform(-5, size.height + 5));
    if (kind == Kind::kDarkBoard)
      cv::rectangle(plane, p, p + cv::Point(4, 3), cv::Scalar(230), cv::FILLED);
    else if (i % 2 == 0)
      cv::rectangle(plane, p, q, cv::Scalar(255), cv::FILLED);
    else
      cv::circle(plane, p, rng.uniform(1, 20), cv::Scalar(i % 4 == 1 ? 0 : 255), -1);
  }
  // A few grey levels in blocks: equal magnitudes where ties decide.
  if (kind == Kind::kPlateaus)
    FillBy(plane, [&](int r, int col) { return ((r / a) * 7 + (col / b) * 3) % 4 * 60; });
  // Wrapping ramps: constant magnitudes beside cliffs of the largest.
  if (kind == Kind::kRamps)
    FillBy(plane, [&](int r, int col) { return (c * r + (c + a) * col) & 255; });
  // Saturated stripes at several angles: a plane full of edges.
  if (kind == Kind::kStripes)
    FillBy(plane, [&](int r, int col) { return (r * (a - 1) + col * b) % (a + b) ? 255 : 0; });
  return plane;
}

cv::Mat OpenCvCanny(const cv::Mat& plane, CannyThresholds thresholds) {
  cv::Mat edges;
  cv::Canny(plane, edges, thresholds.low, thresholds.high, 3, false);
  return edges;
}

int DifferingPixels(const cv::Mat& a, const cv::Mat& b) {
  if (a.size() != b.size() || a.type() != b.type()) return -1;
  return a.empty() ? 0 : cv::countNonZero(a != b);
}

// One way the production detector can run: kernel set, OpenCV threads and row stripes
// (0 = chosen by the detector, which keeps small planes in one stripe).
struct Variant {
  const char* name;
  CannyKernels kernels;
  int threads, stripes;
};

const Variant kVariants[] = {{"best/1 thread", CannyKernels::kBest, 1, 0},
                             {"best/default threads", CannyKernels::kBest, -1, 0},
                             {"portable/1 thread", CannyKernels::kPortable, 1, 0},
                             {"best/one row a stripe", CannyKernels::kBest, -1, 1 << 20},
                             {"portable/3 stripes", CannyKernels::kPortable, -1, 3}};

// The literal detector with automatic (given == nullptr) or given thresholds, against every
// variant of the production one: same map, thresholds and edge count.
void ExpectEveryVariantMatchesLiteral(const cv::Mat& plane, const CannyThresholds* given,
                                      bool l2gradient = false) {
  cv::Mat expected;
  CannyTrace literal{{}, -1};  // each detector must write its own trace, empty images too
  given ? CannyWithThresholdsLiteral(plane, expected, *given, &literal)
        : MyCannyLiteral(plane, expected, l2gradient, &literal);
  ASSERT_EQ(literal.edgePixels, cv::countNonZero(expected));
  const int savedThreads = cv::getNumThreads();
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    cv::setNumThreads(variant.threads);
    const CannyRequest request{given == nullptr, l2gradient, given ? *given : CannyThresholds{},
                               variant.kernels, variant.stripes};
    cv::Mat edges(3, 2, CV_8UC1, cv::Scalar(9));  // the wrong size: must be reallocated
    CannyTrace fast{{}, -1};
    DetectCannyEdges(plane, edges, request, &fast);
    EXPECT_EQ(DifferingPixels(edges, expected), 0);
    EXPECT_EQ(std::tie(fast.thresholds.low, fast.thresholds.high, fast.edgePixels),
              std::tie(literal.thresholds.low, literal.thresholds.high, literal.edgePixels));
  }
  cv::setNumThreads(savedThreads);
}

using OracleCase = std::tuple<Kind, cv::Size>;

class CannyOracle : public ::testing::TestWithParam<OracleCase> {};

// Several seeds per shape and size: the literal map equals cv::Canny with the chosen
// thresholds, and every production variant equals the literal map. Then the suppression and
// hysteresis alone, with thresholds OpenCV also accepts and a negative low one it does not.
TEST_P(CannyOracle, MatchesLiteralAndOpenCv) {
  const auto [kind, size] = GetParam();
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    const cv::Mat plane = MakePlane(kind, size, seed * 7919 + size.area());
    SCOPED_TRACE(testing::Message() << KindName(kind) << " seed " << seed);
    cv::Mat edges;
    CannyTrace trace;
    MyCannyLiteral(plane, edges, false, &trace);
    ASSERT_EQ(edges.size(), plane.size());
    ASSERT_EQ(edges.type(), CV_8UC1);
    EXPECT_LE(trace.thresholds.low, trace.thresholds.high);
    EXPECT_EQ(DifferingPixels(edges, OpenCvCanny(plane, trace.thresholds)), 0)
        << "low " << trace.thresholds.low << " high " << trace.thresholds.high;
    if (kind == Kind::kFlat) {
      EXPECT_EQ(trace.edgePixels + trace.thresholds.high, 0);
    }
    // Odd seeds square the thresholds: large ones must still compare like the literal ones.
    ExpectEveryVariantMatchesLiteral(plane, nullptr, seed % 2 == 1);
    const int low = seed == 1 ? -3 : static_cast<int>(seed * seed * 25);
    const CannyThresholds given{low, low + static_cast<int>(seed * 97 % 400)};
    CannyWithThresholdsLiteral(plane, edges, given);
    if (given.low >= 0) {
      EXPECT_EQ(DifferingPixels(edges, OpenCvCanny(plane, given)), 0) << "given";
    }
    ExpectEveryVariantMatchesLiteral(plane, &given);
  }
}

// Widths around the 16- and 32-column steps of the wide kernels; 301 x 299 and 1024 x 80
// are large enough to be split over threads without being asked.
INSTANTIATE_TEST_SUITE_P(
    OddSizes, CannyOracle,
    ::testing::Combine(
        ::testing::Values(Kind::kRandom, Kind::kTextured, Kind::kFlat, Kind::kContrast,
                          Kind::kDarkBoard, Kind::kPlateaus, Kind::kRamps, Kind::kStripes),
        ::testing::ValuesIn(std::vector<cv::Size>{{1, 1},
                                                  {1, 9},
                                                  {9, 1},
                                                  {2, 3},
                                                  {3, 3},
                                                  {17, 5},
                                                  {18, 7},
                                                  {33, 4},
                                                  {34, 9},
                                                  {65, 31},
                                                  {101, 77},
                                                  {301, 299},
                                                  {1024, 80}})),
    [](const auto& row) {
      const cv::Size size = std::get<1>(row.param);
      return KindName(std::get<0>(row.param)) + "_" + std::to_string(size.width) + "x" +
             std::to_string(size.height);
    });

// A region of a larger plane is measured with its parent's pixels beyond its edges (as
// cv::Sobel does); only the parent's own edges are replicated. Writing over the source works,
// and an empty region gives an empty map.
TEST(CannyOracle, RegionsOfALargerPlaneAndInPlace) {
  const cv::Mat parent = MakePlane(Kind::kRandom, cv::Size(90, 70), 5);
  const cv::Rect regions[] = {{0, 0, 90, 70},   {7, 5, 40, 30},  {0, 0, 33, 20},
                              {50, 40, 40, 30}, {89, 0, 1, 70},  {10, 69, 60, 1},
                              {3, 20, 1, 1},    {20, 3, 64, 60}, {5, 5, 0, 0}};
  int differFromCopy = 0;
  for (const cv::Rect& region : regions) {
    SCOPED_TRACE(testing::Message() << region);
    const cv::Mat roi = parent(region);
    ExpectEveryVariantMatchesLiteral(roi, nullptr);
    cv::Mat ofRegion, ofCopy;
    MyCannyLiteral(roi, ofRegion, false);
    MyCannyLiteral(roi.clone(), ofCopy, false);
    differFromCopy += DifferingPixels(ofRegion, ofCopy) != 0;
    cv::Mat inPlace = parent.clone();
    cv::Mat target = inPlace(region);
    MyCanny(target, target, false);
    EXPECT_EQ(DifferingPixels(target, ofRegion), 0);
  }
  EXPECT_GE(differFromCopy, 4);  // the parent's pixels really enter the interior regions
}

// Gradient words of the middle row of a 3-row source that differ between the wide kernel and
// the portable one (which has the literal direction test). Words of zero magnitude may differ
// in direction only: no direction lets them survive suppression.
int WideWordsDifferingFromPortable(const cv::Mat& source) {
  const canny_rows::SourceRows window{source.ptr(0),  source.ptr(1), source.ptr(2), source.cols, 0,
                                      source.cols - 1};
  std::vector<std::int16_t> wide(source.cols), portable(source.cols);
  canny_rows::PackGradientsAvx2(window, wide.data());
  canny_rows::PackGradientsPortable(window, 0, source.cols, portable.data());
  int differing = 0;
  for (int col = 0; col < source.cols; ++col) {
    differing += portable[col] >> 2 == 0 ? wide[col] >> 2 != 0 : wide[col] != portable[col];
  }
  return differing;
}

// The wide kernel tests the direction with a 16-bit multiply instead of 32-bit products.
// Every gradient (dx, dy) with |dx| < 512 and |dy| at or next to a direction boundary, in all
// four sign combinations, sits at column 3k + 1 of its own three columns (dx = 2 h + b2 and
// dy = 2 b1 + b2, so dx and dy have the same parity, as in every image).
TEST(CannyRows, WideGradientWordsEqualThePortableOnes) {
  if (!canny_rows::CpuHasAvx2()) GTEST_SKIP() << "the CPU has no AVX2";
  std::vector<cv::Mat> blocks;
  for (int ax = 1; ax < 512; ++ax) {
    const int t = ax * 13573 / 32768;
    for (const int ay : {t - 1, t, t + 1, 2 * ax + t - 1, 2 * ax + t, 2 * ax + t + 1}) {
      if (ay < 0 || ay > 511 || (ax - ay) % 2 != 0) continue;
      const int b2 = ax % 2, h = (ax - b2) / 2, b1 = (ay - b2) / 2;
      const cv::Mat block = (cv::Mat_<uchar>(3, 3) << 0, 0, 0, 0, 0, h, 0, b1, b2);
      blocks.push_back(block);
      for (const int flip : {1, 0, -1}) {  // negates dx, dy, both
        blocks.emplace_back();
        cv::flip(block, blocks.back(), flip);
      }
    }
  }
  cv::Mat boundaries;
  cv::hconcat(blocks, boundaries);
  EXPECT_EQ(WideWordsDifferingFromPortable(boundaries), 0);
}

// A histogram with `count` pixels in each bin of [from, to] plus the given single bins.
std::vector<int> Histogram(int from, int to, int count,
                           std::vector<std::pair<int, int>> singles = {}) {
  std::vector<int> histogram(kMagnitudeBins, 0);
  for (int v = from; v <= to; ++v) histogram[v] = count;
  for (const auto& [bin, n] : singles) histogram[bin] += n;
  return histogram;
}

struct ThresholdCase {
  std::string name;
  std::vector<int> histogram;
  int maxMagnitude;
  long long pixelCount;
  CannyThresholds expected;
};

class ThresholdRule : public ::testing::TestWithParam<ThresholdCase> {};

TEST_P(ThresholdRule, PicksTheExpectedPoints) {
  const ThresholdCase& c = GetParam();
  const auto [low, high] = c.expected;
  const CannyThresholds t = AutoCannyThresholds(c.histogram, c.maxMagnitude, c.pixelCount, false);
  const CannyThresholds sq = AutoCannyThresholds(c.histogram, c.maxMagnitude, c.pixelCount, true);
  EXPECT_EQ(std::tie(t.low, t.high, sq.low, sq.high),
            std::make_tuple(low, high, low * low, high * high));
}

// Bin counts are chosen so every share is an exact binary fraction away from the targets.
using TC = ThresholdCase;
INSTANTIATE_TEST_SUITE_P(
    HandBuilt, ThresholdRule,
    ::testing::Values(
        // 10000 pixels, 9000 of them flat: the share never reaches one half.
        TC{"FewPads", Histogram(0, 0, 9000, {{50, 200}, {200, 500}, {400, 300}}), 400, 10000, {}},
        // 1024 pixels, 8 in each of 1..128: p = 65/128, so high = 64 (65 bins at or above);
        // q = p + 0.3, first exceeded by the 104 bins above 24.
        TC{"GradientsEverywhere", Histogram(1, 128, 8), 128, 1024, {24, 64}},
        // A top bin of 1/8 raises p to 0.625: high drops from 65 to 49, low lands on 9.
        TC{"TopBinRaisesTheTargets", Histogram(1, 112, 8, {{200, 128}}), 200, 1024, {9, 49}},
        // 30 % flat: high at 28 (73 bins of 0.7 % reach 0.507), the low target is never met.
        TC{"LowTargetNeverReached", Histogram(1, 100, 7, {{0, 300}}), 100, 1000, {0, 28}},
        TC{"FlatImage", Histogram(0, 0, 500), 0, 500, {}},
        TC{"NoPixels", Histogram(0, 0, 0), 0, 0, {}},
        // Every magnitude in one bin: share 1 at once, but the walk ends before exceeding q.
        TC{"SingleMagnitude", Histogram(0, 0, 0, {{300, 64}}), 300, 64, {}},
        TC{"TwoMagnitudes", Histogram(0, 0, 0, {{300, 32}, {10, 32}}), 300, 64, {0, 10}}),
    [](const ::testing::TestParamInfo<ThresholdCase>& row) { return row.param.name; });

// Planes whose strong pixels waiting for hysteresis outgrow the literal detector's initial
// stack: columns 0, 255, 255, 255 repeated (every other column a maximum on every row, half
// the plane edge), and one row longer than the stack, traced with thresholds 0, 0 so that
// the pre-row reservation must grow more than once.
TEST(MyCannyLiteral, GrowsItsStackOnDenseEdgePlanes) {
  const cv::Size sizes[] = {{200, 150}, {511, 97}, {301, 299}, {5001, 1}};
  for (const cv::Size size : sizes) {
    const bool oneRow = size.height == 1;
    cv::Mat plane(size, CV_8UC1);
    FillBy(plane, [&](int, int c) { return (oneRow ? c % 3 != 0 : c % 4 == 0) ? 0 : 255; });
    cv::Mat edges;
    CannyTrace trace;
    StackUse stack;
    const CannyThresholds zero;
    oneRow ? CannyWithThresholdsLiteral(plane, edges, zero, &trace, &stack)
           : MyCannyLiteral(plane, edges, false, &trace, &stack);
    EXPECT_TRUE(oneRow ? stack.finalCapacity >= 5001u : trace.edgePixels > size.area() * 45 / 100)
        << size;
    EXPECT_EQ(stack.initialCapacity,
              std::max<std::size_t>(static_cast<std::size_t>(size.area()) / 10, 1024));
    EXPECT_GT(stack.finalCapacity, stack.initialCapacity) << size;
    EXPECT_EQ(DifferingPixels(edges, OpenCvCanny(plane, trace.thresholds)), 0) << size;
    ExpectEveryVariantMatchesLiteral(plane, oneRow ? &zero : nullptr);
  }
}

struct InputCheckCase {
  int type;
  const char* message;
};

class InputCheck : public ::testing::TestWithParam<InputCheckCase> {};

// Both detectors raise the same assertion, reported from the one line callers log.
TEST_P(InputCheck, RaisesTheAssertionAndWritesNothing) {
  const cv::Mat plane(9, 11, GetParam().type, cv::Scalar(3));
  for (const bool literal : {false, true}) {
    cv::Mat dst(9, 11, CV_8UC1, cv::Scalar(77));
    try {
      literal ? MyCannyLiteral(plane, dst, false) : MyCanny(plane, dst, false);
      ADD_FAILURE() << "no exception";
    } catch (const cv::Exception& error) {
      EXPECT_EQ(error.code, -215);
      EXPECT_EQ(error.err, GetParam().message);
      EXPECT_EQ(error.func, "MyCanny");
      EXPECT_NE(error.file.find("DalCanny.cpp"), std::string::npos);
      if (GetParam().type != CV_8UC3) {
        EXPECT_EQ(error.line, 22);
      }
    }
    EXPECT_EQ(cv::countNonZero(dst != 77), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(NotEightBitSingleChannel, InputCheck,
                         ::testing::Values(InputCheckCase{CV_8SC1, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_32FC1, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_16UC3, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_8UC3, "src.channels() == 1"}));

// Slot 23's adapter, on a dark board with pads whose outlines the contour stage fills.
struct PadBoard {
  static constexpr int kWidth = 121, kHeight = 83;
  std::vector<cv::Rect> pads{{10, 10, 20, 12}, {50, 15, 8, 40}, {80, 50, 25, 20}, {15, 60, 3, 3}};
  std::vector<unsigned char> pixels = std::vector<unsigned char>(kWidth * kHeight, 25);
  PadBoard() {
    cv::Mat plane(kHeight, kWidth, CV_8UC1, pixels.data());
    for (const cv::Rect& pad : pads) plane(pad).setTo(210);
  }
};

struct ContourCase {
  int minArea;
  std::vector<bool> kept;  // per pad of PadBoard
};

class ContourStage : public ::testing::TestWithParam<ContourCase> {};

TEST_P(ContourStage, FillsEveryPadThatReachesTheMinimumArea) {
  const ContourCase& c = GetParam();
  PadBoard board;
  std::vector<unsigned char> dst(board.pixels.size(), 99);
  float para[5] = {PadBoard::kWidth, PadBoard::kHeight, 1, 0, static_cast<float>(c.minArea)};
  float result[4] = {-1, -1, -1, -1};
  ASSERT_EQ(DetectEdgesCanny(board.pixels.data(), para, dst.data(), result), 0);
  EXPECT_EQ(result[3], static_cast<float>(std::count(c.kept.begin(), c.kept.end(), true)));
  const cv::Mat mask(PadBoard::kHeight, PadBoard::kWidth, CV_8UC1, dst.data());
  int keptArea = 0;
  for (std::size_t i = 0; i < board.pads.size(); ++i) {
    // The outline sits on the dark side of each step, so a kept pad covers its rectangle and
    // at most a one-pixel ring around it.
    const cv::Rect pad = board.pads[i];
    const cv::Rect ring(pad.x - 1, pad.y - 1, pad.width + 2, pad.height + 2);
    const int inRing = cv::countNonZero(mask(ring));
    EXPECT_EQ(c.kept[i] ? cv::countNonZero(mask(pad)) : inRing, c.kept[i] ? pad.area() : 0) << pad;
    keptArea += c.kept[i] ? inRing : 0;
  }
  EXPECT_EQ(cv::countNonZero(mask), keptArea);  // nothing outside the rings
}

// Contour areas are measured through the outline's pixel centres: about 20 x 12, 8 x 40,
// 25 x 20 and 3 x 3, less a few half pixels at the cut corners (237, 317, 497 and 6).
INSTANTIATE_TEST_SUITE_P(MinimumAreas, ContourStage,
                         ::testing::Values(ContourCase{0, {true, true, true, true}},
                                           ContourCase{17, {true, true, true, false}},
                                           ContourCase{237, {true, true, true, false}},
                                           ContourCase{276, {false, true, true, false}},
                                           ContourCase{600, {false, false, false, false}}),
                         [](const auto& row) {
                           return "MinArea" + std::to_string(row.param.minArea);
                         });

// Debug shows the edge map, and in the contour stage the mask written, then only those.
TEST(DetectEdgesCanny, DebugShowsTheEdgeMapAndTheContourResult) {
  PadBoard board;
  std::vector<unsigned char> dst(board.pixels.size());
  float result[4];
  for (const float stage : {0.0f, 1.0f}) {
    imgtarn::debug_view::RecordingSink sink;
    imgtarn::debug_view::ScopedSink scope(&sink);
    float para[5] = {PadBoard::kWidth, PadBoard::kHeight, stage, 1, 0};
    ASSERT_EQ(DetectEdgesCanny(board.pixels.data(), para, dst.data(), result), 0);
    std::vector<std::string> titles = {"matEdges", "matContours"};
    titles.resize(stage == 0.0f ? 1 : 2);
    EXPECT_EQ(sink.Titles(), titles);
  }
}

TEST(DetectEdgesCanny, RefusesNullPlanesAndEmptyAreas) {
  std::vector<unsigned char> plane(12, 7), dst(12, 5);
  float result[4] = {-1, -1, -1, -1};
  const float sizes[][2] = {{0, 3}, {4, 0}, {-4, 3}, {-4, -3}, {NAN, 3}};
  for (const auto& size : sizes) {
    float para[5] = {size[0], size[1], 0, 0, 0};
    EXPECT_EQ(DetectEdgesCanny(plane.data(), para, dst.data(), result), -1);
  }
  float para[5] = {4, 3, 0, 0, 0};
  EXPECT_EQ(DetectEdgesCanny(nullptr, para, dst.data(), result), -1);
  EXPECT_EQ(DetectEdgesCanny(plane.data(), para, nullptr, result), -1);
  EXPECT_EQ(DetectEdgesCanny(plane.data(), nullptr, dst.data(), result), -1);
  EXPECT_EQ(DetectEdgesCanny(plane.data(), para, dst.data(), nullptr), -1);
  EXPECT_EQ(result[0], -1.0f);
  EXPECT_EQ(dst, std::vector<unsigned char>(12, 5));
}

}  // namespace
