// Profiles across a mark's edge and the sub-pixel position of a bright-to-dark edge on them.
#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

// Each side's level is read within this distance of the steepest fall: wide enough to reach
// past the blur of a sharp camera edge, narrow enough to stay off a neighbouring ring or
// silkscreen line (the narrowest dark gap on the evaluation boards is about 2 px wide).
constexpr float kLevelReach = 2.5f;

float Bilinear(const cv::Mat& plane, cv::Point2f at) {
  const int x = static_cast<int>(at.x);
  const int y = static_cast<int>(at.y);
  const float fx = at.x - static_cast<float>(x);
  const float fy = at.y - static_cast<float>(y);
  const float* row0 = plane.ptr<float>(y);
  const float* row1 = plane.ptr<float>(std::min(y + 1, plane.rows - 1));
  const int x1 = std::min(x + 1, plane.cols - 1);
  return (row0[x] * (1.0f - fx) + row0[x1] * fx) * (1.0f - fy) +
         (row1[x] * (1.0f - fx) + row1[x1] * fx) * fy;
}

bool Sampleable(const cv::Mat& plane, cv::Point2f at) {
  return at.x >= 0.0f && at.y >= 0.0f && at.x <= static_cast<float>(plane.cols - 1) &&
         at.y <= static_cast<float>(plane.rows - 1);
}

// The index nearest `from` where the profile passes `level` going down, interpolated between
// the two samples around it; searched within `reach` samples on either side.
std::optional<float> LevelCrossing(const std::vector<float>& values, int from, int reach,
                                   float level) {
  const int last = static_cast<int>(values.size()) - 2;
  for (int offset = 0; offset <= reach; ++offset) {
    for (const int j : {from - 1 - offset, from + offset}) {
      if (j < 0 || j > last) continue;
      const float a = values[j], b = values[j + 1];
      if (a >= level && b < level) return static_cast<float>(j) + (a - level) / (a - b);
    }
  }
  return std::nullopt;
}

}  // namespace

cv::Mat MeasuringPlane(const cv::Mat& grey) {
  cv::Mat plane;
  grey.convertTo(plane, CV_32F);
  cv::GaussianBlur(plane, plane, cv::Size(3, 3), 0.0, 0.0, cv::BORDER_REPLICATE);
  return plane;
}

Profile SampleLine(const cv::Mat& plane, cv::Point2f from, cv::Point2f direction, float length) {
  Profile profile;
  profile.start = from;
  profile.direction = direction;
  const int count = static_cast<int>(length / profile.step) + 1;
  profile.values.reserve(static_cast<size_t>(std::max(count, 0)));
  for (int k = 0; k < count; ++k) {
    const cv::Point2f at = profile.At(static_cast<float>(k));
    if (!Sampleable(plane, at)) break;
    profile.values.push_back(Bilinear(plane, at));
  }
  return profile;
}

std::optional<EdgeCrossing> FallingEdge(const Profile& profile, float first, float last,
                                        float expected, std::optional<float> level) {
  const std::vector<float>& v = profile.values;
  const int n = static_cast<int>(v.size());
  const int lo = std::max(1, static_cast<int>(std::ceil(first)));
  const int hi = std::min(n - 2, static_cast<int>(std::floor(last)));
  if (lo > hi) return std::nullopt;
  // A fall far from where the edge is expected must be clearly stronger to win: the weight
  // drops to one half at the ends of the searched span.
  const float span = std::max({expected - first, last - expected, 1.0f});
  int best = -1;
  float bestWeighted = 0.0f;
  for (int k = lo; k <= hi; ++k) {
    const float fall = v[k - 1] - v[k + 1];
    const float u = (static_cast<float>(k) - expected) / span;
    const float weighted = fall * (1.0f - 0.5f * u * u);
    if (weighted > bestWeighted) {
      bestWeighted = weighted;
      best = k;
    }
  }
  if (best < 0) return std::nullopt;
  const int reach = static_cast<int>(kLevelReach / profile.step);
  const auto brightEnd = v.begin() + best + 1;
  const float bright = *std::max_element(v.begin() + std::max(0, best - reach), brightEnd);
  const float dark = *std::min_element(v.begin() + best, v.begin() + std::min(n, best + reach + 1));
  if (!(bright > dark)) return std::nullopt;
  const std::optional<float> index =
      LevelCrossing(v, best, reach, level.value_or(0.5f * (bright + dark)));
  if (!index) return std::nullopt;
  return EdgeCrossing{*index, bright, dark};
}

}  // namespace imgtarn::fiducial
