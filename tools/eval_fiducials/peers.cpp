// Plain OpenCV peers, set up as a user following the OpenCV documentation would set them up.
#include "peers.hpp"

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace eval_fiducials {
namespace {

// Shapes are drawn at 8x with anti-aliasing and reduced, so their edges are shaded by
// coverage like a camera's.
constexpr int kDrawScale = 8;

float ParabolaOffset(float left, float middle, float right) {
  const float curvature = left - 2.0f * middle + right;
  if (!(curvature < 0.0f)) return 0.0f;
  return 0.5f * (left - right) / curvature;
}

// The correlation peak of `templ`, as the image position of the template's centre pixel.
std::optional<cv::Point2f> TemplatePeak(const cv::Mat& grey, const cv::Mat& templ) {
  if (grey.cols < templ.cols || grey.rows < templ.rows) return std::nullopt;
  cv::Mat score;
  cv::matchTemplate(grey, templ, score, cv::TM_CCOEFF_NORMED);
  double best = 0.0;
  cv::Point at;
  cv::minMaxLoc(score, nullptr, &best, nullptr, &at);
  cv::Point2f peak(static_cast<float>(at.x), static_cast<float>(at.y));
  if (at.x > 0 && at.x + 1 < score.cols)
    peak.x += ParabolaOffset(score.at<float>(at.y, at.x - 1), score.at<float>(at),
                             score.at<float>(at.y, at.x + 1));
  if (at.y > 0 && at.y + 1 < score.rows)
    peak.y += ParabolaOffset(score.at<float>(at.y - 1, at.x), score.at<float>(at),
                             score.at<float>(at.y + 1, at.x));
  return peak + cv::Point2f(static_cast<float>(templ.cols / 2), static_cast<float>(templ.rows / 2));
}

// A canvas of side 2 * half + 1 pixels drawn at kDrawScale; `at` maps a template pixel
// coordinate to the fixed-point canvas coordinate cv::circle and cv::rectangle take (shift 3).
struct Canvas {
  cv::Mat big;
  explicit Canvas(cv::Size half)
      : big(cv::Mat::zeros((2 * half.height + 1) * kDrawScale, (2 * half.width + 1) * kDrawScale,
                           CV_8UC1)) {}
  static cv::Point At(cv::Point2f p) {
    return cv::Point(cvRound((p.x + 0.5f) * kDrawScale * 8 - 4),
                     cvRound((p.y + 0.5f) * kDrawScale * 8 - 4));
  }
  cv::Mat Reduced() const {
    cv::Mat small;
    cv::resize(big, small, big.size() / kDrawScale, 0, 0, cv::INTER_AREA);
    return small;
  }
};

}  // namespace

std::optional<cv::Point2f> HoughNearestRadius(const cv::Mat& grey, float radius) {
  cv::Mat smooth;
  cv::GaussianBlur(grey, smooth, cv::Size(9, 9), 2.0, 2.0);
  std::vector<cv::Vec3f> circles;
  // Radii within 2 px and 10 votes: of the settings tried (vote thresholds 8 to 20, radius
  // ranges of 2 px or 20 %, dp 1 or 2) the one that finds most of the evaluation marks.
  cv::HoughCircles(smooth, circles, cv::HOUGH_GRADIENT, 1.0, 1.0, 100.0, 10.0,
                   static_cast<int>(std::floor(radius - 2.0f)),
                   static_cast<int>(std::ceil(radius + 2.0f)));
  const cv::Vec3f* nearest = nullptr;
  for (const cv::Vec3f& circle : circles)
    if (!nearest || std::fabs(circle[2] - radius) < std::fabs((*nearest)[2] - radius))
      nearest = &circle;
  if (!nearest) return std::nullopt;
  return cv::Point2f((*nearest)[0], (*nearest)[1]);
}

std::optional<cv::Point2f> DiscTemplatePeak(const cv::Mat& grey, float radius) {
  const int half = static_cast<int>(std::ceil(1.5f * radius)) + 2;
  cv::Mat disc = cv::Mat::zeros(2 * half + 1, 2 * half + 1, CV_8UC1);
  cv::circle(disc, cv::Point(half, half), cvRound(radius), cv::Scalar(255), cv::FILLED);
  return TemplatePeak(grey, disc);
}

std::optional<cv::Point2f> ShadedDiscPeak(const cv::Mat& grey, float radius) {
  const int half = static_cast<int>(std::ceil(1.5f * radius)) + 2;
  Canvas canvas(cv::Size(half, half));
  const float centre = static_cast<float>(half);
  cv::circle(canvas.big, Canvas::At(cv::Point2f(centre, centre)), cvRound(radius * kDrawScale * 8),
             cv::Scalar(255), cv::FILLED, cv::LINE_AA, 3);
  return TemplatePeak(grey, canvas.Reduced());
}

std::optional<cv::Point2f> BoxTemplatePeak(const cv::Mat& grey, cv::Size2f size, bool cross) {
  const int margin = static_cast<int>(std::ceil(0.25f * std::max(size.width, size.height))) + 2;
  const cv::Size half(static_cast<int>(std::ceil(0.5f * size.width)) + margin,
                      static_cast<int>(std::ceil(0.5f * size.height)) + margin);
  Canvas canvas(half);
  const cv::Point2f c(static_cast<float>(half.width), static_cast<float>(half.height));
  const auto fill = [&](cv::Size2f box) {
    cv::rectangle(canvas.big, Canvas::At(c - cv::Point2f(box.width, box.height) * 0.5f),
                  Canvas::At(c + cv::Point2f(box.width, box.height) * 0.5f), cv::Scalar(255),
                  cv::FILLED, cv::LINE_AA, 3);
  };
  if (cross) {
    fill(cv::Size2f(size.width, size.height / 3.0f));
    fill(cv::Size2f(size.width / 3.0f, size.height));
  } else {
    fill(size);
  }
  return TemplatePeak(grey, canvas.Reduced());
}

}  // namespace eval_fiducials
