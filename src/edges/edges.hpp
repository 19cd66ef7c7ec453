// Edge detection: the operation of slot 23.
#ifndef IMGTARN_EDGES_EDGES_HPP
#define IMGTARN_EDGES_EDGES_HPP

#include <opencv2/core.hpp>

#include "DalCanny.hpp"

namespace imgtarn::edges {

int DetectEdgesCanny(unsigned char* src, float* para, unsigned char* dst, float* result);

// para of slot 23: [0] width, [1] height, [2] stage (non-zero: contour stage), [3] debug,
// [4] minimum contour area (read by the contour stage only).
struct EdgeParams {
  int width = 0;
  int height = 0;
  bool contourStage = false;
  bool debug = false;
  int minContourArea = 0;
  static EdgeParams FromPara(const float* para);
};

struct EdgeReport {
  CannyThresholds thresholds;
  int edgePixels = 0;    // edge pixels of the raw map
  int contoursKept = 0;  // 0 for the raw stage
};

// The edge map of `src` (8-bit, one channel) into `dst`, a plane of src's size that the call
// writes in full: the raw map, or with the contour stage the filled mask of the closed shapes.
EdgeReport DetectEdges(const cv::Mat& src, const EdgeParams& params, cv::Mat& dst);

}  // namespace imgtarn::edges

#endif  // IMGTARN_EDGES_EDGES_HPP
