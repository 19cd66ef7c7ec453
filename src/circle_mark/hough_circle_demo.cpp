// The Sobel-edge and Hough-circle display of a test image (slot 2).
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "debug_view.hpp"

namespace imgtarn::circle_mark {
namespace {

cv::Mat SobelEdges(const cv::Mat& grey) {
  cv::Mat gx, gy, absX, absY, edges;
  cv::Sobel(grey, gx, CV_16S, 1, 0, 3);
  cv::Sobel(grey, gy, CV_16S, 0, 1, 3);
  cv::convertScaleAbs(gx, absX);
  cv::convertScaleAbs(gy, absY);
  cv::addWeighted(absX, 0.5, absY, 0.5, 0, edges);
  return edges;
}

cv::Mat DrawHoughCircles(const cv::Mat& grey) {
  cv::Mat smooth;
  cv::GaussianBlur(grey, smooth, cv::Size(9, 9), 2, 2);
  CircleList circles;
  // Circles at least an eighth of the image apart, every radius: a survey, not a search.
  cv::HoughCircles(smooth, circles, cv::HOUGH_GRADIENT, 1.0, grey.rows / 8.0 + 1.0, 200, 100);
  cv::Mat canvas;
  cv::cvtColor(grey, canvas, cv::COLOR_GRAY2BGR);
  for (const cv::Vec3f& circle : circles) {
    const cv::Point centre(cvRound(circle[0]), cvRound(circle[1]));
    cv::circle(canvas, centre, 3, cv::Scalar(0, 255, 0), -1);
    cv::circle(canvas, centre, cvRound(circle[2]), cv::Scalar(0, 0, 255), 3);
  }
  return canvas;
}

}  // namespace

int HoughCircleDemo(unsigned char* path) {
  if (path == nullptr) return -1;
  const cv::Mat grey = cv::imread(reinterpret_cast<const char*>(path), cv::IMREAD_GRAYSCALE);
  if (grey.empty()) return -1;
  debug_view::Show("Sobel Edges", SobelEdges(grey));
  debug_view::Show("Hough Circles", DrawHoughCircles(grey));
  return 0;
}

}  // namespace imgtarn::circle_mark
