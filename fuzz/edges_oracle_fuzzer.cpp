// Differential harness: the striped, vectorised Canny engine against the literal detector on
// any plane, threshold pair, stripe count and kernel choice. Any difference in the edge map,
// the thresholds or the edge count aborts, so libFuzzer keeps the input.
#include <cstdlib>
#include <opencv2/core.hpp>

#include "DalCanny.hpp"
#include "canny_fast.hpp"
#include "fuzz_support.hpp"

namespace {

namespace edges = imgtarn::edges;

edges::CannyRequest DrawRequest(FuzzedDataProvider& data) {
  edges::CannyRequest request;
  request.automaticThresholds = data.ConsumeBool();
  request.l2gradient = data.ConsumeBool();
  request.given.low = data.ConsumeIntegralInRange<int>(-4, 1600);
  request.given.high = data.ConsumeIntegralInRange<int>(-4, 1600);
  request.kernels =
      data.ConsumeBool() ? edges::CannyKernels::kBest : edges::CannyKernels::kPortable;
  request.stripes = data.ConsumeIntegralInRange<int>(0, 9);
  return request;
}

void Literal(const cv::Mat& image, const edges::CannyRequest& request, cv::Mat& map,
             edges::CannyThresholds& thresholds) {
  if (request.automaticThresholds) {
    edges::CannyTrace trace;
    edges::MyCannyLiteral(image, map, request.l2gradient, &trace);
    thresholds = trace.thresholds;
  } else {
    edges::CannyWithThresholdsLiteral(image, map, request.given);
    thresholds = request.given;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  const int width = data.ConsumeIntegralInRange<int>(1, 160);
  const int height = data.ConsumeIntegralInRange<int>(1, 160);
  const edges::CannyRequest request = DrawRequest(data);
  std::vector<unsigned char> samples = fuzz::Plane(data, width, height);
  const cv::Mat image(height, width, CV_8UC1, samples.data());

  cv::Mat expected;
  edges::CannyThresholds thresholds;
  Literal(image, request, expected, thresholds);
  cv::Mat actual;
  edges::CannyTrace trace;
  edges::DetectCannyEdges(image, actual, request, &trace);

  const bool sameThresholds =
      trace.thresholds.low == thresholds.low && trace.thresholds.high == thresholds.high;
  const bool sameMap = cv::countNonZero(expected != actual) == 0;
  if (!sameThresholds || !sameMap || trace.edgePixels != cv::countNonZero(expected)) std::abort();
  return 0;
}
