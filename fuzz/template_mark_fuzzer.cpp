// Cross and rectangle marks (slots 14 and 18) with any plane size and parameters.
#include <opencv2/core.hpp>

#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  fuzz::PlaneSize plane_size;
  if (!fuzz::DrawSize(data, 128, &plane_size)) return 0;
  const int slot = data.ConsumeBool() ? 14 : 18;
  float para[5] = {plane_size.w, plane_size.h, fuzz::ParaValue(data, 40), fuzz::ParaValue(data, 40),
                   0.0f};
  // Debug views are switched on now and then; they write their files into the scratch dir.
  if (data.ConsumeIntegralInRange<int>(0, 7) == 0) para[4] = fuzz::ParaValue(data, 3);
  std::vector<unsigned char> plane = fuzz::Plane(data, plane_size.width, plane_size.height);
  float result[4] = {1, 2, 3, 4};
  try {
    fuzz::CallSlot<int>(fuzz::Object(), slot, fuzz::MaybeNull(data, plane), para,
                        static_cast<void*>(nullptr), result);
  } catch (const cv::Exception&) {
  }
  return 0;
}
