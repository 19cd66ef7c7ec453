// Two-point flat-field calibration (slot 24): per-sample offsets and gains from a stack of
// calibration images, in the layout slot 25 applies.
#include <cstdint>

#include "buffers.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::buffers {
namespace {

constexpr int kImagesPerGroup = 6;  // three colour planes at two calibration levels
constexpr int kPlanes = 3;
constexpr float kEqualLevelNudge = 1e-5f;  // keeps d = lo - hi away from 0

// Per-image statistics of the whole stack; every work array is scope-owned and released
// when the call ends.
struct StackStatistics {
  std::vector<float> filtered;     // the filtered images back to back
  std::vector<float> secondMeans;  // M_i
  std::vector<float> targetGains;  // g_i
};

StackStatistics FilterStack(const unsigned char* stack, const FlatFieldParams& params) {
  const std::size_t area = static_cast<std::size_t>(params.width) * params.height;
  const std::size_t images = static_cast<std::size_t>(kImagesPerGroup) * params.groups;
  StackStatistics stats;
  stats.filtered.resize(area * images);
  stats.secondMeans.resize(images);
  stats.targetGains.resize(images);
  for (std::size_t i = 0; i < images; ++i) {
    const cv::Mat image = WrapPlane(stack + area * i, params.width, params.height);
    cv::Mat filtered(params.height, params.width, CV_32FC1, stats.filtered.data() + area * i);
    FlatFieldFilterFast(image, SampleMean(image), params, filtered);
    stats.secondMeans[i] = SecondMean(filtered);
    const int target = i < kPlanes ? params.targetLow : params.targetHigh;
    stats.targetGains[i] = static_cast<float>(target) / stats.secondMeans[i];
  }
  return stats;
}

// lo and hi are the filtered runs of images 0..2 and 3..5. Every colour pass writes the same
// two entries, so the last pass (means of images 2 and 5, gain g_2) is the one that remains
// for all three planes; the passes are kept so the table is exactly the one this calibration
// has always produced.
void WriteTwoPointCoefficients(float* lo, const float* hi, std::size_t count,
                               const StackStatistics& stats, float* coefficients) {
  const std::vector<float>& m = stats.secondMeans;
  const std::vector<float>& g = stats.targetGains;
  for (std::size_t j = 0; j < count; ++j) {
    if (lo[j] == hi[j]) lo[j] = lo[j] + kEqualLevelNudge;
    const float d = lo[j] - hi[j];
    for (int c = 0; c < kPlanes; ++c) {
      const float gain = (m[c] - m[c + 3]) / d * g[c];
      const float offset = (lo[j] * m[c + 3] - hi[j] * m[c]) / d * g[c];
      coefficients[j] = offset;
      coefficients[count + j] = gain;
    }
  }
}

}  // namespace

float SampleMean(const cv::Mat& image) {
  std::int64_t sum = 0;
  for (int y = 0; y < image.rows; ++y) {
    const unsigned char* row = image.ptr<unsigned char>(y);
    for (int x = 0; x < image.cols; ++x) sum += row[x];
  }
  return static_cast<float>(sum) / static_cast<float>(image.total());
}

float SecondMean(const cv::Mat& filtered) {
  // The accumulator is an integer, but each step adds in single precision and truncates
  // back: once it passes 2^24 the additions round, and that rounding is part of the mean.
  int accumulator = 0;
  for (int y = 0; y < filtered.rows; ++y) {
    const float* row = filtered.ptr<float>(y);
    for (int x = 0; x < filtered.cols; ++x)
      accumulator = TruncToInt(static_cast<float>(accumulator) + row[x]);
  }
  return static_cast<float>(accumulator / static_cast<std::int64_t>(filtered.total()));
}

void ComputeFlatField(const unsigned char* stack, const FlatFieldParams& params,
                      float* coefficients) {
  StackStatistics stats = FilterStack(stack, params);
  const std::size_t run = kPlanes * static_cast<std::size_t>(params.width) * params.height;
  WriteTwoPointCoefficients(stats.filtered.data(), stats.filtered.data() + run, run, stats,
                            coefficients);
}

int ComputeFlatFieldCoefficients(unsigned char* stack, float* para, float* coefficients,
                                 int* cleared) {
  cleared[0] = 0;
  const FlatFieldParams params = FlatFieldParams::FromPara(para);
  if (params.WindowIsEven()) return 0;
  // Without a group or with an empty image there is nothing to calibrate; the table stays as
  // it was.
  if (params.groups < 1 || params.width < 1 || params.height < 1) return 0;
  ComputeFlatField(stack, params, coefficients);
  return 0;
}

}  // namespace imgtarn::buffers
