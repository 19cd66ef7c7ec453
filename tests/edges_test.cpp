// Edge detection: the production detector against the literal one (both kernel sets, one and
// several threads, many stripes), the literal one against OpenCV's Canny, the threshold rule,
// the input checks and the adapter of slot 23.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "common/debug_view.hpp"
#include "edges/DalCanny.hpp"
#include "edges/canny_fast.hpp"
#include "edges/edges.hpp"

namespace {

using imgtarn::edges::AutoCannyThresholds;
using imgtarn::edges::CannyKernels;
using imgtarn::edges::CannyRequest;
using imgtarn::edges::CannyThresholds;
using imgtarn::edges::CannyTrace;
using imgtarn::edges::kMagnitudeBins;
using imgtarn::edges::MyCanny;
using imgtarn::edges::MyCannyLiteral;

enum class Kind { kRandom, kTextured, kFlat, kHighContrast, kDarkBoard, kPlateaus, kRamps, kStripes };

std::string KindName(Kind kind) {
  const char* names[] = {"Random",    "Textured", "Flat",  "HighContrast",
                         "DarkBoard", "Plateaus", "Ramps", "Stripes"};
  return names[static_cast<int>(kind)];
}

cv::Mat MakePlane(Kind kind, cv::Size size, std::uint64_t seed) {
  cv::RNG rng(seed);
  cv::Mat plane(size, CV_8UC1);
  switch (kind) {
    case Kind::kRandom:
      rng.fill(plane, cv::RNG::UNIFORM, 0, 256);
      break;
    case Kind::kTextured: {
      cv::Mat noise(size, CV_8UC1);
      rng.fill(noise, cv::RNG::UNIFORM, 0, 256);
      cv::GaussianBlur(noise, plane, cv::Size(5, 5), 1.5);
      for (int r = 0; r < size.height; ++r) {
        for (int c = 0; c < size.width; ++c) {
          const int wave = ((r / 3 + c / 5) % 4) * 20;
          plane.at<uchar>(r, c) = cv::saturate_cast<uchar>(plane.at<uchar>(r, c) / 2 + wave);
        }
      }
      break;
    }
    case Kind::kFlat:
      plane.setTo(rng.uniform(0, 256));
      break;
    case Kind::kHighContrast:
      plane.setTo(0);
      for (int i = 0; i < 12; ++i) {
        const cv::Point a(rng.uniform(-5, size.width + 5), rng.uniform(-5, size.height + 5));
        const cv::Point b(rng.uniform(-5, size.width + 5), rng.uniform(-5, size.height + 5));
        if (i % 2 == 0) {
          cv::rectangle(plane, a, b, cv::Scalar(255), cv::FILLED);
        } else {
          cv::circle(plane, a, rng.uniform(1, 20), cv::Scalar(i % 4 == 1 ? 0 : 255), -1);
        }
      }
      break;
    case Kind::kDarkBoard:
      plane.setTo(20);
      for (int i = 0; i < 3; ++i) {
        const cv::Point corner(rng.uniform(0, size.width), rng.uniform(0, size.height));
        cv::rectangle(plane, corner, corner + cv::Point(4, 3), cv::Scalar(230), cv::FILLED);
      }
      break;
    case Kind::kPlateaus: {
      // Blocks of a few grey levels: equal magnitudes side by side, where the ties decide.
      const int w = rng.uniform(1, 4), h = rng.uniform(1, 4);
      for (int r = 0; r < size.height; ++r) {
        for (int c = 0; c < size.width; ++c) {
          plane.at<uchar>(r, c) = static_cast<uchar>(((r / h) * 7 + (c / w) * 3) % 4 * 60);
        }
      }
      break;
    }
    case Kind::kRamps: {
      // Linear ramps that wrap: constant magnitudes with cliffs of the largest ones.
      const int a = rng.uniform(-9, 10), b = rng.uniform(-9, 10);
      for (int r = 0; r < size.height; ++r) {
        for (int c = 0; c < size.width; ++c) plane.at<uchar>(r, c) = static_cast<uchar>(a * r + b * c);
      }
      break;
    }
    case Kind::kStripes: {
      // Saturated stripes at any angle: a plane full of edges.
      const int period = rng.uniform(2, 6), dr = rng.uniform(0, 3), dc = rng.uniform(1, 3);
      for (int r = 0; r < size.height; ++r) {
        for (int c = 0; c < size.width; ++c) {
          plane.at<uchar>(r, c) = (r * dr + c * dc) % period == 0 ? 0 : 255;
        }
      }
      break;
    }
  }
  return plane;
}

cv::Mat OpenCvCanny(const cv::Mat& plane, CannyThresholds thresholds) {
  cv::Mat edges;
  cv::Canny(plane, edges, thresholds.low, thresholds.high, 3, false);
  return edges;
}

int DifferingPixels(const cv::Mat& a, const cv::Mat& b) {
  if (a.size() != b.size() || a.type() != b.type()) return -1;
  return cv::countNonZero(a != b);
}

// One way the production detector can run: kernel set, OpenCV threads and row stripes
// (0 = chosen by the detector, which keeps small planes in one stripe).
struct Variant {
  const char* name;
  CannyKernels kernels;
  int threads;
  int stripes;
};

const Variant kVariants[] = {{"best/1 thread", CannyKernels::kBest, 1, 0},
                             {"best/default threads", CannyKernels::kBest, -1, 0},
                             {"portable/1 thread", CannyKernels::kPortable, 1, 0},
                             {"best/one row a stripe", CannyKernels::kBest, -1, 1 << 20},
                             {"portable/3 stripes", CannyKernels::kPortable, -1, 3}};

// The literal detector with automatic (given == nullptr) or given thresholds, against every
// variant of the production one: same map, thresholds and edge count.
void ExpectEveryVariantMatchesLiteral(const cv::Mat& plane, const CannyThresholds* given,
                                      bool l2gradient, const std::string& what) {
  cv::Mat expected;
  CannyTrace literal;
  if (given == nullptr) {
    MyCannyLiteral(plane, expected, l2gradient, &literal);
  } else {
    imgtarn::edges::CannyWithThresholdsLiteral(plane, expected, *given, &literal);
  }
  ASSERT_EQ(literal.edgePixels, cv::countNonZero(expected));
  const int savedThreads = cv::getNumThreads();
  for (const Variant& variant : kVariants) {
    cv::setNumThreads(variant.threads);
    CannyRequest request;
    request.automaticThresholds = given == nullptr;
    if (given != nullptr) request.given = *given;
    request.l2gradient = l2gradient;
    request.kernels = variant.kernels;
    request.stripes = variant.stripes;
    cv::Mat edges(3, 2, CV_8UC1, cv::Scalar(9));  // the wrong size: must be reallocated
    CannyTrace fast;
    imgtarn::edges::DetectCannyEdges(plane, edges, request, &fast);
    EXPECT_EQ(DifferingPixels(edges, expected), 0) << what << ", " << variant.name;
    EXPECT_EQ(fast.thresholds.low, literal.thresholds.low) << what << ", " << variant.name;
    EXPECT_EQ(fast.thresholds.high, literal.thresholds.high) << what << ", " << variant.name;
    EXPECT_EQ(fast.edgePixels, literal.edgePixels) << what << ", " << variant.name;
  }
  cv::setNumThreads(savedThreads);
}

using OracleCase = std::tuple<Kind, cv::Size>;

class CannyOracle : public ::testing::TestWithParam<OracleCase> {};

// Several seeds per shape and size: the literal map equals cv::Canny with the chosen
// thresholds, and every production variant equals the literal map.
TEST_P(CannyOracle, AutomaticThresholds) {
  const auto [kind, size] = GetParam();
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    const cv::Mat plane = MakePlane(kind, size, seed * 7919 + size.area());
    const std::string what = KindName(kind) + " seed " + std::to_string(seed);
    cv::Mat edges;
    CannyTrace trace;
    MyCannyLiteral(plane, edges, false, &trace);
    ASSERT_EQ(edges.size(), plane.size());
    ASSERT_EQ(edges.type(), CV_8UC1);
    EXPECT_LE(trace.thresholds.low, trace.thresholds.high);
    EXPECT_EQ(DifferingPixels(edges, OpenCvCanny(plane, trace.thresholds)), 0)
        << what << " low " << trace.thresholds.low << " high " << trace.thresholds.high;
    if (kind == Kind::kFlat) {
      EXPECT_EQ(trace.thresholds.high, 0);
      EXPECT_EQ(trace.edgePixels, 0);
    }
    // Odd seeds square the thresholds: large ones must still compare like the literal ones.
    ExpectEveryVariantMatchesLiteral(plane, nullptr, seed % 2 == 1, what);
  }
}

