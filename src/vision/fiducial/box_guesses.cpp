// First guesses for a cross or rectangle mark, from the library's binarisation ladder.
#include <algorithm>

#include "fiducial.hpp"
#include "template_mark.hpp"

namespace imgtarn::fiducial {
namespace {

namespace tm = template_mark;

constexpr int kCorrelationGuesses = 4;

tm::MarkKind KindOf(FiducialShape shape) {
  return shape == FiducialShape::Cross ? tm::MarkKind::kCross : tm::MarkKind::kRectangle;
}

// Every merged candidate, each placed by the ladder's own gradient refinement: the mark
// operations keep only the first, which on a board with pads of the mark's size is as often a
// pad as the mark.
void AddLadderGuesses(const cv::Mat& grey, FiducialShape shape, cv::Size2f size,
                      GuessList& guesses) {
  const tm::MarkKind kind = KindOf(shape);
  if (!tm::ExpectedSizeUsable(size.width, size.height, grey.size())) return;
  // Off, as every search of this kind sets it on entry: the locator shows no debug views.
  tm::SetDebugSwitch(kind, 0);
  tm::PolygonList merged, raw;
  tm::FindMarkCandidates(grey, size.width, size.height, kind, merged, raw);
  const FiducialStage stage =
      shape == FiducialShape::Cross ? FiducialStage::CrossMark : FiducialStage::RectangleMark;
  for (const tm::Polygon& polygon : merged) {
    tm::MarkBox box;
    tm::RefineMarkBox(grey, polygon, size.width, size.height, kind, box);
    if (box.halfWidth <= 0.0f || box.halfHeight <= 0.0f) continue;
    guesses.push_back(Guess{cv::Point2f(box.centreX, box.centreY), stage});
  }
}

}  // namespace

GuessList BoxGuesses(const cv::Mat& grey, FiducialShape shape, cv::Size2f size) {
  GuessList guesses;
  AddLadderGuesses(grey, shape, size, guesses);
  const float spacing = 0.5f * std::min(size.width, size.height);
  for (const cv::Point2f& peak :
       CorrelationPeaks(grey, BoxTemplate(shape, size), kCorrelationGuesses, spacing))
    guesses.push_back(Guess{peak, FiducialStage::BoxTemplate});
  return guesses;
}

}  // namespace imgtarn::fiducial
