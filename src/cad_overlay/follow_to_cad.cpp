// Laying the measured pad blob over the CAD pad: offset ratios from the centroids, and on the
// second pass a rescale to the CAD box and a move onto the CAD centroid.
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"

namespace imgtarn::cad_overlay {
namespace {

// Offsets of the centroids relative to half the CAD box: 1 when they coincide, 0 when the
// measured centroid sits on the edge of the CAD box.
Alignment OffsetRatios(cv::Point measuredCentre, cv::Point cadCentre, const cv::Rect& cadBox) {
  const int dx = cadCentre.x - measuredCentre.x;
  const int dy = cadCentre.y - measuredCentre.y;
  Alignment alignment;
  alignment.offsetRatioX = 1.0f - static_cast<float>(2 * dx) / static_cast<float>(cadBox.width);
  alignment.offsetRatioY = 1.0f - static_cast<float>(2 * dy) / static_cast<float>(cadBox.height);
  return alignment;
}

// Places `part` at the measured blob's box shifted so that its centroid meets the CAD one.
void MoveOntoCadCentroid(const cv::Mat& part, const MaskShape& cadShape, cv::Mat& measured) {
  const MaskShape placed = ShapeOf(measured);
  if (!placed.centre) return;  // nothing survived the rescale
  cv::Rect box = placed.box;
  box.x += cadShape.centre->x - placed.centre->x;
  box.y += cadShape.centre->y - placed.centre->y;
  box = ClampRectToImage(box, measured.cols, measured.rows);
  PlaceAlone(part, box.tl(), measured);
}

}  // namespace

bool FollowToCad(cv::Mat& measured, const MaskShape& measuredShape, const cv::Mat& cad,
                 const MaskShape& cadShape, int pass, Alignment* alignment) {
  if (measured.empty() || cad.empty()) return false;
  // An empty mask has no centroid: the pass cannot be aligned and scores 0.
  if (!measuredShape.centre || !cadShape.centre) return false;
  cv::Rect box = measuredShape.box;
  const cv::Rect cadBox = cadShape.box;
  *alignment = OffsetRatios(*measuredShape.centre, *cadShape.centre, cadBox);
  if (pass == 0) return true;

  const float scale = NearestUnitScale(box, cadBox);
  alignment->scaleRatio = scale;
  cv::Mat part;
  const cv::Size size = ScaledSize(box.size(), scale);
  cv::resize(measured(box), part, size, 0, 0, cv::INTER_LINEAR);
  box = PullBackFromFarEdges(cv::Rect(box.tl(), size), measured.cols, measured.rows);
  if (box.x < 0 || box.y < 0) return false;  // the rescaled blob is as wide as the image
  box = ClampRectToImage(box, measured.cols, measured.rows);

  // Placing the part alone clears the rest of the measured image first.
  PlaceAlone(part, box.tl(), measured);
  MoveOntoCadCentroid(part, cadShape, measured);
  return true;
}

}  // namespace imgtarn::cad_overlay
