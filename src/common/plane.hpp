// Wrapping host planes in cv::Mat headers without copying.
#ifndef IMGTARN_COMMON_PLANE_HPP
#define IMGTARN_COMMON_PLANE_HPP

#include <opencv2/core.hpp>

namespace imgtarn {

// A header over width x height 8-bit samples with stride = width. The caller keeps ownership.
inline cv::Mat WrapPlane(unsigned char* data, int width, int height) {
  return cv::Mat(height, width, CV_8UC1, data);
}
inline cv::Mat WrapPlane(const unsigned char* data, int width, int height) {
  return cv::Mat(height, width, CV_8UC1, const_cast<unsigned char*>(data));
}
// The same for single-precision float planes (stride = width * 4 bytes).
inline cv::Mat WrapFloatPlane(float* data, int width, int height) {
  return cv::Mat(height, width, CV_32FC1, data);
}

// True when the plane pointer is usable and width x height is a positive area.
inline bool IsUsablePlane(const void* data, int width, int height) {
  return data != nullptr && width > 0 && height > 0;
}

}  // namespace imgtarn

#endif  // IMGTARN_COMMON_PLANE_HPP
