// The shape test's list walk as it has always run: each rejected contour is erased where it
// stands. Kept as the reference the one-pass version is tested against.
#include "template_mark.hpp"

namespace imgtarn::template_mark {

void FilterMarkPolygonsLiteral(const cv::Mat& binary, PolygonList& contours, float markWidth,
                               float markHeight, MarkKind kind, PolygonList& raw) {
  for (auto it = contours.begin(); it != contours.end();) {
    ContourVerdict verdict = JudgeMarkContour(*it, markWidth, markHeight, kind);
    if (!verdict.keep) {
      it = contours.erase(it);
      continue;
    }
    if (!verdict.accepted.empty()) {
      ShowAcceptedPolygon(binary, verdict.accepted, kind);
      raw.push_back(std::move(verdict.accepted));
    }
    ++it;
  }
}

}  // namespace imgtarn::template_mark
