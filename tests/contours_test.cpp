// Contour utilities on synthetic planes whose answers are known by construction.
#include "contours.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "debug_view.hpp"
#include "fill_contours.hpp"
#include "support/scenes.hpp"

namespace imgtarn::contours {
namespace {

using Floats = std::vector<float>;

// A host-style plane: packed bytes plus a matrix header over them for drawing.
struct Plane {
  Plane(int w, int h, unsigned char fill = 0)
      : width(w), height(h), bytes(static_cast<std::size_t>(w) * h, fill) {}
  cv::Mat Mat() { return cv::Mat(height, width, CV_8UC1, bytes.data()); }
  unsigned char* data() { return bytes.data(); }
  int At(int x, int y) const { return bytes[static_cast<std::size_t>(y) * width + x]; }
  int Count(int level) const { return int(std::count(bytes.begin(), bytes.end(), level)); }
  Plane& Fill(int x, int y, int w, int h, int level = 255) {
    Mat()(cv::Rect(x, y, w, h)).setTo(cv::Scalar(level));
    return *this;
  }
  Plane& Ring(cv::Point centre, int outer, int inner) {
    cv::circle(Mat(), centre, outer, cv::Scalar(255), cv::FILLED);
    cv::circle(Mat(), centre, inner, cv::Scalar(0), cv::FILLED);
    return *this;
  }
  int width, height;
  std::vector<unsigned char> bytes;
};

// Para with width, height, threshold 0 (any non-zero sample is foreground), debug off, and the
// given (index, value) settings.
Floats Para(const Plane& plane, std::initializer_list<std::pair<int, float>> set = {},
            std::size_t size = 24) {
  Floats para(size, 0.0f);
  para[0] = static_cast<float>(plane.width);
  para[1] = static_cast<float>(plane.height);
  for (const auto& [index, value] : set) para[index] = value;
  return para;
}

using scenes::Slice;

// Centroids come from double moments, so they are compared with a tolerance.
void ExpectNear(const Floats& got, const Floats& want, float tolerance = 1e-4f) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], want[i], tolerance) << i;
}

TEST(DrawContoursAllExternal, OutlinesEveryBlobOverEachTargetWithItsLevel) {
  Plane source(60, 40);
  source.Fill(5, 5, 10, 10).Fill(30, 5, 20, 8).Fill(10, 25, 6, 6);
  Plane red(60, 40, 7), blue(60, 40, 7);
  Floats para = Para(source, {{3, 1}, {5, 200}, {7, 90}});
  ASSERT_EQ(DrawContoursAllExternal(source.data(), para.data(), red.data(), nullptr, blue.data()),
            0);
  EXPECT_EQ(para[8], 3.0f);
  EXPECT_EQ(red.At(14, 9), 200);
  EXPECT_EQ(red.At(10, 10), 7);  // inside: the plane's own content stays
  EXPECT_EQ(blue.At(49, 12), 90);
  // Each 1-pixel outline of a w x h rectangle has 2 (w + h) - 4 pixels.
  EXPECT_EQ(red.Count(200), 36 + 52 + 20);
}

