// The synthetic disc template and the correlation search that gives the first estimate.
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "debug_view.hpp"
#include "para.hpp"

namespace imgtarn::circle_mark {
namespace {

void ShowTemplateMatch(const cv::Mat& image, cv::Point corner, cv::Size size,
                       const CircleEstimate& found) {
  cv::Mat canvas = image.clone();
  const cv::Point centre(TruncToInt(found.x), TruncToInt(found.y));
  cv::rectangle(canvas, cv::Rect(corner, size), cv::Scalar(255), 1);
  cv::circle(canvas, centre, TruncToInt(found.radius), cv::Scalar(255), 2);
  cv::circle(canvas, centre, 3, cv::Scalar(255), -1);
  CaptionCircle(canvas, found.x, found.y, found.radius);
  DrawValueText(canvas, found.score, cv::Point(5, 100));
  debug_view::Show(std::string("---template find --") + "bilateral", canvas);
}

}  // namespace

cv::Mat MakeDiscTemplate(float radius) {
  const int side = TruncToInt(2.0f * radius + 2.0f);
  cv::Mat disc = cv::Mat::zeros(side, side, CV_8UC1);
  cv::circle(disc, cv::Point(side / 2, side / 2), TruncToInt(radius), cv::Scalar(255), -1,
             cv::LINE_8);
  return disc;
}

CircleEstimate FindDiscByTemplate(const cv::Mat& image, const cv::Mat& disc, float radius,
                                  bool debug) {
  cv::Mat match;
  cv::matchTemplate(image, disc, match, cv::TM_CCOEFF_NORMED);
  double maxValue = 0.0;
  cv::Point maxLoc;
  cv::minMaxLoc(match, nullptr, &maxValue, nullptr, &maxLoc);

  // The centre sits the integer half of the template size from the match corner, so an odd
  // template of side 23 puts it 11 pixels in.
  CircleEstimate found;
  found.x = static_cast<float>(maxLoc.x + disc.cols / 2);
  found.y = static_cast<float>(maxLoc.y + disc.rows / 2);
  found.radius = radius;
  found.score = static_cast<float>(maxValue);
  if (debug) ShowTemplateMatch(image, maxLoc, disc.size(), found);
  return found;
}

}  // namespace imgtarn::circle_mark
