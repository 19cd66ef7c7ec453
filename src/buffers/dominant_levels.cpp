// Most frequent grey level of three planes (slot 28).
#include <array>
#include <cstdint>

#include "buffers.hpp"
#include "plane.hpp"

namespace imgtarn::buffers {
namespace {

// Levels 0..4 and 250..255 are never chosen: they are the sensor's black and saturation.
constexpr int kLowestLevel = 5;
constexpr int kHighestLevel = 249;

std::array<std::uint32_t, 256> Histogram(const cv::Mat& plane) {
  std::array<std::uint32_t, 256> counts{};
  for (int y = 0; y < plane.rows; ++y) {
    const unsigned char* row = plane.ptr<unsigned char>(y);
    for (int x = 0; x < plane.cols; ++x) ++counts[row[x]];
  }
  return counts;
}

}  // namespace

unsigned char DominantLevel(const cv::Mat& plane) {
  const std::array<std::uint32_t, 256> counts = Histogram(plane);
  int best = 0;
  std::uint32_t bestCount = 0;
  for (int level = kLowestLevel; level <= kHighestLevel; ++level) {
    if (counts[level] > bestCount) {  // strictly greater: the lowest level wins a tie
      best = level;
      bestCount = counts[level];
    }
  }
  return static_cast<unsigned char>(best);
}

int FindDominantLevels(unsigned char* plane0, unsigned char* plane1, unsigned char* plane2,
                       int width, int height, unsigned char* levels) {
  // An empty plane has no samples at all, so its level is 0 like any plane without one in
  // the counted band.
  const bool empty = width <= 0 || height <= 0;
  const auto level = [&](unsigned char* plane) {
    return empty ? static_cast<unsigned char>(0) : DominantLevel(WrapPlane(plane, width, height));
  };
  levels[0] = level(plane0);
  levels[1] = level(plane1);
  levels[2] = level(plane2);
  return 0;
}

}  // namespace imgtarn::buffers