// The suppression and hysteresis alone, with thresholds that OpenCV also accepts, and a
// negative low one that only the detectors accept.
TEST_P(CannyOracle, GivenThresholds) {
  const auto [kind, size] = GetParam();
  cv::RNG rng(size.area() + 17);
  const cv::Mat plane = MakePlane(kind, size, size.area() + 3);
  for (int i = 0; i < 5; ++i) {
    CannyThresholds thresholds;
    thresholds.low = i == 0 ? -3 : rng.uniform(0, 400);
    thresholds.high = thresholds.low + rng.uniform(0, 600);
    const std::string what = KindName(kind) + " low " + std::to_string(thresholds.low) +
                             " high " + std::to_string(thresholds.high);
    cv::Mat edges;
    imgtarn::edges::CannyWithThresholdsLiteral(plane, edges, thresholds);
    if (thresholds.low >= 0) {
      EXPECT_EQ(DifferingPixels(edges, OpenCvCanny(plane, thresholds)), 0) << what;
    }
    ExpectEveryVariantMatchesLiteral(plane, &thresholds, false, what);
  }
}

// Widths around the 16- and 32-column steps of the wide kernels; 301 x 299 and 1024 x 80
// are large enough to be split over threads without being asked.
INSTANTIATE_TEST_SUITE_P(
    OddSizes, CannyOracle,
    ::testing::Combine(::testing::Values(Kind::kRandom, Kind::kTextured, Kind::kFlat,
                                         Kind::kHighContrast, Kind::kDarkBoard, Kind::kPlateaus,
                                         Kind::kRamps, Kind::kStripes),
                       ::testing::Values(cv::Size(1, 1), cv::Size(1, 9), cv::Size(9, 1),
                                         cv::Size(2, 3), cv::Size(3, 3), cv::Size(17, 5),
                                         cv::Size(18, 7), cv::Size(33, 4), cv::Size(34, 9),
                                         cv::Size(65, 31), cv::Size(101, 77),
                                         cv::Size(301, 299), cv::Size(1024, 80))),
    [](const ::testing::TestParamInfo<OracleCase>& info) {
      const cv::Size size = std::get<1>(info.param);
      return KindName(std::get<0>(info.param)) + "_" + std::to_string(size.width) + "x" +
             std::to_string(size.height);
    });

