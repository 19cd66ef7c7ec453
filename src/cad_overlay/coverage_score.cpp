// How much of the CAD pad the measured blob covers, less what it spills into the ring
// around the pad, weighted by how far from the pad the spill lies.
#include <emmintrin.h>

#include <opencv2/core.hpp>

#include "cad_overlay.hpp"
#include "debug_view.hpp"

namespace imgtarn::cad_overlay {
namespace {

// Set bits of a 16-bit mask. The builtin becomes a library call on the baseline x86-64.
int CountBits16(unsigned bits) {
  bits = bits - ((bits >> 1) & 0x5555u);
  bits = (bits & 0x3333u) + ((bits >> 2) & 0x3333u);
  bits = (bits + (bits >> 4)) & 0x0F0Fu;
  return static_cast<int>((bits + (bits >> 8)) & 0x1Fu);
}

// One row's covered pixels (measured and CAD set), and its spill added to `spill` pixel by
// pixel in column order, so the double sum rounds exactly as a plain per-pixel loop would.
// Spill lies where the measured blob is set and boundary - cad (saturating) is not 0; off the
// pad that difference is the boundary byte itself.
int ScoreRow(const unsigned char* m, const unsigned char* c, const unsigned char* b, int cols,
             int y, const SpillRings& rings, double& spill) {
  int covered = 0;
  int x = 0;
  const __m128i zero = _mm_setzero_si128();
  for (; x + 16 <= cols; x += 16) {
    const auto load = [x](const unsigned char* p) {
      return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + x));
    };
    const int measuredSet = ~_mm_movemask_epi8(_mm_cmpeq_epi8(load(m), zero)) & 0xFFFF;
    if (measuredSet == 0) continue;  // most blocks lie outside the blob
    const int cadSet = ~_mm_movemask_epi8(_mm_cmpeq_epi8(load(c), zero)) & 0xFFFF;
    const int boundarySet = ~_mm_movemask_epi8(_mm_cmpeq_epi8(load(b), zero)) & 0xFFFF;
    covered += CountBits16(static_cast<unsigned>(measuredSet & cadSet));
    for (int bits = measuredSet & ~cadSet & boundarySet; bits != 0; bits &= bits - 1)
      spill += rings.WeightOffPad(y, x + __builtin_ctz(bits)) / 255.0;
  }
  for (; x < cols; ++x) {
    if (m[x] == 0) continue;
    if (c[x] != 0)
      ++covered;
    else if (b[x] != 0)
      spill += rings.WeightOffPad(y, x) / 255.0;
  }
  return covered;
}

}  // namespace

OverlayReference::OverlayReference(const cv::Mat& cadPad, const cv::Mat& boundaryMask)
    : cad(cadPad),
      boundary(boundaryMask),
      cadShape(ShapeOf(cadPad)),
      // Both passes share the rings: they depend on the CAD pad and the boundary alone.
      rings(cadPad, boundaryMask),
      padPixels(cv::countNonZero(cadPad)) {}

double CoverageScore(const cv::Mat& measured, const OverlayReference& reference, bool debug) {
  const cv::Mat& cad = reference.cad;
  if (measured.empty() || cad.empty() || reference.boundary.empty()) return -1.0;
  if (debug) {
    debug_view::Show("源图像", measured);
    debug_view::Show("目标模板图像", cad);
    debug_view::Show("外模板图像", cv::Mat(reference.boundary - cad));  // saturates at 0
  }
  double covered = 0.0, spill = 0.0;
  for (int y = 0; y < measured.rows; ++y) {
    // Covered pixels are counted exactly in an integer; a double holds any such count.
    covered += ScoreRow(measured.ptr<unsigned char>(y), cad.ptr<unsigned char>(y),
                        reference.boundary.ptr<unsigned char>(y), measured.cols, y, reference.rings,
                        spill);
  }
  if (reference.padPixels > 0) {
    covered /= reference.padPixels;
    spill /= reference.padPixels;
  }
  return covered - spill;
}

}  // namespace imgtarn::cad_overlay
