// Buffer utilities: black holes, gain/offset, dominant levels, float median, resizing,
// flat-field calibration and counting sort.
#include "buffers.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>
#include <opencv2/imgproc.hpp>
#include <random>
#include <vector>

namespace {

using namespace imgtarn::buffers;
using Bytes = std::vector<unsigned char>;
using Rgb = std::vector<int>;

// ---- Black holes ------------------------------------------------------------------------------

struct ColourImage {
  int w, h;
  Bytes r, g, b;
  ColourImage(int width, int height, Rgb c) : w(width), h(height) {
    r.assign(w * h, c[0]), g.assign(w * h, c[1]), b.assign(w * h, c[2]);
  }
  void Fill(int x0, int y0, int x1, int y1, Rgb c) {  // inclusive corners
    for (int i = 0; i < w * h; ++i)
      if (i % w >= x0 && i % w <= x1 && i / w >= y0 && i / w <= y1)
        r[i] = c[0], g[i] = c[1], b[i] = c[2];
  }
  Rgb At(int x, int y) const { return {r[y * w + x], g[y * w + x], b[y * w + x]}; }
  void Run(float threads, Rgb ref = {100, 150, 200}) {
    float para[6] = {float(w), float(h), float(ref[0]), float(ref[1]), float(ref[2]), threads};
    Bytes o5(w * h), o6(w * h), o7(w * h);
    EXPECT_EQ(FillBlackHoles(r.data(), g.data(), b.data(), para, o5.data(), o6.data(), o7.data()),
              0);
    EXPECT_TRUE(o5 == r && o6 == g && o7 == b);
  }
};

const Rgb kRef = {100, 150, 200}, kBlack = {0, 0, 0}, kGrey = {60, 60, 60};

using Fills = std::vector<std::pair<cv::Rect, Rgb>>;  // inclusive corners (x0, y0, x1, y1)
using Probes = std::vector<std::pair<cv::Point, Rgb>>;
struct HoleCase {
  int w, h;
  Rgb background, reference;
  float threads;
  Fills fills;
  Probes probes;
};
class FillBlackHolesBox : public ::testing::TestWithParam<HoleCase> {};

TEST_P(FillBlackHolesBox, PaintsBlackInsideTheBoxOnly) {
  const HoleCase& c = GetParam();
  const int saved = cv::getNumThreads();
  ColourImage img(c.w, c.h, c.background);
  for (const auto& [corners, colour] : c.fills)
    img.Fill(corners.x, corners.y, corners.width, corners.height, colour);
  img.Run(c.threads, c.reference);
  for (const auto& [at, colour] : c.probes) EXPECT_EQ(img.At(at.x, at.y), colour) << at;
  EXPECT_EQ(cv::getNumThreads(), c.threads == 2 ? 2 : saved);
  cv::setNumThreads(saved);
}

// 40 x 40: the box is found from every second row and column; its last row and column are
// exclusive. The black pixel (5, 5, 5) is painted, (5, 5, 6) is not.
const Fills kBoxFills = {{{8, 10, 31, 29}, kRef},      {{12, 14, 15, 17}, kBlack},
                         {{20, 29, 20, 29}, kBlack},   {{31, 20, 31, 20}, kBlack},
                         {{2, 2, 2, 2}, kBlack},       {{20, 20, 20, 20}, {5, 5, 5}},
                         {{21, 20, 21, 20}, {5, 5, 6}}};
const Probes kBoxProbes = {{{12, 14}, kRef},      {{15, 17}, kRef},   {{20, 20}, kRef},
                           {{21, 20}, {5, 5, 6}}, {{20, 29}, kBlack}, {{31, 20}, kBlack},
                           {{2, 2}, kBlack}};
const Fills kOneHole = {{{1, 1, 1, 1}, kBlack}};
const Fills kNearBlackFills = {{{10, 10, 29, 29}, kBlack}};
const Probes kNearBlackProbes = {{{10, 10}, {3, 3, 3}}, {{29, 29}, kBlack}};
const Fills kFarFills = {{{12, 14, 15, 17}, kBlack}};
const Probes kFarProbes = {{{12, 14}, kBlack}, {{0, 0}, kGrey}};
INSTANTIATE_TEST_SUITE_P(
    Planes, FillBlackHolesBox,
    ::testing::Values(HoleCase{40, 40, kGrey, kRef, 0, kBoxFills, kBoxProbes},
                      HoleCase{40, 40, kGrey, kRef, 2, kBoxFills, kBoxProbes},
                      // Narrow planes: the sampling step is at least 1, every sample is scanned.
                      HoleCase{7, 3, kRef, kRef, 0, kOneHole, {{{1, 1}, kRef}}},
                      HoleCase{3, 30, kRef, kRef, 0, kOneHole, {{{1, 1}, kRef}}},
                      HoleCase{30, 3, kRef, kRef, 0, kOneHole, {{{1, 1}, kRef}}},
                      // A near-black reference (259 keeps its low byte, 3) spans the black
                      // area itself; its last row and column stay black.
                      HoleCase{
                          40, 40, {90, 90, 90}, {259, 3, 3}, 0, kNearBlackFills, kNearBlackProbes},
                      // No pixel near the reference: nothing is painted, the planes are copied.
                      HoleCase{40, 40, kGrey, kRef, 0, kFarFills, kFarProbes}));

// Dark noisy planes of widths that leave partial blocks of sixteen, with the reference colour
// at two corners so that the box covers nearly all of them.
struct NoisyPlanes {
  cv::Mat r, g, b;
  explicit NoisyPlanes(int width, int height = 23) {
    cv::RNG rng(width);
    for (cv::Mat* plane : {&r, &g, &b}) {
      plane->create(height, width, CV_8UC1);
      rng.fill(*plane, cv::RNG::UNIFORM, 0, 9);
    }
    for (const cv::Point& p : {cv::Point(0, 0), cv::Point(width - 1, height - 1)})
      r.at<uchar>(p) = 100, g.at<uchar>(p) = 150, b.at<uchar>(p) = 200;
  }
};

// The per-pixel painting of the box found by the scan; `second` is G or R passed twice.
void PaintPixelByPixel(cv::Mat& r, cv::Mat& second, cv::Mat& b) {
  const unsigned char colour[3] = {100, 150, 200};
  const FillBox box = FindReferenceBox(r, second, b, colour);
  for (int y = box.rowStart; y < box.rowEnd; ++y)
    for (int x = box.colStart; x < box.colEnd; ++x)
      if (r.at<uchar>(y, x) <= 5 && second.at<uchar>(y, x) <= 5 && b.at<uchar>(y, x) <= 5)
        r.at<uchar>(y, x) = 100, second.at<uchar>(y, x) = 150, b.at<uchar>(y, x) = 200;
}

bool Same(const cv::Mat& a, const cv::Mat& b) { return cv::countNonZero(a != b) == 0; }

class FillBlackHolesWidth : public ::testing::TestWithParam<int> {};

// The block painting of the parallel routine against the per-pixel loop, with distinct planes
// and with one plane passed twice; then the adapter, which paints and copies in one pass when
// the six planes lie apart and in turn when an output is also an input.
TEST_P(FillBlackHolesWidth, BlockAndFusedPaintingGiveThePerPixelResult) {
  const int w = GetParam();
  const FillBlackHolesParams params{w, 23, 100, 150, 200, 0};
  NoisyPlanes painted(w), planes(w), shared(w), input(w), again(w);
  PaintPixelByPixel(painted.r, painted.g, painted.b);
  const auto paintedAre = [&](const cv::Mat& r, const cv::Mat& g, const cv::Mat& b) {
    return Same(r, painted.r) && Same(g, painted.g) && Same(b, painted.b);
  };
  FillBlackHolesInPlace(planes.r, planes.g, planes.b, params);
  EXPECT_TRUE(paintedAre(planes.r, planes.g, planes.b));
  cv::Mat er = shared.r.clone(), eb = shared.b.clone();
  PaintPixelByPixel(er, er, eb);
  FillBlackHolesInPlace(shared.r, shared.r, shared.b, params);
  EXPECT_TRUE(Same(shared.r, er) && Same(shared.b, eb));
  float para[6] = {float(w), 23, 100, 150, 200, 0};
  cv::Mat o5(23, w, CV_8UC1), o6(23, w, CV_8UC1), o7(23, w, CV_8UC1);
  FillBlackHoles(input.r.data, input.g.data, input.b.data, para, o5.data, o6.data, o7.data);
  EXPECT_TRUE(paintedAre(input.r, input.g, input.b) && paintedAre(o5, o6, o7));
  // R's output starts one row into G: the copies must follow the painting plane by plane.
  cv::Mat tall = cv::Mat::zeros(24, w, CV_8UC1);
  again.g.copyTo(tall.rowRange(0, 23));
  cv::Mat expectTall = tall.clone(), eR = again.r.clone(), eB = again.b.clone();
  cv::Mat eG = expectTall.rowRange(0, 23);
  PaintPixelByPixel(eR, eG, eB);
  std::memmove(expectTall.data + w, eR.data, eR.total());
  FillBlackHoles(again.r.data, tall.data, again.b.data, para, tall.data + w, o6.data, o7.data);
  EXPECT_TRUE(Same(tall, expectTall) && Same(o6, expectTall.rowRange(0, 23)) && Same(o7, eB));
}

INSTANTIATE_TEST_SUITE_P(Widths, FillBlackHolesWidth, ::testing::Values(5, 16, 37, 203));

// ---- Gain and offset, dominant levels ---------------------------------------------------------

TEST(ApplyGainOffset, TruncatesAndKeepsTheLowByte) {
  const unsigned char src[7] = {100, 100, 0, 1, 255, 10, 10};
  const float gains[7] = {1.5f, 3.0f, 1.0f, -1.0f, 1.0f, 1.0f, NAN};
  const float offsets[7] = {10, 0, -0.5f, 0, 1, -11.5f, 0};
  const unsigned char expected[7] = {160, 44, 0, 255, 0, 255, 0};
  unsigned char dst[7];
  ApplyGainOffsetLiteral(src, offsets, gains, 7, dst);
  EXPECT_TRUE(std::equal(dst, dst + 7, expected));
}

// The adapter (sixteen at a time, blocks in parallel) against the literal loop, on counts that
// leave partial blocks, with special values, and without writing past N.
TEST(ApplyGainOffset, TheVectorPathGivesTheLiteralBytesOnEveryKindOfValue) {
  std::mt19937 rng(19);
  const float specials[] = {std::nanf(""),  INFINITY,       -INFINITY, 2147483520.0f, 2147483648.0f,
                            -2147483648.0f, -2147483904.0f, 3e9f,      -3e9f,         1e20f,
                            -1e20f,         255.99f,        256.0f,    -0.0f,         -0.99f,
                            -1.0f,          65535.5f,       9.3e18f};
  for (int count : {0, 1, 9, 15, 16, 17, 100, 65536 + 37, 3 * 65536 + 5}) {
    Bytes src(count), literal(count), fast(count + 1, 123);
    std::vector<float> table(2 * count);  // offsets, then gains
    for (int i = 0; i < count; ++i) {
      src[i] = rng() & 0xFF;
      table[count + i] =
          rng() % 5 ? std::uniform_real_distribution<float>(-300, 300)(rng) : specials[rng() % 18];
      table[i] = rng() % 5 ? std::uniform_real_distribution<float>(-1e5f, 1e5f)(rng)
                           : specials[rng() % 18];
    }
    ApplyGainOffsetLiteral(src.data(), table.data(), table.data() + count, count, literal.data());
    ApplyGainOffset(src.data(), table.data(), count, fast.data());
    literal.push_back(123);  // nothing written past N
    ASSERT_EQ(literal, fast) << count;
  }
}

TEST(FindDominantLevels, SkipsTheDarkAndBrightEndsAndPrefersTheLowerLevelOnTies) {
  Bytes allZero(202, 0), darkAnd120(202, 3), tie(202, 255);
  darkAnd120[7] = 120;
  std::fill(tie.begin(), tie.begin() + 60, 40);
  std::fill(tie.begin() + 60, tie.begin() + 120, 200);
  unsigned char levels[3] = {9, 9, 9};
  EXPECT_EQ(FindDominantLevels(allZero.data(), darkAnd120.data(), tie.data(), 101, 2, levels), 0);
  EXPECT_EQ(Rgb(levels, levels + 3), (Rgb{0, 120, 40}));
  Bytes ends(202, 250);  // the counted band's own ends, 5 and 249, are levels like any other
  ends[0] = 5, ends[1] = ends[2] = 249;
  EXPECT_EQ(DominantLevel(cv::Mat(1, 202, CV_8UC1, ends.data())), 249);
}

// ---- Float median -----------------------------------------------------------------------------

// The test's own median: gather, sort (with the arithmetic exchange unless `plainSort`), pick.
float OracleMedian(const cv::Mat& src, int y, int x, int half, bool limited, int rule,
                   bool plainSort = false) {
  std::vector<float> v;
  for (int wy = std::max(y - half, 0); wy <= std::min(y + half, src.rows - 1); ++wy)
    for (int wx = std::max(x - half, 0); wx <= std::min(x + half, src.cols - 1); ++wx) {
      const float s = src.at<float>(wy, wx);
      if (!limited || (s > -10 && s < 100)) v.push_back(s);
    }
  if (v.empty()) return -10;
  if (plainSort) std::sort(v.begin(), v.end());
  for (size_t pass = 0; pass < v.size(); ++pass)
    for (size_t i = 0; i + 1 < v.size(); ++i)
      if (v[i] > v[i + 1]) v[i] += v[i + 1], v[i + 1] = v[i] - v[i + 1], v[i] -= v[i + 1];
  const size_t n = v.size();
  if (n % 2) return v[n / 2];
  return rule == 0 ? v[n / 2 - 1] : rule == 1 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) * 0.5f;
}

