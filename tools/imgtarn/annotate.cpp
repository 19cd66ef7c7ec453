// Drawing results over the input picture: people would rather look than read.
#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>

#include "cli.hpp"

namespace imgtarn_cli::annotate {

namespace {

// Line widths grow with the picture so that a 2000-pixel board still shows its marks.
int Thickness(const cv::Mat& canvas) {
  return std::max(1, std::max(canvas.cols, canvas.rows) / 600);
}

// Drawing with 4 bits of sub-pixel precision, so a centre at x.5 is drawn at x.5.
constexpr int kShift = 4;
cv::Point Fixed(cv::Point2f p) {
  return {static_cast<int>(std::lround(p.x * (1 << kShift))),
          static_cast<int>(std::lround(p.y * (1 << kShift)))};
}

}  // namespace

cv::Mat Canvas(const cv::Mat& image) {
  cv::Mat canvas;
  if (image.channels() == 1) {
    cv::cvtColor(image, canvas, cv::COLOR_GRAY2BGR);
  } else {
    canvas = image.clone();
  }
  return canvas;
}

void CentreCross(cv::Mat& canvas, cv::Point2f centre, const cv::Scalar& colour, int arm) {
  int t = Thickness(canvas);
  cv::line(canvas, Fixed(centre - cv::Point2f(arm, 0)), Fixed(centre + cv::Point2f(arm, 0)), colour,
           t, cv::LINE_AA, kShift);
  cv::line(canvas, Fixed(centre - cv::Point2f(0, arm)), Fixed(centre + cv::Point2f(0, arm)), colour,
           t, cv::LINE_AA, kShift);
}

void Circle(cv::Mat& canvas, cv::Point2f centre, float radius, const cv::Scalar& colour) {
  cv::circle(canvas, Fixed(centre), static_cast<int>(std::lround(radius * (1 << kShift))), colour,
             Thickness(canvas), cv::LINE_AA, kShift);
}

void Box(cv::Mat& canvas, const cv::Rect2f& box, const cv::Scalar& colour) {
  cv::rectangle(canvas, Fixed(box.tl()), Fixed(box.br()), colour, Thickness(canvas), cv::LINE_AA,
                kShift);
}

void Ellipse(cv::Mat& canvas, const cv::RotatedRect& ellipse, const cv::Scalar& colour) {
  cv::ellipse(canvas, Fixed(ellipse.center),
              cv::Size(static_cast<int>(std::lround(ellipse.size.width * 0.5f * (1 << kShift))),
                       static_cast<int>(std::lround(ellipse.size.height * 0.5f * (1 << kShift)))),
              ellipse.angle, 0, 360, colour, Thickness(canvas), cv::LINE_AA, kShift);
}

void Label(cv::Mat& canvas, const std::string& text, cv::Point origin, const cv::Scalar& colour) {
  double scale = std::max(0.4, std::max(canvas.cols, canvas.rows) / 900.0);
  // A dark outline keeps the caption readable on bright pads.
  cv::putText(canvas, text, origin, cv::FONT_HERSHEY_SIMPLEX, scale, cv::Scalar(0, 0, 0),
              Thickness(canvas) + 2, cv::LINE_AA);
  cv::putText(canvas, text, origin, cv::FONT_HERSHEY_SIMPLEX, scale, colour, Thickness(canvas),
              cv::LINE_AA);
}

void Caption(cv::Mat& canvas, const std::string& text) {
  Label(canvas, text, {5, canvas.rows - 8}, kNote);
}

cv::Mat CircleMark(const cv::Mat& image, bool found, cv::Point2f centre, float radius) {
  cv::Mat canvas = Canvas(image);
  if (!found) {
    Caption(canvas, "no mark found");
    return canvas;
  }
  Circle(canvas, centre, radius, kFound);
  CentreCross(canvas, centre, kFound);
  char caption[64];
  std::snprintf(caption, sizeof caption, "(%.1f, %.1f)", centre.x, centre.y);
  Caption(canvas, caption);
  return canvas;
}

cv::Mat BoxMark(const cv::Mat& image, bool found, cv::Point2f centre, cv::Size2f size) {
  cv::Mat canvas = Canvas(image);
  if (!found) {
    Caption(canvas, "no mark found");
    return canvas;
  }
  Box(canvas, cv::Rect2f(centre - cv::Point2f(size.width, size.height) * 0.5f, size), kFound);
  CentreCross(canvas, centre, kFound);
  char caption[80];
  std::snprintf(caption, sizeof caption, "(%.1f, %.1f) %.0fx%.0f", centre.x, centre.y, size.width,
                size.height);
  Caption(canvas, caption);
  return canvas;
}

}  // namespace imgtarn_cli::annotate
