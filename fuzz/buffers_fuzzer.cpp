// Buffer operations (slots 24, 25, 28, 29, 30, 33, 35) with any parameters, every buffer
// exactly as large as the operation's contract requires for the drawn values.
#include <opencv2/core.hpp>

#include "fuzz_support.hpp"

namespace {

using fuzz::AsInt;
using fuzz::CallSlot;
using fuzz::ParaValue;

void FlatField(FuzzedDataProvider& data, void* object) {
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, 24, &size)) return;
  float para[10];
  for (float& v : para) v = ParaValue(data, 300);
  para[1] = static_cast<float>(data.ConsumeIntegralInRange<int>(1, 3));  // n >= 1
  para[2] = size.w;
  para[3] = size.h;
  // The window is often far larger than the plane: it is clipped to the plane.
  if (data.ConsumeBool()) para[4] = static_cast<float>(data.ConsumeIntegralInRange<int>(-9, 99));
  const long long samples = size.samples;
  std::vector<unsigned char> stack = fuzz::Bytes(data, 6 * AsInt(para[1]) * samples);
  std::vector<float> coefficients(static_cast<std::size_t>(6 * samples));
  int cleared = 7;
  CallSlot<int>(object, 24, fuzz::Ptr(stack), para, 0, fuzz::Ptr(coefficients), &cleared);
}

void GainOffset(FuzzedDataProvider& data, void* object) {
  const int count = data.ConsumeIntegralInRange<int>(-2, 512);
  std::vector<unsigned char> src = fuzz::Bytes(data, count);
  std::vector<float> coefficients(static_cast<std::size_t>(2 * std::max(count, 0)));
  for (float& v : coefficients) v = ParaValue(data, 300);
  std::vector<unsigned char> dst(src.size());
  CallSlot<int>(object, 25, fuzz::Ptr(src), fuzz::Ptr(coefficients), count,
                data.ConsumeBool() ? fuzz::Ptr(src) : fuzz::Ptr(dst));
}

void DominantLevels(FuzzedDataProvider& data, void* object) {
  const int width = data.ConsumeIntegralInRange<int>(-3, 256);
  const int height = data.ConsumeIntegralInRange<int>(-3, 256);
  std::vector<unsigned char> a = fuzz::Plane(data, width, height);
  std::vector<unsigned char> b = fuzz::Plane(data, width, height);
  std::vector<unsigned char> c = fuzz::Plane(data, width, height);
  unsigned char levels[3];
  CallSlot<int>(object, 28, fuzz::Ptr(a), fuzz::Ptr(b), fuzz::Ptr(c), width, height, levels);
}

void FillBlackHoles(FuzzedDataProvider& data, void* object) {
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, 256, &size)) return;
  float para[6] = {size.w, size.h, ParaValue(data, 255), ParaValue(data, 255), ParaValue(data, 255),
                   0.0f};
  // A large thread count would legitimately start that many OpenCV workers.
  switch (data.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
      para[5] = std::numeric_limits<float>::quiet_NaN();
      break;
    case 1:
      para[5] = data.ConsumeBool() ? INFINITY : -INFINITY;
      break;
    default:
      para[5] = static_cast<float>(data.ConsumeIntegralInRange<int>(-2, 4));
  }
  std::vector<std::vector<unsigned char>> planes;
  for (int i = 0; i < 6; ++i) planes.push_back(fuzz::Plane(data, size.width, size.height));
  CallSlot<int>(object, 29, fuzz::Ptr(planes[0]), fuzz::Ptr(planes[1]), fuzz::Ptr(planes[2]), para,
                fuzz::Ptr(planes[3]), fuzz::Ptr(planes[4]), fuzz::Ptr(planes[5]));
}

void MedianFilter(FuzzedDataProvider& data, void* object) {
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, 48, &size)) return;
  float para[8];
  for (float& v : para) v = ParaValue(data, 300);
  para[0] = data.ConsumeIntegralInRange<int>(0, 3) == 0 ? ParaValue(data, 3) : 0.0f;
  para[1] = size.w;
  para[2] = size.h;
  if (data.ConsumeBool()) para[3] = static_cast<float>(data.ConsumeIntegralInRange<int>(-9, 99));
  std::vector<float> heights(static_cast<std::size_t>(size.samples));
  for (float& v : heights) v = ParaValue(data, 1000);
  std::vector<float> filtered(heights.size());
  CallSlot<int>(object, 30, fuzz::Ptr(heights), fuzz::Ptr(filtered), para);
}

void Resize(FuzzedDataProvider& data, void* object) {
  fuzz::PlaneSize from, to;
  if (!fuzz::DrawSize(data, 128, &from) || !fuzz::DrawSize(data, 128, &to)) return;
  float para[5] = {from.w, from.h, to.w, to.h, ParaValue(data, 2)};
  std::vector<std::vector<unsigned char>> planes;
  for (int i = 0; i < 3; ++i) planes.push_back(fuzz::Plane(data, from.width, from.height));
  for (int i = 0; i < 3; ++i) planes.push_back(fuzz::Plane(data, to.width, to.height));
  try {
    CallSlot<int>(object, 33, fuzz::Ptr(planes[0]), fuzz::Ptr(planes[1]), fuzz::Ptr(planes[2]),
                  fuzz::Ptr(planes[3]), fuzz::Ptr(planes[4]), fuzz::Ptr(planes[5]), para);
  } catch (const cv::Exception&) {
    // An empty source is refused by cv::resize.
  }
}

void CountingSort(FuzzedDataProvider& data, void* object) {
  float para[4] = {ParaValue(data, 600), ParaValue(data, 2), ParaValue(data, 40),
                   ParaValue(data, 2)};
  const int n = fuzz::Count(para[0]);
  if (n > 4096) return;
  // The counter array is proportional to the value range: keep max - min below about 1M.
  const int base = data.ConsumeIntegral<int>();
  const int span = data.ConsumeIntegralInRange<int>(0, 1 << 20);
  std::vector<int> values(static_cast<std::size_t>(n));
  for (int& v : values) {
    const long long value = static_cast<long long>(base) + data.ConsumeIntegralInRange(0, span);
    v = static_cast<int>(std::min<long long>(value, INT_MAX));
  }
  std::vector<int> permutation(values.size());
  CallSlot<int>(object, 35, fuzz::Ptr(values), para, fuzz::Ptr(permutation));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  void* object = fuzz::Object();
  switch (data.ConsumeIntegralInRange<int>(0, 6)) {
    case 0:
      FlatField(data, object);
      break;
    case 1:
      GainOffset(data, object);
      break;
    case 2:
      DominantLevels(data, object);
      break;
    case 3:
      FillBlackHoles(data, object);
      break;
    case 4:
      MedianFilter(data, object);
      break;
    case 5:
      Resize(data, object);
      break;
    default:
      CountingSort(data, object);
  }
  return 0;
}
