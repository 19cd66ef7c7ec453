// The template-first search: stage 2 of the mark location and the whole quick operation.
#include <algorithm>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "circle_mark.hpp"
#include "debug_view.hpp"
#include "para.hpp"

namespace imgtarn::circle_mark {
namespace {

// Half-width of the radius range inside the template-sized region: 3 pixels for both the quick
// search and stage 2 of the full one. The edge stage hands nothing better on (its own Hough
// range is trunc(r) +- 2), and a region only 2r + 2 wide leaves no room for a wider range.
constexpr float kRegionRadiusSlack = 3.0f;
// A correlation this high is trusted without any Hough evidence.
constexpr float kTemplateHitScore = 0.85f;
// Five region circles are enough evidence: 0.17 per circle against 0.85, in floats as the
// threshold has always been computed (5 x 0.17f rounds to exactly 0.85f).
constexpr float kRegionCircleWeight = 0.17f;

// Half a template side, in the single precision of the centre arithmetic.
float Half(int side) { return static_cast<float>(side) * 0.5f; }

// The template-sized rectangle centred on the template estimate. The estimate is the match
// corner plus the integer half size, so this lands back on the match corner inside the image;
// the intersection only guards a hand-made estimate.
cv::Rect TemplateRegion(const CircleEstimate& found, cv::Size templateSize, cv::Size image) {
  const int x = TruncToInt(static_cast<float>(TruncToInt(found.x)) - Half(templateSize.width));
  const int y = TruncToInt(static_cast<float>(TruncToInt(found.y)) - Half(templateSize.height));
  return cv::Rect(cv::Point(x, y), templateSize) & cv::Rect(cv::Point(0, 0), image);
}

// The full-image search, widening its radius range and lowering its vote threshold until
// something is found: k = 5 gives r +- 0.15 r with 37.5 votes, k = 1 gives r +- 0.03 r with 7.5.
CircleList FullImageCircles(const cv::Mat& smooth, float radius) {
  CircleList circles;
  for (int k = 5; k >= 1 && circles.empty(); --k) {
    const float halfWidth = static_cast<float>(k) * 1.5f * (0.02f * radius);
    const double votes = 0.5 * (15.0 * k);
    circles = HoughGradientCircles(smooth, 150.0, votes, TruncToInt(radius - halfWidth),
                                   TruncToInt(radius + halfWidth));
  }
  return circles;
}

// Scores a full-image circle by the Hough circles inside a template-sized box around it. The
// box keeps its size when it meets the left or top edge (origin clamped) but loses columns and
// rows at the right and bottom edges; those lost lines earn a bonus that favours a mark cut by
// the image border over a complete look-alike elsewhere.
float ScoreCandidate(const cv::Mat& smooth, const cv::Vec3f& circle, cv::Size templateSize,
                     float radius, bool debug) {
  int x = TruncToInt(static_cast<float>(TruncToInt(circle[0])) - Half(templateSize.width));
  int y = TruncToInt(static_cast<float>(TruncToInt(circle[1])) - Half(templateSize.height));
  x = std::max(0, x);
  y = std::max(0, y);
  const int width = std::min(templateSize.width, smooth.cols - x);
  const int height = std::min(templateSize.height, smooth.rows - y);
  if (width <= 0 || height <= 0) return 0.0f;
  const int cut = (templateSize.width - width) + (templateSize.height - height);

  const cv::Mat box = smooth(cv::Rect(x, y, width, height));
  const CircleList inBox =
      HoughGradientCircles(box, 15.0, 15.0, TruncToInt(radius - 5.0f), TruncToInt(radius + 5.0f));
  if (debug) ShowCircleMosaic(inBox, box, "hCRoi");
  if (inBox.empty()) return 0.0f;
  float score = 0.17f * static_cast<float>(inBox.size());
  const float cutShare = static_cast<float>(cut) / radius;
  if (cut > 0 && cutShare < 0.7f) score = score + 1.5f * cutShare;
  return score;
}

// On noise the designed thresholds let thousands of full-image circles through (4448 on
// 640 x 480 uniform noise at r = 120, each box search about 4 ms), so the boxes are searched in
// parallel. Each search is deterministic and the scores are read in Hough order afterwards,
// so the threads change no result. Debug views are shown in order from the calling thread.
std::vector<float> ScoreCandidates(const cv::Mat& smooth, const CircleList& circles,
                                   cv::Size templateSize, float radius, bool debug) {
  std::vector<float> scores(circles.size(), 0.0f);
  const auto scoreRange = [&](const cv::Range& range) {
    for (int i = range.start; i < range.end; ++i)
      scores[i] = ScoreCandidate(smooth, circles[i], templateSize, radius, debug);
  };
  const cv::Range all(0, static_cast<int>(circles.size()));
  if (debug) {
    scoreRange(all);
  } else {
    cv::parallel_for_(all, scoreRange);
  }
  return scores;
}

std::optional<cv::Point2f> BestScoredCircle(const cv::Mat& smooth, float radius,
                                            cv::Size templateSize, bool debug) {
  const CircleList circles = FullImageCircles(smooth, radius);
  if (debug) ShowCircleMosaic(circles, smooth, "guaCircle");
  const std::vector<float> scores = ScoreCandidates(smooth, circles, templateSize, radius, debug);
  float bestScore = 0.0f;
  std::optional<cv::Point2f> best;
  for (size_t i = 0; i < circles.size(); ++i) {
    // Strictly greater: on a tie the earlier circle in Hough order stays.
    if (scores[i] > bestScore) {
      bestScore = scores[i];
      best = cv::Point2f(circles[i][0], circles[i][1]);
    }
  }
  if (bestScore >= 1.5f) return best;
  return std::nullopt;
}

}  // namespace

TemplateEvidence WeighTemplateEvidence(float templateScore, std::size_t regionCircles) {
  if (templateScore >= kTemplateHitScore) return TemplateEvidence::kTemplate;
  if (static_cast<float>(regionCircles) * kRegionCircleWeight >= kTemplateHitScore)
    return TemplateEvidence::kClosingCircle;
  return TemplateEvidence::kFullImage;
}

std::optional<cv::Point2f> LocateByTemplateSearch(const cv::Mat& src, float radius, bool debug,
                                                  const std::string& sourceTitle) {
  const cv::Mat smooth = SmoothPlane(src);
  const cv::Mat opened = OpenTwice(smooth);
  if (debug) {
    debug_view::Show(sourceTitle, src);
    debug_view::Show("Smoothing", smooth);
  }
  const cv::Mat disc = MakeDiscTemplate(radius);
  const CircleEstimate found = FindDiscByTemplate(opened, disc, radius, debug);
  const cv::Point2f templateCentre(found.x, found.y);

  const cv::Rect regionRect = TemplateRegion(found, disc.size(), opened.size());
  const cv::Mat region = opened(regionRect);
  if (debug) debug_view::Show("ROI", region);
  const CircleList inRegion =
      HoughGradientCircles(region, 15.0, 15.0, TruncToInt(radius - kRegionRadiusSlack),
                           TruncToInt(radius + kRegionRadiusSlack));
  if (debug) ShowCircleMosaic(inRegion, region, "tempHCRoi");

  const TemplateEvidence evidence = WeighTemplateEvidence(found.score, inRegion.size());
  if (evidence == TemplateEvidence::kTemplate) return templateCentre;
  if (evidence == TemplateEvidence::kClosingCircle) {
    const std::optional<cv::Point> closing = ClosingCircleCentre(region, radius, debug);
    if (!closing) return templateCentre;
    return cv::Point2f(found.x + static_cast<float>(closing->x) - Half(disc.cols),
                       found.y + static_cast<float>(closing->y) - Half(disc.rows));
  }
  return BestScoredCircle(smooth, radius, disc.size(), debug);
}

}  // namespace imgtarn::circle_mark
