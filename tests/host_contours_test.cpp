// The contour and lead slots as the host calls them: raw table entries with the host's own
// argument types, on planes whose answers are known by construction.
#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <utility>
#include <vector>

#include "support/host_library.hpp"

namespace {

using uchar = unsigned char;
constexpr int kSize = 40;

struct HostPlane {
  HostPlane() : bytes(kSize * kSize, 0) {}
  cv::Mat Mat() { return cv::Mat(kSize, kSize, CV_8UC1, bytes.data()); }
  uchar* data() { return bytes.data(); }
  int At(int x, int y) const { return bytes[y * kSize + x]; }
  std::vector<uchar> bytes;
};

// Two blobs: a 10 x 20 rectangle (200 pixels, outline 56) and a 12 x 12 square with a
// 4 x 4 hole (128 pixels, 144 enclosed, outline 44).
HostPlane TwoBlobs() {
  HostPlane plane;
  plane.Mat()(cv::Rect(2, 2, 10, 20)).setTo(255);
  plane.Mat()(cv::Rect(20, 5, 12, 12)).setTo(255);
  plane.Mat()(cv::Rect(24, 9, 4, 4)).setTo(0);
  return plane;
}

using Floats = std::vector<float>;

// Width, height, capacity 4 where the slot has one at [5], and the given (index, value) pairs.
Floats Para(std::initializer_list<std::pair<int, float>> set = {}) {
  Floats para(32, 0.0f);
  para[0] = para[1] = kSize;
  para[5] = 4;
  for (const auto& [index, value] : set) para[index] = value;
  return para;
}

Floats Slice(const float* values, int from, int count) {
  return Floats(values + from, values + from + count);
}

// Slots 6, 8, 9, 15 and 34 on the two blobs: each output lands where the host passed it.
TEST(HostContours, Slots6To34WriteWhereTheHostPointed) {
  host::ImgObject img;
  HostPlane source = TwoBlobs(), red, green, labels, drawing, mask;
  uchar* none = nullptr;
  Floats para = Para({{3, 1}, {5, 255}, {6, 128}});
  ASSERT_EQ(img.Call<int>(6, source.data(), para.data(), red.data(), green.data(), none), 0);
  EXPECT_EQ(para[8], 2.0f);
  EXPECT_EQ(red.At(2, 2), 255);
  EXPECT_EQ(green.At(31, 16), 128);

  source.Mat().at<uchar>(35, 35) = 255;   // a speck that the opening removes
  para = Para({{3, 1}, {5, 0}, {6, 2}});  // opening radius 1, no closing
  ASSERT_EQ(img.Call<int>(8, source.data(), para.data()), 0);
  EXPECT_EQ(Slice(para.data(), 7, 9), (Floats{2, 2, 2, 10, 20, 20, 5, 12, 12}));
  source.Mat().at<uchar>(35, 35) = 0;

  float result[1 + 3 * 4] = {};
  para = Para();
  ASSERT_EQ(img.Call<int>(9, source.data(), none, para.data(), labels.data(), result), 0);
  const Floats expected = {2, 200, 6.5f, 11.5f, 128, 25.5f};
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(result[i], expected[i], 1e-4) << i;
  EXPECT_EQ(labels.At(25, 6), 2);

  para = Para({{3, 1.5f}});
  ASSERT_EQ(img.Call<int>(15, source.data(), para.data(), drawing.data(), result), 0);
  EXPECT_EQ(Slice(result, 0, 3), (Floats{2, 4, 4}));
  EXPECT_EQ(drawing.At(2, 10), 255);

  para = Para();
  ASSERT_EQ(img.Call<int>(34, mask.data(), source.data(), para.data()), 0);
  EXPECT_EQ(Slice(para.data(), 5, 2), (Floats{2, 200 + 144}));
  EXPECT_EQ(mask.At(25, 10), 255);  // the hole is filled
}

TEST(HostContours, Slot7TellsRingFromSolid) {
  host::ImgObject img;
  HostPlane source, rings;
  cv::circle(source.Mat(), {10, 10}, 7, cv::Scalar(255), cv::FILLED);
  cv::circle(source.Mat(), {10, 10}, 3, cv::Scalar(0), cv::FILLED);
  cv::circle(source.Mat(), {28, 28}, 6, cv::Scalar(255), cv::FILLED);
  Floats para = Para({{6, 1}, {7, 1}});
  float solids[4] = {}, ringEntries[4] = {};
  ASSERT_EQ(img.Call<int>(7, rings.data(), static_cast<uchar*>(nullptr), solids, para.data(),
                          ringEntries, source.data()),
            0);
  EXPECT_EQ(Slice(para.data(), 8, 2), (Floats{1, 1}));
  EXPECT_NEAR(ringEntries[0], 10.0f, 1e-3);
  EXPECT_NEAR(solids[1], 28.0f, 1e-3);
  EXPECT_EQ(rings.At(10, 4), 255);
}

// Slot 19 compares a2[3] with 0.0 as a float: -0.0 is zero, NaN is not.
struct CountCase {
  float selector;
  float total;
};

class HostSlot19 : public ::testing::TestWithParam<CountCase> {};

TEST_P(HostSlot19, SelectorPicksEnclosedOrOutlineCount) {
  host::ImgObject img;
  HostPlane source = TwoBlobs();
  Floats para = Para({{3, GetParam().selector}});
  float result[6] = {};
  ASSERT_EQ(img.Call<int>(19, source.data(), para.data(), static_cast<void*>(nullptr), result), 0);
  EXPECT_EQ(Slice(result, 0, 2), (Floats{GetParam().total, 2}));
}

INSTANTIATE_TEST_SUITE_P(Selectors, HostSlot19,
                         ::testing::Values(CountCase{0.0f, 200 + 144}, CountCase{-0.0f, 200 + 144},
                                           CountCase{std::numeric_limits<float>::quiet_NaN(),
                                                     56 + 44},
                                           CountCase{0.5f, 56 + 44}));

// Slot 21: below 100 the band of a6 goes to a1 (outer ring a2, inner ring a3); from 100 on
// the ring between masks a1 and a2 goes to a3 and a6 is not read.
class HostSlot21 : public ::testing::TestWithParam<int> {};

TEST_P(HostSlot21, ModeChoosesBandOrRingBetweenMasks) {
  const int mode = GetParam();
  host::ImgObject img;
  HostPlane pad, paste, out, source;
  pad.Mat()(cv::Rect(5, 5, 20, 20)).setTo(255);
  paste.Mat()(cv::Rect(5, 5, 20, 10)).setTo(255);
  source.Mat()(cv::Rect(10, 10, 10, 10)).setTo(255);
  Floats para = Para({{3, 1}});
  ASSERT_EQ(
      img.Call<int>(21, pad.data(), paste.data(), out.data(), para.data(), mode, source.data()), 0);
  if (mode < 100) {
    EXPECT_EQ(pad.At(9, 15), 255);   // band just outside the source square
    EXPECT_EQ(pad.At(5, 5), 0);      // the old pad content is overwritten
    EXPECT_EQ(out.At(10, 15), 255);  // inner ring
    EXPECT_EQ(out.At(15, 15), 0);
    EXPECT_EQ(para[5], para[6] + para[7]);
  } else {
    EXPECT_EQ(para[5], 200.0f - 4.0f);  // the uncovered half, its corners opened away
    EXPECT_EQ(out.At(15, 20), 255);
    EXPECT_EQ(out.At(15, 10), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, HostSlot21, ::testing::Values(-5, 99, 100, 1000));

TEST(HostContours, Slot22FillsPolygonsFromTheIntegerArray) {
  host::ImgObject img;
  HostPlane target;
  int polygons[] = {1, 4, 10, 10, 19, 10, 19, 14, 10, 14};
  const auto fill = [&](float length) {
    Floats para = Para({{2, 77}, {3, length}});
    const int status = img.Call<int>(22, target.data(), para.data(), static_cast<void*>(nullptr),
                                     polygons, static_cast<uchar*>(nullptr));
    return std::pair{status, para[6]};
  };
  EXPECT_EQ(fill(static_cast<float>(std::size(polygons))), std::pair(0, 50.0f));
  EXPECT_EQ(target.At(19, 14), 77);
  EXPECT_EQ(target.At(20, 14), 0);
  // The array as the host declares it is too short for its polygon.
  EXPECT_EQ(fill(5).first, -1);
}

// A lead on a dark board, drawn 3 columns right of where the host expects it (box centre
// 23.5, 19.5, tolerance 1): slot 13 cuts the side regions, slot 16 judges the error.
TEST(HostLead, Slots13And16FindTheLeadAndJudgeItsPosition) {
  host::ImgObject img;
  cv::Mat image(kSize, 60, CV_8UC1, cv::Scalar(20)), reference = image.clone();
  for (const auto& [lead, x] : {std::pair{&reference, 20}, std::pair{&image, 23}}) {
    (*lead)(cv::Rect(x, 10, 8, 20)).setTo(210);
    (*lead)(cv::Rect(x, 16, 8, 2)).setTo(100);
  }
  cv::Mat leadTemplate = reference(cv::Rect(17, 7, 14, 26)).clone();
  const Floats head = {60, kSize, 14, 26, 0, 5, 0.9f, 23.5f, 19.5f, 1.0f, 120.0f};
  Floats para = head;
  para.resize(20, 0.0f);
  ASSERT_EQ(
      img.Call<int>(13, image.data, leadTemplate.data, static_cast<void*>(nullptr), para.data()),
      0);
  EXPECT_EQ(para[7], 1.0f);
  EXPECT_EQ(para[9], 26.5f);
  // Left region 5 columns before the box at column 20, right region after its 14 columns.
  EXPECT_EQ(Slice(para.data(), 11, 5), (Floats{15, 7, 5, 26, 34}));

  para = head;
  float result[10] = {};
  ASSERT_EQ(img.Call<int>(16, image.data, leadTemplate.data, para.data(), result), 0);
  EXPECT_EQ(result[0], 1.0f);
  EXPECT_EQ(Slice(result, 4, 2), (Floats{3, 0}));
  EXPECT_EQ(result[9], 1.0f);  // beyond the 1-pixel tolerance, sides dark
}

}  // namespace
