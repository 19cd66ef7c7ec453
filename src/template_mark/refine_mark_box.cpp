// Measuring the mark's box from the gradient projections of a small region around its
// candidate polygon.
#include <algorithm>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "debug_view.hpp"
#include "para.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

// Edges closer than this to the region's border are taken for the clipped image border
// rather than the mark's edge.
constexpr int kBorderGuard = 3;

// Even box sides make the centre (side / 2 + origin) an exact pixel boundary on both sides.
cv::Rect EvenBoundingRect(const Polygon& polygon) {
  cv::Rect box = cv::boundingRect(polygon);
  if (box.width != 0 && box.height != 0) {
    box.width += box.width % 2;
    box.height += box.height % 2;
  }
  return box;
}

// The box grown by 5 pixels per side and clipped to the image (>= on the far side, as the
// template fallback clips).
cv::Rect RegionAround(const cv::Rect& box, cv::Size image) {
  const int centreX = box.width / 2 + box.x;
  const int centreY = box.height / 2 + box.y;
  cv::Rect region(std::max(centreX - box.width / 2 - 5, 0),
                  std::max(centreY - box.height / 2 - 5, 0), box.width + 10, box.height + 10);
  if (region.x + region.width >= image.width) region.width = image.width - region.x;
  if (region.y + region.height >= image.height) region.height = image.height - region.y;
  return region;
}

// Central differences of the mean along `dim` (0: one value per column, 1: one per row);
// the two end entries stay 0. The result is a single row either way.
cv::Mat GradientProfile(const cv::Mat& image, int dim) {
  cv::Mat means;
  cv::reduce(image, means, dim, cv::REDUCE_AVG, CV_32F);
  means = means.reshape(1, 1);
  cv::Mat profile = cv::Mat::zeros(1, means.cols, CV_32F);
  for (int i = 1; i + 1 < means.cols; ++i) {
    profile.at<float>(i) = means.at<float>(i + 1) - means.at<float>(i - 1);
  }
  return profile;
}

// The falling edge is the profile's minimum; the rising edge is the maximum once the
// neighbourhood of the falling edge (half the expected half extent each way) is blanked, so
// a ringing or blurred falling edge cannot supply it. Returns the pair sorted.
std::pair<int, int> EdgePair(cv::Mat profile, int half) {
  cv::Point minLoc, maxLoc;
  cv::minMaxLoc(profile, nullptr, nullptr, &minLoc, nullptr);
  const int first = std::max(minLoc.x - half / 2, 0);
  const int last = std::min(minLoc.x + half / 2, profile.cols - 1);
  if (first <= last) profile.colRange(first, last + 1).setTo(0);
  cv::minMaxLoc(profile, nullptr, nullptr, nullptr, &maxLoc);
  return std::minmax(maxLoc.x, minLoc.x);
}

// An edge pressed against the region's border is where the image was clipped, not where
// the mark ends: rebuild that side from the other edge and the expected extent.
std::pair<int, int> RebuildClippedSide(std::pair<int, int> edges, int extent, int expected) {
  if (edges.first < kBorderGuard) {
    edges.first = edges.second - expected;
  } else if (edges.second >= extent) {
    edges.second = edges.first + expected;
  }
  return edges;
}

void ShowRefinedBox(const cv::Mat& grey, const MarkBox& box, MarkKind kind) {
  if (DebugSwitch(kind) == 0) return;
  cv::Mat colour;
  cv::cvtColor(grey, colour, cv::COLOR_GRAY2BGR);
  const cv::Rect drawn(TruncToInt(box.centreX - box.halfWidth),
                       TruncToInt(box.centreY - box.halfHeight), TruncToInt(2 * box.halfWidth),
                       TruncToInt(2 * box.halfHeight));
  cv::rectangle(colour, drawn, cv::Scalar(0, 0, 255), 1, cv::LINE_8);
  debug_view::Show("梯度调整矩形", colour);
}

}  // namespace

int RefineMarkBox(const cv::Mat& grey, const Polygon& polygon, float markWidth, float markHeight,
                  MarkKind kind, MarkBox& box) {
  if (polygon.empty() || grey.empty()) return -1;
  const cv::Rect candidate = EvenBoundingRect(polygon);
  const cv::Rect region = RegionAround(candidate, grey.size());
  if (DebugSwitch(kind) != 0) {
    debug_view::Show("ROI.jpg", grey(region));
    debug_view::Write("ROI.jpg", grey(region));
  }
  // A zero border keeps the mark's edges measurable where the region was clipped at the
  // image border; it shifts every position by one. It borders the region alone: bordering a
  // view would make OpenCV take the neighbouring image pixels instead of zeros.
  cv::Mat bordered;
  cv::copyMakeBorder(grey(region), bordered, 1, 1, 1, 1, cv::BORDER_CONSTANT | cv::BORDER_ISOLATED,
                     cv::Scalar(0));

  auto xs = EdgePair(GradientProfile(bordered, 0), candidate.width / 2);
  auto ys = EdgePair(GradientProfile(bordered, 1), candidate.height / 2);
  xs = RebuildClippedSide(xs, region.width, TruncToInt(markWidth));
  ys = RebuildClippedSide(ys, region.height, TruncToInt(markHeight));
  const int x1 = xs.first - 1, x2 = xs.second - 1;
  const int y1 = ys.first - 1, y2 = ys.second - 1;
  const int width = x2 - x1 + 1;
  const int height = y2 - y1 + 1;

  box = MarkBox();
  if (width >= 0 && height >= 0) {
    box.halfWidth = static_cast<float>(width * 0.5);
    box.halfHeight = static_cast<float>(height * 0.5);
    box.centreX = static_cast<float>(region.x + x1 + width * 0.5);
    box.centreY = static_cast<float>(region.y + y1 + height * 0.5);
  }
  ShowRefinedBox(grey, box, kind);
  return 0;
}

}  // namespace imgtarn::template_mark
