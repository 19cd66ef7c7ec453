// Pads: blob splitting (slot 27), template matching of the blobs (slot 26) and the CAD overlay
// score (slot 20).
#include "cad_overlay.hpp"
#include "input_checks.hpp"

namespace imgtarn {
namespace {

std::vector<PadBlob> OwnBlobs(const cad_overlay::BlobSplit& split) {
  std::vector<PadBlob> blobs;
  for (std::size_t i = 0; i < split.blobs.size(); ++i) {
    const cv::Mat& pixels = split.blobs[i];
    // The split's blobs are views into its working images; the result owns copies.
    blobs.push_back({cv::Rect(split.origins[i], pixels.size()), pixels.clone()});
  }
  return blobs;
}

}  // namespace

PadSplitResult SplitPads(const cv::Mat& image, const PadSplitOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1});
  vision::Require(options.gridRows >= 0, "gridRows", "must be 0 (no grid) or above");
  vision::Require(options.gridCols >= 0, "gridCols", "must be 0 (no grid) or above");
  cad_overlay::SplitParams params;
  params.width = image.cols;
  params.height = image.rows;
  params.brightPads = options.bright;
  params.debug = options.debug;
  // A grid counts only with both values given, as the slot reads it.
  if (options.gridRows > 0 && options.gridCols > 0) {
    params.gridRows = options.gridRows;
    params.gridCols = options.gridCols;
  }
  PadSplitResult result;
  const std::optional<cad_overlay::BlobSplit> split =
      cad_overlay::SplitPads(vision::Packed(image), params);
  if (!split) return result;
  result.found = true;
  result.gridRows = split->gridRows;
  result.gridCols = split->gridCols;
  result.blobs = OwnBlobs(*split);
  return result;
}

PadMatchResult MatchPads(const cv::Mat& image, const std::vector<cv::Mat>& templates,
                         const PadMatchOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1});
  vision::Require(!templates.empty(), "templates", "no template given");
  std::vector<cv::Mat> packed;
  for (const cv::Mat& templ : templates) {
    if (!templ.empty()) vision::RequireImage(templ, "templates", {CV_8UC1});
    packed.push_back(templ.empty() ? cv::Mat() : vision::Packed(templ));
  }
  PadMatchResult result;
  result.scores =
      cad_overlay::ScorePadTemplates(vision::Packed(image), packed, options.bright, options.debug);
  return result;
}

OverlayResult ScoreOverlay(const cv::Mat& boundary, const cv::Mat& cad, const cv::Mat& measured,
                           const OverlayOptions& options) {
  vision::RequireImage(boundary, "boundary", {CV_8UC1});
  vision::RequireImage(cad, "cad", {CV_8UC1});
  vision::RequireImage(measured, "measured", {CV_8UC1});
  vision::RequireSameSize(cad, "cad", boundary, "boundary");
  vision::RequireSameSize(measured, "measured", boundary, "boundary");
  OverlayResult result;
  result.score = cad_overlay::ScoreOverlay(vision::Packed(cad), vision::Packed(boundary),
                                           vision::Packed(measured), options.debug);
  return result;
}

}  // namespace imgtarn
