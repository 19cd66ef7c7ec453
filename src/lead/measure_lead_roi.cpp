// Slot 16: find the lead, then judge its position error and the brightness beside it.
#include <cmath>
#include <optional>

#include "debug_view.hpp"
#include "lead.hpp"
#include "lead_tools.hpp"

namespace imgtarn::lead {
namespace {

struct JudgeParams {
  LeadSearchParams search;
  cv::Point2f expected;
  float tolerance = 0;
  float maxSideBrightness = 0;
  static JudgeParams FromPara(const float* para);
};

JudgeParams JudgeParams::FromPara(const float* para) {
  JudgeParams params;
  params.search = LeadSearchParams::FromPara(para);
  params.expected = cv::Point2f(para[7], para[8]);
  params.tolerance = para[9];
  params.maxSideBrightness = para[10];
  return params;
}

struct LeadMeasurement {
  cv::Point2f error;
  float leadBrightness = 0;
  float leftBrightness = 0;  // 0 for a region cut away by the image border
  float rightBrightness = 0;
  int judgement = kNotFound;
};

float MeanGrey(const cv::Mat& image, const cv::Rect& region) {
  return region.empty() ? 0.0f : static_cast<float>(cv::mean(image(region))[0]);
}

// Each test is written so that a NaN limit fails it, never passes it silently.
int Judge(const LeadMeasurement& m, const JudgeParams& params) {
  int judgement = 0;
  if (!(std::fabs(m.error.x) <= params.tolerance && std::fabs(m.error.y) <= params.tolerance))
    judgement |= kPositionOff;
  if (!(m.leftBrightness <= params.maxSideBrightness)) judgement |= kLeftBright;
  if (!(m.rightBrightness <= params.maxSideBrightness)) judgement |= kRightBright;
  return judgement;
}

LeadMeasurement Measure(const cv::Mat& image, const LeadLayout& layout, const JudgeParams& params) {
  LeadMeasurement m;
  if (!layout.found) return m;
  m.error = layout.centre - params.expected;
  m.leadBrightness = MeanGrey(image, layout.box);
  m.leftBrightness = MeanGrey(image, layout.left);
  m.rightBrightness = MeanGrey(image, layout.right);
  m.judgement = Judge(m, params);
  return m;
}

void WriteResult(const LeadLayout& layout, const LeadMeasurement& m, float* result) {
  result[0] = layout.found ? 1.0f : 0.0f;
  result[1] = layout.score;
  result[2] = layout.centre.x;
  result[3] = layout.centre.y;
  result[4] = m.error.x;
  result[5] = m.error.y;
  result[6] = m.leadBrightness;
  result[7] = m.leftBrightness;
  result[8] = m.rightBrightness;
  result[9] = static_cast<float>(m.judgement);
}

}  // namespace

int MeasureLeadRoi(const unsigned char* image, const unsigned char* leadTemplate, const float* para,
                   float* result) {
  if (para == nullptr || result == nullptr) return -1;
  const JudgeParams params = JudgeParams::FromPara(para);
  const std::optional<LeadPlanes> planes = WrapLeadPlanes(image, leadTemplate, params.search);
  if (!planes) return -1;
  const LeadLayout layout = LocateLead(*planes, params.search.sideWidth, params.search.minScore);
  WriteResult(layout, Measure(planes->image, layout, params), result);
  if (params.search.debug) {
    debug_view::ShowAndPaint("matLeadMeasure", DrawLayout(planes->image, layout));
  }
  return 0;
}

}  // namespace imgtarn::lead
