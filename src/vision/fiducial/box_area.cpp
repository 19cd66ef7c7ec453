// Helpers the box-shaped marks share: reading an axis from two edge runs and brightness
// shares of box areas.
#include <opencv2/core.hpp>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

// An edge run needs this many agreeing crossings to count as seen.
constexpr int kMinSupport = 3;

}  // namespace

bool Seen(const EdgeLine& line) { return line.inliers >= kMinSupport; }

std::optional<cv::Vec2f> AxisEdges(const EdgeLine& low, float lowOrigin, const EdgeLine& high,
                                   float highOrigin, float nominal) {
  if (!Seen(low) && !Seen(high)) return std::nullopt;
  const float a = lowOrigin - low.offset;
  const float b = highOrigin + high.offset;
  if (!Seen(low)) return cv::Vec2f(b - nominal, b);
  if (!Seen(high)) return cv::Vec2f(a, a + nominal);
  return cv::Vec2f(a, b);
}

std::vector<float> PixelsIn(const cv::Mat& plane, const Box& box) {
  const cv::Rect area = cv::Rect(cv::Point(cvCeil(box.centre.x - 0.5f * box.size.width),
                                           cvCeil(box.centre.y - 0.5f * box.size.height)),
                                 cv::Point(cvFloor(box.centre.x + 0.5f * box.size.width) + 1,
                                           cvFloor(box.centre.y + 0.5f * box.size.height) + 1)) &
                        cv::Rect(0, 0, plane.cols, plane.rows);
  std::vector<float> values;
  for (int y = area.y; y < area.y + area.height; ++y)
    for (int x = area.x; x < area.x + area.width; ++x) values.push_back(plane.at<float>(y, x));
  return values;
}

float BrightShare(const cv::Mat& plane, const Box& box, float level) {
  return ShareAtLeast(PixelsIn(plane, box), level);
}

Support SupportOf(const std::vector<EdgeLine>& lines, float scatter) {
  Support support;
  for (const EdgeLine& line : lines) {
    for (const float crossing : line.crossings) support.Add(crossing - line.offset, scatter);
    support.inImage += line.profiles;
    support.planned += line.planned;
  }
  return support;
}

float DarkLevel(const std::vector<EdgeLine>& lines) {
  std::vector<float> darks;
  for (const EdgeLine& line : lines)
    if (Seen(line)) darks.push_back(line.dark);
  return MedianOf(darks);
}

}  // namespace imgtarn::fiducial
