#include "edge_contours.hpp"

#include <opencv2/imgproc.hpp>

#include "fill_contours.hpp"

namespace imgtarn::edges {

namespace {

// A 5x5 ellipse bridges breaks of up to about three pixels in a pad outline while pads that
// lie further apart than that stay separate shapes.
constexpr int kClosingSize = 5;

cv::Mat CloseEdgeGaps(const cv::Mat& edges) {
  const cv::Mat element =
      cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(kClosingSize, kClosingSize));
  cv::Mat closed;
  cv::morphologyEx(edges, closed, cv::MORPH_CLOSE, element);
  return closed;
}

}  // namespace

std::vector<Contour> FindClosedContours(const cv::Mat& edges, int minArea) {
  std::vector<Contour> all;
  cv::findContours(CloseEdgeGaps(edges), all, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE);
  std::vector<Contour> kept;
  for (Contour& contour : all) {
    if (cv::contourArea(contour) >= minArea) kept.push_back(std::move(contour));
  }
  return kept;
}

void FillContoursInto(const std::vector<Contour>& contours, cv::Mat& mask) {
  mask.setTo(0);
  if (!contours.empty()) FillContoursAtOnce(mask, contours, cv::Scalar(255));
}

}  // namespace imgtarn::edges
