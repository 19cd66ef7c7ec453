// The argument checks every typed operation starts with, and the one packed copy they share.
#ifndef IMGTARN_VISION_INPUT_CHECKS_HPP
#define IMGTARN_VISION_INPUT_CHECKS_HPP

#include <initializer_list>
#include <opencv2/core.hpp>
#include <string>

#include "imgtarn/vision.hpp"

namespace imgtarn::vision {

// Throws InvalidArgument(argument, problem) unless `condition` holds.
void Require(bool condition, const char* argument, const std::string& problem);

// Throws InvalidArgument naming `argument` unless `image` is a two-dimensional matrix of at
// least one pixel whose type is one of `types` (e.g. CV_8UC1).
void RequireImage(const cv::Mat& image, const char* argument, std::initializer_list<int> types);

// Throws InvalidArgument naming `argument` unless `image` has the size of `reference`, which
// is named `referenceName` in the message.
void RequireSameSize(const cv::Mat& image, const char* argument, const cv::Mat& reference,
                     const char* referenceName);

// The image itself when its rows are packed and it is not a view into a larger image, else a
// packed copy. The cores treat their input as a host plane: OpenCV's filters would read the
// pixels around a view, which a plane of that size does not have.
cv::Mat Packed(const cv::Mat& image);

}  // namespace imgtarn::vision

#endif  // IMGTARN_VISION_INPUT_CHECKS_HPP
