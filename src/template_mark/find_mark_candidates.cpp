// The binarisation ladder that collects candidate polygons.
#include <opencv2/imgproc.hpp>

#include "debug_view.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

struct Ladder {
  int levels;      // level 0 is an edge map, levels 1.. are rising grey thresholds
  bool stopEarly;  // stop once three polygons are in
  bool gradient;   // contours from the gradient of each mask rather than the mask itself
};

// The cross is distinctive enough that three hits settle it; the rectangle is tried at
// every level (eleven finer thresholds) because pads pass its polygon test too.
Ladder LadderOf(MarkKind kind) {
  if (kind == MarkKind::kCross) return {7, true, false};
  return {11, false, true};
}

// Runs a pyramid round trip whose result is not used: it keeps the cost of a call the same
// as it has always been for hosts that budget their inspection cycle around it.
void PyramidRoundTrip(const cv::Mat& grey) {
  const cv::Size half(grey.cols / 2, grey.rows / 2);
  if (half.width == 0 || half.height == 0) return;  // a one-pixel line has no lower level
  cv::Mat down, up;
  cv::pyrDown(grey, down, half, cv::BORDER_DEFAULT);
  cv::pyrUp(down, up, grey.size(), cv::BORDER_DEFAULT);
}

// Level 0 is a dilated edge map (it catches marks of low contrast); level l >= 1 keeps the
// samples at or above (l + 1) * 255 / levels.
cv::Mat Binarise(const cv::Mat& grey, int level, int levels) {
  cv::Mat binary;
  if (level == 0) {
    cv::Canny(grey, binary, 0, 60, 5, false);
    cv::dilate(binary, binary, cv::Mat());
  } else {
    cv::compare(grey, cv::Scalar((level + 1) * 255 / levels), binary, cv::CMP_GE);
  }
  return binary;
}

// A mask's gradient magnitude turns each blob into a closed ring whose outline follows the
// blob's edge on both sides, which gives the rectangle's polygon test cleaner corners.
cv::Mat GradientMagnitude(const cv::Mat& binary) {
  cv::Mat dx, dy, absDx, absDy, magnitude;
  cv::Sobel(binary, dx, CV_16S, 1, 0, 3, 1, 0, cv::BORDER_DEFAULT);
  cv::convertScaleAbs(dx, absDx);
  cv::Sobel(binary, dy, CV_16S, 0, 1, 3, 1, 0, cv::BORDER_DEFAULT);
  cv::convertScaleAbs(dy, absDy);
  cv::addWeighted(absDx, 0.5, absDy, 0.5, 0, magnitude);
  return magnitude;
}

void ShowAcceptedContour(const cv::Mat& binary, const PolygonList& contours, int index,
                         MarkKind kind) {
  if (DebugSwitch(kind) == 0) return;
  cv::Mat colour;
  cv::cvtColor(binary, colour, cv::COLOR_GRAY2BGR);
  cv::drawContours(colour, contours, index, cv::Scalar(0, 0, 255), 1, cv::LINE_8);
  debug_view::Show("approxPolyDP", colour);
  debug_view::Wait(100);
}

// When no polygon has passed so far, the contours left at this level are compared with the
// drawn mark; accepted ones go in as raw contours.
void RunTemplateFallback(const cv::Mat& grey, const cv::Mat& binary, const PolygonList& contours,
                         MarkTemplates& templates, MarkKind kind, PolygonList& raw) {
  for (size_t i = 0; i < contours.size(); ++i) {
    if (!VerifyByTemplate(grey, cv::boundingRect(contours[i]), templates, kind)) continue;
    raw.push_back(contours[i]);
    ShowAcceptedContour(binary, contours, static_cast<int>(i), kind);
  }
}

}  // namespace

int LadderLevels(MarkKind kind) { return LadderOf(kind).levels; }

cv::Mat LadderLevelImage(const cv::Mat& grey, int level, MarkKind kind) {
  const Ladder ladder = LadderOf(kind);
  cv::Mat binary = Binarise(grey, level, ladder.levels);
  if (ladder.gradient) binary = GradientMagnitude(binary);
  return binary;
}

int FindMarkCandidates(const cv::Mat& grey, float markWidth, float markHeight, MarkKind kind,
                       PolygonList& merged, PolygonList& raw) {
  if (grey.empty()) return -1;
  merged.clear();
  raw.clear();
  PyramidRoundTrip(grey);

  const Ladder ladder = LadderOf(kind);
  const cv::Mat working = grey.clone();
  MarkTemplates templates(kind, markWidth, markHeight);
  for (int level = 0; level < ladder.levels; ++level) {
    cv::Mat binary = LadderLevelImage(working, level, kind);
    if (DebugSwitch(kind) != 0) {
      debug_view::Show("auto threshold", binary);
      debug_view::Wait(100);
    }
    PolygonList contours;
    cv::findContours(binary, contours, cv::RETR_LIST, cv::CHAIN_APPROX_SIMPLE, cv::Point(0, 0));
    FilterMarkPolygons(binary, contours, markWidth, markHeight, kind, raw);
    if (raw.empty()) RunTemplateFallback(working, binary, contours, templates, kind, raw);
    if (ladder.stopEarly && raw.size() >= 3) break;
  }
  MergeCandidates(PolygonList(raw), merged);
  return 0;
}

}  // namespace imgtarn::template_mark