TEST(ClassifyRingContours, SortsRingsSolidsAndMultiHoleBlobs) {
  Plane source(120, 80);
  source.Ring({20, 20}, 12, 6).Ring({90, 60}, 10, 4).Fill(10, 50, 30, 20);
  cv::circle(source.Mat(), {60, 20}, 8, cv::Scalar(255), cv::FILLED);
  source.Fill(25, 60, 1, 1, 0);  // a pin hole, below the minimum hole area
  source.Fill(50, 45, 25, 25).Fill(54, 50, 5, 5, 0).Fill(65, 50, 5, 5, 0);
  source.Fill(110, 2, 2, 2);  // a speck below the minimum blob area
  // Blobs need 10 pixels, holes an outline area of 4; room for two rings and one solid.
  Floats para = Para(source, {{3, 10}, {5, 4}, {6, 2}, {7, 1}});
  Plane rings(120, 80), solids(120, 80);
  Floats rin(8, 0.0f), sol(8, -5.0f);  // ring and solid entries
  ASSERT_EQ(ClassifyRingContours(rings.data(), solids.data(), sol.data(), para.data(), rin.data(),
                                 source.data()),
            0);
  EXPECT_EQ(Slice(para.data(), 8, 3), (Floats{2, 2, 1}));
  // Raster order: the ring at the top first.
  ExpectNear(Slice(rin.data(), 0, 2), {20, 20}, 0.01f);
  EXPECT_NEAR(rin[3], M_PI * 36, 20.0);  // hole area
  ExpectNear(Slice(rin.data(), 4, 2), {90, 60}, 0.01f);
  EXPECT_NEAR(sol[0], 60.0f, 0.01f);
  EXPECT_EQ(sol[3], 0.0f);
  EXPECT_EQ(sol[4], -5.0f);         // capacity 1: nothing past the first entry
  EXPECT_EQ(rings.At(20, 20), 0);   // the bore is not part of the ring
  EXPECT_EQ(solids.At(60, 55), 0);  // the two-hole blob is in neither mask
}

TEST(MorphBoundingRects, OpeningDropsSpecksClosingJoinsSplitBlobsCapacityLimitsTheList) {
  Plane source(50, 40);
  source.Fill(5, 5, 10, 12).Fill(25, 10, 8, 20);
  source.Fill(28, 10, 1, 20, 0);  // splits the second blob by one column
  source.Fill(45, 35, 1, 1);      // a speck
  Floats para = Para(source, {{6, 3}}, 8 + 4 * 3);
  ASSERT_EQ(MorphBoundingRects(source.data(), para.data()), 0);
  EXPECT_EQ(para[7], 4.0f);  // no morphology: the split halves and the speck count
  para[3] = para[5] = 1;
  ASSERT_EQ(MorphBoundingRects(source.data(), para.data()), 0);
  EXPECT_EQ(Slice(para.data(), 7, 9), (Floats{2, 5, 5, 10, 12, 25, 10, 8, 20}));

  Plane five(50, 10);
  for (int i = 0; i < 5; ++i) five.Fill(2 + 10 * i, 2, 4, 4);
  para = Para(five, {{6, 2}, {16, -3}}, 8 + 4 * 3);
  ASSERT_EQ(MorphBoundingRects(five.data(), para.data()), 0);
  EXPECT_EQ(para[7], 5.0f);
  EXPECT_EQ(para[12], 12.0f);  // second rectangle x
  EXPECT_EQ(para[16], -3.0f);  // no third one
}

TEST(SegmentByMoments, ReportsPixelAreaAndCentroidOfEachBlob) {
  Plane source(80, 60);
  source.Fill(10, 10, 10, 20);                         // area 200, centre (14.5, 19.5)
  source.Fill(40, 5, 30, 30).Fill(50, 15, 10, 10, 0);  // with a hole: area 800
  source.Fill(5, 50, 2, 2);                            // area 4, below the minimum
  Floats para = Para(source, {{3, 10}, {5, 4}});
  float result[13] = {};
  Plane labels(80, 60);
  ASSERT_EQ(SegmentByMoments(source.data(), nullptr, para.data(), labels.data(), result), 0);
  // Raster order: the 30 x 30 blob starts higher.
  ExpectNear(Slice(result, 0, 7), {2, 800, 54.5f, 19.5f, 200, 14.5f, 19.5f});
  EXPECT_EQ(labels.At(55, 20), 0);  // hole
  EXPECT_EQ(labels.At(15, 15), 2);
  // A region mask cuts the blobs.
  Plane whole(40, 20), mask(40, 20);
  whole.Fill(0, 0, 40, 20);
  mask.Fill(10, 5, 10, 4);
  para = Para(whole, {{5, 1}});
  ASSERT_EQ(SegmentByMoments(whole.data(), mask.data(), para.data(), nullptr, result), 0);
  ExpectNear(Slice(result, 0, 4), {1, 40, 14.5f, 6.5f});
}

