// Circle marks (slots 2, 3, 4, 5, 10, 11, 12, 17) with any plane size and parameters.
#include <cstdio>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>

#include "fuzz_support.hpp"

namespace {

using fuzz::CallSlot;
using fuzz::ParaValue;

// A tiny image file in the working directory (fuzz/run runs harnesses in a scratch dir).
const char* TinyImage() {
  static const std::string path = [] {
    cv::Mat image(16, 16, CV_8UC1, cv::Scalar(0));
    for (int y = 4; y < 12; ++y)
      for (int x = 4; x < 12; ++x) image.at<unsigned char>(y, x) = 255;
    cv::imwrite("fuzz-tiny.png", image);
    return std::string("fuzz-tiny.png");
  }();
  return path.c_str();
}

void HoughDemo(FuzzedDataProvider& data, void* object) {
  const int pick = data.ConsumeIntegralInRange<int>(0, 2);
  const char* path = pick == 0 ? nullptr : pick == 1 ? "no-such-dir/none.bmp" : TinyImage();
  CallSlot<int>(object, 2, reinterpret_cast<unsigned char*>(const_cast<char*>(path)));
}

void Smoothed(FuzzedDataProvider& data, void* object) {
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, 128, &size)) return;
  const int paraCount = data.ConsumeIntegralInRange<int>(-1, 12);
  std::vector<float> para(static_cast<std::size_t>(std::max(paraCount, 0)));
  for (float& v : para) v = ParaValue(data, 60);
  if (para.size() > 1) para[0] = size.w, para[1] = size.h;
  if (para.size() > 4) para[4] = 0.0f;  // no windows
  std::vector<unsigned char> plane = fuzz::Plane(data, size.width, size.height);
  float result[3];
  CallSlot<int>(object, 3, fuzz::MaybeNull(data, plane), fuzz::Ptr(para), paraCount, result);
}

void FromText(FuzzedDataProvider& data, void* object) {
  std::string texts[4];
  for (std::string& t : texts) t = data.ConsumeRandomLengthString(12);
  const int width = std::atoi(texts[0].c_str()), height = std::atoi(texts[1].c_str());
  if (width > 128 || height > 128) return;
  char* pointers[4];
  for (int i = 0; i < 4; ++i) pointers[i] = texts[i].data();
  std::vector<unsigned char> plane = fuzz::Plane(data, width, height);
  float result[3];
  CallSlot<int>(object, 4, fuzz::MaybeNull(data, plane),
                data.ConsumeIntegralInRange(0, 7) == 0 ? nullptr : pointers,
                static_cast<void*>(nullptr), result);
}

void Plain(FuzzedDataProvider& data, void* object) {
  const int width = data.ConsumeIntegralInRange<int>(-3, 128);
  const int height = data.ConsumeIntegralInRange<int>(-3, 128);
  std::vector<unsigned char> plane = fuzz::Plane(data, width, height);
  float result[3];
  CallSlot<int>(object, 5, fuzz::MaybeNull(data, plane), width, height, ParaValue(data, 60),
                ParaValue(data, 60), result);
}

void Locate(FuzzedDataProvider& data, void* object, int slot) {
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, slot == 12 ? 160 : 96, &size)) return;
  float para[5] = {size.w, size.h, ParaValue(data, 40), ParaValue(data, 40), ParaValue(data, 40)};
  if (slot == 17)
    para[3] = ParaValue(data, 100);
  else if (data.ConsumeIntegralInRange<int>(0, 3) != 0)
    para[4] = 0.0f;
  std::vector<unsigned char> plane = fuzz::Plane(data, size.width, size.height);
  float result[5] = {1, 2, 3, 4, 5};
  CallSlot<int>(object, slot, fuzz::MaybeNull(data, plane), para, static_cast<void*>(nullptr),
                result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  void* object = fuzz::Object();
  try {
    switch (data.ConsumeIntegralInRange<int>(0, 7)) {
      case 0:
        HoughDemo(data, object);
        break;
      case 1:
        Smoothed(data, object);
        break;
      case 2:
        FromText(data, object);
        break;
      case 3:
        Plain(data, object);
        break;
      case 4:
        Locate(data, object, 10);
        break;
      case 5:
        Locate(data, object, 11);
        break;
      case 6:
        Locate(data, object, 12);
        break;
      default:
        Locate(data, object, 17);
    }
  } catch (const cv::Exception&) {
    // Errors raised inside OpenCV leave these operations by contract.
  }
  return 0;
}
