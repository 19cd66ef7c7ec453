// CAD overlay and pads (slots 20, 26, 27) with any plane size and parameters; the blob
// buffers are as large as the largest result the contract allows.
#include <opencv2/core.hpp>

#include "fuzz_support.hpp"

namespace {

using fuzz::CallSlot;
using fuzz::ParaValue;

// Slot 20 rounds its sizes: + 0.5 in double precision, then truncation.
int Rounded(float value) {
  const double v = static_cast<double>(value) + 0.5;
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT_MIN;
  return static_cast<int>(v);
}

void Overlay(FuzzedDataProvider& data, void* object) {
  float para[3] = {ParaValue(data, 96), ParaValue(data, 96), 0.0f};
  const int width = Rounded(para[0]), height = Rounded(para[1]);
  if (width > 96 || height > 96) return;
  std::vector<unsigned char> boundary = fuzz::Plane(data, width, height);
  std::vector<unsigned char> cad = fuzz::Plane(data, width, height);
  std::vector<unsigned char> measured = fuzz::Plane(data, width, height);
  if (data.ConsumeBool()) std::fill(boundary.begin(), boundary.end(), 255);  // no outside
  float score = -1;
  CallSlot<int>(object, 20, fuzz::MaybeNull(data, boundary), fuzz::MaybeNull(data, cad),
                fuzz::MaybeNull(data, measured), para, static_cast<void*>(nullptr), &score);
}

void Match(FuzzedDataProvider& data, void* object) {
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, 64, &size)) return;
  float para[7] = {size.w, size.h, ParaValue(data, 2), 0.0f, 0, 0, ParaValue(data, 8)};
  const int count = fuzz::Count(para[6]);
  if (count > 16) return;
  std::vector<int> rects(static_cast<std::size_t>(4 * count));
  long long pixels = 0;
  for (int i = 0; i < count; ++i) {
    rects[4 * i + 2] = data.ConsumeIntegralInRange<int>(-2, 80);
    rects[4 * i + 3] = data.ConsumeIntegralInRange<int>(-2, 80);
    pixels += fuzz::PlaneSamples(rects[4 * i + 2], rects[4 * i + 3]);
  }
  std::vector<unsigned char> blobPixels = fuzz::Bytes(data, pixels);
  std::vector<unsigned char> plane = fuzz::Plane(data, size.width, size.height);
  std::vector<float> scores(static_cast<std::size_t>(std::max(count, 1)));
  CallSlot<int>(object, 26, fuzz::MaybeNull(data, plane), para, static_cast<void*>(nullptr),
                fuzz::Ptr(scores), fuzz::MaybeNull(data, blobPixels), fuzz::MaybeNull(data, rects));
}

void Split(FuzzedDataProvider& data, void* object) {
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, 40, &size)) return;
  float para[6] = {
      size.w, size.h, ParaValue(data, 2), 0.0f, ParaValue(data, 6), ParaValue(data, 6)};
  // At most one blob per sample; a larger grid given in para takes its cell count.
  long long entries = std::max<long long>(size.samples, 1);
  if (fuzz::AsInt(para[4]) > 0 && fuzz::AsInt(para[5]) > 0) {
    const long long cells = static_cast<long long>(fuzz::AsInt(para[4])) * fuzz::AsInt(para[5]);
    if (cells > 100000) return;
    entries = std::max(entries, cells);
  }
  std::vector<int> rects(static_cast<std::size_t>(4 * entries));
  // Each blob at most one line longer than the plane.
  const long long blobMax = std::max<long long>(size.samples, 1) * (std::max(size.width, 0) + 1) *
                            (std::max(size.height, 0) + 1);
  std::vector<unsigned char> pixels(static_cast<std::size_t>(blobMax));
  std::vector<unsigned char> plane = fuzz::Plane(data, size.width, size.height);
  float grid[2];
  CallSlot<int>(object, 27, fuzz::MaybeNull(data, plane), para, static_cast<void*>(nullptr), grid,
                fuzz::MaybeNull(data, pixels), fuzz::MaybeNull(data, rects));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  void* object = fuzz::Object();
  try {
    switch (data.ConsumeIntegralInRange<int>(0, 2)) {
      case 0:
        Overlay(data, object);
        break;
      case 1:
        Match(data, object);
        break;
      default:
        Split(data, object);
    }
  } catch (const cv::Exception&) {
  }
  return 0;
}