TEST(ApproxContoursDemo, VertexCountsTellShapesApart) {
  Plane source(120, 50);
  const std::vector<std::vector<cv::Point>> triangle{{{5, 40}, {25, 5}, {45, 40}}};
  cv::fillPoly(source.Mat(), triangle, cv::Scalar(255));
  source.Fill(55, 8, 20, 30);
  cv::circle(source.Mat(), {98, 28}, 20, cv::Scalar(255), cv::FILLED);
  Floats para = Para(source, {{3, 2}, {5, 3}});
  float result[4] = {};
  Plane drawing(120, 50, 9);
  ASSERT_EQ(ApproxContoursDemo(source.data(), para.data(), drawing.data(), result), 0);
  EXPECT_EQ(Slice(result, 0, 3), (Floats{3, 3, 4}));  // raster order: apex row 5, then row 8
  EXPECT_GT(result[3], 5.0f);
  EXPECT_EQ(drawing.At(55, 20) + drawing.At(65, 20), 255);  // polygon edge, cleared inside
  // A negative or NaN tolerance keeps the corners.
  for (float epsilon : {-1.0f, NAN}) {
    para[3] = epsilon;
    ASSERT_EQ(ApproxContoursDemo(source.data(), para.data(), nullptr, result), 0);
    EXPECT_EQ(result[2], 4.0f) << epsilon;
  }
}

TEST(CountContourPixels, EnclosedPixelsIncludeHolesAndOutlinePixelsTraceTheEdge) {
  Plane source(60, 40);
  source.Fill(5, 5, 10, 20).Fill(30, 10, 20, 20).Fill(35, 15, 10, 10, 0);
  Floats para = Para(source, {{5, 2}});
  float enclosed[4] = {}, outline[4] = {};
  ASSERT_EQ(CountEnclosedPixels(source.data(), para.data(), enclosed), 0);
  ASSERT_EQ(CountOutlinePixels(source.data(), para.data(), outline), 0);
  EXPECT_EQ(Slice(enclosed, 0, 4), (Floats{600, 2, 200, 400}));
  EXPECT_EQ(Slice(outline, 0, 4), (Floats{56 + 76, 2, 56, 76}));
}

TEST(MorphRing, BandSplitsIntoOuterAndInnerRingsButNotAlongTheBorder) {
  Plane source(40, 40);
  source.Fill(10, 10, 20, 20);
  Floats para = Para(source, {{3, 2}});
  Plane inner(40, 40), outer(40, 40), band(40, 40);
  ASSERT_EQ(MorphRingBand(inner.data(), outer.data(), band.data(), para.data(), source.data()), 0);
  // Erosion by the 5 x 5 disc leaves the central 16 x 16 square.
  EXPECT_EQ(para[7], 400.0f - 256.0f);
  EXPECT_EQ(para[5], para[6] + para[7]);
  EXPECT_EQ(inner.Count(255), 144);
  EXPECT_EQ(outer.At(9, 20), 255);
  EXPECT_EQ(outer.At(10, 20), 0);
  EXPECT_EQ(band.At(9, 20) + band.At(20, 20), 255);  // edge in, centre out

  Plane edge(40, 40), edgeBand(40, 40);
  edge.Fill(0, 0, 20, 40);
  para = Para(edge, {{3, 1}});
  ASSERT_EQ(MorphRingBand(nullptr, nullptr, edgeBand.data(), para.data(), edge.data()), 0);
  EXPECT_EQ(edgeBand.At(0, 20), 0);
  EXPECT_EQ(edgeBand.At(19, 0), 255);
  EXPECT_EQ(para[5], 40.0f * 2);
}

