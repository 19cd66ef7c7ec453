// Differential harness: the one-pass shape filter against the literal walk that erases in
// place, at every ladder level of a fuzzed plane and nominal size. Any difference in the
// kept contours or the accepted polygons (content or order) aborts.
#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "fuzz_support.hpp"
#include "template_mark.hpp"

namespace mark = imgtarn::template_mark;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  const mark::MarkKind kind =
      data.ConsumeBool() ? mark::MarkKind::kCross : mark::MarkKind::kRectangle;
  const float w = static_cast<float>(data.ConsumeIntegralInRange<int>(1, 64));
  const float h = static_cast<float>(data.ConsumeIntegralInRange<int>(1, 64));
  cv::Mat grey(data.ConsumeIntegralInRange<int>(1, 96), data.ConsumeIntegralInRange<int>(1, 96),
               CV_8UC1);
  for (auto it = grey.begin<unsigned char>(); it != grey.end<unsigned char>(); ++it)
    *it = data.ConsumeIntegral<unsigned char>();
  for (int level = 0; level < mark::LadderLevels(kind); ++level) {
    const cv::Mat binary = mark::LadderLevelImage(grey, level, kind);
    mark::PolygonList literal;
    cv::findContours(binary.clone(), literal, cv::RETR_LIST, cv::CHAIN_APPROX_SIMPLE);
    mark::PolygonList fast = literal, literalRaw, fastRaw;
    mark::FilterMarkPolygonsLiteral(binary, literal, w, h, kind, literalRaw);
    mark::FilterMarkPolygons(binary, fast, w, h, kind, fastRaw);
    if (fast != literal || fastRaw != literalRaw) std::abort();
  }
  return 0;
}
