// Slot 23: the automatic-threshold edge map of a plane, optionally turned into a filled mask of
// the closed shapes it outlines.
#include <opencv2/core.hpp>
#include <vector>

#include "DalCanny.hpp"
#include "debug_view.hpp"
#include "edge_contours.hpp"
#include "edges.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::edges {

EdgeParams EdgeParams::FromPara(const float* para) {
  EdgeParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.contourStage = ParaInt(para, 2) != 0;
  params.debug = ParaInt(para, 3) != 0;
  // Only the contour stage has a fifth entry; a host calling for raw edges may pass four.
  if (params.contourStage) params.minContourArea = ParaInt(para, 4);
  return params;
}

namespace {

void WriteReport(const EdgeReport& report, float* result) {
  result[0] = static_cast<float>(report.thresholds.low);
  result[1] = static_cast<float>(report.thresholds.high);
  result[2] = static_cast<float>(report.edgePixels);
  result[3] = static_cast<float>(report.contoursKept);
}

}  // namespace

// The raw stage writes the edge map straight into dst (the detector reads the whole source
// before it writes, so dst may be the source plane); the contour stage needs it apart.
EdgeReport DetectEdges(const cv::Mat& src, const EdgeParams& params, cv::Mat& dst) {
  EdgeReport report;
  CannyTrace trace;
  cv::Mat edges = params.contourStage ? cv::Mat() : dst;
  MyCanny(src, edges, false, &trace);
  report.thresholds = trace.thresholds;
  report.edgePixels = static_cast<int>(trace.edgePixels);
  if (params.debug) debug_view::Show("matEdges", edges);
  if (params.contourStage) {
    const std::vector<Contour> contours = FindClosedContours(edges, params.minContourArea);
    FillContoursInto(contours, dst);
    report.contoursKept = static_cast<int>(contours.size());
    if (params.debug) debug_view::Show("matContours", dst);
  }
  // A short wait lets the windows paint without holding up the inspection flow.
  if (params.debug) debug_view::Wait(1);
  return report;
}

int DetectEdgesCanny(unsigned char* src, float* para, unsigned char* dst, float* result) {
  if (para == nullptr || result == nullptr) return -1;
  const EdgeParams params = EdgeParams::FromPara(para);
  if (!IsUsablePlane(src, params.width, params.height)) return -1;
  if (!IsUsablePlane(dst, params.width, params.height)) return -1;
  cv::Mat destination = WrapPlane(dst, params.width, params.height);
  const EdgeReport report =
      DetectEdges(WrapPlane(src, params.width, params.height), params, destination);
  WriteReport(report, result);
  return 0;
}

}  // namespace imgtarn::edges
