// Adapters of the three mark searches: slot 11 (both stages), slot 10 (template search alone)
// and slot 12 (edge stage at half and at full size).
#include <opencv2/imgproc.hpp>

#include "circle_mark/circle_mark.hpp"
#include "common/plane.hpp"

namespace imgtarn::circle_mark {
namespace {

void WriteCentre(float* result, cv::Point2f centre, float radius) {
  result[0] = centre.x;
  result[1] = centre.y;
  result[2] = radius;
}

// Refuses what no search can work on: no plane, no area, or a radius whose template does not
// fit the plane (this also covers a radius of 0 or below and NaN).
bool Searchable(const unsigned char* plane, const CircleMarkParams& params) {
  return IsUsablePlane(plane, params.width, params.height) &&
         RadiusFitsPlane(params.radius, cv::Size(params.width, params.height));
}

// The plane reduced to half size by 2 x 2 averaging; an odd last row or column is dropped so
// every half-size pixel covers exactly four samples.
cv::Mat HalfSize(const cv::Mat& src) {
  const cv::Size half(src.cols / 2, src.rows / 2);
  cv::Mat reduced;
  if (half.area() == 0) return reduced;
  cv::resize(src(cv::Rect(0, 0, half.width * 2, half.height * 2)), reduced, half, 0, 0,
             cv::INTER_AREA);
  return reduced;
}

// Half-size pixel i covers whole-plane pixels 2i and 2i + 1, whose middle is 2i + 0.5.
cv::Point2f ToWholePlane(cv::Point2f halfCentre) {
  return cv::Point2f(2.0f * halfCentre.x + 0.5f, 2.0f * halfCentre.y + 0.5f);
}

std::optional<cv::Point2f> EdgeStageAtHalfSize(const cv::Mat& src, float radius, bool debug) {
  const cv::Mat half = HalfSize(src);
  const float halfRadius = radius / 2.0f;
  if (half.empty() || !RadiusFitsPlane(halfRadius, half.size())) return std::nullopt;
  const EdgeStageOutcome outcome = LocateByEdgeCircles(half, halfRadius, debug);
  if (!IsFound(outcome.centre)) return std::nullopt;
  return ToWholePlane(*outcome.centre);
}

}  // namespace

int LocateCircleMark(unsigned char* plane, float* para, void*, float* result) {
  result[0] = 0.0f;
  result[1] = 0.0f;
  const CircleMarkParams params = CircleMarkParamsFromPara(para);
  if (!Searchable(plane, params)) {
    result[2] = 0.0f;
    return -1;
  }
  const cv::Mat src = WrapPlane(plane, params.width, params.height);
  const EdgeStageOutcome edge = LocateByEdgeCircles(src, params.radius, params.debug);
  if (edge.centre) WriteCentre(result, *edge.centre, params.radius);
  // Fewer than two edge circles means there is no mark to refine: the template search is not
  // worth its full-image Hough passes.
  if (edge.tooFewCircles) return -1;
  if (IsFound(edge.centre)) return 0;

  const std::optional<cv::Point2f> centre =
      LocateByTemplateSearch(src, params.radius, params.debug, "Original Image");
  if (!centre) return -1;
  WriteCentre(result, *centre, params.radius);
  return 0;
}

int LocateCircleMarkQuick(unsigned char* plane, float* para, void*, float* result) {
  result[0] = result[1] = result[2] = 0.0f;
  const CircleMarkParams params = CircleMarkParamsFromPara(para);
  if (!Searchable(plane, params)) return -1;
  const cv::Mat src = WrapPlane(plane, params.width, params.height);
  // "Orginal" is the window's long-standing title; hosts' window layouts refer to it.
  const std::optional<cv::Point2f> centre =
      LocateByTemplateSearch(src, params.radius, params.debug, "Orginal Image");
  if (!centre) return -1;
  WriteCentre(result, *centre, params.radius);
  return 0;
}

int LocateCircleMarkRoi(unsigned char* plane, float* para, float* result) {
  result[0] = result[1] = result[2] = 0.0f;
  const CircleMarkParams params = CircleMarkParamsFromPara(para);
  if (!Searchable(plane, params)) return -1;
  const cv::Mat src = WrapPlane(plane, params.width, params.height);

  // The half-size pass is four times cheaper; the full-size pass only runs when it finds
  // nothing (a small radius does not survive halving, for example).
  std::optional<cv::Point2f> centre = EdgeStageAtHalfSize(src, params.radius, params.debug);
  if (!centre) {
    const EdgeStageOutcome full = LocateByEdgeCircles(src, params.radius, params.debug);
    if (IsFound(full.centre)) centre = full.centre;
  }
  if (!centre) return -1;
  WriteCentre(result, *centre, params.radius);
  return 0;
}

}  // namespace imgtarn::circle_mark
