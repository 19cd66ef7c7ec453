// Size tests of candidate polygons. All arithmetic is single precision.
#include <algorithm>
#include <cmath>

#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

// Short side over long side; the epsilon keeps a zero side from dividing by zero.
float AspectRatio(float w, float h) { return w > h ? h / (w + 1e-7f) : w / (h + 1e-7f); }

bool AspectMatches(float expectedW, float expectedH, float w, float h, float tol) {
  const float expected = AspectRatio(expectedW, expectedH);
  const float measured = AspectRatio(w, h);
  const float q =
      measured > expected ? expected / (measured + 1e-7f) : measured / (expected + 1e-7f);
  return !(tol > q);
}

bool DimensionMatches(float expected, float measured, float tol) {
  return std::min(expected, measured) / (std::max(expected, measured) + 1e-7f) >= tol;
}

}  // namespace

bool SizeMatches(float expectedW, float expectedH, float w, float h, float tol) {
  // Only a size that is off in both dimensions fails here. A contour that is right in one
  // dimension is left to the aspect test: partly merged or clipped marks still get through.
  if (std::fabs(expectedW - w) > expectedW * tol && std::fabs(expectedH - h) > expectedH * tol) {
    return false;
  }
  return AspectMatches(expectedW, expectedH, w, h, tol);
}

bool RectangleSizeMatches(float expectedW, float expectedH, float w, float h, float tol) {
  // A rectangle is only a four-vertex polygon; without a per-dimension test any pad of the
  // right proportions would pass, so both dimensions must hold on their own here.
  return DimensionMatches(expectedW, w, tol) && DimensionMatches(expectedH, h, tol) &&
         AspectMatches(expectedW, expectedH, w, h, tol);
}

}  // namespace imgtarn::template_mark
