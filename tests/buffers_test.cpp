// Buffer utilities: black holes, gain/offset, dominant levels, float median, resizing,
// flat-field calibration and counting sort.
#include <algorithm>
#include <climits>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "buffers/buffers.hpp"
#include "buffers/para_f.hpp"

namespace {

using namespace imgtarn::buffers;
using Bytes = std::vector<unsigned char>;

// ---- Black holes ------------------------------------------------------------------------------

struct ColourImage {
  int w, h;
  Bytes r, g, b;
  ColourImage(int width, int height) : w(width), h(height), r(w * h), g(w * h), b(w * h) {}
  void Set(int x, int y, int vr, int vg, int vb) {
    r[y * w + x] = vr, g[y * w + x] = vg, b[y * w + x] = vb;
  }
  void Fill(int x0, int y0, int x1, int y1, int vr, int vg, int vb) {  // inclusive corners
    for (int y = y0; y <= y1; ++y)
      for (int x = x0; x <= x1; ++x) Set(x, y, vr, vg, vb);
  }
  std::vector<int> At(int x, int y) const { return {r[y * w + x], g[y * w + x], b[y * w + x]}; }
  int Run(float threads, Bytes& o5, Bytes& o6, Bytes& o7, int rr = 100, int rg = 150,
          int rb = 200) {
    float para[6] = {float(w), float(h), float(rr), float(rg), float(rb), threads};
    o5.assign(w * h, 77), o6.assign(w * h, 77), o7.assign(w * h, 77);
    return FillBlackHoles(r.data(), g.data(), b.data(), para, o5.data(), o6.data(), o7.data());
  }
};

const std::vector<int> kRef = {100, 150, 200}, kBlack = {0, 0, 0};

TEST(FillBlackHoles, WithoutReferenceColourChangesNothingAndCopies) {
  ColourImage img(30, 25);
  img.Fill(0, 0, 29, 24, 60, 60, 60);
  img.Fill(5, 5, 9, 9, 0, 0, 0);
  const ColourImage before = img;
  Bytes o5, o6, o7;
  EXPECT_EQ(img.Run(0, o5, o6, o7), 0);
  EXPECT_EQ(img.r, before.r);
  EXPECT_EQ(o5, img.r);
  EXPECT_EQ(o6, img.g);
  EXPECT_EQ(o7, img.b);
}

// The box of a 40 x 40 image is found from every second row and column; its last row and
// column are exclusive. Parameterised over the thread count.
class FillBlackHolesBox : public ::testing::TestWithParam<float> {};

TEST_P(FillBlackHolesBox, PaintsBlackInsideTheBoxOnly) {
  const int saved = cv::getNumThreads();
  ColourImage img(40, 40);
  img.Fill(8, 10, 31, 29, 100, 150, 200);
  img.Fill(12, 14, 15, 17, 0, 0, 0);  // hole inside
  img.Set(20, 29, 0, 0, 0);           // on the last row of the box
  img.Set(31, 20, 0, 0, 0);           // on the last column
  img.Set(2, 2, 0, 0, 0);             // outside
  img.Set(20, 20, 5, 5, 5);           // black enough
  img.Set(21, 20, 5, 5, 6);           // not black
  Bytes o5, o6, o7;
  EXPECT_EQ(img.Run(GetParam(), o5, o6, o7), 0);
  EXPECT_EQ(img.At(12, 14), kRef);
  EXPECT_EQ(img.At(15, 17), kRef);
  EXPECT_EQ(img.At(20, 20), kRef);
  EXPECT_EQ(img.At(21, 20), (std::vector<int>{5, 5, 6}));
  EXPECT_EQ(img.At(20, 29), kBlack);
  EXPECT_EQ(img.At(31, 20), kBlack);
  EXPECT_EQ(img.At(2, 2), kBlack);
  EXPECT_EQ(o5, img.r);
  EXPECT_EQ(o6, img.g);
  EXPECT_EQ(o7, img.b);
  if (GetParam() == 0) {
    EXPECT_EQ(cv::getNumThreads(), saved);
  } else if (GetParam() == 2) {
    EXPECT_EQ(cv::getNumThreads(), 2);
  }
  cv::setNumThreads(saved);
}

INSTANTIATE_TEST_SUITE_P(Threads, FillBlackHolesBox, ::testing::Values(0.0f, 1.0f, 2.0f));

TEST(FillBlackHoles, NarrowAndLowPlanesTerminateAndScanEverySample) {
  for (const auto& [w, h] : std::vector<std::pair<int, int>>{{7, 3}, {1, 30}, {30, 1}, {19, 19}}) {
    ColourImage img(w, h);
    img.Fill(0, 0, w - 1, h - 1, 100, 150, 200);
    if (w >= 3 && h >= 3) img.Set(1, 1, 0, 0, 0);
    Bytes o5, o6, o7;
    EXPECT_EQ(img.Run(0, o5, o6, o7), 0);
    if (w >= 3 && h >= 3) {
      EXPECT_EQ(img.At(1, 1), kRef) << w << "x" << h;
    }
  }
}

TEST(FillBlackHoles, NearBlackReferenceSpansTheBlackAreaItself) {
  ColourImage img(40, 40);
  img.Fill(0, 0, 39, 39, 90, 90, 90);
  img.Fill(10, 10, 29, 29, 0, 0, 0);
  Bytes o5, o6, o7;
  img.Run(0, o5, o6, o7, 3, 3, 3);
  EXPECT_EQ(img.At(10, 10), (std::vector<int>{3, 3, 3}));
  EXPECT_EQ(img.At(28, 28), (std::vector<int>{3, 3, 3}));
  EXPECT_EQ(img.At(29, 29), kBlack);  // last row and column of the box
}

TEST(FillBlackHoles, ReferenceValuesKeepTheirLowByte) {
  ColourImage img(20, 20);
  img.Fill(0, 0, 19, 19, 44, 150, 200);
  img.Set(5, 5, 0, 0, 0);
  Bytes o5, o6, o7;
  img.Run(0, o5, o6, o7, 300, 150, 200);  // 300 & 0xFF = 44
  EXPECT_EQ(img.At(5, 5), (std::vector<int>{44, 150, 200}));
}

class ParallelRoutineKinds : public ::testing::TestWithParam<int> {};

TEST_P(ParallelRoutineKinds, RefuseAnythingButPlainMatricesWithOpenCvsAssertion) {
  cv::Mat plane(4, 4, CV_8UC1, cv::Scalar(0));
  std::vector<unsigned char> notAMatrix(16, 0);
  const unsigned char colour[3] = {1, 2, 3};
  int work[5] = {0, 4, 0, 4, 0};
  const char* texts[3] = {"_srcR.kind() == _InputArray::MAT", "_srcG.kind() == _InputArray::MAT",
                          "_srcB.kind() == _InputArray::MAT"};
  const int which = GetParam();
  try {
    cv::parallelTestWithParallel_for_2(which == 0 ? cv::_InputArray(notAMatrix) : plane,
                                       which == 1 ? cv::_InputArray(notAMatrix) : plane,
                                       which == 2 ? cv::_InputArray(notAMatrix) : plane, colour,
                                       work);
    FAIL() << "no exception";
  } catch (const cv::Exception& e) {
    EXPECT_EQ(e.code, -215);
    EXPECT_EQ(e.err, texts[which]);
    EXPECT_EQ(e.func, "cv::parallelTestWithParallel_for_2");
  }
  EXPECT_EQ(cv::countNonZero(plane), 0);
}

INSTANTIATE_TEST_SUITE_P(Inputs, ParallelRoutineKinds, ::testing::Values(0, 1, 2));

// ---- Gain and offset, dominant levels ---------------------------------------------------------

struct GainCase {
  unsigned char src;
  float gain, offset;
  int expected;
};
class GainOffsetCases : public ::testing::TestWithParam<GainCase> {};

TEST_P(GainOffsetCases, TruncateAndKeepTheLowByte) {
  const GainCase c = GetParam();
  unsigned char src = c.src, dst = 99;
  float coefficients[2] = {c.offset, c.gain};
  ApplyGainOffset(&src, coefficients, 1, &dst);
  EXPECT_EQ(dst, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Samples, GainOffsetCases,
                         ::testing::Values(GainCase{100, 1.5f, 10, 160}, GainCase{100, 3.0f, 0, 44},
                                           GainCase{0, 1.0f, -0.5f, 0}, GainCase{1, -1.0f, 0, 255},
                                           GainCase{255, 1.0f, 1, 0},
                                           GainCase{10, 1.0f, -11.5f, 255},
                                           GainCase{10, NAN, 0, 0}));

TEST(ApplyGainOffset, EveryCountGivesThePerSampleResultAndStopsAtN) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> coef(-300, 300);
  for (int n = 0; n <= 9; ++n) {
    Bytes src(n), dst(n + 1, 123);
    std::vector<float> table(2 * n);
    for (auto& s : src) s = rng() & 0xFF;
    for (auto& t : table) t = coef(rng) / 100;
    ApplyGainOffset(src.data(), table.data(), n, dst.data());
    for (int i = 0; i < n; ++i) {
      const long long v = static_cast<long long>(float(src[i]) * table[n + i] + table[i]);
      EXPECT_EQ(dst[i], static_cast<unsigned char>(v & 0xFF)) << n << " " << i;
    }
    EXPECT_EQ(dst[n], 123);
  }
  Bytes dst(4, 9);
  float table[8] = {};
  ApplyGainOffset(nullptr, table, 4, dst.data());
  EXPECT_EQ(dst, Bytes(4, 9));
}

TEST(FindDominantLevels, SkipsTheDarkAndBrightEndsAndPrefersTheLowerLevelOnTies) {
  const int w = 101, h = 2;
  Bytes allZero(w * h, 0), darkAnd120(w * h, 3), tie(w * h, 255), bright(w * h, 250);
  darkAnd120[7] = 120;
  std::fill(tie.begin(), tie.begin() + 60, 40);
  std::fill(tie.begin() + 60, tie.begin() + 120, 200);
  bright[0] = 255;
  unsigned char levels[3] = {9, 9, 9};
  EXPECT_EQ(FindDominantLevels(allZero.data(), darkAnd120.data(), tie.data(), w, h, levels), 0);
  EXPECT_EQ(levels[0], 0);
  EXPECT_EQ(levels[1], 120);
  EXPECT_EQ(levels[2], 40);
  FindDominantLevels(bright.data(), tie.data(), allZero.data(), w, h, levels);
  EXPECT_EQ(levels[0], 0);
  EXPECT_EQ(levels[1], 40);
}

// ---- Float median -----------------------------------------------------------------------------

// The test's own median: gather, sort (with the arithmetic exchange unless `plainSort`), pick.
float OracleMedian(const cv::Mat& src, int y, int x, int half, float lo, float hi, bool limited,
                   int rule, bool plainSort = false) {
  std::vector<float> v;
  for (int wy = y - half; wy <= y + half; ++wy) {
    for (int wx = x - half; wx <= x + half; ++wx) {
      if (wy < 0 || wx < 0 || wy >= src.rows || wx >= src.cols) continue;
      const float s = src.at<float>(wy, wx);
      if (!limited || (s > lo && s < hi)) v.push_back(s);
    }
  }
  if (v.empty()) return lo;
  if (plainSort) std::sort(v.begin(), v.end());
  for (size_t pass = 0; pass < v.size(); ++pass) {
    for (size_t i = 0; i + 1 < v.size(); ++i) {
      if (v[i] > v[i + 1]) v[i] += v[i + 1], v[i + 1] = v[i] - v[i + 1], v[i] -= v[i + 1];
    }
  }
  const size_t n = v.size();
  if (n % 2) return v[n / 2];
  return rule == 0 ? v[n / 2 - 1] : rule == 1 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) * 0.5f;
}

