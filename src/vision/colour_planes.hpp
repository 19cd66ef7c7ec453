// Colour images as the host's three planes: red, green, blue, in that order.
#ifndef IMGTARN_VISION_COLOUR_PLANES_HPP
#define IMGTARN_VISION_COLOUR_PLANES_HPP

#include <array>
#include <opencv2/core.hpp>

namespace imgtarn::vision {

// The planes of a three-channel (blue, green, red) image, red first, each packed.
std::array<cv::Mat, 3> RgbPlanes(const cv::Mat& bgr);
// A three-channel image from red, green and blue planes of one size and type.
cv::Mat MergeRgb(const std::array<cv::Mat, 3>& rgb);

}  // namespace imgtarn::vision

#endif  // IMGTARN_VISION_COLOUR_PLANES_HPP