TEST(MorphRing, RingBetweenMasksDropsSliversNarrowerThanTheDisc) {
  Plane pad(40, 40), paste(40, 40), ring(40, 40);
  pad.Fill(5, 5, 30, 30);
  paste.Fill(6, 5, 29, 20);  // leaves a 1-column sliver and a 10-row band uncovered
  Floats para = Para(pad);
  ASSERT_EQ(RingBetweenMasks(pad.data(), paste.data(), ring.data(), para.data()), 0);
  EXPECT_EQ(Slice(para.data(), 5, 2), (Floats{20 + 300, 1}));
  para[3] = 1;
  ASSERT_EQ(RingBetweenMasks(pad.data(), paste.data(), ring.data(), para.data()), 0);
  EXPECT_EQ(para[5], 300.0f - 4.0f);  // the sliver is gone, and the band's corners
  EXPECT_EQ(ring.At(5, 10), 0);
  EXPECT_EQ(ring.At(20, 30), 255);
}

TEST(FillContours, FillsEachPolygonWithTheLevelOrCopiesTheSource) {
  Plane target(30, 30, 5);
  // Two overlapping squares: the overlap stays filled.
  const int polygons[] = {2, 4, 2, 2, 11, 2, 11, 11, 2, 11, 4, 7, 7, 16, 7, 16, 16, 7, 16};
  Floats para = Para(target, {{2, 99}, {3, static_cast<float>(std::size(polygons))}});
  ASSERT_EQ(FillContours(target.data(), para.data(), polygons, nullptr), 0);
  EXPECT_EQ(Slice(para.data(), 5, 2), (Floats{2, 100 + 100 - 25}));
  EXPECT_EQ(target.At(0, 0), 5);
  EXPECT_EQ(target.Count(99), 175);

  Plane copy(20, 20), source(20, 20, 9);
  const int triangle[] = {1, 3, 0, 0, 19, 0, 0, 19};
  para = Para(copy, {{3, 8}});
  ASSERT_EQ(FillContours(copy.data(), para.data(), triangle, source.data()), 0);
  EXPECT_EQ(copy.At(3, 2) + copy.At(19, 19), 9);
}

class FillContoursMalformed : public ::testing::TestWithParam<std::vector<int>> {};

TEST_P(FillContoursMalformed, RefusesAndLeavesThePlaneAlone) {
  Plane target(10, 10, 3);
  const std::vector<int>& values = GetParam();
  Floats para = Para(target, {{2, 200}, {3, static_cast<float>(values.size())}});
  EXPECT_EQ(FillContours(target.data(), para.data(), values.data(), nullptr), -1);
  EXPECT_EQ(target.Count(3), 100);
}

// Negative count, empty polygon, a record running past the end, a missing second polygon,
// a wild coordinate.
INSTANTIATE_TEST_SUITE_P(Arrays, FillContoursMalformed,
                         ::testing::Values(std::vector<int>{-1}, std::vector<int>{1, 0},
                                           std::vector<int>{1, 3, 0, 0, 5, 0},
                                           std::vector<int>{2, 1, 0, 0},
                                           std::vector<int>{1, 2, 0, 0, 1 << 25, 0}));

TEST(DrawContourMask, FillsHolesAndLeavesSpecksOut) {
  Plane source(50, 50), mask(50, 50, 77);
  source.Ring({20, 20}, 10, 5).Fill(45, 45, 2, 2);
  Floats para = Para(source, {{3, 5}});
  ASSERT_EQ(DrawContourMask(mask.data(), source.data(), para.data()), 0);
  EXPECT_EQ(para[5], 1.0f);
  EXPECT_EQ(mask.At(20, 20), 255);
  EXPECT_EQ(mask.At(45, 45), 0);
  EXPECT_EQ(mask.At(0, 0), 0);
  EXPECT_EQ(para[6], static_cast<float>(mask.Count(255)));
}

