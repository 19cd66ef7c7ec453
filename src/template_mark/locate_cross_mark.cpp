// Slot 14: the centre and half sizes of a bright plus-shaped fiducial.
#include "plane.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {

std::optional<MarkBox> FindCrossMark(const cv::Mat& plane, const MarkParams& params) {
  const MarkSearch search = SearchMark(plane, params, MarkKind::kCross);
  if (!search.found) return std::nullopt;
  // The refinement measures the central square where the bars cross, a third of the mark.
  MarkBox box = search.box;
  box.halfWidth *= 3.0f;
  box.halfHeight *= 3.0f;
  return box;
}

int LocateCrossMark(unsigned char* plane, float* para, float* result) {
  MarkParams params;
  if (result == nullptr || !EnterMarkOperation(plane, para, result, params)) return -1;
  const std::optional<MarkBox> box =
      FindCrossMark(WrapPlane(plane, params.width, params.height), params);
  // Nothing found leaves result[2] and result[3] as the caller set them; the zero centre
  // is the signal.
  if (!box) return 0;
  result[0] = box->centreX;
  result[1] = box->centreY;
  result[2] = box->halfWidth;
  result[3] = box->halfHeight;
  return 0;
}

}  // namespace imgtarn::template_mark
