// The circle-mark slots (2 to 5, 10 to 12, 17) called through the raw virtual table.
#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>

#include "support/host_library.hpp"

namespace {

// A disc of 200 on a board of 60 with noise, centre (70.3, 60.6), radius 20.
cv::Mat DiscBoard() {
  cv::Mat board(120, 140, CV_32F, cv::Scalar(60));
  cv::circle(board, cv::Point(cvRound(70.3 * 16), cvRound(60.6 * 16)), 20 * 16, cv::Scalar(200), -1,
             cv::LINE_AA, 4);
  cv::Mat noise(board.size(), CV_32F);
  cv::RNG rng(3);
  rng.fill(noise, cv::RNG::NORMAL, 0, 6);
  cv::Mat plane;
  cv::Mat(board + noise).convertTo(plane, CV_8U);
  return plane;
}

double Miss(const float* result) { return std::hypot(result[0] - 70.3, result[1] - 60.6); }

class HostCircleMark : public ::testing::Test {
 protected:
  host::ImgObject img;
  cv::Mat plane = DiscBoard();
  float para[5] = {140, 120, 20, 0, 0};
  void* none = nullptr;
};

TEST_F(HostCircleMark, MarkSearchesOfSlots10To12FindTheDiscAndRefuseNullOrOversizedInput) {
  for (int slot : {10, 11, 12}) {
    float result[3] = {};
    EXPECT_EQ(img.Call<int>(slot, plane.data, para, none, result), 0) << slot;
    EXPECT_LE(Miss(result), slot == 12 ? 2.0 : 1.0) << slot;  // slot 12 measures at half size
    EXPECT_EQ(result[2], 20.0f) << slot;
    EXPECT_EQ(img.Call<int>(slot, static_cast<unsigned char*>(nullptr), para, none, result), -1);
    EXPECT_EQ(result[0], 0.0f);
    EXPECT_EQ(result[2], 0.0f);
    float huge[5] = {140, 120, 500, 0, 0};
    result[0] = 5.0f;
    EXPECT_EQ(img.Call<int>(slot, plane.data, huge, none, result), -1) << slot;
    EXPECT_EQ(result[0], 0.0f);
  }
}

TEST_F(HostCircleMark, DirectHoughSlots3To5ReportTheCircleFound) {
  float result3[3] = {};
  EXPECT_EQ(img.Call<int>(3, plane.data, para, 5, result3), 0);
  EXPECT_LE(Miss(result3), 2.0);
  EXPECT_EQ(img.Call<int>(3, plane.data, para, 3, result3), -1);  // too short
  char width[] = "140", height[] = "120", radius[] = "20", threshold[] = "60";
  char* texts[4] = {width, height, radius, threshold};
  float result4[3] = {};
  EXPECT_EQ(img.Call<int>(4, plane.data, texts, none, result4), 0);
  EXPECT_LE(Miss(result4), 2.0);
  float result5[3] = {};
  EXPECT_EQ(img.Call<int>(5, plane.data, 140, 120, 20.0f, 60.0f, result5), 0);
  EXPECT_LE(Miss(result5), 2.0);
  EXPECT_NEAR(result5[2], 20.0f, 1.5f);
  EXPECT_EQ(img.Call<int>(5, static_cast<unsigned char*>(nullptr), 140, 120, 20.0f, 60.0f, result5),
            -1);
}

TEST_F(HostCircleMark, Slot17FitsTheDiscEdges) {
  float given[5] = {140, 120, 72, 59, 22};
  float result[5] = {};
  EXPECT_EQ(img.Call<int>(17, plane.data, given, none, result), 0);
  EXPECT_LE(Miss(result), 0.5);
  EXPECT_NEAR(result[2], 20.0f, 0.7f);
  EXPECT_NEAR(result[3], 20.0f, 0.7f);
  EXPECT_EQ(img.Call<int>(17, static_cast<unsigned char*>(nullptr), given, none, result), -1);
}

TEST_F(HostCircleMark, Slot2ReadsTheTestImageGivenByPath) {
  std::string path = ::testing::TempDir() + "host_circle_demo.png";
  ASSERT_TRUE(cv::imwrite(path, plane));
  EXPECT_EQ(img.Call<int>(2, reinterpret_cast<unsigned char*>(path.data())), 0);
  char missing[] = "/nonexistent/demo.png";
  EXPECT_EQ(img.Call<int>(2, reinterpret_cast<unsigned char*>(missing)), -1);
  EXPECT_EQ(img.Call<int>(2, static_cast<unsigned char*>(nullptr)), -1);
}

}  // namespace
