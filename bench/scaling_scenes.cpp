#include "scaling_scenes.hpp"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace bench {
namespace {

constexpr int kGround = 60;
constexpr int kPadGrey = 180;
constexpr int kMarkGrey = 200;
constexpr int kPadPitch = 100;

void DrawPads(cv::Mat& board) {
  for (int y = 42; y + 16 <= board.rows; y += kPadPitch) {
    for (int x = 38; x + 24 <= board.cols; x += kPadPitch) {
      cv::rectangle(board, cv::Rect(x, y, 24, 16), cv::Scalar(kPadGrey), cv::FILLED);
    }
  }
}

void DrawFeature(cv::Mat& board, Feature feature) {
  const cv::Point centre(board.cols / 2, board.rows / 2);
  if (feature == Feature::kPads) return;
  // A cleared patch: the mark stands alone, as fiducials do.
  const cv::Rect patch(centre.x - 40, centre.y - 40, 80, 80);
  board(patch & cv::Rect(0, 0, board.cols, board.rows)).setTo(kGround);
  const cv::Scalar grey(kMarkGrey);
  switch (feature) {
    case Feature::kCircle:
      cv::circle(board, centre, static_cast<int>(kCircleRadius), grey, cv::FILLED, cv::LINE_AA);
      break;
    case Feature::kCross: {
      const int bar = kCrossSide / 3;
      const cv::Point corner = centre - cv::Point(kCrossSide / 2, kCrossSide / 2);
      cv::rectangle(board, cv::Rect(corner.x, corner.y + bar, kCrossSide, bar), grey, cv::FILLED);
      cv::rectangle(board, cv::Rect(corner.x + bar, corner.y, bar, kCrossSide), grey, cv::FILLED);
      break;
    }
    case Feature::kRectangle:
      cv::rectangle(
          board,
          cv::Rect(centre.x - kRectWidth / 2, centre.y - kRectHeight / 2, kRectWidth, kRectHeight),
          grey, cv::FILLED);
      break;
    case Feature::kLead:
      // A lead leaving a dark component body.
      cv::rectangle(board, cv::Rect(centre.x - 30, centre.y - 35, 60, 20), cv::Scalar(30),
                    cv::FILLED);
      cv::rectangle(board,
                    cv::Rect(centre.x - kLeadWidth / 2, centre.y - 15, kLeadWidth, kLeadHeight),
                    grey, cv::FILLED);
      break;
    case Feature::kPads:
      break;
  }
}

cv::Mat Checkerboard(cv::Size size, int cell) {
  cv::Mat plane(size, CV_8UC1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      plane.at<unsigned char>(y, x) = ((x / cell + y / cell) % 2) ? 255 : 0;
    }
  }
  return plane;
}

cv::Mat Checkerboard1(cv::Size size) { return Checkerboard(size, 1); }
cv::Mat Checkerboard2(cv::Size size) { return Checkerboard(size, 2); }

cv::Mat UniformNoise(cv::Size size) {
  cv::Mat plane(size, CV_8UC1);
  cv::RNG rng(5);
  rng.fill(plane, cv::RNG::UNIFORM, 0, 256);
  return plane;
}

cv::Mat DotEveryThird(cv::Size size) {
  cv::Mat plane = cv::Mat::zeros(size, CV_8UC1);
  for (int y = 0; y < size.height; y += 3) {
    for (int x = 0; x < size.width; x += 3) plane.at<unsigned char>(y, x) = 255;
  }
  return plane;
}

}  // namespace

cv::Mat CleanBoard(cv::Size size, Feature feature) {
  cv::Mat board(size, CV_8UC1, cv::Scalar(kGround));
  DrawPads(board);
  DrawFeature(board, feature);
  return board;
}

cv::Mat NoisyBoard(cv::Size size, Feature feature, unsigned seed) {
  cv::Mat board = CleanBoard(size, feature);
  cv::Mat noise(size, CV_16SC1);
  cv::RNG rng(seed);
  rng.fill(noise, cv::RNG::NORMAL, 0, 6);
  cv::Mat noisy;
  cv::add(board, noise, noisy, cv::noArray(), CV_8U);
  return noisy;
}

Scene BoardScene(cv::Size size, Feature feature) {
  Scene scene;
  scene.plane = NoisyBoard(size, feature);
  return scene;
}

const std::vector<AdversarialPlane>& AdversarialPlanes() {
  static const std::vector<AdversarialPlane> planes = {
      {"checker1", Checkerboard1},
      {"checker2", Checkerboard2},
      {"uniform_noise", UniformNoise},
      {"dot_every_third", DotEveryThird},
  };
  return planes;
}

Scene AdversarialScene(const AdversarialPlane& plane, cv::Size size, cv::Size base) {
  Scene scene;
  scene.plane = plane.make(size);
  scene.circleRadius = static_cast<float>(std::min(base.width, base.height) / 4);
  scene.crossHalf = cv::Size2f(15, 15);  // the header's example calls
  scene.rectHalf = cv::Size2f(20, 12);
  return scene;
}

}  // namespace bench
