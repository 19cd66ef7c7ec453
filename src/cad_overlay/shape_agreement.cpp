// How well the blob found under a template agrees with the template's own blob in shape.
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"

namespace imgtarn::cad_overlay {
namespace {

// Of the two size ratios, deliberately the one farther from 1: a patch is charged for its
// worse axis (unlike the alignment, which rescales by the better one).
float FartherFromUnit(float sw, float sh) {
  return std::fabs(1.0f - sw) > std::fabs(1.0f - sh) ? sw : sh;
}

// The ratio of image to box nearer to 1 (tie: the height ratio), for a box too large to fit.
float FitScale(cv::Size box, cv::Size image) {
  const float sw = static_cast<float>(image.width) / static_cast<float>(box.width);
  const float sh = static_cast<float>(image.height) / static_cast<float>(box.height);
  return std::fabs(1.0f - sh) > std::fabs(1.0f - sw) ? sw : sh;
}

}  // namespace

void FollowPatch(cv::Mat& patch, const cv::Mat& templ) {
  const std::optional<cv::Point> templCentre = PixelCentroid(templ);
  if (patch.empty() || !templCentre || !PixelCentroid(patch)) return;  // nothing to align
  cv::Rect box = PixelBoundingBox(patch);
  const cv::Rect templBox = PixelBoundingBox(templ);
  const cv::Mat crop = patch(box);
  cv::Mat part;
  cv::Size size = ScaledSize(box.size(), NearestUnitScale(box, templBox));
  cv::resize(crop, part, size, 0, 0, cv::INTER_LINEAR);
  box = PullBackFromFarEdges(cv::Rect(box.tl(), size), patch.cols, patch.rows);
  if (box.x < 0 || box.y < 0) {
    // The rescaled blob is at least as large as the patch: scale it once more to fit, then
    // let the clamp pull it inside.
    size = ScaledSize(box.size(), FitScale(box.size(), patch.size()));
    cv::resize(crop, part, size, 0, 0, cv::INTER_CUBIC);
    box = cv::Rect(box.tl(), size);
  }
  box = ClampRectToImage(box, patch.cols, patch.rows);
  PlaceAlone(part, box.tl(), patch);

  const std::optional<cv::Point> patchCentre = PixelCentroid(patch);
  if (!patchCentre) return;
  box = PixelBoundingBox(patch);
  box.x += templCentre->x - patchCentre->x;
  box.y += templCentre->y - patchCentre->y;
  box = ClampRectToImage(box, patch.cols, patch.rows);
  PlaceAlone(part, box.tl(), patch);
}

double ShapeAgreement(cv::Mat patch, const cv::Mat& templ) {
  const float sw = static_cast<float>(patch.cols) / static_cast<float>(templ.cols);
  const float sh = static_cast<float>(patch.rows) / static_cast<float>(templ.rows);
  const float ratio = FartherFromUnit(sw, sh);
  cv::resize(patch, patch, templ.size(), 0, 0, cv::INTER_CUBIC);
  FollowPatch(patch, templ);

  const int templPixels = cv::countNonZero(templ);
  if (templPixels == 0) return 0.0;  // no shape to agree with
  cv::Mat overlap;
  cv::bitwise_and(patch, templ, overlap);
  const int both = cv::countNonZero(overlap);
  const int patchPixels = cv::countNonZero(patch);
  double raw = static_cast<double>(both) / templPixels -
               static_cast<double>(patchPixels - both) / templPixels;
  const float v = ratio > 1.0f ? 1.0f / ratio : ratio;
  raw = raw / powf(2.0f, 1.0f - v);
  return raw;
}

}  // namespace imgtarn::cad_overlay
