// The shared Hough call and the smoothing both search stages start from.
#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"

namespace imgtarn::circle_mark {

CircleList HoughGradientCircles(const cv::Mat& image, double param1, double param2, int minRadius,
                                int maxRadius) {
  CircleList circles;
  if (image.empty()) return circles;
  // A maximum radius of 0 or below would make OpenCV search every radius up to the image size
  // (or report bare centres); no caller means that, so such a range finds nothing.
  if (maxRadius <= 0) return circles;
  // No circle centred in the image reaches an edge pixel farther than its diagonal; a larger
  // maximum only makes OpenCV size its radius tables beyond what it can allocate.
  const int reach = static_cast<int>(std::ceil(std::hypot(image.cols, image.rows)));
  maxRadius = std::min(maxRadius, reach);
  if (minRadius > maxRadius) return circles;
  // A region is searched as an image of its own: on a view, the edge and gradient passes
  // inside cv::HoughCircles read the pixels around it, and the circle count decides branches.
  const cv::Mat own = image.isSubmatrix() ? image.clone() : image;
  cv::HoughCircles(own, circles, cv::HOUGH_GRADIENT, 1.0, 1.0, param1, param2,
                   std::max(0, minRadius), maxRadius);
  return circles;
}

cv::Mat SmoothPlane(const cv::Mat& src) {
  cv::Mat smooth;
  cv::GaussianBlur(src, smooth, cv::Size(3, 3), 0);
  return smooth;
}

cv::Mat OpenTwice(const cv::Mat& smooth) {
  const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(5, 5));
  cv::Mat opened;
  cv::morphologyEx(smooth, opened, cv::MORPH_OPEN, element);
  cv::morphologyEx(opened, opened, cv::MORPH_OPEN, element);
  return opened;
}

}  // namespace imgtarn::circle_mark