TEST(ExchangeSort, ItsArithmeticSwapRoundsWidelyDifferentMagnitudes) {
  std::vector<float> v = {1e8f, 1.0f, 3.0f};
  ExchangeSortLiteral(v);
  EXPECT_EQ(v, (std::vector<float>{0.0f, 0.0f, 1e8f}));
}

TEST(MedianFilter, LimitsKeepOutTheBoundsAndAnEmptyWindowGivesTheLowerLimit) {
  float plane[3] = {0, 50, 100}, outside[3] = {-5, 100, 300}, second[3];
  float para[8] = {0, 3, 1, 5, 0.9f, 100.2f, 0, 0};  // L = 0, U = 100 after truncation
  MedianFilterFloatPlane(plane, second, para);
  EXPECT_EQ(std::vector<float>(second, second + 3), (std::vector<float>{0, 50, 100}));
  MedianFilterFloatPlane(outside, second, para);
  EXPECT_EQ(std::vector<float>(plane, plane + 3), std::vector<float>(3, 50));
  EXPECT_EQ(std::vector<float>(outside, outside + 3), std::vector<float>(3, 0));
  // k = 3 with the mean rule: the edge windows hold 0, 50 (limited: 50 alone, else 25) and
  // 50, 100 (75). The switch is off up to 0.001 inclusive, in the host's single precision.
  for (const auto& [limitSwitch, edges] : std::vector<std::pair<float, std::vector<float>>>{
           {0.001f, {50, 50, 50}}, {-0.001f, {50, 50, 50}}, {0.0011f, {25, 50, 75}}}) {
    float row[3] = {0, 50, 100}, before[3];
    float mean[8] = {0, 3, 1, 3, 0, 100, 2, limitSwitch};
    MedianFilterFloatPlane(row, before, mean);
    EXPECT_EQ(std::vector<float>(row, row + 3), edges) << limitSwitch;
  }
}

