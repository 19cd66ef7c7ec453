// Differential harness: the linear two-level contour listing and the one-contour and fillPoly
// drawings against OpenCV's own listing and cv::drawContours on the whole list, on fuzzed
// binary planes. Any difference aborts.
#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "contour_tools.hpp"
#include "fill_contours.hpp"
#include "fuzz_support.hpp"

namespace ct = imgtarn::contours;

namespace {

bool Same(const cv::Mat& a, const cv::Mat& b) { return cv::countNonZero(a != b) == 0; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  cv::Mat binary(data.ConsumeIntegralInRange<int>(1, 64), data.ConsumeIntegralInRange<int>(1, 64),
                 CV_8UC1);
  for (auto it = binary.begin<unsigned char>(); it != binary.end<unsigned char>(); ++it)
    *it = data.ConsumeBool() ? 255 : 0;
  std::vector<ct::Contour> all, fast;
  std::vector<cv::Vec4i> links, fastLinks;
  ct::FindTwoLevelContoursLiteral(binary, all, links);
  ct::FindTwoLevelContours(binary, fast, fastLinks);
  if (fast != all || fastLinks != links) std::abort();

  cv::Mat reference = cv::Mat::zeros(binary.size(), CV_8UC1), drawn = reference.clone();
  for (int i = 0; i < static_cast<int>(all.size()); ++i) {
    const cv::Scalar level(1 + i % 254);
    cv::drawContours(reference, all, i, level, cv::FILLED);
    ct::DrawContourAlone(drawn, all[i], level, cv::FILLED);
    if (links[i][3] >= 0) continue;
    cv::drawContours(reference, all, i, level, cv::FILLED, cv::LINE_8, links, 1);
    ct::FillBlobWithHoles(drawn, all, links, i, level);
  }
  if (!Same(reference, drawn)) std::abort();
  cv::drawContours(reference, all, -1, cv::Scalar(255), cv::FILLED, cv::LINE_8);
  imgtarn::FillContoursAtOnce(drawn, all, cv::Scalar(255));
  if (!Same(reference, drawn)) std::abort();
  return 0;
}
