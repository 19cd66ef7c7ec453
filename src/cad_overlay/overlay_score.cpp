// Scoring the two ways of laying the measured pad over the CAD pad and keeping the better.
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"
#include "debug_view.hpp"

namespace imgtarn::cad_overlay {
namespace {

// The CAD pad in grey with the measured blob blended over it in red.
void ShowOverlap(const cv::Mat& measured, const cv::Mat& cad) {
  cv::Mat cadColour, measuredColour, overlap;
  cv::cvtColor(cad, cadColour, cv::COLOR_GRAY2BGR);
  cv::cvtColor(measured, measuredColour, cv::COLOR_GRAY2BGR);
  measuredColour.setTo(cv::Scalar(0, 0, 255), measured != 0);
  cv::addWeighted(cadColour, 0.5, measuredColour, 0.5, 0.0, overlap);
  debug_view::Show("matOverlapCad", overlap);
  debug_view::Write("matOverlapCad.bmp", overlap);
}

void ShowAlignment(const cv::Mat& measured, const cv::Mat& cad) {
  ShowOverlap(measured, cad);
  debug_view::Show("matCAD", cad);
  debug_view::Show("matSrcOffset", measured);
  // Deliberately the CAD image under this name; the moved blob is in "matSrcOffset".
  debug_view::Write("AfterFollowing.bmp", cad);
  debug_view::Wait(0);
}

// The penalty of one ratio: 2^e on the offset-only pass, exp(e) on the rescaling pass (a
// deliberate asymmetry: the pass that moved and rescaled the blob is charged more steeply).
float RatioFactor(float ratio, int pass) {
  const float v = ratio > 1.0f ? 1.0f / ratio : ratio;
  const float e = 1.0f - v;
  return pass == 0 ? powf(2.0f, e) : expf(e);
}

}  // namespace

double PenalisedScore(double raw, const Alignment& alignment, int pass) {
  for (float ratio : {alignment.scaleRatio, alignment.offsetRatioX, alignment.offsetRatioY})
    raw = raw / static_cast<double>(RatioFactor(ratio, pass));
  return raw < 0.0 ? 0.0 : raw;
}

double ScoreAlignment(cv::Mat& measured, const MaskShape& measuredShape,
                      const OverlayReference& reference, int pass, bool debug) {
  Alignment alignment;
  if (!FollowToCad(measured, measuredShape, reference.cad, reference.cadShape, pass, &alignment))
    return 0.0;
  if (debug) ShowAlignment(measured, reference.cad);
  const double raw = CoverageScore(measured, reference, debug);
  return PenalisedScore(raw, alignment, pass);
}

float BestOverlayScore(cv::Mat& measured, const cv::Mat& cad, const cv::Mat& boundary, bool debug) {
  const OverlayReference reference(cad, boundary);
  // Pass 0 leaves the measured copy as it is, so both passes start from the same shape.
  const MaskShape measuredShape = ShapeOf(measured);
  double best = 0.0;
  for (int pass = 0; pass < 2; ++pass) {
    // Pass 1 rewrites the measured copy; nothing reads it after that pass.
    cv::Mat measuredHeader = measured;
    const double score = ScoreAlignment(measuredHeader, measuredShape, reference, pass, debug);
    if (score - best > 0.00001) best = score;
  }
  return static_cast<float>(best);
}

}  // namespace imgtarn::cad_overlay