// ---- Fast median against the literal filter ----------------------------------------------

bool SameBits(const cv::Mat& a, const cv::Mat& b) {
  return a.size() == b.size() && std::equal(a.datastart, a.dataend, b.datastart);
}

// Integers, quarters, arbitrary values, arbitrary with a fifth scaled by 1e7, integers with
// signed zeros, with NaN, with infinities, with 2^24 - 1, and subnormal integers.
enum class Heights { kInts, kQuarters, kArbitrary, kMixed, kZeros, kNaN, kInf, kWide, kSubnormal };

cv::Mat HeightPlane(Heights kind, int w, int h, unsigned seed) {
  using Rng = std::mt19937;
  // Each kind from a uniform u in [-20, 120) and its floor v.
  const std::function<float(float, float, Rng&)> kinds[] = {
      [](float, float v, Rng&) { return v; },
      [](float u, float, Rng&) { return std::floor(u * 4) / 4; },
      [](float u, float, Rng&) { return u; },
      [](float u, float, Rng& rng) { return rng() % 5 ? u : u * 1e7f; },
      [](float, float v, Rng& rng) { return rng() % 3 ? v : (rng() % 2 ? -0.0f : 0.0f); },
      [](float, float v, Rng& rng) { return rng() % 7 ? v : std::nanf(""); },
      [](float, float v, Rng& rng) { return rng() % 7 ? v : (rng() % 2 ? INFINITY : -INFINITY); },
      [](float, float v, Rng& rng) { return rng() % 9 ? v : 16777215.0f; },
      [](float, float v, Rng&) { return v * 1e-40f; }};
  Rng rng(seed);
  cv::Mat plane(h, w, CV_32FC1);
  for (float& value : cv::Mat_<float>(plane)) {
    const float u = std::uniform_real_distribution<float>(-20, 120)(rng);
    value = kinds[static_cast<int>(kind)](u, std::floor(u), rng);
  }
  return plane;
}