// A region of a larger plane is measured with its parent's pixels beyond its edges (as
// cv::Sobel does); only the parent's own edges are replicated. Writing over the source works.
TEST(CannyOracle, RegionsOfALargerPlaneAndInPlace) {
  const cv::Mat parent = MakePlane(Kind::kRandom, cv::Size(90, 70), 5);
  const cv::Rect regions[] = {{0, 0, 90, 70}, {7, 5, 40, 30},  {0, 0, 33, 20}, {50, 40, 40, 30},
                              {89, 0, 1, 70}, {10, 69, 60, 1}, {3, 20, 1, 1},  {20, 3, 64, 60}};
  int differFromCopy = 0;
  for (const cv::Rect& region : regions) {
    const cv::Mat roi = parent(region);
    const std::string what = "region " + std::to_string(region.x) + "," +
                             std::to_string(region.y) + " " + std::to_string(region.width) +
                             "x" + std::to_string(region.height);
    ExpectEveryVariantMatchesLiteral(roi, nullptr, false, what);
    cv::Mat ofRegion, ofCopy;
    MyCannyLiteral(roi, ofRegion, false);
    MyCannyLiteral(roi.clone(), ofCopy, false);
    differFromCopy += DifferingPixels(ofRegion, ofCopy) != 0;
    cv::Mat inPlace = parent.clone();
    cv::Mat target = inPlace(region);
    MyCanny(target, target, false);
    EXPECT_EQ(DifferingPixels(target, ofRegion), 0) << what;
  }
  EXPECT_GE(differFromCopy, 4);  // the parent's pixels really enter the interior regions
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
  const CannyThresholds t = AutoCannyThresholds(c.histogram, c.maxMagnitude, c.pixelCount, false);
  EXPECT_EQ(t.low, c.expected.low);
  EXPECT_EQ(t.high, c.expected.high);
  const CannyThresholds squared =
      AutoCannyThresholds(c.histogram, c.maxMagnitude, c.pixelCount, true);
  EXPECT_EQ(squared.low, c.expected.low * c.expected.low);
  EXPECT_EQ(squared.high, c.expected.high * c.expected.high);
}

