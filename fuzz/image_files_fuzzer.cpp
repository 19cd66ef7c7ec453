// Image files (slots 31 and 32), paths only inside the working directory (fuzz/run runs the
// harnesses in a scratch directory).
#include <fstream>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>

#include "fuzz_support.hpp"

namespace {

const char* const kNames[] = {"a.png", "a.bmp", "a.jpg",       "a.tif",       "a.xyz",
                              "noext", "",      "garbage.png", "missing.bmp", "a.pgm"};

std::string DrawName(FuzzedDataProvider& data) {
  static const bool garbage = [] {
    std::ofstream("garbage.png") << "not an image";
    return true;
  }();
  (void)garbage;
  return kNames[data.ConsumeIntegralInRange<int>(0, 9)];
}

// A path count of 0 or below (NaN too): an empty path.
float EmptyCount(FuzzedDataProvider& data) {
  const float count = fuzz::ParaValue(data, 0);
  return fuzz::AsInt(count) > 0 ? 0.0f : count;
}

void Save(FuzzedDataProvider& data, void* object) {
  const std::string name = DrawName(data);
  fuzz::PlaneSize size;
  if (!fuzz::DrawSize(data, 64, &size)) return;
  std::vector<char> path(name.begin(), name.end());  // not zero-terminated
  float para[3] = {static_cast<float>(path.size()), size.w, size.h};
  // Counts of 0 and below (NaN too) read as an empty path; never more than the characters.
  if (data.ConsumeIntegralInRange<int>(0, 7) == 0) para[0] = EmptyCount(data);
  std::vector<unsigned char> r = fuzz::Plane(data, size.width, size.height);
  std::vector<unsigned char> g = fuzz::Plane(data, size.width, size.height);
  std::vector<unsigned char> b = fuzz::Plane(data, size.width, size.height);
  try {
    fuzz::CallSlot<int>(object, 32, reinterpret_cast<unsigned char*>(fuzz::MaybeNull(data, path)),
                        fuzz::MaybeNull(data, r), fuzz::MaybeNull(data, g),
                        fuzz::MaybeNull(data, b), para);
  } catch (const cv::Exception&) {
    // An unknown extension or an empty image.
  }
}

void Load(FuzzedDataProvider& data, void* object) {
  const std::string name = DrawName(data);
  std::vector<char> path(name.begin(), name.end());
  float para[3] = {static_cast<float>(path.size()), -1, -1};
  // Counts of 0 and below (NaN too) read as an empty path; never more than the characters.
  if (data.ConsumeIntegralInRange<int>(0, 7) == 0) para[0] = EmptyCount(data);
  unsigned char *r = nullptr, *g = nullptr, *b = nullptr;
  try {
    fuzz::CallSlot<int>(object, 31, reinterpret_cast<unsigned char*>(fuzz::Ptr(path)), &r, &g, &b,
                        para);
  } catch (const std::out_of_range&) {
    // An unreadable file.
  }
  operator delete(r);
  operator delete(g);
  operator delete(b);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  if (data.ConsumeBool())
    Save(data, fuzz::Object());
  else
    Load(data, fuzz::Object());
  return 0;
}