struct FastMedianCase {
  Heights kind;
  int window;
  float evenRule, limitSwitch;  // para values: rule 0 / 1 within 0.001, else mean; limits <= 0.001
};
class FastMedian : public ::testing::TestWithParam<FastMedianCase> {};

// The fast filter against the literal one bit for bit, and the literal one against the test's
// own median (which also shows that the arithmetic exchange changes medians of mixed planes).
TEST_P(FastMedian, GivesTheLiteralFiltersBitsAndTheLiteralFilterTheOracles) {
  const FastMedianCase c = GetParam();
  for (unsigned seed = 1; seed <= 3; ++seed) {
    const cv::Mat src = HeightPlane(c.kind, 23, 17, seed * 7 + c.window);
    float para[8] = {0, 23, 17, float(c.window), -10.7f, 100.9f, c.evenRule, c.limitSwitch};
    const MedianParams params = MedianParams::FromPara(para);
    cv::Mat literal(src.size(), CV_32FC1), fast(src.size(), CV_32FC1);
    MedianFilterLiteral(src, literal, params);
    MedianFilterFast(src, fast, params);
    ASSERT_TRUE(SameBits(literal, fast)) << seed;
  }
  if (c.kind != Heights::kMixed) return;
  const cv::Mat src = HeightPlane(c.kind, 13, 9, c.window);
  float para[8] = {0, 13, 9, float(c.window), -10.7f, 100.9f, c.evenRule, c.limitSwitch};
  cv::Mat literal(src.size(), CV_32FC1);
  MedianFilterLiteral(src, literal, MedianParams::FromPara(para));
  const int rule = std::fabs(c.evenRule) < 0.001 ? 0 : std::fabs(c.evenRule - 1) < 0.001 ? 1 : 2;
  const bool limited = std::fabs(c.limitSwitch) <= 0.001;
  int rounded = 0;  // samples where a plain sort would have given another median
  for (int i = 0; i < src.rows * src.cols; ++i) {
    const int y = i / src.cols, x = i % src.cols, half = (c.window - 1) / 2;
    ASSERT_EQ(literal.at<float>(y, x), OracleMedian(src, y, x, half, limited, rule)) << i;
    rounded += literal.at<float>(y, x) != OracleMedian(src, y, x, half, limited, rule, true);
  }
  EXPECT_TRUE(limited || c.window < 3 || rounded > 0);
}

