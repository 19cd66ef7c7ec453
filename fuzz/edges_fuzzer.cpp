// Canny edges with self-chosen thresholds (slot 23) with any plane size and parameters.
#include <opencv2/core.hpp>

#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  fuzz::PlaneSize plane_size;
  if (!fuzz::DrawSize(data, 256, &plane_size)) return 0;
  float para[5] = {plane_size.w, plane_size.h, fuzz::ParaValue(data, 2), fuzz::ParaValue(data, 2),
                   fuzz::ParaValue(data, 500)};
  std::vector<unsigned char> src = fuzz::Plane(data, plane_size.width, plane_size.height);
  std::vector<unsigned char> dst(src.size());
  const bool inPlace = data.ConsumeBool();
  float result[4];
  try {
    fuzz::CallSlot<int>(fuzz::Object(), 23, fuzz::MaybeNull(data, src), para,
                        inPlace ? fuzz::Ptr(src) : fuzz::MaybeNull(data, dst), result);
  } catch (const cv::Exception&) {
  }
  return 0;
}