// Oracle: drawing a contour from a list of only what is drawn, and filling many contours with
// cv::fillPoly, against cv::drawContours on the whole list (the reference, quadratic in the
// contour count) on planes with thousands of blobs and holes. Each contour is drawn in its own
// level over the last, so a difference in any one drawing shows.
cv::Mat Checkerboard(int rows, int cols, int cell) {
  cv::Mat plane(rows, cols, CV_8UC1);
  plane.forEach<unsigned char>(
      [cell](unsigned char& v, const int* at) { v = (at[1] / cell + at[0] / cell) % 2 ? 255 : 0; });
  return plane;
}

cv::Mat OracleBinary(bool checkerboard) {
  if (checkerboard) return Checkerboard(90, 120, 1);
  cv::Mat noise(180, 240, CV_8UC1), binary;
  cv::RNG(12).fill(noise, cv::RNG::UNIFORM, 0, 256);
  cv::threshold(noise, binary, 128, 255, cv::THRESH_BINARY);
  return binary;
}

class DrawOracle : public ::testing::TestWithParam<bool> {};

TEST_P(DrawOracle, DrawingAloneOrByFillPolyMatchesDrawingFromTheWholeList) {
  const cv::Mat binary = OracleBinary(GetParam());
  std::vector<Contour> all;
  std::vector<cv::Vec4i> hierarchy;
  FindTwoLevelContoursLiteral(binary, all, hierarchy);
  ASSERT_GT(all.size(), 2000u);
  cv::Mat reference[4], fast[4];
  for (int k = 0; k < 4; ++k)
    reference[k] = cv::Mat::zeros(binary.size(), CV_8UC1), fast[k] = reference[k].clone();
  int holes = 0;
  for (int i = 0; i < static_cast<int>(all.size()); ++i) {
    const cv::Scalar level(1 + i % 254);
    cv::drawContours(reference[0], all, i, level, cv::FILLED);
    DrawContourAlone(fast[0], all[i], level, cv::FILLED);
    cv::drawContours(reference[1], all, i, level, 2);
    DrawContourAlone(fast[1], all[i], level, 2);
    if (hierarchy[i][3] >= 0) {  // a hole, drawn with its blob
      ++holes;
      continue;
    }
    cv::drawContours(reference[2], all, i, level, cv::FILLED, cv::LINE_8, hierarchy, 1);
    FillBlobWithHoles(fast[2], all, hierarchy, i, level);
  }
  cv::drawContours(reference[3], all, -1, cv::Scalar(255), cv::FILLED, cv::LINE_8);
  FillContoursAtOnce(fast[3], all, cv::Scalar(255));
  EXPECT_GT(holes, 1000);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(cv::countNonZero(reference[k] != fast[k]), 0) << k;
}