using H = Heights;
using M = FastMedianCase;
INSTANTIATE_TEST_SUITE_P(
    Planes, FastMedian,
    ::testing::Values(M{H::kInts, 5, 0, 1}, M{H::kInts, 4, 2, 1}, M{H::kInts, 6, 1, 0},
                      M{H::kInts, 99, 2, 1}, M{H::kInts, -1, 0, 1}, M{H::kQuarters, 4, 2, 1},
                      M{H::kArbitrary, 4, 0, 0}, M{H::kMixed, 1, 0, 0}, M{H::kMixed, 3, 0.9995f, 0},
                      M{H::kMixed, 4, 2, 1}, M{H::kMixed, 5, 0.5f, 0}, M{H::kMixed, 7, 0, 0.0005f},
                      M{H::kZeros, 4, 2, 0}, M{H::kNaN, 5, 2, 1}, M{H::kInf, 4, 2, 0},
                      M{H::kWide, 5, 2, 1}, M{H::kSubnormal, 4, 2, 1}));

// ---- Resizing ---------------------------------------------------------------------------------

class ResizeInterpolation : public ::testing::TestWithParam<std::pair<float, int>> {};

TEST_P(ResizeInterpolation, EachPlaneLandsInItsOwnDestination) {
  cv::Mat src[3];
  Bytes dst[3];
  for (int i = 0; i < 3; ++i) {
    src[i].create(48, 64, CV_8UC1);
    cv::randu(src[i], 0, 256);
    dst[i].assign(27 * 19, 0);
  }
  float para[5] = {64, 48, 27, 19, GetParam().first};
  ResizePlanes(src[0].data, src[1].data, src[2].data, dst[0].data(), dst[1].data(), dst[2].data(),
               para);
  for (int i = 0; i < 3; ++i) {
    cv::Mat expected;
    cv::resize(src[i], expected, cv::Size(27, 19), 0, 0, GetParam().second);
    EXPECT_EQ(Bytes(expected.datastart, expected.dataend), dst[i]) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, ResizeInterpolation,
                         ::testing::Values(std::pair{0.0f, int(cv::INTER_LINEAR)},
                                           std::pair{1.0f, int(cv::INTER_CUBIC)},
                                           std::pair{2.0f, int(cv::INTER_LINEAR)}));

// ---- Flat field -------------------------------------------------------------------------------

// The test's own filter: accepted-sample mean of the clipped window, or the truncated mean.
float OracleFiltered(const cv::Mat& img, int y, int x, const FlatFieldParams& p, float mean) {
  long long sum = 0;
  int count = 0, half = (p.window - 1) / 2;
  for (int wy = std::max(y - half, 0); wy <= std::min(y + half, img.rows - 1); ++wy)
    for (int wx = std::max(x - half, 0); wx <= std::min(x + half, img.cols - 1); ++wx) {
      const float s = img.at<unsigned char>(wy, wx);
      if (s > mean * p.acceptLow && s < mean * p.acceptHigh) sum += static_cast<int>(s), ++count;
    }
  if (count < p.minCount) return float(int(mean) & 255);
  return count == 0 ? 0.0f : float(int(std::floor(double(sum) / count)) & 255);
}

class FlatFieldFilter : public ::testing::TestWithParam<FlatFieldParams> {};

// The fast filter against the literal one bit for bit on random images, a bright pad and a
// flat image (nothing or everything accepted); the literal one against the test's own filter.
TEST_P(FlatFieldFilter, FastGivesTheLiteralBitsAndLiteralTheOracles) {
  const FlatFieldParams p = GetParam();
  for (int pattern = 0; pattern < 3; ++pattern) {
    cv::Mat img(p.height, p.width, CV_8UC1);
    cv::randu(img, 0, 256);
    img(cv::Rect(0, 0, std::min(4, p.width), 3)).setTo(0);
    if (pattern == 1) img(cv::Rect(p.width / 3, 1, p.width / 2, p.height / 2)).setTo(255);  // pad
    if (pattern == 2) img.setTo(7);
    const float mean = SampleMean(img);
    EXPECT_EQ(mean, float(cv::sum(img)[0]) / float(img.total()));
    cv::Mat literal(img.size(), CV_32FC1), fast(img.size(), CV_32FC1);
    FlatFieldFilterLiteral(img, mean, p, literal);
    FlatFieldFilterFast(img, mean, p, fast);
    ASSERT_TRUE(SameBits(literal, fast)) << pattern;
    if (pattern != 0 || p.window > 31) continue;
    for (int i = 0; i < p.width * p.height; ++i) {
      ASSERT_EQ(literal.at<float>(i / p.width, i % p.width),
                OracleFiltered(img, i / p.width, i % p.width, p, mean))
          << i;
    }
  }
}

using F = FlatFieldParams;
INSTANTIATE_TEST_SUITE_P(
    Windows, FlatFieldFilter,
    ::testing::Values(F{1, 37, 29, 1, 1e9f, 0, 0, 0, 1}, F{1, 37, 29, 3, 1.3f, 0.7f, 0, 0, 5},
                      F{1, 37, 29, 5, 1.5f, 0.2f, 0, 0, 0}, F{1, 37, 29, 15, 1.1f, 0.9f, 0, 0, 50},
                      F{1, 37, 29, 31, 2, 0.5f, 0, 0, 3}, F{1, 37, 29, 1001, 2, 0.5f, 0, 0, 3},
                      F{1, 37, 29, 9, 1.0f, 1.0f, 0, 0, 0}, F{1, 1, 29, 7, 2, 0, 0, 0, 1},
                      F{1, 37, 29, -3, 2, 0, 0, 0, 1}, F{1, 37, 29, -3, 2, 0, 0, 0, 0}));

TEST(FlatField, SecondMeanAddsInSinglePrecisionAndTruncatesEachStep) {
  // Past 2^24 adding 1.0f no longer changes the float, so the accumulator stalls there.
  EXPECT_EQ(SecondMean(cv::Mat(4100, 4200, CV_32FC1, cv::Scalar(1))), 0.0f);
  EXPECT_EQ(SecondMean(cv::Mat(10, 10, CV_32FC1, cv::Scalar(7.9))), 7.0f);
}

std::vector<float> Coefficients(const Bytes& stack, int w, int h, float k, float fLo) {
  float para[10] = {0, 1, float(w), float(h), k, 10, fLo, 128, 250, 1};
  std::vector<float> table(6 * w * h, -3);
  int a5 = 7;
  ComputeFlatFieldCoefficients(const_cast<unsigned char*>(stack.data()), para, table.data(), &a5);
  EXPECT_EQ(a5, 0);
  return table;
}

TEST(FlatField, EveryPlaneUsesTheLastColourPassAndEqualLevelsAreNudged) {
  Bytes stack(24);
  const unsigned char levels[6] = {60, 90, 120, 30, 30, 40};
  for (int i = 0; i < 24; ++i) stack[i] = levels[i / 4];
  stack[0] = stack[12] = 0;  // images 0 and 3 agree at position 0
  const std::vector<float> table = Coefficients(stack, 2, 2, 1, -1);
  const float g2 = 128.0f / 120.0f;
  EXPECT_FLOAT_EQ(table[12 + 1], (120.0f - 40.0f) / (60.0f - 30.0f) * g2);   // plane 0
  EXPECT_FLOAT_EQ(table[12 + 8], (120.0f - 40.0f) / (120.0f - 40.0f) * g2);  // plane 2
  EXPECT_GT(std::fabs(table[12]), 1e5f);
  EXPECT_EQ(Coefficients(stack, 2, 2, 4, -1), std::vector<float>(24, -3));  // even window
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
                      SortCase{{4, 1, 1, 9}, 1, 2, {1, 1, 1, 9}, {1, 2, -7, -7}},
                      SortCase{{2, 1, 2, 3, 2}, 1, 2, {1, 2, 2, 2, 2}, {1, 0, 2, 4, -7}},
                      SortCase{{2, 1, 2, 3, 2}, 0, 1, {3, 1, 2, 3, 2}, {3, -7, -7, -7, -7}},
                      SortCase{{0, INT_MAX, INT_MIN}, 1, 0, {INT_MIN, 0, INT_MAX}, {2, 0, 1}},
                      SortCase{{5, 5, 5}, 0, 0, {5, 5, 5}, {0, 1, 2}}));

