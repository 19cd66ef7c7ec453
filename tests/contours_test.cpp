// Contour utilities on synthetic planes whose answers are known by construction.
#include "contours/contours.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "common/debug_view.hpp"

namespace imgtarn::contours {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// A host-style plane: packed bytes plus a matrix header over them for drawing.
struct Plane {
  Plane(int w, int h, unsigned char fill = 0)
      : width(w), height(h), bytes(static_cast<std::size_t>(w) * h, fill) {}
  cv::Mat Mat() { return cv::Mat(height, width, CV_8UC1, bytes.data()); }
  unsigned char* data() { return bytes.data(); }
  int At(int x, int y) const { return bytes[static_cast<std::size_t>(y) * width + x]; }
  int Count(int level) const {
    int n = 0;
    for (unsigned char v : bytes) n += v == level;
    return n;
  }
  int width, height;
  std::vector<unsigned char> bytes;
};

void FillRect(Plane* plane, int x, int y, int w, int h, int level = 255) {
  plane->Mat()(cv::Rect(x, y, w, h)).setTo(cv::Scalar(level));
}

void DrawRing(Plane* plane, cv::Point centre, int outer, int inner) {
  cv::circle(plane->Mat(), centre, outer, cv::Scalar(255), cv::FILLED);
  cv::circle(plane->Mat(), centre, inner, cv::Scalar(0), cv::FILLED);
}

// Para with width, height, threshold 0 (any non-zero sample is foreground), debug off.
std::vector<float> Para(const Plane& plane, std::size_t size = 24) {
  std::vector<float> para(size, 0.0f);
  para[0] = static_cast<float>(plane.width);
  para[1] = static_cast<float>(plane.height);
  return para;
}

TEST(DrawContoursAllExternal, OutlinesEveryBlobOverEachTargetWithItsLevel) {
  Plane source(60, 40);
  FillRect(&source, 5, 5, 10, 10);
  FillRect(&source, 30, 5, 20, 8);
  FillRect(&source, 10, 25, 6, 6);
  Plane red(60, 40, 7), blue(60, 40, 7);
  std::vector<float> para = Para(source);
  para[3] = 1;
  para[5] = 200;
  para[7] = 90;
  ASSERT_EQ(DrawContoursAllExternal(source.data(), para.data(), red.data(), nullptr, blue.data()),
            0);
  EXPECT_EQ(para[8], 3.0f);
  EXPECT_EQ(red.At(5, 5), 200);
  EXPECT_EQ(red.At(14, 9), 200);
  EXPECT_EQ(red.At(10, 10), 7);  // inside: the plane's own content stays
  EXPECT_EQ(blue.At(49, 12), 90);
  // Each 1-pixel outline of a w x h rectangle has 2 (w + h) - 4 pixels.
  EXPECT_EQ(red.Count(200), 36 + 52 + 20);
}

TEST(DrawContoursAllExternal, ThicknessGrowsTheOutlineInward) {
  Plane source(30, 30);
  FillRect(&source, 5, 5, 20, 20);
  Plane target(30, 30);
  std::vector<float> para = Para(source);
  para[3] = 3;
  para[5] = 255;
  ASSERT_EQ(DrawContoursAllExternal(source.data(), para.data(), target.data(), nullptr, nullptr),
            0);
  EXPECT_EQ(target.At(6, 15), 255);
  EXPECT_EQ(target.At(8, 15), 0);
}

TEST(ClassifyRingContours, SortsRingsSolidsAndMultiHoleBlobs) {
  Plane source(120, 80);
  DrawRing(&source, {20, 20}, 12, 6);
  DrawRing(&source, {90, 60}, 10, 4);
  cv::circle(source.Mat(), {60, 20}, 8, cv::Scalar(255), cv::FILLED);
  FillRect(&source, 10, 50, 30, 20);
  source.Mat().at<unsigned char>(60, 25) = 0;  // a pin hole, below the minimum hole area
  FillRect(&source, 50, 45, 25, 25);
  FillRect(&source, 54, 50, 5, 5, 0);
  FillRect(&source, 65, 50, 5, 5, 0);
  std::vector<float> para = Para(source);
  para[5] = 4;  // holes need an outline area of at least 4 pixels
  para[6] = 2;
  para[7] = 1;  // room for one solid only
  Plane rings(120, 80), solids(120, 80);
  float ringEntries[8] = {}, solidEntries[8];
  std::fill(std::begin(solidEntries), std::end(solidEntries), -5.0f);
  ASSERT_EQ(ClassifyRingContours(rings.data(), solids.data(), solidEntries, para.data(),
                                 ringEntries, source.data()),
            0);
  EXPECT_EQ(para[8], 2.0f);
  EXPECT_EQ(para[9], 2.0f);
  EXPECT_EQ(para[10], 1.0f);
  // Raster order: the ring at the top first.
  EXPECT_NEAR(ringEntries[0], 20.0f, 0.01f);
  EXPECT_NEAR(ringEntries[1], 20.0f, 0.01f);
  EXPECT_NEAR(ringEntries[3], M_PI * 36, 20.0);  // hole area
  EXPECT_NEAR(ringEntries[4], 90.0f, 0.01f);
  EXPECT_NEAR(ringEntries[5], 60.0f, 0.01f);
  EXPECT_NEAR(solidEntries[0], 60.0f, 0.01f);
  EXPECT_EQ(solidEntries[3], 0.0f);
  EXPECT_EQ(solidEntries[4], -5.0f);  // capacity 1: nothing past the first entry
  EXPECT_EQ(rings.At(20, 20), 0);     // the bore is not part of the ring
  EXPECT_EQ(rings.At(20, 10), 255);
  EXPECT_EQ(solids.At(60, 20), 255);
  EXPECT_EQ(solids.At(60, 55), 0);  // the two-hole blob is in neither mask
}

TEST(ClassifyRingContours, SmallBlobsAreIgnored) {
  Plane source(40, 40);
  DrawRing(&source, {20, 20}, 10, 4);
  FillRect(&source, 2, 2, 2, 2);
  std::vector<float> para = Para(source);
  para[3] = 10;
  ASSERT_EQ(ClassifyRingContours(nullptr, nullptr, nullptr, para.data(), nullptr, source.data()),
            0);
  EXPECT_EQ(para[8], 1.0f);
  EXPECT_EQ(para[9], 0.0f);
}

TEST(MorphBoundingRects, OpeningDropsSpecksAndClosingJoinsSplitBlobs) {
  Plane source(50, 40);
  FillRect(&source, 5, 5, 10, 12);
  FillRect(&source, 25, 10, 8, 20);
  FillRect(&source, 28, 10, 1, 20, 0);           // splits the second blob by one column
  source.Mat().at<unsigned char>(35, 45) = 255;  // a speck
  std::vector<float> para = Para(source, 8 + 4 * 3);
  para[6] = 3;
  ASSERT_EQ(MorphBoundingRects(source.data(), para.data()), 0);
  EXPECT_EQ(para[7], 4.0f);  // no morphology: the split halves and the speck count

  para[3] = 1;
  para[5] = 1;
  ASSERT_EQ(MorphBoundingRects(source.data(), para.data()), 0);
  ASSERT_EQ(para[7], 2.0f);
  const float expected[8] = {5, 5, 10, 12, 25, 10, 8, 20};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(para[8 + i], expected[i]) << i;
}

TEST(MorphBoundingRects, WritesNoMoreRectanglesThanTheCapacity) {
  Plane source(50, 10);
  for (int i = 0; i < 5; ++i) FillRect(&source, 2 + 10 * i, 2, 4, 4);
  std::vector<float> para = Para(source, 8 + 4 * 3);
  para[6] = 2;
  para[16] = -3;
  ASSERT_EQ(MorphBoundingRects(source.data(), para.data()), 0);
  EXPECT_EQ(para[7], 5.0f);
  EXPECT_EQ(para[12], 12.0f);  // second rectangle x
  EXPECT_EQ(para[16], -3.0f);
}

TEST(SegmentByMoments, ReportsPixelAreaAndCentroidOfEachBlob) {
  Plane source(80, 60);
  FillRect(&source, 10, 10, 10, 20);  // area 200, centre (14.5, 19.5)
  FillRect(&source, 40, 5, 30, 30);   // with a 10 x 10 hole: area 800
  FillRect(&source, 50, 15, 10, 10, 0);
  FillRect(&source, 5, 50, 2, 2);  // area 4, below the minimum
  std::vector<float> para = Para(source);
  para[3] = 10;
  para[5] = 4;
  float result[13] = {};
  Plane labels(80, 60);
  ASSERT_EQ(SegmentByMoments(source.data(), nullptr, para.data(), labels.data(), result), 0);
  EXPECT_EQ(result[0], 2.0f);
  // Raster order: the 30 x 30 blob starts higher.
  EXPECT_EQ(result[1], 800.0f);
  EXPECT_NEAR(result[2], 54.5f, 1e-4);
  EXPECT_NEAR(result[3], 19.5f, 1e-4);
  EXPECT_EQ(result[4], 200.0f);
  EXPECT_NEAR(result[5], 14.5f, 1e-4);
  EXPECT_NEAR(result[6], 19.5f, 1e-4);
  EXPECT_EQ(labels.At(41, 6), 1);
  EXPECT_EQ(labels.At(55, 20), 0);  // hole
  EXPECT_EQ(labels.At(15, 15), 2);
  EXPECT_EQ(labels.At(5, 50), 0);  // dropped by the minimum area
}

TEST(SegmentByMoments, RegionMaskCutsBlobs) {
  Plane source(40, 20);
  FillRect(&source, 0, 0, 40, 20);
  Plane mask(40, 20);
  FillRect(&mask, 10, 5, 10, 4);
  std::vector<float> para = Para(source);
  para[5] = 1;
  float result[4] = {};
  ASSERT_EQ(SegmentByMoments(source.data(), mask.data(), para.data(), nullptr, result), 0);
  EXPECT_EQ(result[0], 1.0f);
  EXPECT_EQ(result[1], 40.0f);
  EXPECT_NEAR(result[2], 14.5f, 1e-4);
  EXPECT_NEAR(result[3], 6.5f, 1e-4);
}

TEST(ApproxContoursDemo, VertexCountsTellShapesApart) {
  Plane source(120, 50);
  const std::vector<std::vector<cv::Point>> triangle{{{5, 40}, {25, 5}, {45, 40}}};
  cv::fillPoly(source.Mat(), triangle, cv::Scalar(255));
  FillRect(&source, 55, 8, 20, 30);
  cv::circle(source.Mat(), {98, 28}, 20, cv::Scalar(255), cv::FILLED);
  std::vector<float> para = Para(source);
  para[3] = 2.0f;
  para[5] = 3;
  float result[4] = {};
  Plane drawing(120, 50, 9);
  ASSERT_EQ(ApproxContoursDemo(source.data(), para.data(), drawing.data(), result), 0);
  EXPECT_EQ(result[0], 3.0f);
  EXPECT_EQ(result[1], 3.0f);  // raster order: apex row 5, then row 8 left to right
  EXPECT_EQ(result[2], 4.0f);
  EXPECT_GT(result[3], 5.0f);
  EXPECT_EQ(drawing.At(55, 20), 255);  // on the rectangle's polygon
  EXPECT_EQ(drawing.At(65, 20), 0);    // the drawing starts from black
}

TEST(ApproxContoursDemo, NegativeOrNaNToleranceKeepsCorners) {
  Plane source(30, 30);
  FillRect(&source, 5, 5, 20, 20);
  for (float epsilon : {-1.0f, kNaN}) {
    std::vector<float> para = Para(source);
    para[3] = epsilon;
    para[5] = 1;
    float result[2] = {};
    ASSERT_EQ(ApproxContoursDemo(source.data(), para.data(), nullptr, result), 0);
    EXPECT_EQ(result[1], 4.0f);
  }
}

TEST(CountContourPixels, EnclosedPixelsIncludeHolesAndOutlinePixelsTraceTheEdge) {
  Plane source(60, 40);
  FillRect(&source, 5, 5, 10, 20);
  FillRect(&source, 30, 10, 20, 20);
  FillRect(&source, 35, 15, 10, 10, 0);
  std::vector<float> para = Para(source);
  para[5] = 2;
  float enclosed[4] = {}, outline[4] = {};
  ASSERT_EQ(CountEnclosedPixels(source.data(), para.data(), enclosed), 0);
  ASSERT_EQ(CountOutlinePixels(source.data(), para.data(), outline), 0);
  EXPECT_EQ(enclosed[0], 600.0f);
  EXPECT_EQ(enclosed[1], 2.0f);
  EXPECT_EQ(enclosed[2], 200.0f);
  EXPECT_EQ(enclosed[3], 400.0f);
  EXPECT_EQ(outline[0], 56.0f + 76.0f);
  EXPECT_EQ(outline[2], 56.0f);
  EXPECT_EQ(outline[3], 76.0f);
}

TEST(MorphRing, BandSplitsIntoOuterAndInnerRings) {
  Plane source(40, 40);
  FillRect(&source, 10, 10, 20, 20);
  std::vector<float> para = Para(source);
  para[3] = 2;
  Plane inner(40, 40), outer(40, 40), band(40, 40);
  ASSERT_EQ(MorphRingBand(inner.data(), outer.data(), band.data(), para.data(), source.data()), 0);
  // Erosion by the 5 x 5 disc leaves the central 16 x 16 square.
  EXPECT_EQ(para[7], 400.0f - 256.0f);
  EXPECT_EQ(para[5], para[6] + para[7]);
  EXPECT_EQ(inner.Count(255), 144);
  EXPECT_EQ(outer.At(9, 20), 255);
  EXPECT_EQ(outer.At(10, 20), 0);
  EXPECT_EQ(inner.At(10, 20), 255);
  EXPECT_EQ(band.At(9, 20), 255);
  EXPECT_EQ(band.At(20, 20), 0);
}

TEST(MorphRing, NoRingAlongThePlaneBorder) {
  Plane source(40, 40);
  FillRect(&source, 0, 0, 20, 40);
  std::vector<float> para = Para(source);
  para[3] = 1;
  Plane band(40, 40);
  ASSERT_EQ(MorphRingBand(nullptr, nullptr, band.data(), para.data(), source.data()), 0);
  EXPECT_EQ(band.At(0, 20), 0);
  EXPECT_EQ(band.At(19, 0), 255);
  EXPECT_EQ(para[5], 40.0f * 2);
}

TEST(MorphRing, RingBetweenMasksDropsSliversNarrowerThanTheDisc) {
  Plane pad(40, 40), paste(40, 40);
  FillRect(&pad, 5, 5, 30, 30);
  FillRect(&paste, 6, 5, 29, 20);  // leaves a 1-column sliver and a 10-row band uncovered
  std::vector<float> para = Para(pad);
  Plane ring(40, 40);
  ASSERT_EQ(RingBetweenMasks(pad.data(), paste.data(), ring.data(), para.data()), 0);
  EXPECT_EQ(para[5], 20.0f + 300.0f);
  EXPECT_EQ(para[6], 1.0f);
  para[3] = 1;
  ASSERT_EQ(RingBetweenMasks(pad.data(), paste.data(), ring.data(), para.data()), 0);
  EXPECT_EQ(para[5], 300.0f - 4.0f);  // the sliver is gone, and the band's corners
  EXPECT_EQ(ring.At(5, 10), 0);
  EXPECT_EQ(ring.At(20, 30), 255);
}

TEST(FillContours, FillsEachPolygonWithTheLevel) {
  Plane target(30, 30, 5);
  // Two overlapping squares: the overlap stays filled.
  const int polygons[] = {2, 4, 2, 2, 11, 2, 11, 11, 2, 11, 4, 7, 7, 16, 7, 16, 16, 7, 16};
  std::vector<float> para = Para(target);
  para[2] = 99;
  para[3] = static_cast<float>(std::size(polygons));
  ASSERT_EQ(FillContours(target.data(), para.data(), polygons, nullptr), 0);
  EXPECT_EQ(para[5], 2.0f);
  EXPECT_EQ(para[6], 100.0f + 100.0f - 25.0f);
  EXPECT_EQ(target.At(9, 9), 99);
  EXPECT_EQ(target.At(0, 0), 5);
  EXPECT_EQ(target.Count(99), 175);
}

TEST(FillContours, CopiesTheSourceInsideThePolygons) {
  Plane target(20, 20), source(20, 20);
  for (int i = 0; i < 400; ++i) source.bytes[i] = static_cast<unsigned char>(i % 251);
  const int polygon[] = {1, 3, 0, 0, 19, 0, 0, 19};
  std::vector<float> para = Para(target);
  para[3] = 8;
  ASSERT_EQ(FillContours(target.data(), para.data(), polygon, source.data()), 0);
  EXPECT_EQ(target.At(3, 2), source.At(3, 2));
  EXPECT_EQ(target.At(19, 19), 0);
}

class FillContoursMalformed : public ::testing::TestWithParam<std::vector<int>> {};

TEST_P(FillContoursMalformed, RefusesAndLeavesThePlaneAlone) {
  Plane target(10, 10, 3);
  const std::vector<int>& values = GetParam();
  std::vector<float> para = Para(target);
  para[2] = 200;
  para[3] = static_cast<float>(values.size());
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
  Plane source(50, 50);
  DrawRing(&source, {20, 20}, 10, 5);
  FillRect(&source, 45, 45, 2, 2);
  std::vector<float> para = Para(source);
  para[3] = 5;
  Plane mask(50, 50, 77);
  ASSERT_EQ(DrawContourMask(mask.data(), source.data(), para.data()), 0);
  EXPECT_EQ(para[5], 1.0f);
  EXPECT_EQ(mask.At(20, 20), 255);
  EXPECT_EQ(mask.At(45, 45), 0);
  EXPECT_EQ(mask.At(0, 0), 0);
  EXPECT_EQ(para[6], static_cast<float>(mask.Count(255)));
}

// Every operation refuses a null plane and a zero area, writing nothing.
using Runner = int (*)(unsigned char* plane, float* para);
struct RefusalCase {
  const char* name;
  Runner run;
};

float gResult[64];
unsigned char gPlane[64 * 64];

const RefusalCase kRefusals[] = {
    {"Draw",
     [](unsigned char* p, float* para) {
       return DrawContoursAllExternal(p, para, gPlane, nullptr, nullptr);
     }},
    {"Rings",
     [](unsigned char* p, float* para) {
       return ClassifyRingContours(nullptr, nullptr, nullptr, para, nullptr, p);
     }},
    {"Rects", [](unsigned char* p, float* para) { return MorphBoundingRects(p, para); }},
    {"Moments", [](unsigned char* p,
                   float* para) { return SegmentByMoments(p, nullptr, para, nullptr, gResult); }},
    {"Approx",
     [](unsigned char* p, float* para) { return ApproxContoursDemo(p, para, nullptr, gResult); }},
    {"Enclosed",
     [](unsigned char* p, float* para) { return CountEnclosedPixels(p, para, gResult); }},
    {"Outline", [](unsigned char* p, float* para) { return CountOutlinePixels(p, para, gResult); }},
    {"Band", [](unsigned char* p,
                float* para) { return MorphRingBand(nullptr, nullptr, gPlane, para, p); }},
    {"Between", [](unsigned char* p, float* para) { return RingBetweenMasks(p, p, gPlane, para); }},
    {"Fill",
     [](unsigned char* p, float* para) {
       static const int none[] = {0};
       return FillContours(p, para, none, nullptr);
     }},
    {"Mask", [](unsigned char* p, float* para) { return DrawContourMask(gPlane, p, para); }},
};

class ContourRefusal : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(ContourRefusal, NullPlaneOrZeroAreaGivesMinusOne) {
  std::vector<unsigned char> plane(16 * 16, 255);
  std::vector<float> para(24, 0.0f);
  para[0] = 16;
  para[1] = 16;
  para[3] = 1;
  EXPECT_EQ(GetParam().run(nullptr, para.data()), -1);
  para[0] = 0;
  EXPECT_EQ(GetParam().run(plane.data(), para.data()), -1);
  para[0] = 16;
  para[1] = -4;
  EXPECT_EQ(GetParam().run(plane.data(), para.data()), -1);
  para[1] = kNaN;
  EXPECT_EQ(GetParam().run(plane.data(), para.data()), -1);
  para[1] = 16;
  EXPECT_EQ(GetParam().run(plane.data(), para.data()), 0);
  EXPECT_EQ(GetParam().run(plane.data(), nullptr), -1);
}

// The debug switch at para[4] is the only way to a window.
TEST_P(ContourRefusal, DebugWindowOnlyWhenSwitchedOn) {
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  std::vector<unsigned char> plane(16 * 16, 255);
  std::vector<float> para(24, 0.0f);
  para[0] = 16;
  para[1] = 16;
  para[3] = 1;
  ASSERT_EQ(GetParam().run(plane.data(), para.data()), 0);
  EXPECT_TRUE(sink.Empty());
  para[4] = 1;
  ASSERT_EQ(GetParam().run(plane.data(), para.data()), 0);
  ASSERT_FALSE(sink.Titles().empty());
  EXPECT_EQ(sink.Titles()[0].rfind("mat", 0), 0u);
  EXPECT_TRUE(sink.Files().empty());
}

INSTANTIATE_TEST_SUITE_P(Operations, ContourRefusal, ::testing::ValuesIn(kRefusals),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace imgtarn::contours
