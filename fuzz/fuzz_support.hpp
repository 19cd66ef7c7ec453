// Shared pieces of the fuzz harnesses: the library object, raw table calls, and parameter
// values drawn from the fuzzer's bytes with the awkward ones (NaN, infinities, negatives,
// huge values) well represented.
#ifndef IMGTARN_FUZZ_FUZZ_SUPPORT_HPP
#define IMGTARN_FUZZ_FUZZ_SUPPORT_HPP

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "imgtarn/imgtarn.hpp"

namespace fuzz {

// Planes are bounded so one execution stays fast.
constexpr int kMaxSide = 256;
constexpr long long kMaxSamples = static_cast<long long>(kMaxSide) * kMaxSide;

inline void* Object() {
  static ImgTarn_IF* object = ImgTarn_IFCreate();
  return object;
}

inline void* NumericObject() {
  static NFunction_IF* object = NFunction_IFCreate();
  return object;
}

// Calls table entry `slot` of `object` as a host does.
template <typename R, typename... Args>
R CallSlot(void* object, int slot, Args... args) {
  void** table = *reinterpret_cast<void***>(object);
  return reinterpret_cast<R (*)(void*, Args...)>(table[slot])(object, args...);
}

// The library's reading of a para float as an integer (truncation, INT_MIN when NaN or out
// of range), so the harness sizes buffers exactly as the operation will use them.
inline int AsInt(float value) {
  if (!(value > -2147483649.0f && value < 2147483648.0f)) return INT_MIN;
  return static_cast<int>(value);
}

// A para value: mostly small integers, sometimes any float, sometimes a special value.
inline float ParaValue(FuzzedDataProvider& data, float typicalMax = 64.0f) {
  switch (data.ConsumeIntegralInRange<int>(0, 9)) {
    case 0:
      return std::numeric_limits<float>::quiet_NaN();
    case 1:
      return data.ConsumeBool() ? std::numeric_limits<float>::infinity()
                                : -std::numeric_limits<float>::infinity();
    case 2:
      return data.ConsumeBool() ? 3.0e9f : -3.0e9f;
    case 3:
      return data.ConsumeBool() ? -0.0f : 0.0f;
    case 4:
      return data.ConsumeFloatingPoint<float>();
    case 5:
      return -static_cast<float>(data.ConsumeIntegralInRange<int>(1, 300));
    default:
      return static_cast<float>(data.ConsumeIntegralInRange<int>(0, static_cast<int>(typicalMax))) +
             (data.ConsumeBool() ? 0.5f : 0.0f);
  }
}

// Sample count of a width x height plane as the operation reads it; -1 when it is larger
// than the harness allows (the call is then skipped).
inline long long PlaneSamples(int width, int height) {
  if (width <= 0 || height <= 0) return 0;
  const long long samples = static_cast<long long>(width) * height;
  return samples > kMaxSamples ? -1 : samples;
}

inline std::vector<unsigned char> Bytes(FuzzedDataProvider& data, long long count) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(count > 0 ? count : 0));
  for (unsigned char& b : bytes) b = data.ConsumeIntegral<unsigned char>();
  return bytes;
}

// data() of an empty vector may be null; operations that read nothing get a valid pointer.
template <typename T>
T* Ptr(std::vector<T>& v) {
  static T dummy[4] = {};
  return v.empty() ? dummy : v.data();
}

// A plane size drawn as two para values, with the integers the operation reads from them.
struct PlaneSize {
  float w = 0, h = 0;
  int width = 0, height = 0;
  long long samples = 0;  // width * height, 0 when either is below 1
};

// Draws a size up to maxSide x maxSide (awkward values included); false when the drawn size
// is larger than the harness allows, so the call is skipped.
inline bool DrawSize(FuzzedDataProvider& data, int maxSide, PlaneSize* size) {
  size->w = ParaValue(data, static_cast<float>(maxSide));
  size->h = ParaValue(data, static_cast<float>(maxSide));
  size->width = AsInt(size->w);
  size->height = AsInt(size->h);
  if (size->width > maxSide || size->height > maxSide) return false;
  size->samples = PlaneSamples(size->width, size->height);
  return true;
}

// A plane of `count` samples: noise, flat, or a few bright rectangles on dark (so the
// searches find something to work on).
inline std::vector<unsigned char> Plane(FuzzedDataProvider& data, int width, int height) {
  const long long count = PlaneSamples(width, height);
  std::vector<unsigned char> plane(static_cast<std::size_t>(count > 0 ? count : 0));
  if (plane.empty()) return plane;
  switch (data.ConsumeIntegralInRange<int>(0, 2)) {
    case 0:
      for (unsigned char& b : plane) b = data.ConsumeIntegral<unsigned char>();
      break;
    case 1:
      std::fill(plane.begin(), plane.end(), data.ConsumeIntegral<unsigned char>());
      break;
    default: {
      const int shapes = data.ConsumeIntegralInRange<int>(0, 6);
      for (int s = 0; s < shapes; ++s) {
        const int x0 = data.ConsumeIntegralInRange<int>(0, width - 1);
        const int y0 = data.ConsumeIntegralInRange<int>(0, height - 1);
        const int x1 = std::min(width, x0 + data.ConsumeIntegralInRange<int>(1, width));
        const int y1 = std::min(height, y0 + data.ConsumeIntegralInRange<int>(1, height));
        const unsigned char level = data.ConsumeIntegral<unsigned char>();
        for (int y = y0; y < y1; ++y)
          for (int x = x0; x < x1; ++x) plane[static_cast<std::size_t>(y) * width + x] = level;
      }
    }
  }
  return plane;
}

// Non-negative entry count read from a para value (INT_MIN and negatives give 0).
inline int Count(float value) { return std::max(0, AsInt(value)); }

// A pointer to the vector's samples, or null on request (for optional planes).
template <typename T>
T* MaybeNull(FuzzedDataProvider& data, std::vector<T>& v) {
  return data.ConsumeIntegralInRange<int>(0, 7) == 0 ? nullptr : Ptr(v);
}

}  // namespace fuzz

#endif  // IMGTARN_FUZZ_FUZZ_SUPPORT_HPP
