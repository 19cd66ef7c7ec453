// How much of the CAD pad the measured blob covers, less what it spills into the ring
// around the pad, weighted by how far from the pad the spill lies.
#include <opencv2/core.hpp>

#include "cad_overlay/cad_overlay.hpp"
#include "common/debug_view.hpp"

namespace imgtarn::cad_overlay {

OverlayReference MakeOverlayReference(const cv::Mat& cad, const cv::Mat& boundary) {
  OverlayReference reference;
  reference.cad = cad;
  reference.difference = boundary - cad;  // saturates at 0
  // Both passes share the weights: they depend on the CAD pad and the boundary alone.
  reference.weights = BuildSpillWeightMapFast(cad, boundary);
  reference.padPixels = cv::countNonZero(cad);
  return reference;
}

double CoverageScore(const cv::Mat& measured, const OverlayReference& reference, bool debug) {
  const cv::Mat& cad = reference.cad;
  if (measured.empty() || cad.empty() || reference.difference.empty()) return -1.0;
  if (debug) {
    debug_view::Show("源图像", measured);
    debug_view::Show("目标模板图像", cad);
    debug_view::Show("外模板图像", reference.difference);
  }
  double covered = 0.0, spill = 0.0;
  for (int y = 0; y < measured.rows; ++y) {
    const unsigned char* m = measured.ptr<unsigned char>(y);
    const unsigned char* c = cad.ptr<unsigned char>(y);
    const unsigned char* d = reference.difference.ptr<unsigned char>(y);
    const unsigned char* w = reference.weights.ptr<unsigned char>(y);
    // Covered pixels are counted exactly in an integer; the spill is summed in row order.
    int rowCovered = 0;
    for (int x = 0; x < measured.cols; ++x) {
      if (m[x] == 0) continue;
      if (c[x] != 0)
        ++rowCovered;
      else if (d[x] != 0)
        spill += w[x] / 255.0;
    }
    covered += rowCovered;
  }
  if (reference.padPixels > 0) {
    covered /= reference.padPixels;
    spill /= reference.padPixels;
  }
  return covered - spill;
}

}  // namespace imgtarn::cad_overlay
