// Slot 23 (DetectEdgesCanny) through the raw virtual table: source, para, destination and
// result reach the operation in that order. The edge and contour stages themselves are
// checked in edges_test.cpp.
#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <utility>
#include <vector>

#include "support/host_library.hpp"

namespace {

constexpr int kDetectEdgesCanny = 23;
using Bytes = std::vector<unsigned char>;

// The raw map equals OpenCV's Canny with the two thresholds the operation reports, on a plane
// small enough for one thread and on one the library splits into row stripes.
TEST(HostEdges, RawEdgeMapMatchesCannyWithTheReportedThresholds) {
  host::ImgObject img;
  for (const auto& [width, height] : {std::pair{131, 97}, std::pair{700, 523}}) {
    cv::Mat noise(height, width, CV_8UC1), plane;
    cv::RNG(2323).fill(noise, cv::RNG::UNIFORM, 0, 256);
    cv::GaussianBlur(noise, plane, cv::Size(7, 7), 2.0);
    cv::circle(plane, cv::Point(width / 2, height / 2), height / 4, cv::Scalar(240), cv::FILLED);
    Bytes dst(width * height, 7);
    float para[4] = {static_cast<float>(width), static_cast<float>(height), 0, 0};
    float result[4] = {-1, -1, -1, -1};
    ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, plane.data, para, dst.data(), result), 0);
    EXPECT_GT(result[1], result[0]);
    cv::Mat expected;
    cv::Canny(plane, expected, result[0], result[1], 3, false);
    EXPECT_EQ(cv::countNonZero(cv::Mat(height, width, CV_8UC1, dst.data()) != expected), 0);
    EXPECT_EQ(result[2], static_cast<float>(cv::countNonZero(expected)));
    EXPECT_EQ(result[3], 0.0f);

    // The host may pass one buffer as source and destination.
    Bytes inPlace(plane.data, plane.data + width * height);
    ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, inPlace.data(), para, inPlace.data(), result), 0);
    EXPECT_EQ(inPlace, dst);
  }
}

// para[2] = 1 selects the contour stage and para[4] is its minimum area: two pads and a speck.
TEST(HostEdges, ContourStageCountsTheBlobsThatReachTheMinimumArea) {
  host::ImgObject img;
  const int width = 90, height = 61;
  Bytes board(width * height, 30), dst(width * height);
  cv::Mat plane(height, width, CV_8UC1, board.data());
  for (const cv::Rect& r :
       {cv::Rect(8, 9, 30, 16), cv::Rect(52, 30, 14, 22), cv::Rect(70, 5, 3, 3)})
    plane(r).setTo(200);
  for (const auto& [minimumArea, blobs] : {std::pair{50.0f, 2.0f}, std::pair{0.0f, 3.0f}}) {
    float para[5] = {width, height, 1, 0, minimumArea}, result[4] = {-1, -1, -1, -1};
    ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, board.data(), para, dst.data(), result), 0);
    EXPECT_EQ(result[3], blobs) << minimumArea;
  }
}

}  // namespace