// Bin counts are chosen so every share is an exact binary fraction away from the targets.
INSTANTIATE_TEST_SUITE_P(
    HandBuilt, ThresholdRule,
    ::testing::Values(
        // 10000 pixels, 9000 of them flat: the share never reaches one half.
        ThresholdCase{"DarkBoardWithFewPads",
                      Histogram(0, 0, 9000, {{50, 200}, {200, 500}, {400, 300}}),
                      400,
                      10000,
                      {0, 0}},
        // 1024 pixels, 8 in each of 1..128: p = 65/128, so high = 64 (65 bins at or above);
        // q = p + 0.3, first exceeded by the 104 bins above 24.
        ThresholdCase{"GradientsEverywhere", Histogram(1, 128, 8), 128, 1024, {24, 64}},
        // A top bin of 1/8 raises p to 0.625: high drops from 65 to 49, low lands on 9.
        ThresholdCase{
            "TopBinRaisesTheTargets", Histogram(1, 112, 8, {{200, 128}}), 200, 1024, {9, 49}},
        // 30 % flat: high at 28 (73 bins of 0.7 % reach 0.507), the low target is never met.
        ThresholdCase{
            "LowTargetNeverReached", Histogram(1, 100, 7, {{0, 300}}), 100, 1000, {0, 28}},
        ThresholdCase{"FlatImage", Histogram(0, 0, 500), 0, 500, {0, 0}},
        ThresholdCase{"NoPixels", Histogram(0, 0, 0), 0, 0, {0, 0}},
        // Every magnitude in one bin: share 1 at once, but the walk ends before exceeding q.
        ThresholdCase{"SingleMagnitude", Histogram(0, 0, 0, {{300, 64}}), 300, 64, {0, 0}},
        ThresholdCase{
            "TwoMagnitudes", Histogram(0, 0, 0, {{300, 32}, {10, 32}}), 300, 64, {0, 10}}),
    [](const ::testing::TestParamInfo<ThresholdCase>& info) { return info.param.name; });

// One step edge across a dark field: a thirty-second of the pixels has a non-zero magnitude,
// far from the half that the high threshold needs, so every maximum is an edge.
TEST(ThresholdRule, AStepOnADarkFieldKeepsBothAtZero) {
  cv::Mat plane(64, 64, CV_8UC1, cv::Scalar(0));
  plane(cv::Rect(32, 0, 32, 64)).setTo(255);
  cv::Mat edges;
  CannyTrace trace;
  MyCanny(plane, edges, false, &trace);
  // Magnitude 1020 on the two columns beside the step, 0 elsewhere: 1/32 of the pixels.
  EXPECT_EQ(trace.thresholds.low, 0);
  EXPECT_EQ(trace.thresholds.high, 0);
  EXPECT_EQ(cv::countNonZero(edges.col(31)), 64);
  EXPECT_EQ(cv::countNonZero(edges), 64);
}

