// Drawn mark templates and the strongest places where they correlate with the image.
#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

// Sub-samples per pixel and axis when a template's edge pixels are shaded by coverage.
constexpr int kSuperSamples = 4;

// Length of the overlap of pixel [p - 0.5, p + 0.5] with [low, high].
float Overlap(float p, float low, float high) {
  return std::max(0.0f, std::min(p + 0.5f, high) - std::max(p - 0.5f, low));
}

float RectCoverage(cv::Point2f pixel, cv::Point2f centre, cv::Size2f size) {
  return Overlap(pixel.x, centre.x - 0.5f * size.width, centre.x + 0.5f * size.width) *
         Overlap(pixel.y, centre.y - 0.5f * size.height, centre.y + 0.5f * size.height);
}

float DiscCoverage(cv::Point2f pixel, cv::Point2f centre, float radius) {
  int inside = 0;
  for (int sy = 0; sy < kSuperSamples; ++sy)
    for (int sx = 0; sx < kSuperSamples; ++sx) {
      const float x = pixel.x - 0.5f + (static_cast<float>(sx) + 0.5f) / kSuperSamples;
      const float y = pixel.y - 0.5f + (static_cast<float>(sy) + 0.5f) / kSuperSamples;
      if (std::hypot(x - centre.x, y - centre.y) <= radius) ++inside;
    }
  return static_cast<float>(inside) / (kSuperSamples * kSuperSamples);
}

// Offset of a parabola's vertex through three samples from the middle one, in (-0.5, 0.5).
float ParabolaOffset(float left, float middle, float right) {
  const float curvature = left - 2.0f * middle + right;
  if (!(curvature < 0.0f)) return 0.0f;
  return std::clamp(0.5f * (left - right) / curvature, -0.5f, 0.5f);
}

cv::Point2f SubPixelPeak(const cv::Mat& score, cv::Point at) {
  cv::Point2f peak(static_cast<float>(at.x), static_cast<float>(at.y));
  if (at.x > 0 && at.x + 1 < score.cols)
    peak.x += ParabolaOffset(score.at<float>(at.y, at.x - 1), score.at<float>(at),
                             score.at<float>(at.y, at.x + 1));
  if (at.y > 0 && at.y + 1 < score.rows)
    peak.y += ParabolaOffset(score.at<float>(at.y - 1, at.x), score.at<float>(at),
                             score.at<float>(at.y + 1, at.x));
  return peak;
}

}  // namespace

cv::Mat SmoothDiscTemplate(float radius) {
  const int half = cvCeil(radius) + std::max(2, cvCeil(0.5f * radius));
  cv::Mat templ(2 * half + 1, 2 * half + 1, CV_8UC1);
  const cv::Point2f centre(static_cast<float>(half), static_cast<float>(half));
  for (int y = 0; y < templ.rows; ++y)
    for (int x = 0; x < templ.cols; ++x)
      templ.at<uchar>(y, x) = cv::saturate_cast<uchar>(
          255.0f *
          DiscCoverage(cv::Point2f(static_cast<float>(x), static_cast<float>(y)), centre, radius));
  return templ;
}

cv::Mat BoxTemplate(FiducialShape shape, cv::Size2f size) {
  const int margin = std::max(2, cvCeil(0.25f * std::max(size.width, size.height)));
  const int halfW = cvCeil(0.5f * size.width) + margin;
  const int halfH = cvCeil(0.5f * size.height) + margin;
  cv::Mat templ(2 * halfH + 1, 2 * halfW + 1, CV_8UC1);
  const cv::Point2f centre(static_cast<float>(halfW), static_cast<float>(halfH));
  const cv::Size2f bar(size.width / 3.0f, size.height / 3.0f);
  for (int y = 0; y < templ.rows; ++y)
    for (int x = 0; x < templ.cols; ++x) {
      const cv::Point2f pixel(static_cast<float>(x), static_cast<float>(y));
      float cover = RectCoverage(pixel, centre, size);
      if (shape == FiducialShape::Cross) {
        const float across = RectCoverage(pixel, centre, cv::Size2f(size.width, bar.height));
        const float down = RectCoverage(pixel, centre, cv::Size2f(bar.width, size.height));
        cover = across + down - RectCoverage(pixel, centre, bar);
      }
      templ.at<uchar>(y, x) = cv::saturate_cast<uchar>(255.0f * cover);
    }
  return templ;
}

std::vector<cv::Point2f> CorrelationPeaks(const cv::Mat& grey, const cv::Mat& templ, int count,
                                          float spacing) {
  std::vector<cv::Point2f> peaks;
  const int padX = templ.cols / 2, padY = templ.rows / 2;
  cv::Mat padded, score;
  cv::copyMakeBorder(grey, padded, padY, padY, padX, padX, cv::BORDER_REPLICATE);
  cv::matchTemplate(padded, templ, score, cv::TM_CCOEFF_NORMED);
  // The odd-sized template makes score(y, x) the match centred on grey pixel (x, y).
  const cv::Mat untouched = score.clone();
  for (int i = 0; i < count; ++i) {
    double best = 0.0;
    cv::Point at;
    cv::minMaxLoc(score, nullptr, &best, nullptr, &at);
    if (!(best > 0.0)) break;
    peaks.push_back(SubPixelPeak(untouched, at));
    cv::circle(score, at, std::max(1, cvRound(spacing)), cv::Scalar(-1.0), cv::FILLED);
  }
  return peaks;
}

}  // namespace imgtarn::fiducial
