// Slot 23 (DetectEdgesCanny) through the raw virtual table.
#include <cmath>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "support/host_library.hpp"

namespace {

constexpr int kDetectEdgesCanny = 23;

cv::Mat TexturedPlane(int width, int height) {
  cv::Mat noise(height, width, CV_8UC1);
  cv::RNG rng(2323);
  rng.fill(noise, cv::RNG::UNIFORM, 0, 256);
  cv::Mat plane;
  cv::GaussianBlur(noise, plane, cv::Size(7, 7), 2.0);
  cv::circle(plane, cv::Point(width / 2, height / 2), height / 4, cv::Scalar(240), cv::FILLED);
  return plane;
}

// The raw map equals OpenCV's Canny with the two thresholds the operation reports.
TEST(HostEdges, RawEdgeMapMatchesCannyWithTheReportedThresholds) {
  host::ImgObject img;
  const int width = 131, height = 97;
  cv::Mat plane = TexturedPlane(width, height);
  std::vector<unsigned char> dst(width * height, 7);
  float para[4] = {width, height, 0, 0};
  float result[4] = {-1, -1, -1, -1};
  ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, plane.data, para, dst.data(), result), 0);
  EXPECT_GT(result[1], result[0]);
  cv::Mat expected;
  cv::Canny(plane, expected, result[0], result[1], 3, false);
  const cv::Mat written(height, width, CV_8UC1, dst.data());
  EXPECT_EQ(cv::countNonZero(written != expected), 0);
  EXPECT_EQ(result[2], static_cast<float>(cv::countNonZero(expected)));
  EXPECT_GT(result[2], 0.0f);
  EXPECT_EQ(result[3], 0.0f);

  // The host may pass one buffer as source and destination.
  std::vector<unsigned char> inPlace(plane.data, plane.data + width * height);
  float again[4];
  ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, inPlace.data(), para, inPlace.data(), again), 0);
  EXPECT_EQ(inPlace, dst);
}

// Two pads and a speck on a dark board: the contour stage fills the pads and drops the speck.
TEST(HostEdges, ContourStageFillsPadsThatReachTheMinimumArea) {
  host::ImgObject img;
  const int width = 90, height = 61;
  std::vector<unsigned char> board(width * height, 30);
  cv::Mat plane(height, width, CV_8UC1, board.data());
  const cv::Rect padA(8, 9, 30, 16), padB(52, 30, 14, 22), speck(70, 5, 3, 3);
  for (const cv::Rect& r : {padA, padB, speck}) plane(r).setTo(200);
  std::vector<unsigned char> dst(width * height, 7);
  float para[5] = {width, height, 1, 0, 50};
  float result[4] = {-1, -1, -1, -1};
  ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, board.data(), para, dst.data(), result), 0);
  EXPECT_EQ(result[3], 2.0f);
  const cv::Mat mask(height, width, CV_8UC1, dst.data());
  EXPECT_EQ(cv::countNonZero(mask(padA)), padA.area());
  EXPECT_EQ(cv::countNonZero(mask(padB)), padB.area());
  EXPECT_EQ(cv::countNonZero(mask(speck + cv::Size(2, 2) - cv::Point(1, 1))), 0);
  // The outline lies at most one pixel outside each pad.
  const int ringA = (padA.width + 2) * (padA.height + 2),
            ringB = (padB.width + 2) * (padB.height + 2);
  EXPECT_GE(cv::countNonZero(mask), padA.area() + padB.area());
  EXPECT_LE(cv::countNonZero(mask), ringA + ringB);

  para[4] = 0;  // keeps every contour, the speck too
  ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, board.data(), para, dst.data(), result), 0);
  EXPECT_EQ(result[3], 3.0f);
}

TEST(HostEdges, RefusesNullPlanesAndZeroArea) {
  host::ImgObject img;
  std::vector<unsigned char> plane(20, 9), dst(20, 5);
  float para[5] = {5, 4, 0, 0, 0};
  float result[4] = {-1, -1, -1, -1};
  EXPECT_EQ(img.Call<int>(kDetectEdgesCanny, static_cast<unsigned char*>(nullptr), para, dst.data(),
                          result),
            -1);
  EXPECT_EQ(img.Call<int>(kDetectEdgesCanny, plane.data(), para,
                          static_cast<unsigned char*>(nullptr), result),
            -1);
  para[0] = 0;
  EXPECT_EQ(img.Call<int>(kDetectEdgesCanny, plane.data(), para, dst.data(), result), -1);
  EXPECT_EQ(dst, std::vector<unsigned char>(20, 5));
  EXPECT_EQ(result[0], -1.0f);

  // A flat plane runs: no edges, both thresholds 0.
  para[0] = 5;
  ASSERT_EQ(img.Call<int>(kDetectEdgesCanny, plane.data(), para, dst.data(), result), 0);
  EXPECT_EQ(dst, std::vector<unsigned char>(20, 0));
  EXPECT_EQ(result[0], 0.0f);
  EXPECT_EQ(result[1], 0.0f);
  EXPECT_EQ(result[2], 0.0f);
}

}  // namespace
