// The contour method of pad splitting: external contours of the binarised pads, pruned to the
// leading run of alike areas, each cut out of the filled contour image.
#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"
#include "debug_view.hpp"
#include "fill_contours.hpp"
#include "para.hpp"

namespace imgtarn::cad_overlay {
namespace {

using Contour = std::vector<cv::Point>;

// Two areas are alike when the smaller is at least 0.3 of the larger; two contours without
// area count as alike.
bool AreasAlike(const Contour& previous, const Contour& current) {
  const int a = TruncToInt(std::fabs(cv::contourArea(previous)));
  const int b = TruncToInt(std::fabs(cv::contourArea(current)));
  const int larger = std::max(a, b);
  if (larger == 0) return true;
  return static_cast<double>(std::min(a, b)) / larger >= 0.3;
}

void ShowContours(const cv::Mat& image, const std::vector<Contour>& contours) {
  cv::Mat canvas = image.clone();
  cv::drawContours(canvas, contours, -1, cv::Scalar(0, 0, 255), 1, cv::LINE_8);
  debug_view::Show("tmp/debug_Contours", canvas);
}

}  // namespace

std::vector<Contour> KeepDominantContours(std::vector<Contour> contours) {
  std::stable_sort(contours.begin(), contours.end(),
                   [](const Contour& a, const Contour& b) { return a.size() > b.size(); });
  // The first unlike area ends the list, whatever follows it: pads come first by perimeter,
  // and whatever sorts behind a speck is noise as well.
  std::size_t kept = contours.empty() ? 0 : 1;
  while (kept < contours.size() && AreasAlike(contours[kept - 1], contours[kept])) ++kept;
  contours.resize(kept);
  return contours;
}

std::optional<BlobSplit> ContourSplit(const cv::Mat& image, const SplitParams& params) {
  const BinarizedPads pads = BinarizePads(image, params.brightPads, params.debug);
  if (pads.region.empty()) return std::nullopt;
  std::vector<Contour> contours;
  cv::findContours(pads.region.clone(), contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE,
                   cv::Point(0, 0));
  if (params.debug) ShowContours(image, contours);
  if (contours.empty()) return std::nullopt;

  contours = KeepDominantContours(std::move(contours));
  cv::Mat filled = cv::Mat::zeros(image.size(), CV_8UC1);
  FillContoursAtOnce(filled, contours, cv::Scalar(255));
  if (params.debug) debug_view::Show("matFillContours", filled);

  BlobSplit split;
  for (const Contour& contour : contours) {
    const cv::Rect box = cv::boundingRect(contour);
    split.origins.push_back(box.tl());
    split.blobs.push_back(filled(box));
  }
  // A given grid overrides the found count in the column value only.
  split.gridRows = 1;
  split.gridCols = params.GridGiven() ? params.gridCols : static_cast<int>(split.blobs.size());
  return split;
}

}  // namespace imgtarn::cad_overlay
