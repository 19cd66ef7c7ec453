// Lead measurement on synthetic images: a lead drawn at a known offset from where the host
// expects it, cut and judged through the same template.
#include "lead.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "debug_view.hpp"

namespace imgtarn::lead {
namespace {

using Floats = std::vector<float>;
constexpr int kWidth = 100, kHeight = 60, kLeadWidth = 10, kLeadHeight = 24;
// The template keeps a margin of 4 pixels of background around the lead.
constexpr int kMargin = 4, kTemplateWidth = kLeadWidth + 2 * kMargin,
              kTemplateHeight = kLeadHeight + 2 * kMargin;
const cv::Point kNominalLead(40, 14);  // top-left of the lead where the host expects it
// Centre of the template box around the nominal lead: 44.5, 25.5.
constexpr float kExpectedX = 44.5f, kExpectedY = 25.5f;

// A dark board with a bright lead at `topLeft`, a darker bend line across the lead.
cv::Mat LeadImage(cv::Point topLeft) {
  cv::Mat image(kHeight, kWidth, CV_8UC1, cv::Scalar(30));
  image(cv::Rect(topLeft, cv::Size(kLeadWidth, kLeadHeight))).setTo(cv::Scalar(200));
  image(cv::Rect(topLeft + cv::Point(0, 8), cv::Size(kLeadWidth, 3))).setTo(cv::Scalar(120));
  return image;
}

// The lead drawn `offset` from where the host expects it; the template is cut around the
// expected lead.
struct Scene {
  explicit Scene(cv::Point offset = {})
      : image(LeadImage(kNominalLead + offset)),
        leadTemplate(LeadImage(kNominalLead)(cv::Rect(kNominalLead - cv::Point(kMargin, kMargin),
                                                      cv::Size(kTemplateWidth, kTemplateHeight)))
                         .clone()) {}
  int Cut(Floats& para) { return CutLeadRois(image.data, leadTemplate.data, para.data()); }
  int Measure(Floats& para, float* result) {
    return MeasureLeadRoi(image.data, leadTemplate.data, para.data(), result);
  }
  cv::Mat image, leadTemplate;
};

// Side regions 6 wide, position tolerance 1.5, sides no brighter than 100.
Floats Para(float minScore = 0.8f) {
  Floats para = {kWidth, kHeight,  kTemplateWidth, kTemplateHeight, 0,
                 6,      minScore, kExpectedX,     kExpectedY,      1.5f,
                 100};
  para.resize(20, 0.0f);
  return para;
}

Floats Slice(const Floats& v, int from, int n) { return {v.begin() + from, v.begin() + from + n}; }

class LeadOffset : public ::testing::TestWithParam<cv::Point> {};

TEST_P(LeadOffset, CutFindsTheSideRegionsAndMeasureReportsThePositionError) {
  const cv::Point offset = GetParam();
  Scene scene(offset);
  Floats para = Para();
  ASSERT_EQ(scene.Cut(para), 0);
  EXPECT_EQ(para[7], 1.0f);
  EXPECT_NEAR(para[8], 1.0f, 1e-4);
  EXPECT_EQ(Slice(para, 9, 2), (Floats{kExpectedX + offset.x, kExpectedY + offset.y}));
  const float boxX = static_cast<float>(kNominalLead.x - kMargin + offset.x);
  const float boxY = static_cast<float>(kNominalLead.y - kMargin + offset.y);
  EXPECT_EQ(Slice(para, 11, 4), (Floats{boxX - 6, boxY, 6, kTemplateHeight}));
  EXPECT_EQ(Slice(para, 15, 4), (Floats{boxX + kTemplateWidth, boxY, 6, kTemplateHeight}));

  Floats result(10, 0.0f);
  para = Para();
  ASSERT_EQ(scene.Measure(para, result.data()), 0);
  EXPECT_EQ(result[0], 1.0f);
  EXPECT_EQ(Slice(result, 4, 2), (Floats{float(offset.x), float(offset.y)}));
  EXPECT_EQ(Slice(result, 7, 2), (Floats{30, 30}));  // dark board on both sides
  const bool within = std::abs(offset.x) <= 1 && std::abs(offset.y) <= 1;
  EXPECT_EQ(result[9], within ? 0.0f : 1.0f);
}

INSTANTIATE_TEST_SUITE_P(Offsets, LeadOffset,
                         ::testing::Values(cv::Point(0, 0), cv::Point(1, -1), cv::Point(3, 0),
                                           cv::Point(-7, 2), cv::Point(0, -5)));

TEST(MeasureLeadRoi, BrightSideOrNaNLimitsSetTheirFlags) {
  Scene scene;
  // Solder bridging out to the right of the lead, inside the right region.
  scene.image(cv::Rect(kNominalLead.x + kLeadWidth + kMargin, kNominalLead.y, 6, kLeadHeight))
      .setTo(cv::Scalar(250));
  Floats para = Para();
  float result[10] = {};
  ASSERT_EQ(scene.Measure(para, result), 0);
  EXPECT_EQ(result[7], 30.0f);
  EXPECT_GT(result[8], 100.0f);
  EXPECT_EQ(result[9], 4.0f);
  // NaN limits judge against the lead: position and both sides flagged.
  para = Para();
  para[9] = para[10] = std::numeric_limits<float>::quiet_NaN();
  ASSERT_EQ(Scene().Measure(para, result), 0);
  EXPECT_EQ(result[9], 1.0f + 2.0f + 4.0f);
}

TEST(LeadOperations, LeadThatDoesNotMatchIsNotFound) {
  Scene scene;
  for (int y = 0; y < kTemplateHeight; ++y)
    for (int x = 0; x < kTemplateWidth; ++x)
      scene.leadTemplate.at<unsigned char>(y, x) = ((x / 2 + y / 2) % 2) ? 220 : 10;
  Floats para = Para(0.95f);
  Floats result(10, 7.0f);
  ASSERT_EQ(scene.Measure(para, result.data()), 0);
  EXPECT_EQ(Slice(result, 0, 5), (Floats{0, result[1], 0, 0, 0}));
  EXPECT_EQ(result[9], 8.0f);
  ASSERT_EQ(scene.Cut(para), 0);
  EXPECT_EQ(para[7], 0.0f);
  EXPECT_EQ(Slice(para, 9, 10), Floats(10, 0.0f));
}

TEST(LeadOperations, RefuseMissingPlanesAndImpossibleSizes) {
  Scene scene;
  unsigned char* image = scene.image.data;
  unsigned char* templ = scene.leadTemplate.data;
  float result[10] = {};
  Floats para = Para();
  EXPECT_EQ(CutLeadRois(nullptr, templ, para.data()), -1);
  EXPECT_EQ(CutLeadRois(image, nullptr, para.data()), -1);
  EXPECT_EQ(CutLeadRois(image, templ, nullptr), -1);
  EXPECT_EQ(MeasureLeadRoi(nullptr, templ, para.data(), result), -1);
  EXPECT_EQ(MeasureLeadRoi(image, templ, para.data(), nullptr), -1);
  // A zero width or height of either plane, or a template wider than the image.
  for (const auto& [index, value] : {std::pair{0, 0.0f}, std::pair{1, 0.0f}, std::pair{2, 0.0f},
                                     std::pair{3, 0.0f}, std::pair{2, kWidth + 1.0f}}) {
    Floats bad = Para();
    bad[index] = value;
    EXPECT_EQ(scene.Cut(bad), -1) << index;
    EXPECT_EQ(scene.Measure(bad, result), -1) << index;
  }
}

TEST(LeadOperations, DebugWindowOnlyWhenSwitchedOn) {
  debug_view::RecordingSink sink;
  debug_view::ScopedSink scope(&sink);
  Scene scene;
  float result[10] = {};
  for (float debug : {0.0f, 1.0f}) {
    Floats cut = Para(), measure = Para();
    cut[4] = measure[4] = debug;
    ASSERT_EQ(scene.Cut(cut), 0);
    ASSERT_EQ(scene.Measure(measure, result), 0);
  }
  EXPECT_EQ(sink.Titles(), (std::vector<std::string>{"matLeadRois", "matLeadMeasure"}));
}

}  // namespace
}  // namespace imgtarn::lead