// Planes whose strong pixels waiting for hysteresis outgrow the literal detector's initial
// stack: columns 0, 255, 255, 255 repeated (every other column a maximum on every row, half
// the plane edge), and one row longer than the stack, traced with thresholds 0, 0 so that
// the pre-row reservation must grow more than once.
TEST(MyCannyLiteral, GrowsItsStackOnDenseEdgePlanes) {
  const cv::Size sizes[] = {{200, 150}, {511, 97}, {301, 299}, {5001, 1}};
  for (const cv::Size size : sizes) {
    const bool oneRow = size.height == 1;
    cv::Mat plane(size, CV_8UC1);
    for (int r = 0; r < size.height; ++r) {
      for (int c = 0; c < size.width; ++c) {
        plane.at<uchar>(r, c) = (oneRow ? c % 3 != 0 : c % 4 == 0) ? 0 : 255;
      }
    }
    cv::Mat edges;
    CannyTrace trace;
    imgtarn::edges::StackUse stack;
    const CannyThresholds zero;
    if (oneRow) {
      imgtarn::edges::CannyWithThresholdsLiteral(plane, edges, zero, &trace, &stack);
      EXPECT_GE(stack.finalCapacity, 5001u);
    } else {
      MyCannyLiteral(plane, edges, false, &trace, &stack);
      EXPECT_GT(trace.edgePixels, size.area() * 45 / 100) << size;
    }
    EXPECT_EQ(stack.initialCapacity,
              std::max<std::size_t>(static_cast<std::size_t>(size.area()) / 10, 1024));
    EXPECT_GT(stack.finalCapacity, stack.initialCapacity) << size;
    EXPECT_EQ(DifferingPixels(edges, OpenCvCanny(plane, trace.thresholds)), 0) << size;
    ExpectEveryVariantMatchesLiteral(plane, oneRow ? &zero : nullptr, false, "dense");
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
                                           InputCheckCase{CV_16UC1, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_16SC1, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_32FC1, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_64FC1, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_16UC3, "src.depth() == CV_8U"},
                                           InputCheckCase{CV_8UC3, "src.channels() == 1"}));

TEST(MyCanny, EmptyImageGivesAnEmptyMap) {
  for (const bool literal : {false, true}) {
    cv::Mat edges(3, 3, CV_8UC1);
    CannyTrace trace;
    trace.edgePixels = 5;
    literal ? MyCannyLiteral(cv::Mat(), edges, false, &trace) : MyCanny(cv::Mat(), edges, false, &trace);
    EXPECT_TRUE(edges.empty());
    EXPECT_EQ(trace.thresholds.high, 0);
    EXPECT_EQ(trace.edgePixels, 0);
  }
}

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
  ASSERT_EQ(imgtarn::edges::DetectEdgesCanny(board.pixels.data(), para, dst.data(), result), 0);
  EXPECT_EQ(result[3], static_cast<float>(std::count(c.kept.begin(), c.kept.end(), true)));
  EXPECT_EQ(result[0], 0.0f);  // a dark board: both thresholds stay 0
  EXPECT_EQ(result[1], 0.0f);
  EXPECT_GT(result[2], 0.0f);
  const cv::Mat mask(PadBoard::kHeight, PadBoard::kWidth, CV_8UC1, dst.data());
  int keptArea = 0;
  for (std::size_t i = 0; i < board.pads.size(); ++i) {
    // The outline sits on the dark side of each step, so a kept pad covers its rectangle and
    // at most a one-pixel ring around it.
    const cv::Rect pad = board.pads[i];
    const cv::Rect ring(pad.x - 1, pad.y - 1, pad.width + 2, pad.height + 2);
    const int inRing = cv::countNonZero(mask(ring));
    if (c.kept[i]) {
      EXPECT_EQ(cv::countNonZero(mask(pad)), pad.area()) << pad;
      keptArea += inRing;
    } else {
      EXPECT_EQ(inRing, 0) << pad;
    }
  }
  EXPECT_EQ(cv::countNonZero(mask), keptArea);  // nothing outside the rings
  EXPECT_EQ(cv::countNonZero((mask != 0) & (mask != 255)), 0);
}

