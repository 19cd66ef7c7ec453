// Slot 15: each outer contour approximated by a polygon; vertex counts tell triangles,
// rectangles and round shapes apart.
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

struct ApproxParams {
  PlaneParams plane;
  double epsilon = 0;
  int capacity = 0;
  static ApproxParams FromPara(const float* para);
};

ApproxParams ApproxParams::FromPara(const float* para) {
  ApproxParams params;
  params.plane = PlaneParams::FromPara(para);
  // A negative or NaN tolerance would make approxPolyDP assert; 0 keeps every corner.
  params.epsilon = para[3] > 0.0f && std::isfinite(para[3]) ? para[3] : 0.0;
  params.capacity = NonNegative(ParaInt(para, 5));
  return params;
}

std::vector<Contour> ApproximatePolygons(const std::vector<Contour>& contours, double epsilon) {
  std::vector<Contour> polygons(contours.size());
  for (std::size_t i = 0; i < contours.size(); ++i)
    cv::approxPolyDP(contours[i], polygons[i], epsilon, true);
  return polygons;
}

}  // namespace

int ApproxContoursDemo(const unsigned char* source, const float* para, unsigned char* drawing,
                       float* result) {
  if (para == nullptr || result == nullptr) return -1;
  const ApproxParams params = ApproxParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(source, width, height)) return -1;
  const std::vector<Contour> polygons = ApproximatePolygons(
      FindExternalContours(Binarize(WrapPlane(source, width, height), params.plane.threshold)),
      params.epsilon);
  std::vector<float> vertexCounts;
  for (const Contour& polygon : polygons)
    vertexCounts.push_back(static_cast<float>(polygon.size()));
  result[0] = static_cast<float>(polygons.size());
  WriteEntries(result + 1, params.capacity, vertexCounts, 1);
  cv::Mat picture = cv::Mat::zeros(height, width, CV_8UC1);
  cv::polylines(picture, polygons, true, cv::Scalar(255));
  if (drawing != nullptr) CopyIntoPlane(picture, drawing);
  if (params.plane.debug) {
    debug_view::ShowAndPaint("matApproxPolygons", picture);
  }
  return 0;
}

}  // namespace imgtarn::contours
