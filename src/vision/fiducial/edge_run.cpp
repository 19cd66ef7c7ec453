// A straight edge of a box mark measured by many short profiles across it.
#include <algorithm>
#include <cmath>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

constexpr float kProfileSpacing = 0.5f;
// Profiles reach this far past the searched span so both sides' levels can be read.
constexpr float kLevelMargin = 3.0f;
// Crossings within this distance of the median always count: a clean edge scatters by about
// a tenth of a pixel, and three deviations of such a tight set would drop good ones.
constexpr float kMinKeepDistance = 0.25f;

}  // namespace

EdgeLine MeasureEdgeRun(const cv::Mat& plane, const EdgeRun& run, float reach,
                        std::optional<float> level) {
  EdgeLine line;
  std::vector<float>& offsets = line.crossings;
  std::vector<float> darks;
  const float before = reach + kLevelMargin;
  for (const cv::Vec2f& span : run.spans) {
    for (float u = span[0]; u <= span[1] + 1e-4f; u += kProfileSpacing) {
      ++line.planned;
      const cv::Point2f from = run.origin + run.along * u - run.outward * before;
      const Profile profile = SampleLine(plane, from, run.outward, 2.0f * before);
      // The profile must start inside and reach a pixel past the expected edge.
      const float expected = before / profile.step;
      if (static_cast<float>(profile.values.size()) < expected + 1.0f / profile.step) continue;
      ++line.profiles;
      const float window = reach / profile.step;
      const std::optional<EdgeCrossing> edge =
          FallingEdge(profile, expected - window, expected + window, expected, level);
      if (!edge) continue;
      offsets.push_back(edge->index * profile.step - before);
      darks.push_back(edge->dark);
    }
  }
  if (offsets.empty()) return line;
  const float median = MedianOf(offsets);
  std::vector<float> deviations;
  for (const float offset : offsets) deviations.push_back(std::fabs(offset - median));
  // 1.4826 times the median absolute deviation estimates the deviation of normal scatter.
  const float limit = std::max(3.0f * 1.4826f * MedianOf(deviations), kMinKeepDistance);
  float sum = 0.0f;
  std::vector<float> keptDarks;
  for (size_t i = 0; i < offsets.size(); ++i) {
    if (std::fabs(offsets[i] - median) > limit) continue;
    sum += offsets[i];
    keptDarks.push_back(darks[i]);
  }
  line.inliers = static_cast<int>(keptDarks.size());
  line.offset = sum / static_cast<float>(line.inliers);
  line.dark = MedianOf(keptDarks);
  return line;
}

}  // namespace imgtarn::fiducial
