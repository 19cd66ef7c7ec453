// Slot 14: the centre and half sizes of a bright plus-shaped fiducial.
#include "common/plane.hpp"
#include "template_mark/template_mark.hpp"

namespace imgtarn::template_mark {

int LocateCrossMark(unsigned char* plane, float* para, float* result) {
  MarkParams params;
  if (result == nullptr || !EnterMarkOperation(plane, para, result, params)) return -1;
  const MarkSearch search =
      SearchMark(WrapPlane(plane, params.width, params.height), params, MarkKind::kCross);
  // Nothing found leaves result[2] and result[3] as the caller set them; the zero centre
  // is the signal.
  if (!search.found) return 0;
  // The refinement measures the central square where the bars cross, a third of the mark.
  result[0] = search.box.centreX;
  result[1] = search.box.centreY;
  result[2] = 3.0f * search.box.halfWidth;
  result[3] = 3.0f * search.box.halfHeight;
  return 0;
}

}  // namespace imgtarn::template_mark