// Contour areas are measured through the outline's pixel centres: about 20 x 12, 8 x 40,
// 25 x 20 and 3 x 3, less a few half pixels at the cut corners (237, 317, 497 and 6).
INSTANTIATE_TEST_SUITE_P(MinimumAreas, ContourStage,
                         ::testing::Values(ContourCase{0, {true, true, true, true}},
                                           ContourCase{17, {true, true, true, false}},
                                           ContourCase{276, {false, true, true, false}},
                                           ContourCase{600, {false, false, false, false}}),
                         [](const ::testing::TestParamInfo<ContourCase>& info) {
                           return "MinArea" + std::to_string(info.param.minArea);
                         });

TEST(DetectEdgesCanny, RawStageWritesTheEdgeMapAndItsCounts) {
  PadBoard board;
  std::vector<unsigned char> dst(board.pixels.size(), 99);
  float para[4] = {PadBoard::kWidth, PadBoard::kHeight, 0, 0};
  float result[4] = {-1, -1, -1, -1};
  ASSERT_EQ(imgtarn::edges::DetectEdgesCanny(board.pixels.data(), para, dst.data(), result), 0);
  const cv::Mat plane(PadBoard::kHeight, PadBoard::kWidth, CV_8UC1, board.pixels.data());
  cv::Mat expected;
  MyCannyLiteral(plane, expected, false);
  const cv::Mat written(PadBoard::kHeight, PadBoard::kWidth, CV_8UC1, dst.data());
  EXPECT_EQ(DifferingPixels(written, expected), 0);
  EXPECT_EQ(result[2], static_cast<float>(cv::countNonZero(expected)));
  EXPECT_EQ(result[3], 0.0f);
}

TEST(DetectEdgesCanny, DebugShowsTheEdgeMapAndTheContourResult) {
  imgtarn::debug_view::RecordingSink sink;
  imgtarn::debug_view::ScopedSink scope(&sink);
  PadBoard board;
  std::vector<unsigned char> dst(board.pixels.size());
  float result[4];
  float raw[4] = {PadBoard::kWidth, PadBoard::kHeight, 0, 1};
  ASSERT_EQ(imgtarn::edges::DetectEdgesCanny(board.pixels.data(), raw, dst.data(), result), 0);
  EXPECT_EQ(sink.Titles(), std::vector<std::string>{"matEdges"});
  sink.Clear();
  float contours[5] = {PadBoard::kWidth, PadBoard::kHeight, 1, 1, 0};
  ASSERT_EQ(imgtarn::edges::DetectEdgesCanny(board.pixels.data(), contours, dst.data(), result), 0);
  EXPECT_EQ(sink.Titles(), (std::vector<std::string>{"matEdges", "matContours"}));
  EXPECT_TRUE(sink.Files().empty());
  sink.Clear();
  contours[3] = 0;
  ASSERT_EQ(imgtarn::edges::DetectEdgesCanny(board.pixels.data(), contours, dst.data(), result), 0);
  EXPECT_TRUE(sink.Empty());
}

TEST(DetectEdgesCanny, RefusesNullPlanesAndEmptyAreas) {
  std::vector<unsigned char> plane(12, 7), dst(12, 5);
  float result[4] = {-1, -1, -1, -1};
  const float sizes[][2] = {{0, 3}, {4, 0}, {-4, 3}, {-4, -3}, {NAN, 3}};
  for (const auto& size : sizes) {
    float para[5] = {size[0], size[1], 0, 0, 0};
    EXPECT_EQ(imgtarn::edges::DetectEdgesCanny(plane.data(), para, dst.data(), result), -1);
  }
  float para[5] = {4, 3, 0, 0, 0};
  EXPECT_EQ(imgtarn::edges::DetectEdgesCanny(nullptr, para, dst.data(), result), -1);
  EXPECT_EQ(imgtarn::edges::DetectEdgesCanny(plane.data(), para, nullptr, result), -1);
  EXPECT_EQ(imgtarn::edges::DetectEdgesCanny(plane.data(), nullptr, dst.data(), result), -1);
  EXPECT_EQ(imgtarn::edges::DetectEdgesCanny(plane.data(), para, dst.data(), nullptr), -1);
  EXPECT_EQ(result[0], -1.0f);
  EXPECT_EQ(dst, std::vector<unsigned char>(12, 5));
}

}  // namespace
