// Synthetic planes whose answer is known by construction, shared by the test programs.
#ifndef IMGTARN_TESTS_SUPPORT_SCENES_HPP
#define IMGTARN_TESTS_SUPPORT_SCENES_HPP

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace scenes {

// A disc of 200 on a board of 60 with Gaussian noise (sigma 6), drawn anti-aliased at a
// sub-pixel centre; `hole` > 0 punches a dark hole of that radius into it (a ring).
inline cv::Mat DiscPlane(cv::Size size, cv::Point2f centre, float radius, int seed = 1,
                         float hole = 0.0f) {
  cv::Mat board(size, CV_32F, cv::Scalar(60));
  const cv::Point at(cvRound(centre.x * 16), cvRound(centre.y * 16));
  cv::circle(board, at, cvRound(radius * 16), cv::Scalar(200), -1, cv::LINE_AA, 4);
  if (hole > 0.0f) cv::circle(board, at, cvRound(hole * 16), cv::Scalar(60), -1, cv::LINE_AA, 4);
  cv::Mat noise(size, CV_32F), plane;
  cv::RNG(static_cast<std::uint64_t>(seed)).fill(noise, cv::RNG::NORMAL, 0, 6);
  cv::Mat(board + noise).convertTo(plane, CV_8U);
  return plane;
}

// `value` inside the rectangles, `ground` elsewhere.
inline cv::Mat Filled(cv::Size size, const std::vector<cv::Rect>& rects, int value = 255,
                      int ground = 0) {
  cv::Mat plane(size, CV_8UC1, cv::Scalar(ground));
  for (const cv::Rect& r : rects) plane(r).setTo(value);
  return plane;
}

// Bright marks on a dark noisy board, in continuous coordinates where column i spans
// [i, i + 1). They are drawn 4x supersampled and area-averaged, so an edge inside a pixel
// shades it partially, as a camera would.
class Board {
 public:
  explicit Board(cv::Size size) : coverage_(size * kSuper, CV_8UC1, cv::Scalar(0)) {}
  void Fill(double left, double top, double width, double height) {
    const cv::Rect area(cvRound(left * kSuper), cvRound(top * kSuper), cvRound(width * kSuper),
                        cvRound(height * kSuper));
    cv::rectangle(coverage_, area & cv::Rect(cv::Point(), coverage_.size()), cv::Scalar(255), -1);
  }
  void Rectangle(cv::Point2d centre, double w, double h) {
    Fill(centre.x - w / 2, centre.y - h / 2, w, h);
  }
  // A plus sign whose bars are a third of its size.
  void Plus(cv::Point2d centre, double w, double h) {
    Fill(centre.x - w / 2, centre.y - h / 6, w, h / 3);
    Fill(centre.x - w / 6, centre.y - h / 2, w / 3, h);
  }
  void RotatedRectangle(cv::Point2f centre, cv::Size2f size, float degrees) {
    cv::Point2f corners[4];
    cv::RotatedRect(centre * kSuper, size * static_cast<float>(kSuper), degrees).points(corners);
    cv::fillConvexPoly(coverage_, std::vector<cv::Point>(corners, corners + 4), cv::Scalar(255));
  }
  // Board 40, marks 200, Gaussian noise.
  cv::Mat Render(int seed, double noise = 6.0) const {
    cv::Mat area, plane, grain(coverage_.size() / kSuper, CV_32F), out;
    cv::resize(coverage_, area, grain.size(), 0, 0, cv::INTER_AREA);
    area.convertTo(plane, CV_32F, 160.0 / 255.0, 40.0);
    cv::RNG(static_cast<std::uint64_t>(seed)).fill(grain, cv::RNG::NORMAL, 0.0, noise);
    cv::Mat(plane + grain).convertTo(out, CV_8U);
    return out;
  }

 private:
  static constexpr int kSuper = 4;
  cv::Mat coverage_;
};

inline std::vector<float> Slice(const float* values, int from, int count) {
  return std::vector<float>(values + from, values + from + count);
}

}  // namespace scenes

#endif  // IMGTARN_TESTS_SUPPORT_SCENES_HPP
