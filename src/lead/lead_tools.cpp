#include "lead_tools.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::lead {

LeadSearchParams LeadSearchParams::FromPara(const float* para) {
  LeadSearchParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.templateWidth = ParaInt(para, 2);
  params.templateHeight = ParaInt(para, 3);
  params.debug = ParaInt(para, 4) != 0;
  params.sideWidth = std::max(ParaInt(para, 5), 0);
  params.minScore = para[6];
  return params;
}

std::optional<LeadPlanes> WrapLeadPlanes(const unsigned char* image,
                                         const unsigned char* leadTemplate,
                                         const LeadSearchParams& params) {
  if (!IsUsablePlane(image, params.width, params.height) ||
      !IsUsablePlane(leadTemplate, params.templateWidth, params.templateHeight) ||
      params.templateWidth > params.width || params.templateHeight > params.height)
    return std::nullopt;
  return LeadPlanes{WrapPlane(image, params.width, params.height),
                    WrapPlane(leadTemplate, params.templateWidth, params.templateHeight)};
}

namespace {

struct Match {
  cv::Point location;
  float score = 0;
};

Match BestMatch(const cv::Mat& image, const cv::Mat& leadTemplate) {
  cv::Mat scores;
  cv::matchTemplate(image, leadTemplate, scores, cv::TM_CCOEFF_NORMED);
  // A flat template or a flat window has no correlation; count it as no match at all.
  cv::patchNaNs(scores, 0.0);
  double best = 0;
  Match match;
  cv::minMaxLoc(scores, nullptr, &best, nullptr, &match.location);
  match.score = static_cast<float>(best);
  return match;
}

}  // namespace

LeadLayout LocateLead(const LeadPlanes& planes, int sideWidth, float minScore) {
  const Match match = BestMatch(planes.image, planes.leadTemplate);
  LeadLayout layout;
  layout.score = match.score;
  // A NaN minimum never compares true, so it finds nothing rather than everything.
  layout.found = match.score >= minScore;
  if (!layout.found) return layout;
  layout.box = cv::Rect(match.location, planes.leadTemplate.size());
  layout.centre = cv::Point2f(
      static_cast<float>(layout.box.x) + static_cast<float>(layout.box.width - 1) / 2.0f,
      static_cast<float>(layout.box.y) + static_cast<float>(layout.box.height - 1) / 2.0f);
  const cv::Rect whole(0, 0, planes.image.cols, planes.image.rows);
  sideWidth = std::min(sideWidth, whole.width);  // wider only overflows the rectangle sums
  layout.left =
      cv::Rect(layout.box.x - sideWidth, layout.box.y, sideWidth, layout.box.height) & whole;
  layout.right = cv::Rect(layout.box.br().x, layout.box.y, sideWidth, layout.box.height) & whole;
  return layout;
}

cv::Mat DrawLayout(const cv::Mat& image, const LeadLayout& layout) {
  cv::Mat picture;
  cv::cvtColor(image, picture, cv::COLOR_GRAY2BGR);
  if (!layout.found) return picture;
  cv::rectangle(picture, layout.box, cv::Scalar(0, 255, 0));
  if (!layout.left.empty()) cv::rectangle(picture, layout.left, cv::Scalar(255, 0, 0));
  if (!layout.right.empty()) cv::rectangle(picture, layout.right, cv::Scalar(0, 0, 255));
  return picture;
}

}  // namespace imgtarn::lead
