// The reference methods the locator is compared with: what a user gets from plain OpenCV.
#ifndef IMGTARN_TOOLS_EVAL_FIDUCIALS_PEERS_HPP
#define IMGTARN_TOOLS_EVAL_FIDUCIALS_PEERS_HPP

#include <opencv2/core.hpp>
#include <optional>

namespace eval_fiducials {

// cv::HoughCircles after a 9 x 9 Gaussian (sigma 2), the circle whose radius is nearest.
std::optional<cv::Point2f> HoughNearestRadius(const cv::Mat& grey, float radius);
// Normalised correlation with a disc as cv::circle draws it (whole-pixel radius, no shading),
// the peak placed by a three-point parabola.
std::optional<cv::Point2f> DiscTemplatePeak(const cv::Mat& grey, float radius);
// The same with the exact radius and edge pixels shaded by coverage.
std::optional<cv::Point2f> ShadedDiscPeak(const cv::Mat& grey, float radius);
// The same with a drawn rectangle or plus sign (bars a third of the size).
std::optional<cv::Point2f> BoxTemplatePeak(const cv::Mat& grey, cv::Size2f size, bool cross);

}  // namespace eval_fiducials

#endif  // IMGTARN_TOOLS_EVAL_FIDUCIALS_PEERS_HPP