INSTANTIATE_TEST_SUITE_P(ContourTools, DrawOracle, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Checkerboard" : "Noise"; });

// Oracle: the linear two-level listing against OpenCV's own, on random planes of four kinds
// (thresholded noise, smooth blobs, checkerboards of 1 to 3 pixel cells, drawn rings) and a
// checkerboard with tens of thousands of holes: same contours, same order, same links.
cv::Mat RandomBinary(int seed) {
  cv::RNG rng(seed);
  cv::Mat plane(rng.uniform(1, 60), rng.uniform(1, 80), CV_8UC1, cv::Scalar(0));
  const int kind = seed % 4;
  if (kind < 2) rng.fill(plane, cv::RNG::UNIFORM, 0, 256);
  if (kind == 1) cv::GaussianBlur(plane, plane, cv::Size(5, 5), 0);
  if (kind == 2) plane = Checkerboard(plane.rows, plane.cols, rng.uniform(1, 4));
  for (int i = 0; i < (kind == 3 ? 8 : 0); ++i)
    cv::circle(plane, {rng.uniform(0, plane.cols), rng.uniform(0, plane.rows)}, rng.uniform(1, 20),
               cv::Scalar(255), rng.uniform(1, 3));
  cv::threshold(plane, plane, rng.uniform(60, 200), 255, cv::THRESH_BINARY);
  return plane;
}

TEST(ContourTools, TwoLevelListingMatchesOpenCVs) {
  std::vector<cv::Mat> planes = {OracleBinary(true), OracleBinary(false)};
  for (int seed = 0; seed < 300; ++seed) planes.push_back(RandomBinary(seed));
  for (size_t i = 0; i < planes.size(); ++i) {
    std::vector<Contour> literal, fast;
    std::vector<cv::Vec4i> literalLinks, fastLinks;
    FindTwoLevelContoursLiteral(planes[i], literal, literalLinks);
    FindTwoLevelContours(planes[i], fast, fastLinks);
    EXPECT_TRUE(fast == literal) << i;  // (a mismatch would print thousands of contours)
    EXPECT_TRUE(fastLinks == literalLinks) << i;
  }
}

// Every operation refuses a null plane, a null para and a zero, negative or NaN area, and
// opens a window only when the debug switch at para[4] asks for one.
using Runner = int (*)(unsigned char* plane, float* para);
struct OperationCase {
  const char* name;
  Runner run;
};

float gResult[64];
unsigned char gPlane[64 * 64];
const int kNoPolygons[] = {0};
using U8 = unsigned char*;

const OperationCase kOperations[] = {
    {"Draw",
     [](U8 p, float* a) { return DrawContoursAllExternal(p, a, gPlane, nullptr, nullptr); }},
    {"Rings",
     [](U8 p, float* a) { return ClassifyRingContours(nullptr, nullptr, nullptr, a, nullptr, p); }},
    {"Rects", [](U8 p, float* a) { return MorphBoundingRects(p, a); }},
    {"Moments", [](U8 p, float* a) { return SegmentByMoments(p, nullptr, a, nullptr, gResult); }},
    {"Approx", [](U8 p, float* a) { return ApproxContoursDemo(p, a, nullptr, gResult); }},
    {"Enclosed", [](U8 p, float* a) { return CountEnclosedPixels(p, a, gResult); }},
    {"Outline", [](U8 p, float* a) { return CountOutlinePixels(p, a, gResult); }},
    {"Band", [](U8 p, float* a) { return MorphRingBand(nullptr, nullptr, gPlane, a, p); }},
    {"Between", [](U8 p, float* a) { return RingBetweenMasks(p, p, gPlane, a); }},
    {"Fill", [](U8 p, float* a) { return FillContours(p, a, kNoPolygons, nullptr); }},
    {"Mask", [](U8 p, float* a) { return DrawContourMask(gPlane, p, a); }},
};

class ContourOperation : public ::testing::TestWithParam<OperationCase> {};

TEST_P(ContourOperation, RefusesUnusableInputAndShowsAWindowOnlyWhenSwitchedOn) {
  const Runner run = GetParam().run;
  Plane plane(16, 16, 255);
  EXPECT_EQ(run(plane.data(), nullptr), -1);
  EXPECT_EQ(run(nullptr, Para(plane, {{3, 1}}).data()), -1);
  for (const auto& [index, value] :
       std::initializer_list<std::pair<int, float>>{{0, 0.0f}, {1, -4.0f}, {1, NAN}})
    EXPECT_EQ(run(plane.data(), Para(plane, {{3, 1}, {index, value}}).data()), -1) << value;
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  Floats para = Para(plane, {{3, 1}});
  ASSERT_EQ(run(plane.data(), para.data()), 0);
  EXPECT_TRUE(sink.Empty());
  para[4] = 1;
  ASSERT_EQ(run(plane.data(), para.data()), 0);
  ASSERT_FALSE(sink.Titles().empty());
  EXPECT_EQ(sink.Titles()[0].rfind("mat", 0), 0u);
  EXPECT_TRUE(sink.Files().empty());
}

INSTANTIATE_TEST_SUITE_P(Operations, ContourOperation, ::testing::ValuesIn(kOperations),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace imgtarn::contours
