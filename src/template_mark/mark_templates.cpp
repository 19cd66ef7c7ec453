// Drawn templates of the two mark shapes and the correlation score against them.
#include <opencv2/imgproc.hpp>

#include "debug_view.hpp"
#include "para.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

// Both templates keep a 5-pixel black margin so the correlation sees the mark's edges.
constexpr int kMargin = 5;

void ShowTemplate(const cv::Mat& templ, MarkKind debugKind, const char* title, const char* file) {
  if (DebugSwitch(debugKind) == 0) return;
  debug_view::Show(title, templ);
  debug_view::Write(file, templ);
}

}  // namespace

cv::Mat DrawCrossTemplate(int markWidth, int markHeight, MarkKind debugKind) {
  cv::Mat templ = cv::Mat::zeros(markHeight + 2 * kMargin, markWidth + 2 * kMargin, CV_8UC1);
  // The bars are a third of the mark (integer division): the plus covers five of the nine
  // cells of its bounding box.
  cv::rectangle(templ, cv::Rect(kMargin, markHeight / 3 + kMargin, markWidth, markHeight / 3),
                cv::Scalar(255), -1, cv::LINE_8);
  cv::rectangle(templ, cv::Rect(markWidth / 3 + kMargin, kMargin, markWidth / 3, markHeight),
                cv::Scalar(255), -1, cv::LINE_8);
  ShowTemplate(templ, debugKind, "CrossTemplate", "CrossTemplate.jpg");
  return templ;
}

cv::Mat DrawRectangleTemplate(int markWidth, int markHeight, MarkKind debugKind) {
  cv::Mat templ = cv::Mat::zeros(markHeight + 2 * kMargin, markWidth + 2 * kMargin, CV_8UC1);
  cv::rectangle(templ, cv::Rect(kMargin, kMargin, markWidth, markHeight), cv::Scalar(255), -1,
                cv::LINE_8);
  ShowTemplate(templ, debugKind, "RectangleTemplate", "RectangleTemplate.jpg");
  return templ;
}

double TemplateScore(const cv::Mat& image, const cv::Mat& templ) {
  // A region smaller than the template has no valid placement (and matchTemplate would
  // swap the roles of the two); it cannot hold the mark.
  if (image.cols < templ.cols || image.rows < templ.rows) return 0.0;
  cv::Mat scores;
  cv::matchTemplate(image, templ, scores, cv::TM_CCOEFF_NORMED);
  double best = 0.0;
  cv::minMaxLoc(scores, nullptr, &best);
  return best;
}

MarkTemplates::MarkTemplates(MarkKind kind, float markWidth, float markHeight)
    : kind_(kind), markWidth_(TruncToInt(markWidth)), markHeight_(TruncToInt(markHeight)) {}

cv::Mat MarkTemplates::Get() {
  if (kind_ == MarkKind::kCross) return DrawCrossTemplate(markWidth_, markHeight_, kind_);
  if (rectangle_.empty()) rectangle_ = DrawRectangleTemplate(markWidth_, markHeight_, kind_);
  return rectangle_;
}

}  // namespace imgtarn::template_mark