TEST(ExchangeSort, ItsArithmeticSwapRoundsWidelyDifferentMagnitudes) {
  std::vector<float> v = {1e8f, 1.0f, 3.0f};
  ExchangeSortLiteral(v);
  EXPECT_EQ(v, (std::vector<float>{0.0f, 0.0f, 1e8f}));
  std::vector<float> plain = {4, -1, 2.5f, 2.5f, 0};
  ExchangeSortLiteral(plain);
  EXPECT_EQ(plain, (std::vector<float>{-1, 0, 2.5f, 2.5f, 4}));
}

struct MedianCase {
  int window;
  float evenRule, limitSwitch;
};
class MedianOracle : public ::testing::TestWithParam<MedianCase> {};

TEST_P(MedianOracle, MatchesTheOracleOnRandomPlanesWithMixedMagnitudes) {
  const MedianCase c = GetParam();
  std::mt19937 rng(c.window * 31 + 5);
  std::uniform_real_distribution<float> small(-20, 120);
  const int w = 13, h = 9;
  std::vector<float> plane(w * h);
  for (auto& s : plane) s = (rng() % 6 == 0) ? small(rng) * 1e7f : small(rng);
  const std::vector<float> original = plane;
  std::vector<float> second(w * h, -1);
  float para[8] = {0,      float(w), float(h),   float(c.window),
                   -10.7f, 100.9f,   c.evenRule, c.limitSwitch};
  MedianFilterFloatPlane(plane.data(), second.data(), para);
  EXPECT_EQ(second, original);
  const cv::Mat src(h, w, CV_32FC1, const_cast<float*>(original.data()));
  const int rule = std::fabs(c.evenRule) < 0.001 ? 0 : std::fabs(c.evenRule - 1) < 0.001 ? 1 : 2;
  const int half = (c.window - 1) / 2;
  const bool limited = std::fabs(c.limitSwitch) <= 0.001;
  int rounded = 0;  // samples where a plain sort would have given another median
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      ASSERT_EQ(plane[y * w + x], OracleMedian(src, y, x, half, -10, 100, limited, rule))
          << x << "," << y;
      rounded += plane[y * w + x] != OracleMedian(src, y, x, half, -10, 100, limited, rule, true);
    }
  }
  if (!limited && c.window >= 3) {
    EXPECT_GT(rounded, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Windows, MedianOracle,
                         ::testing::Values(MedianCase{1, 0, 1}, MedianCase{1, 0, 0},
                                           MedianCase{3, 0, 1}, MedianCase{3, 1, 0},
                                           MedianCase{3, 2, 1}, MedianCase{4, 1, 1},
                                           MedianCase{5, 0.5f, 0}, MedianCase{7, 0, 0.0005f}));

class MedianEvenRule : public ::testing::TestWithParam<std::pair<float, float>> {};

TEST_P(MedianEvenRule, FourCornerValuesGiveTheChosenMiddle) {
  float plane[4] = {4, 1, 3, 2}, second[4];
  float para[8] = {0, 2, 2, 3, 0, 100, GetParam().first, 1};
  MedianFilterFloatPlane(plane, second, para);
  for (float v : plane) EXPECT_EQ(v, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Rules, MedianEvenRule,
                         ::testing::Values(std::pair{0.0f, 2.0f}, std::pair{0.0005f, 2.0f},
                                           std::pair{1.0f, 3.0f}, std::pair{0.9995f, 3.0f},
                                           std::pair{2.0f, 2.5f}, std::pair{0.5f, 2.5f}));

TEST(MedianFilter, LimitsKeepOutTheBoundsAndAnEmptyWindowGivesTheLowerLimit) {
  float plane[3] = {0, 50, 100}, second[3];
  float para[8] = {0, 3, 1, 5, 0.9f, 100.2f, 0, 0};  // L = 0, U = 100 after truncation
  MedianFilterFloatPlane(plane, second, para);
  for (float v : plane) EXPECT_EQ(v, 50.0f);
  float outside[3] = {-5, 100, 300};
  MedianFilterFloatPlane(outside, second, para);
  for (float v : outside) EXPECT_EQ(v, 0.0f);
  float negative[3] = {1, 2, 3};
  para[3] = -1;
  para[4] = 7;
  para[7] = 1;
  MedianFilterFloatPlane(negative, second, para);
  for (float v : negative) EXPECT_EQ(v, 7.0f);
}

// ---- Resizing ---------------------------------------------------------------------------------

class ResizeInterpolation : public ::testing::TestWithParam<std::pair<float, int>> {};

TEST_P(ResizeInterpolation, ResultsLandInTheCallersPlanes) {
  const int sw = 64, sh = 48, dw = 27, dh = 19;
  cv::Mat src[3];
  Bytes dst[3];
  for (int i = 0; i < 3; ++i) {
    src[i].create(sh, sw, CV_8UC1);
    cv::randu(src[i], 0, 256);
    dst[i].assign(dw * dh, 0);
  }
  float para[5] = {sw, sh, dw, dh, GetParam().first};
  ResizePlanes(src[0].data, src[1].data, src[2].data, dst[0].data(), dst[1].data(), dst[2].data(),
               para);
  for (int i = 0; i < 3; ++i) {
    cv::Mat expected;
    cv::resize(src[i], expected, cv::Size(dw, dh), 0, 0, GetParam().second);
    EXPECT_EQ(Bytes(expected.datastart, expected.dataend), dst[i]) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, ResizeInterpolation,
                         ::testing::Values(std::pair{0.0f, int(cv::INTER_LINEAR)},
                                           std::pair{1.0f, int(cv::INTER_CUBIC)},
                                           std::pair{2.0f, int(cv::INTER_LINEAR)}));

TEST(ResizePlanes, DestinationBelowOneIsRefusedUntouched) {
  Bytes src(16, 1), dst(16, 9);
  for (auto [dw, dh] : {std::pair{0.0f, 4.0f}, std::pair{4.0f, 0.9f}, std::pair{-3.0f, 4.0f}}) {
    float para[5] = {4, 4, dw, dh, 0};
    EXPECT_EQ(
        ResizePlanes(src.data(), src.data(), src.data(), dst.data(), dst.data(), dst.data(), para),
        -1);
  }
  EXPECT_EQ(dst, Bytes(16, 9));
}

// ---- Flat field -------------------------------------------------------------------------------

TEST(FlatField, EvenWindowReturnsAtOnceWithAFiveOfZero) {
  for (float k : {4.0f, 0.0f, -2.0f}) {
    Bytes stack(6 * 4, 50);
    float para[10] = {0, 1, 2, 2, k, 2, 0, 100, 200, 1};
    std::vector<float> coefficients(12, -3);
    int a5 = 7;
    EXPECT_EQ(ComputeFlatFieldCoefficients(stack.data(), para, 0, coefficients.data(), &a5), 0);
    EXPECT_EQ(a5, 0);
    EXPECT_EQ(coefficients, std::vector<float>(12, -3));
  }
}

// The test's own filter: accepted-sample mean of the clipped window, or the truncated mean.
float OracleFiltered(const cv::Mat& img, int y, int x, const FlatFieldParams& p, float mean) {
  long long sum = 0;
  int count = 0;
  const int half = (p.window - 1) / 2;
  for (int wy = y - half; wy <= y + half; ++wy) {
    for (int wx = x - half; wx <= x + half; ++wx) {
      if (wy < 0 || wx < 0 || wy >= img.rows || wx >= img.cols) continue;
      const float s = img.at<unsigned char>(wy, wx);
      if (s > mean * p.acceptLow && s < mean * p.acceptHigh) sum += (int)s, ++count;
    }
  }
  if (count < p.minCount) return float(int(mean) & 255);
  if (count == 0) return 0.0f;
  return float(int(std::floor(double(sum) / count)) & 255);
}

class FlatFieldFilter : public ::testing::TestWithParam<FlatFieldParams> {};

TEST_P(FlatFieldFilter, MatchesTheOracleOnRandomImages) {
  const FlatFieldParams p = GetParam();
  cv::Mat img(p.height, p.width, CV_8UC1);
  cv::randu(img, 0, 256);
  img(cv::Rect(0, 0, 4, 3)).setTo(0);
  const float mean = SampleMean(img);
  EXPECT_EQ(mean, float(cv::sum(img)[0]) / float(img.total()));
  cv::Mat filtered(img.size(), CV_32FC1, cv::Scalar(-1));
  FlatFieldFilterLiteral(img, mean, p, filtered);
  for (int y = 0; y < img.rows; ++y)
    for (int x = 0; x < img.cols; ++x)
      ASSERT_EQ(filtered.at<float>(y, x), OracleFiltered(img, y, x, p, mean)) << x << "," << y;
}

INSTANTIATE_TEST_SUITE_P(Windows, FlatFieldFilter,
                         ::testing::Values(FlatFieldParams{1, 17, 11, 1, 1e9f, 0, 0, 0, 1},
                                           FlatFieldParams{1, 17, 11, 3, 1.3f, 0.7f, 0, 0, 5},
                                           FlatFieldParams{1, 17, 11, 5, 1.5f, 0.2f, 0, 0, 0},
                                           FlatFieldParams{1, 17, 11, 7, 0.5f, 0.1f, 0, 0, 2},
                                           FlatFieldParams{1, 17, 11, -3, 2, 0, 0, 0, 1},
                                           FlatFieldParams{1, 17, 11, -3, 2, 0, 0, 0, 0}));

TEST(FlatField, SecondMeanAddsInSinglePrecision) {
  // Past 2^24 adding 1.0f no longer changes the float, so the accumulator stalls there.
  const cv::Mat ones(4100, 4200, CV_32FC1, cv::Scalar(1));
  EXPECT_EQ(SecondMean(ones), 0.0f);  // 16777216 / 17220000
  const cv::Mat small(10, 10, CV_32FC1, cv::Scalar(7.9));
  EXPECT_EQ(SecondMean(small), 7.0f);  // each step truncates
}

Bytes UniformStack(int area, unsigned char first, unsigned char second) {
  Bytes stack(6 * area, first);
  std::fill(stack.begin() + 3 * area, stack.end(), second);
  return stack;
}

TEST(FlatField, UniformStackMapsTheFirstLevelToItsTarget) {
  const int w = 6, h = 5, area = w * h;
  Bytes stack = UniformStack(area, 80, 160);
  float para[10] = {0, 1, w, h, 3, 10, 0, 120, 230, 1};
  std::vector<float> table(6 * area);
  int a5 = 3;
  ComputeFlatFieldCoefficients(stack.data(), para, 0, table.data(), &a5);
  EXPECT_EQ(a5, 0);
  for (int j = 0; j < 3 * area; ++j) {
    EXPECT_FLOAT_EQ(table[3 * area + j], 120.0f / 80.0f);
    EXPECT_NEAR(table[j], 0.0f, 1e-4);
  }
  Bytes corrected(3 * area);
  ApplyGainOffsetLiteral(stack.data(), table.data(), table.data() + 3 * area, 3 * area,
                         corrected.data());
  for (unsigned char v : corrected) EXPECT_NEAR(v, 120, 1);
}

TEST(FlatField, EqualLevelsAreNudgedApart) {
  const int area = 4;
  Bytes stack = UniformStack(area, 100, 50);
  stack[0] = 0, stack[3 * area] = 0;  // image 0 and image 3 agree at position 0
  float para[10] = {0, 1, 2, 2, 1, 10, -1, 100, 100, 1};
  std::vector<float> table(6 * area);
  int a5;
  ComputeFlatFieldCoefficients(stack.data(), para, 0, table.data(), &a5);
  EXPECT_GT(std::fabs(table[3 * area]), 1e5f);
  EXPECT_TRUE(std::isfinite(table[3 * area]));
  EXPECT_LT(std::fabs(table[3 * area + 1]), 10.0f);
}

// The last colour pass wins: plane 0 is corrected with the means of images 2 and 5.
TEST(FlatField, EveryPlaneUsesTheMeansOfTheLastColourPass) {
  const int area = 4;
  Bytes stack(6 * area);
  const unsigned char levels[6] = {60, 90, 120, 20, 30, 40};
  for (int i = 0; i < 6; ++i)
    std::fill(stack.begin() + i * area, stack.begin() + (i + 1) * area, levels[i]);
  float para[10] = {0, 1, 2, 2, 1, 10, 0, 100, 200, 1};
  std::vector<float> table(6 * area);
  int a5;
  ComputeFlatFieldCoefficients(stack.data(), para, 0, table.data(), &a5);
  const float g2 = 100.0f / 120.0f;
  EXPECT_FLOAT_EQ(table[3 * area + 0], (120.0f - 40.0f) / (60.0f - 20.0f) * g2);  // plane 0
  EXPECT_FLOAT_EQ(table[3 * area + 2 * area], (120.0f - 40.0f) / (120.0f - 40.0f) * g2);
}

TEST(FlatField, VignettedStackRoundTripsToAFlatImage) {
  const int w = 48, h = 32, area = w * h;
  Bytes stack(6 * area);
  for (int i = 0; i < 6; ++i)
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const double r2 = (std::pow(x - w / 2.0, 2) + std::pow(y - h / 2.0, 2)) / (w * w / 4.0);
        const double level = (i < 3 ? 180 + 15 * i : 70 + 10 * i) * (1 - 0.4 * r2);
        stack[i * area + y * w + x] = static_cast<unsigned char>(std::lround(level));
      }
  float para[10] = {0, 1, w, h, 1, 10, 0, 128, 250, 1};
  std::vector<float> table(6 * area);
  int a5;
  ComputeFlatFieldCoefficients(stack.data(), para, 0, table.data(), &a5);
  Bytes first(3 * area), second(3 * area);
  ApplyGainOffset(stack.data(), table.data(), 3 * area, first.data());
  ApplyGainOffset(stack.data() + 3 * area, table.data(), 3 * area, second.data());
  for (int j = 0; j < 3 * area; ++j) EXPECT_NEAR(first[j], 128, 1) << j;
  const auto [lo, hi] = std::minmax_element(second.begin(), second.end());
  EXPECT_LE(*hi - *lo, 2);  // the second level is flat too (M5 * 128 / M2, +-1)
}

// ---- Counting sort ----------------------------------------------------------------------------

struct SortCase {
  std::vector<int> in;
  float ascending, k;
  std::vector<int> values, permutation;  // -7 marks an entry left untouched
};
class CountingSortCases : public ::testing::TestWithParam<SortCase> {};

TEST_P(CountingSortCases, SortsAndPermutesStably) {
  const SortCase c = GetParam();
  std::vector<int> values = c.in, permutation(c.in.size(), -7);
  float para[4] = {float(c.in.size()), c.ascending, c.k, 1};
  EXPECT_EQ(CountingSortValues(values.data(), para, permutation.data()), 0);
  EXPECT_EQ(values, c.values);
  EXPECT_EQ(permutation, c.permutation);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CountingSortCases,
    ::testing::Values(SortCase{{3, 1, 2, 1}, 1, 0, {1, 1, 2, 3}, {1, 3, 2, 0}},
                      SortCase{{3, 1, 2, 1}, 0, 0, {3, 2, 1, 1}, {0, 2, 1, 3}},
                      SortCase{{5, 5, 5}, 1, 0, {5, 5, 5}, {0, 1, 2}},
                      SortCase{{4, 1, 1, 9}, 1, 2, {1, 1, 1, 9}, {1, 2, -7, -7}},
                      SortCase{{2, 1, 2, 3, 2}, 1, 2, {1, 2, 2, 2, 2}, {1, 0, 2, 4, -7}},
                      SortCase{{2, 1, 2, 3, 2}, 0, 1, {3, 1, 2, 3, 2}, {3, -7, -7, -7, -7}},
                      SortCase{{0, -2}, 1, 0, {-2, 0}, {1, 0}},
                      SortCase{{INT_MAX, INT_MIN, 0, 5, INT_MIN},
                               1,
                               0,
                               {INT_MIN, INT_MIN, 0, 5, INT_MAX},
                               {1, 4, 2, 3, 0}}));

TEST(CountingSort, MatchesAStableSortForNarrowAndWideSpreads) {
  std::mt19937 rng(11);
  for (int spread : {3, 50, 100000, 2000000000}) {
    for (bool ascending : {true, false}) {
      std::vector<int> in(300);
      for (int& v : in) v = static_cast<int>(rng() % spread) - spread / 2;
      std::vector<int> order(in.size());
      std::iota(order.begin(), order.end(), 0);
      std::stable_sort(order.begin(), order.end(),
                       [&](int a, int b) { return ascending ? in[a] < in[b] : in[a] > in[b]; });
      std::vector<int> values = in, permutation(in.size());
      CountingSort(values.data(), permutation.data(), {300, ascending, 0, true});
      EXPECT_EQ(permutation, order) << spread;
      for (size_t i = 0; i < in.size(); ++i) ASSERT_EQ(values[i], in[order[i]]);
    }
  }
}

TEST(CountingSort, SwitchOffLeavesThePermutationAlone) {
  int values[3] = {2, 0, 1}, permutation[3] = {-7, -7, -7};
  float para[4] = {3, 1, 0, 0};
  CountingSortValues(values, para, permutation);
  EXPECT_EQ(values[0], 0);
  EXPECT_EQ(permutation[0], -7);
}

}  // namespace
