// Slots 14 (cross mark) and 18 (rectangle mark) through the raw virtual table.
#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "support/host_library.hpp"

namespace {

constexpr int kCrossSlot = 14;
constexpr int kRectangleSlot = 18;

// A dark noisy board with bright bars drawn 4x supersampled, so edges inside a pixel shade
// it partially. Bars are (left, top, width, height) in pixels, column i spanning [i, i + 1).
std::vector<unsigned char> Board(int cols, int rows, const std::vector<cv::Rect2d>& bars,
                                 int seed) {
  cv::Mat fine(rows * 4, cols * 4, CV_8UC1, cv::Scalar(0));
  for (const cv::Rect2d& bar : bars) {
    cv::rectangle(fine, cv::Rect(cv::Rect2d(bar.x * 4, bar.y * 4, bar.width * 4, bar.height * 4)),
                  cv::Scalar(255), -1);
  }
  cv::Mat coverage, plane(rows, cols, CV_32F);
  cv::resize(fine, coverage, cv::Size(cols, rows), 0, 0, cv::INTER_AREA);
  cv::RNG(seed).fill(plane, cv::RNG::NORMAL, 0.0, 6.0);
  cv::Mat level;
  coverage.convertTo(level, CV_32F, 160.0 / 255.0, 40.0);
  plane += level;
  cv::Mat bytes;
  plane.convertTo(bytes, CV_8U);
  return std::vector<unsigned char>(bytes.datastart, bytes.dataend);
}

std::vector<cv::Rect2d> Plus(double cx, double cy, double size) {
  return {{cx - size / 2, cy - size / 6, size, size / 3},
          {cx - size / 6, cy - size / 2, size / 3, size}};
}

struct Call {
  int status;
  float result[4];
};

Call Locate(int slot, unsigned char* plane, int cols, int rows, float halfW, float halfH,
            float prefill = -1.0f) {
  host::ImgObject img;
  float para[5] = {static_cast<float>(cols), static_cast<float>(rows), halfW, halfH, 0.0f};
  Call call{0, {prefill, prefill, prefill, prefill}};
  void* reserved = nullptr;
  call.status = img.Call<int>(slot, plane, para, reserved, call.result);
  return call;
}

// The cross's size is its measured central square tripled; the rectangle's is measured as is.
TEST(HostTemplateMark, EachSlotFindsItsMarkAndMeasuresItsSize) {
  struct Case {
    int slot;
    std::vector<cv::Rect2d> bars;
    float x, y, halfW, halfH;
  };
  for (const Case& c : {Case{kCrossSlot, Plus(47.5, 55.5, 30), 47.5f, 55.5f, 15, 15},
                        Case{kRectangleSlot, {{42.0, 31.0, 40.0, 24.0}}, 62, 43, 20, 12}}) {
    std::vector<unsigned char> plane = Board(120, 100, c.bars, c.slot);
    const Call call = Locate(c.slot, plane.data(), 120, 100, c.halfW, c.halfH);
    EXPECT_EQ(call.status, 0);
    EXPECT_NEAR(call.result[0], c.x, 1.0) << c.slot;
    EXPECT_NEAR(call.result[1], c.y, 1.0) << c.slot;
    EXPECT_NEAR(call.result[2], c.halfW, 1.5) << c.slot;
    EXPECT_NEAR(call.result[3], c.halfH, 1.5) << c.slot;
  }
}

TEST(HostTemplateMark, NothingFoundCrossKeepsTheCallersSizesRectangleZeroesThem) {
  cv::Mat noise(100, 120, CV_8UC1);
  cv::RNG(5).fill(noise, cv::RNG::UNIFORM, 0, 256);
  std::vector<unsigned char> plane(noise.datastart, noise.dataend);
  const Call cross = Locate(kCrossSlot, plane.data(), 120, 100, 15, 15);
  EXPECT_EQ(cross.status, 0);
  EXPECT_EQ(std::vector<float>(cross.result, cross.result + 4), (std::vector<float>{0, 0, -1, -1}));
  const Call rectangle = Locate(kRectangleSlot, plane.data(), 120, 100, 20, 12);
  EXPECT_EQ(rectangle.status, 0);
  for (float v : rectangle.result) EXPECT_EQ(v, 0.0f);
}

}  // namespace
