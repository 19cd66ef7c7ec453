// Lead measurement on synthetic images: a lead drawn at a known offset from where the host
// expects it, cut and judged through the same template.
#include "lead/lead.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "common/debug_view.hpp"

namespace imgtarn::lead {
namespace {

constexpr int kWidth = 100, kHeight = 60;
constexpr int kMargin = 4;  // background kept around the lead in the template
constexpr int kLeadWidth = 10, kLeadHeight = 24;
constexpr int kTemplateWidth = kLeadWidth + 2 * kMargin;
constexpr int kTemplateHeight = kLeadHeight + 2 * kMargin;
const cv::Point kNominalLead(40, 14);  // top-left of the lead where the host expects it
constexpr float kExpectedX = 40 - kMargin + (kTemplateWidth - 1) / 2.0f;   // 44.5
constexpr float kExpectedY = 14 - kMargin + (kTemplateHeight - 1) / 2.0f;  // 25.5

// A bright lead with a darker bend line across it, on a dark board.
void DrawLead(cv::Mat& image, cv::Point topLeft) {
  image(cv::Rect(topLeft, cv::Size(kLeadWidth, kLeadHeight))).setTo(cv::Scalar(200));
  image(cv::Rect(topLeft + cv::Point(0, 8), cv::Size(kLeadWidth, 3))).setTo(cv::Scalar(120));
}

struct Scene {
  explicit Scene(cv::Point offset) : image(kHeight, kWidth, CV_8UC1, cv::Scalar(30)) {
    DrawLead(image, kNominalLead + offset);
    cv::Mat reference(kHeight, kWidth, CV_8UC1, cv::Scalar(30));
    DrawLead(reference, kNominalLead);
    leadTemplate = reference(cv::Rect(kNominalLead - cv::Point(kMargin, kMargin),
                                      cv::Size(kTemplateWidth, kTemplateHeight)))
                       .clone();
  }
  cv::Mat image;
  cv::Mat leadTemplate;
};

std::vector<float> Para(int sideWidth = 6, float minScore = 0.8f) {
  std::vector<float> para(20, 0.0f);
  para[0] = kWidth;
  para[1] = kHeight;
  para[2] = kTemplateWidth;
  para[3] = kTemplateHeight;
  para[5] = static_cast<float>(sideWidth);
  para[6] = minScore;
  para[7] = kExpectedX;
  para[8] = kExpectedY;
  para[9] = 1.5f;  // position tolerance
  para[10] = 100;  // brightest acceptable side region
  return para;
}

class LeadOffset : public ::testing::TestWithParam<cv::Point> {};

TEST_P(LeadOffset, CutFindsTheLeadAndItsSideRegions) {
  const cv::Point offset = GetParam();
  Scene scene(offset);
  std::vector<float> para = Para();
  ASSERT_EQ(CutLeadRois(scene.image.data, scene.leadTemplate.data, para.data()), 0);
  EXPECT_EQ(para[7], 1.0f);
  EXPECT_NEAR(para[8], 1.0f, 1e-4);
  EXPECT_EQ(para[9], kExpectedX + offset.x);
  EXPECT_EQ(para[10], kExpectedY + offset.y);
  const float boxX = static_cast<float>(kNominalLead.x - kMargin + offset.x);
  const float boxY = static_cast<float>(kNominalLead.y - kMargin + offset.y);
  const float left[4] = {boxX - 6, boxY, 6, kTemplateHeight};
  const float right[4] = {boxX + kTemplateWidth, boxY, 6, kTemplateHeight};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(para[11 + i], left[i]) << i;
    EXPECT_EQ(para[15 + i], right[i]) << i;
  }
}

TEST_P(LeadOffset, MeasureReportsTheOffsetAsPositionError) {
  const cv::Point offset = GetParam();
  Scene scene(offset);
  std::vector<float> para = Para();
  float result[10] = {};
  ASSERT_EQ(MeasureLeadRoi(scene.image.data, scene.leadTemplate.data, para.data(), result), 0);
  EXPECT_EQ(result[0], 1.0f);
  EXPECT_EQ(result[4], static_cast<float>(offset.x));
  EXPECT_EQ(result[5], static_cast<float>(offset.y));
  EXPECT_EQ(result[7], 30.0f);  // dark board on both sides
  EXPECT_EQ(result[8], 30.0f);
  const bool within = std::abs(offset.x) <= 1 && std::abs(offset.y) <= 1;
  EXPECT_EQ(result[9], within ? 0.0f : 1.0f);
}

INSTANTIATE_TEST_SUITE_P(Offsets, LeadOffset,
                         ::testing::Values(cv::Point(0, 0), cv::Point(1, -1), cv::Point(3, 0),
                                           cv::Point(-7, 2), cv::Point(0, -5)));

TEST(MeasureLeadRoi, BrightSolderBesideTheLeadIsFlaggedOnItsSide) {
  Scene scene({0, 0});
  // Solder bridging out to the right of the lead, inside the right region.
  scene.image(cv::Rect(kNominalLead.x + kLeadWidth + kMargin, kNominalLead.y, 6, kLeadHeight))
      .setTo(cv::Scalar(250));
  std::vector<float> para = Para();
  float result[10] = {};
  ASSERT_EQ(MeasureLeadRoi(scene.image.data, scene.leadTemplate.data, para.data(), result), 0);
  EXPECT_EQ(result[0], 1.0f);
  EXPECT_EQ(result[7], 30.0f);
  EXPECT_GT(result[8], 100.0f);
  EXPECT_EQ(result[9], 4.0f);
}

TEST(MeasureLeadRoi, LeadThatDoesNotMatchIsNotFound) {
  Scene scene({0, 0});
  cv::Mat checker(kTemplateHeight, kTemplateWidth, CV_8UC1);
  for (int y = 0; y < checker.rows; ++y)
    for (int x = 0; x < checker.cols; ++x)
      checker.at<unsigned char>(y, x) = ((x / 2 + y / 2) % 2) ? 220 : 10;
  std::vector<float> para = Para(6, 0.95f);
  float result[10];
  std::fill(std::begin(result), std::end(result), 7.0f);
  ASSERT_EQ(MeasureLeadRoi(scene.image.data, checker.data, para.data(), result), 0);
  EXPECT_EQ(result[0], 0.0f);
  EXPECT_LT(result[1], 0.95f);
  EXPECT_EQ(result[4], 0.0f);
  EXPECT_EQ(result[9], 8.0f);

  ASSERT_EQ(CutLeadRois(scene.image.data, checker.data, para.data()), 0);
  EXPECT_EQ(para[7], 0.0f);
  for (int i = 9; i < 19; ++i) EXPECT_EQ(para[i], 0.0f) << i;
}

TEST(CutLeadRois, SideRegionIsClippedAtTheImageBorder) {
  Scene scene({-kNominalLead.x + kMargin + 2, 0});  // template box starts at column 2
  std::vector<float> para = Para(6);
  ASSERT_EQ(CutLeadRois(scene.image.data, scene.leadTemplate.data, para.data()), 0);
  ASSERT_EQ(para[7], 1.0f);
  EXPECT_EQ(para[11], 0.0f);
  EXPECT_EQ(para[13], 2.0f);
  EXPECT_EQ(para[15], 2.0f + kTemplateWidth);
  EXPECT_EQ(para[17], 6.0f);
}

TEST(LeadOperations, RefuseMissingPlanesAndImpossibleSizes) {
  Scene scene({0, 0});
  unsigned char* image = scene.image.data;
  unsigned char* templ = scene.leadTemplate.data;
  float result[10] = {};
  std::vector<float> para = Para();
  EXPECT_EQ(CutLeadRois(nullptr, templ, para.data()), -1);
  EXPECT_EQ(CutLeadRois(image, nullptr, para.data()), -1);
  EXPECT_EQ(CutLeadRois(image, templ, nullptr), -1);
  EXPECT_EQ(MeasureLeadRoi(nullptr, templ, para.data(), result), -1);
  EXPECT_EQ(MeasureLeadRoi(image, templ, para.data(), nullptr), -1);
  for (int index : {0, 1, 2, 3}) {
    std::vector<float> zero = Para();
    zero[index] = 0;
    EXPECT_EQ(CutLeadRois(image, templ, zero.data()), -1) << index;
    EXPECT_EQ(MeasureLeadRoi(image, templ, zero.data(), result), -1) << index;
  }
  std::vector<float> tooWide = Para();
  tooWide[2] = kWidth + 1;
  EXPECT_EQ(CutLeadRois(image, templ, tooWide.data()), -1);
  EXPECT_EQ(MeasureLeadRoi(image, templ, tooWide.data(), result), -1);
}

TEST(LeadOperations, NaNLimitsJudgeAgainstTheLead) {
  Scene scene({0, 0});
  std::vector<float> para = Para();
  para[9] = std::numeric_limits<float>::quiet_NaN();
  para[10] = std::numeric_limits<float>::quiet_NaN();
  float result[10] = {};
  ASSERT_EQ(MeasureLeadRoi(scene.image.data, scene.leadTemplate.data, para.data(), result), 0);
  EXPECT_EQ(result[9], 1.0f + 2.0f + 4.0f);
}

TEST(LeadOperations, DebugWindowOnlyWhenSwitchedOn) {
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  Scene scene({0, 0});
  std::vector<float> para = Para();
  float result[10] = {};
  ASSERT_EQ(CutLeadRois(scene.image.data, scene.leadTemplate.data, para.data()), 0);
  ASSERT_EQ(MeasureLeadRoi(scene.image.data, scene.leadTemplate.data, para.data(), result), 0);
  EXPECT_TRUE(sink.Empty());
  para[4] = 1;
  ASSERT_EQ(CutLeadRois(scene.image.data, scene.leadTemplate.data, para.data()), 0);
  para[4] = 1;
  ASSERT_EQ(MeasureLeadRoi(scene.image.data, scene.leadTemplate.data, para.data(), result), 0);
  EXPECT_EQ(sink.Titles(), (std::vector<std::string>{"matLeadRois", "matLeadMeasure"}));
  EXPECT_TRUE(sink.Files().empty());
}

}  // namespace
}  // namespace imgtarn::lead
