// The "closing circle": many Hough centres reduced to the centre of their enclosing circle.
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "debug_view.hpp"
#include "para.hpp"

namespace imgtarn::circle_mark {
namespace {

void ShowClosingCircle(const cv::Mat& image, const CircleList& circles,
                       const std::vector<cv::Point>& centres, cv::Point2f enclosingCentre,
                       float enclosingRadius) {
  cv::Mat canvas = image.clone();
  for (const cv::Point& centre : centres) cv::circle(canvas, centre, 1, cv::Scalar(255), -1);
  cv::circle(canvas, cv::Point(TruncToInt(enclosingCentre.x), TruncToInt(enclosingCentre.y)),
             TruncToInt(enclosingRadius), cv::Scalar(255), 1);
  CaptionCircle(canvas, enclosingCentre.x, enclosingCentre.y, enclosingRadius);
  debug_view::Show("--closing circle--", canvas);
  ShowCircleMosaic(circles, image, "tempHCRoi2");
}

}  // namespace

std::optional<cv::Point> ClosingCircleCentre(const cv::Mat& image, float radius, bool debug) {
  const CircleList circles =
      HoughGradientCircles(image, 50.0, 25.0, TruncToInt(radius - 2.0f), TruncToInt(radius + 2.0f));
  if (circles.empty()) return std::nullopt;

  std::vector<cv::Point> centres;
  for (const cv::Vec3f& circle : circles)
    centres.emplace_back(TruncToInt(circle[0]), TruncToInt(circle[1]));
  cv::Point2f enclosingCentre;
  float enclosingRadius = 0.0f;
  cv::minEnclosingCircle(centres, enclosingCentre, enclosingRadius);
  if (debug) ShowClosingCircle(image, circles, centres, enclosingCentre, enclosingRadius);
  return cv::Point(TruncToInt(enclosingCentre.x), TruncToInt(enclosingCentre.y));
}

}  // namespace imgtarn::circle_mark
