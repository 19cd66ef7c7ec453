// Captions and circle mosaics for the debug windows of the circle operations.
#include <cstdio>
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "debug_view.hpp"
#include "para.hpp"

namespace imgtarn::circle_mark {

void DrawValueText(cv::Mat& image, double value, cv::Point origin) {
  // A zero is never captioned: it marks a value that was not measured.
  if (value == 0.0) return;
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", value);
  cv::putText(image, text, origin, cv::FONT_HERSHEY_SIMPLEX, 1.0, cv::Scalar(255), 1, cv::LINE_8);
}

void CaptionCircle(cv::Mat& image, float x, float y, float radius) {
  DrawValueText(image, radius, cv::Point(5, 30));
  DrawValueText(image, x, cv::Point(150, 30));
  DrawValueText(image, y, cv::Point(250, 30));
}

cv::Mat CircleMosaic(const CircleList& circles, const cv::Mat& image, bool captions) {
  const int count = static_cast<int>(circles.size());
  const int tileRows = (count + 1) / 2;
  cv::Mat mosaic = cv::Mat::zeros(tileRows * image.rows, 2 * image.cols, image.type());
  for (int i = 0; i < count; ++i) {
    const cv::Vec3f& circle = circles[i];
    cv::Mat tile = image.clone();
    const cv::Point centre(cvRound(circle[0]), cvRound(circle[1]));
    cv::circle(tile, centre, 3, cv::Scalar(255), -1);
    cv::circle(tile, centre, cvRound(circle[2]), cv::Scalar(255), 1);
    if (captions) CaptionCircle(tile, circle[0], circle[1], circle[2]);
    const cv::Rect place((i % 2) * image.cols, (i / 2) * image.rows, image.cols, image.rows);
    tile.copyTo(mosaic(place));
  }
  return mosaic;
}

void ShowCircleMosaic(const CircleList& circles, const cv::Mat& image, const std::string& title) {
  // An empty list makes an empty mosaic, which no window can show.
  if (circles.empty() || image.empty()) return;
  debug_view::Show(title, CircleMosaic(circles, image, true));
}

}  // namespace imgtarn::circle_mark
