// Conversion between OpenCV's blue-green-red pixels and the host's red, green, blue planes.
#include "colour_planes.hpp"

namespace imgtarn::vision {

std::array<cv::Mat, 3> RgbPlanes(const cv::Mat& bgr) {
  cv::Mat channels[3];
  cv::split(bgr, channels);
  return {channels[2], channels[1], channels[0]};
}

cv::Mat MergeRgb(const std::array<cv::Mat, 3>& rgb) {
  const cv::Mat channels[3] = {rgb[2], rgb[1], rgb[0]};
  cv::Mat bgr;
  cv::merge(channels, 3, bgr);
  return bgr;
}

}  // namespace imgtarn::vision
