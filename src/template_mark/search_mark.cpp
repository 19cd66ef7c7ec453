// The body both mark operations share, from the working copy to the refined box.
#include <opencv2/imgproc.hpp>

#include "debug_view.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

void ShowPolygons(const cv::Mat& grey, const PolygonList& polygons, const char* title) {
  cv::Mat colour;
  cv::cvtColor(grey, colour, cv::COLOR_GRAY2BGR);
  cv::polylines(colour, polygons, true, cv::Scalar(0, 255, 0), 1, cv::LINE_8);
  debug_view::Show(title, colour);
}

}  // namespace

MarkSearch SearchMark(const cv::Mat& plane, const MarkParams& params, MarkKind kind) {
  SetDebugSwitch(kind, params.debug);
  // A copy of the plane alone: the searches filter regions of it, and a region of a caller's
  // larger image would let OpenCV read the pixels around it.
  const cv::Mat working = plane.clone();
  if (DebugSwitch(kind) == 1) {
    debug_view::CloseAll();
    debug_view::Show("原图", working);
  }

  PolygonList merged, raw;
  if (ExpectedSizeUsable(params.markWidth, params.markHeight, working.size())) {
    FindMarkCandidates(working, params.markWidth, params.markHeight, kind, merged, raw);
  }
  if (DebugSwitch(kind) != 0) {
    ShowPolygons(working, merged, "矩形合并结果");
    ShowPolygons(working, raw, "多矩形检测结果");
  }

  MarkSearch search;
  if (merged.empty()) return search;
  search.found = true;
  RefineMarkBox(working, merged.front(), params.markWidth, params.markHeight, kind, search.box);
  return search;
}

}  // namespace imgtarn::template_mark