// Against a stable comparison sort, over narrow (split counters), middling (one counter table)
// and wide (comparison sort) spreads, with runs of equal values, both orders and every kind of K;
// without a permutation the values come out the same.
TEST(CountingSort, MatchesAStableSortForEverySpreadOrderAndK) {
  std::mt19937 rng(11);
  for (const auto& [n, spread] :
       std::vector<std::pair<int, int>>{{300, 3}, {300, 1500}, {300, 2000000000}, {40000, 70000}}) {
    std::vector<int> in(n), order(n);
    for (int i = 0; i < n; ++i)
      in[i] = i % 7 == 1 ? in[i - 1] : static_cast<int>(rng() % spread) - spread / 2;
    for (bool ascending : {true, false}) {
      std::iota(order.begin(), order.end(), 0);
      std::stable_sort(order.begin(), order.end(),
                       [&](int a, int b) { return ascending ? in[a] < in[b] : in[a] > in[b]; });
      for (int k : {0, -4, 1, n / 2, n - 1, n + 1}) {
        // Whole values up to the one that brings the count to K or more.
        int delivered = k == 0 ? n : std::min(std::max(k, 1), n);
        while (delivered < n && in[order[delivered]] == in[order[delivered - 1]]) ++delivered;
        std::vector<int> values = in, alone = in, permutation(n, -7);
        ASSERT_EQ(CountingSort(values.data(), permutation.data(), {n, ascending, k, true}),
                  delivered);
        CountingSort(alone.data(), nullptr, {n, ascending, k, false});
        ASSERT_EQ(alone, values);
        for (int i = 0; i < n; ++i) {
          ASSERT_EQ(permutation[i], i < delivered ? order[i] : -7) << spread << " " << k;
          ASSERT_EQ(values[i], i < delivered ? in[order[i]] : in[i]) << spread << " " << k;
        }
      }
    }
  }
}

}  // namespace
