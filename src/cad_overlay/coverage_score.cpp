// How much of the CAD pad the measured blob covers, less what it spills into the ring
// around the pad, weighted by how far from the pad the spill lies.
#include <opencv2/core.hpp>

#include "cad_overlay/cad_overlay.hpp"
#include "common/debug_view.hpp"

namespace imgtarn::cad_overlay {

double CoverageScore(const cv::Mat& measured, const cv::Mat& cad, const cv::Mat& boundary,
                     const cv::Mat& difference, bool debug) {
  if (measured.empty() || cad.empty() || difference.empty()) return -1.0;
  if (debug) {
    debug_view::Show("源图像", measured);
    debug_view::Show("目标模板图像", cad);
    debug_view::Show("外模板图像", difference);
  }
  const cv::Mat weights = BuildSpillWeightMapFast(cad, boundary);

  double covered = 0.0, spill = 0.0;
  for (int y = 0; y < measured.rows; ++y) {
    const unsigned char* m = measured.ptr<unsigned char>(y);
    const unsigned char* c = cad.ptr<unsigned char>(y);
    const unsigned char* d = difference.ptr<unsigned char>(y);
    const unsigned char* w = weights.ptr<unsigned char>(y);
    for (int x = 0; x < measured.cols; ++x) {
      if (m[x] == 0) continue;
      if (c[x] != 0)
        covered += 1.0;
      else if (d[x] != 0)
        spill += w[x] / 255.0;
    }
  }
  const int padPixels = cv::countNonZero(cad);
  if (padPixels > 0) {
    covered /= padPixels;
    spill /= padPixels;
  }
  return covered - spill;
}

}  // namespace imgtarn::cad_overlay
