// First guesses for a circular mark, from the library's own circle searches.
#include <algorithm>
#include <cmath>

#include "circle_mark.hpp"
#include "fiducial.hpp"
#include "para.hpp"

namespace imgtarn::fiducial {
namespace {

namespace cm = circle_mark;

// The Hough search of the direct detection (radius +- 5 px, Canny threshold 60, 15 votes),
// its three circles nearest the radius at distinct places: on the evaluation boards the
// nearest is often a pad or via of about the mark's size beside it.
constexpr size_t kHoughGuesses = 3;
constexpr int kCorrelationGuesses = 4;

void AddHoughGuesses(const cv::Mat& grey, float radius, GuessList& guesses) {
  cm::CircleList circles = cm::HoughGradientCircles(
      cm::SmoothPlane(grey), 60.0, 15.0, TruncToInt(radius - 5.0f), TruncToInt(radius + 5.0f));
  std::stable_sort(circles.begin(), circles.end(),
                   [radius](const cv::Vec3f& a, const cv::Vec3f& b) {
                     return std::fabs(a[2] - radius) < std::fabs(b[2] - radius);
                   });
  std::vector<cv::Point2f> places;
  for (const cv::Vec3f& circle : circles) {
    const cv::Point2f centre(circle[0], circle[1]);
    // Hough reports one mark many times over (minimum distance 1 px).
    const bool seen = std::any_of(places.begin(), places.end(),
                                  [&](cv::Point2f p) { return cv::norm(p - centre) < radius; });
    if (seen) continue;
    places.push_back(centre);
    guesses.push_back(Guess{centre, FiducialStage::HoughCircles});
    if (places.size() == kHoughGuesses) break;
  }
}

}  // namespace

GuessList CircleGuesses(const cv::Mat& grey, float radius) {
  GuessList guesses;
  // The mark searches need their disc template inside the image.
  if (cm::RadiusFitsPlane(radius, grey.size())) {
    const cm::EdgeStageOutcome edge = cm::LocateByEdgeCircles(grey, radius, false);
    if (cm::IsFound(edge.centre))
      guesses.push_back(Guess{*edge.centre, FiducialStage::EdgeCircles});
    const std::optional<cv::Point2f> quick = cm::LocateByTemplateSearch(grey, radius, false, "");
    if (quick) guesses.push_back(Guess{*quick, FiducialStage::TemplateSearch});
  }
  AddHoughGuesses(grey, radius, guesses);
  // Small marks (radius 4 to 8 px) rarely give the searches above enough edge to vote on; a
  // disc drawn with shaded edges still correlates with them, also when the border cuts them.
  for (const cv::Point2f& peak :
       CorrelationPeaks(grey, SmoothDiscTemplate(radius), kCorrelationGuesses, radius))
    guesses.push_back(Guess{peak, FiducialStage::DiscTemplate});
  return guesses;
}

}  // namespace imgtarn::fiducial
