// Adapters of the three mark searches: slot 11 (both stages), slot 10 (template search alone)
// and slot 12 (edge stage at half and at full size).
#include "circle_mark.hpp"
#include "plane.hpp"

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

// The answer of a search that either finds a centre or writes nothing.
int WriteFound(const std::optional<cv::Point2f>& centre, float radius, float* result) {
  if (!centre) return -1;
  WriteCentre(result, *centre, radius);
  return 0;
}

}  // namespace

int LocateCircleMark(unsigned char* plane, float* para, float* result) {
  result[0] = 0.0f;
  result[1] = 0.0f;
  const CircleMarkParams params = CircleMarkParams::FromPara(para);
  if (!Searchable(plane, params)) {
    result[2] = 0.0f;
    return -1;
  }
  const MarkSearchOutcome outcome =
      SearchMarkFull(WrapPlane(plane, params.width, params.height), params.radius, params.debug);
  // A centre the edge stage gave up on stays in the result, as hosts have always seen it.
  if (outcome.centre) WriteCentre(result, *outcome.centre, params.radius);
  return outcome.found ? 0 : -1;
}

int LocateCircleMarkQuick(unsigned char* plane, float* para, float* result) {
  result[0] = result[1] = result[2] = 0.0f;
  const CircleMarkParams params = CircleMarkParams::FromPara(para);
  if (!Searchable(plane, params)) return -1;
  return WriteFound(
      SearchMarkQuick(WrapPlane(plane, params.width, params.height), params.radius, params.debug),
      params.radius, result);
}

int LocateCircleMarkRoi(unsigned char* plane, float* para, float* result) {
  result[0] = result[1] = result[2] = 0.0f;
  const CircleMarkParams params = CircleMarkParams::FromPara(para);
  if (!Searchable(plane, params)) return -1;
  return WriteFound(SearchMarkTwoScale(WrapPlane(plane, params.width, params.height), params.radius,
                                       params.debug),
                    params.radius, result);
}

}  // namespace imgtarn::circle_mark
