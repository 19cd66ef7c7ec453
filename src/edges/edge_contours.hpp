// The contour stage that turns an edge map into a filled mask of closed shapes (pads, marks).
#ifndef IMGTARN_EDGES_EDGE_CONTOURS_HPP
#define IMGTARN_EDGES_EDGE_CONTOURS_HPP

#include <opencv2/core.hpp>
#include <vector>

namespace imgtarn::edges {

using Contour = std::vector<cv::Point>;

// Closes small gaps in `edges` (8-bit, 255 on edges) and returns the external contours whose
// area is at least `minArea` pixels (0 or less keeps every contour, even degenerate ones).
std::vector<Contour> FindClosedContours(const cv::Mat& edges, int minArea);

// Sets `mask` to 0 and fills every contour with 255.
void FillContoursInto(const std::vector<Contour>& contours, cv::Mat& mask);

}  // namespace imgtarn::edges

#endif  // IMGTARN_EDGES_EDGE_CONTOURS_HPP
