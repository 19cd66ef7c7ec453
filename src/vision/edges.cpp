// Edges: the self-thresholding Canny detector of slot 23 and its contour stage.
#include "edges.hpp"

#include "input_checks.hpp"

namespace imgtarn {

EdgeResult DetectEdges(const cv::Mat& image, const EdgeOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1});
  edges::EdgeParams params;
  params.width = image.cols;
  params.height = image.rows;
  params.contourStage = options.fill;
  params.debug = options.debug;
  params.minContourArea = options.fill ? options.minArea : 0;
  EdgeResult result;
  result.edges.create(image.size(), CV_8UC1);
  const edges::EdgeReport report = edges::DetectEdges(vision::Packed(image), params, result.edges);
  result.lowThreshold = report.thresholds.low;
  result.highThreshold = report.thresholds.high;
  result.edgePixels = report.edgePixels;
  result.contours = report.contoursKept;
  return result;
}

}  // namespace imgtarn
