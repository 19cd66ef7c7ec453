// Planes for the scaling benchmark: a noisy board carrying the kind of mark or pad field an
// operation looks for, and planes built to be as hard as possible for the searches.
#ifndef IMGTARN_BENCH_SCALING_SCENES_HPP
#define IMGTARN_BENCH_SCALING_SCENES_HPP

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace bench {

// What sits in the middle of the board besides the pad field.
enum class Feature { kPads, kCircle, kCross, kRectangle, kLead };

// The mark sizes the board carries; the operations are called with the same nominal sizes.
constexpr float kCircleRadius = 20.0f;
constexpr int kCrossSide = 48;  // bars of 16
constexpr int kRectWidth = 40;
constexpr int kRectHeight = 28;
constexpr int kLeadWidth = 12;
constexpr int kLeadHeight = 30;

// Grey 60 with Gaussian noise of sigma 6, a 24 x 16 pad (grey 180) every 100 pixels and the
// feature (grey 200) in the middle on a cleared patch.
cv::Mat NoisyBoard(cv::Size size, Feature feature, unsigned seed = 1);

// The same board without noise, for templates a host would have cut from a good image.
cv::Mat CleanBoard(cv::Size size, Feature feature);

// What the operations are told about the plane: the nominal mark sizes and circle radius.
struct Scene {
  cv::Mat plane;
  float circleRadius = kCircleRadius;
  cv::Size2f crossHalf{kCrossSide / 2.0f, kCrossSide / 2.0f};
  cv::Size2f rectHalf{kRectWidth / 2.0f, kRectHeight / 2.0f};
};

Scene BoardScene(cv::Size size, Feature feature);

// Planes that defeat the searches' pruning: one- and two-pixel checkerboards, uniform noise
// (every sample drawn from 0..255) and a bright dot every third pixel. The operations get the
// header's example mark sizes and a circle radius of a quarter of the shorter side of `base`,
// the smallest size measured, so that larger planes change the pixels and nothing else.
struct AdversarialPlane {
  std::string name;
  cv::Mat (*make)(cv::Size size);
};
const std::vector<AdversarialPlane>& AdversarialPlanes();
Scene AdversarialScene(const AdversarialPlane& plane, cv::Size size, cv::Size base);

}  // namespace bench

#endif  // IMGTARN_BENCH_SCALING_SCENES_HPP
