// Operations measured through the host's view of the library against the literal reference
// versions they must agree with bit for bit. The references are slow, so they run few
// iterations.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "board.hpp"
#include "buffers.hpp"
#include "cad_overlay.hpp"
#include "comparison.hpp"
#include "imgtarn/imgtarn.hpp"

namespace bench {
namespace {

ImgTarn_IF& Library() {
  static ImgTarn_IF* object = ImgTarn_IFCreate();
  return *object;
}

constexpr int kSide = 1024;

// Height maps: integer-valued (every exchange exact) or arbitrary floats of mixed exponents.
cv::Mat Heights(bool integers) {
  cv::Mat board;
  GreyBoard(kSide, kSide, 5).convertTo(board, CV_32F, 4.0);
  if (!integers) {
    cv::Mat noise(board.size(), CV_32F);
    cv::RNG(9).fill(noise, cv::RNG::UNIFORM, 0.0, 1.0);
    board += noise;
  }
  return board;
}

void MedianOurs(benchmark::State& state, bool integers) {
  const cv::Mat heights = Heights(integers);
  cv::Mat work = heights.clone(), copy(heights.size(), CV_32F);
  float para[8] = {0, kSide, kSide, 5, 0, 0, 2, 1};
  for (auto _ : state) {
    state.PauseTiming();
    heights.copyTo(work);
    state.ResumeTiming();
    Library().Slot30Dispatch(work.ptr<float>(), copy.ptr<float>(), para);
    benchmark::DoNotOptimize(work.data);
  }
}

void MedianReference(benchmark::State& state, bool integers) {
  const cv::Mat heights = Heights(integers);
  cv::Mat result(heights.size(), CV_32F);
  float para[8] = {0, kSide, kSide, 5, 0, 0, 2, 1};
  const imgtarn::buffers::MedianParams params = imgtarn::buffers::MedianParams::FromPara(para);
  for (auto _ : state) {
    imgtarn::buffers::MedianFilterLiteral(heights, result, params);
    benchmark::DoNotOptimize(result.data);
  }
}

// One group of six calibration images of a board under two lighting levels.
const std::vector<unsigned char>& CalibrationStack() {
  static const std::vector<unsigned char> stack = [] {
    std::vector<unsigned char> bytes;
    for (int i = 0; i < 6; ++i) {
      const cv::Mat image = GreyBoard(kSide, kSide, 20 + i) + (i < 3 ? 0 : 60);
      bytes.insert(bytes.end(), image.datastart, image.dataend);
    }
    return bytes;
  }();
  return stack;
}

float* FlatFieldPara(int window) {
  static float para[10];
  const float values[10] = {0,    1,    kSide, kSide, static_cast<float>(window),
                            1.5f, 0.5f, 120,   200,   5};
  std::copy(values, values + 10, para);
  return para;
}

void FlatFieldOurs(benchmark::State& state, int window) {
  std::vector<unsigned char> stack = CalibrationStack();
  std::vector<float> table(6 * kSide * kSide);
  int cleared = 0;
  for (auto _ : state) {
    Library().ComputeFlatFieldCoefficients(stack.data(), FlatFieldPara(window), 0, table.data(),
                                           &cleared);
    benchmark::DoNotOptimize(table.data());
  }
}

// The literal filter over the six images: the part of the calibration that depends on k.
void FlatFieldReference(benchmark::State& state, int window) {
  const std::vector<unsigned char>& stack = CalibrationStack();
  const imgtarn::buffers::FlatFieldParams params =
      imgtarn::buffers::FlatFieldParams::FromPara(FlatFieldPara(window));
  cv::Mat filtered(kSide, kSide, CV_32F);
  for (auto _ : state) {
    for (int i = 0; i < 6; ++i) {
      const cv::Mat image(kSide, kSide, CV_8UC1,
                          const_cast<unsigned char*>(stack.data()) + i * kSide * kSide);
      imgtarn::buffers::FlatFieldFilterLiteral(image, imgtarn::buffers::SampleMean(image), params,
                                               filtered);
      benchmark::DoNotOptimize(filtered.data);
    }
  }
}

// A 128 x 128 CAD pad with a 30-pixel boundary margin and a measured blob spilling over it.
struct OverlayPad {
  static constexpr int kPlane = 128 + 2 * 40;
  cv::Mat cad = cv::Mat::zeros(kPlane, kPlane, CV_8UC1);
  cv::Mat boundary = cv::Mat::zeros(kPlane, kPlane, CV_8UC1);
  cv::Mat measured = cv::Mat::zeros(kPlane, kPlane, CV_8UC1);
  OverlayPad() {
    cad(cv::Rect(40, 40, 128, 128)).setTo(255);
    boundary(cv::Rect(10, 10, 188, 188)).setTo(255);
    measured(cv::Rect(46, 35, 130, 126)).setTo(255);
  }
};

const bool registered = [] {
  Compare(
      "median_exact", 0.05, [](benchmark::State& s) { MedianOurs(s, true); },
      [](benchmark::State& s) { MedianReference(s, true); }, 1);
  Compare(
      "median_float", 0.8, [](benchmark::State& s) { MedianOurs(s, false); },
      [](benchmark::State& s) { MedianReference(s, false); }, 1);
  Compare(
      "flatfield_k", 1.5, [](benchmark::State& s) { FlatFieldOurs(s, 31); },
      [](benchmark::State& s) { FlatFieldOurs(s, 3); });
  Compare(
      "flatfield", 0.05, [](benchmark::State& s) { FlatFieldOurs(s, 15); },
      [](benchmark::State& s) { FlatFieldReference(s, 15); }, 1);
  Compare(
      "overlay", 0.2,
      [](benchmark::State& state) {
        OverlayPad pad;
        float para[3] = {OverlayPad::kPlane, OverlayPad::kPlane, 0};
        float score = 0;
        for (auto _ : state) {
          Library().FollowCadOverlay(pad.boundary.data, pad.cad.data, pad.measured.data, para,
                                     nullptr, &score);
          benchmark::DoNotOptimize(score);
        }
      },
      [](benchmark::State& state) {
        OverlayPad pad;
        for (auto _ : state) {
          cv::Mat weights = imgtarn::cad_overlay::BuildSpillWeightMap(pad.cad, pad.boundary);
          benchmark::DoNotOptimize(weights.data);
        }
      });
  return true;
}();

}  // namespace
}  // namespace bench
