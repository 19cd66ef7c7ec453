// Contour and lead operations (slots 6-9, 13, 15, 16, 19, 21, 22, 34) with any plane size and
// parameters; result arrays as large as the capacities drawn.
#include <opencv2/core.hpp>

#include "fuzz_support.hpp"

namespace {

using fuzz::CallSlot;
using fuzz::Count;
using fuzz::ParaValue;
using Bytes = std::vector<unsigned char>;

constexpr int kMaxCapacity = 2048;

// para with the size at [0], [1], every other entry drawn, the debug switch [4] mostly off.
std::vector<float> Para(FuzzedDataProvider& data, std::size_t count, const fuzz::PlaneSize& s) {
  std::vector<float> para(count);
  for (float& v : para) v = ParaValue(data, 255);
  para[0] = s.w;
  para[1] = s.h;
  if (count > 4 && data.ConsumeIntegralInRange<int>(0, 7) != 0) para[4] = 0.0f;
  return para;
}

void Call(FuzzedDataProvider& data, void* object, int slot) {
  fuzz::PlaneSize s;
  if (!fuzz::DrawSize(data, 128, &s)) return;
  Bytes a = fuzz::Plane(data, s.width, s.height), b = fuzz::Plane(data, s.width, s.height);
  Bytes c = fuzz::Plane(data, s.width, s.height), d = fuzz::Plane(data, s.width, s.height);
  void* none = nullptr;
  switch (slot) {
    case 6: {
      std::vector<float> p = Para(data, 9, s);
      CallSlot<int>(object, 6, fuzz::MaybeNull(data, a), p.data(), fuzz::MaybeNull(data, b),
                    fuzz::MaybeNull(data, c), fuzz::MaybeNull(data, d));
      break;
    }
    case 7: {
      std::vector<float> p = Para(data, 11, s);
      if (Count(p[6]) > kMaxCapacity || Count(p[7]) > kMaxCapacity) return;
      std::vector<float> rings(4 * Count(p[6])), solids(4 * Count(p[7]));
      CallSlot<int>(object, 7, fuzz::MaybeNull(data, a), fuzz::MaybeNull(data, b),
                    fuzz::MaybeNull(data, solids), p.data(), fuzz::MaybeNull(data, rings),
                    fuzz::MaybeNull(data, c));
      break;
    }
    case 8: {
      float capacity = ParaValue(data, 64);
      if (Count(capacity) > kMaxCapacity) return;
      std::vector<float> p = Para(data, 8 + 4 * Count(capacity), s);
      p[6] = capacity;
      CallSlot<int>(object, 8, fuzz::MaybeNull(data, a), p.data());
      break;
    }
    case 9:
    case 15:
    case 19: {
      std::vector<float> p = Para(data, 6, s);
      if (Count(p[5]) > kMaxCapacity) return;
      const int per = slot == 9 ? 3 : 1, head = slot == 19 ? 2 : 1;
      std::vector<float> result(head + per * Count(p[5]));
      if (slot == 9)
        CallSlot<int>(object, 9, fuzz::MaybeNull(data, a), fuzz::MaybeNull(data, b), p.data(),
                      fuzz::MaybeNull(data, c), fuzz::MaybeNull(data, result));
      else if (slot == 15)
        CallSlot<int>(object, 15, fuzz::MaybeNull(data, a), p.data(), fuzz::MaybeNull(data, b),
                      fuzz::MaybeNull(data, result));
      else
        CallSlot<int>(object, 19, fuzz::MaybeNull(data, a), p.data(), none,
                      fuzz::MaybeNull(data, result));
      break;
    }
    case 21: {
      std::vector<float> p = Para(data, 8, s);
      const int mode =
          data.ConsumeBool() ? data.ConsumeIntegralInRange(-5, 200) : data.ConsumeIntegral<int>();
      CallSlot<int>(object, 21, fuzz::MaybeNull(data, a), fuzz::MaybeNull(data, b),
                    fuzz::MaybeNull(data, c), p.data(), mode, fuzz::MaybeNull(data, d));
      break;
    }
    case 22: {
      std::vector<float> p = Para(data, 7, s);
      if (data.ConsumeBool()) p[3] = static_cast<float>(data.ConsumeIntegralInRange(0, 64));
      if (Count(p[3]) > 4096) return;
      std::vector<int> polygons(Count(p[3]));
      for (int& v : polygons)
        v = data.ConsumeBool() ? data.ConsumeIntegralInRange(-3, 140) : data.ConsumeIntegral<int>();
      CallSlot<int>(object, 22, fuzz::MaybeNull(data, a), p.data(), none,
                    fuzz::MaybeNull(data, polygons), fuzz::MaybeNull(data, b));
      break;
    }
    case 34: {
      std::vector<float> p = Para(data, 7, s);
      CallSlot<int>(object, 34, fuzz::MaybeNull(data, a), fuzz::MaybeNull(data, b), p.data());
      break;
    }
    default: {  // 13 and 16: a lead template of its own size
      fuzz::PlaneSize t;
      if (!fuzz::DrawSize(data, 48, &t)) return;
      std::vector<float> p = Para(data, slot == 13 ? 19 : 11, s);
      p[2] = t.w;
      p[3] = t.h;
      if (data.ConsumeBool()) p[6] = static_cast<float>(data.ConsumeIntegralInRange(-10, 10)) / 10;
      Bytes lead = fuzz::Plane(data, t.width, t.height);
      if (slot == 13) {
        CallSlot<int>(object, 13, fuzz::MaybeNull(data, a), fuzz::MaybeNull(data, lead), none,
                      fuzz::MaybeNull(data, p));
      } else {
        float result[10];
        CallSlot<int>(object, 16, fuzz::MaybeNull(data, a), fuzz::MaybeNull(data, lead),
                      fuzz::MaybeNull(data, p), data.ConsumeBool() ? result : nullptr);
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  static const int kSlots[] = {6, 7, 8, 9, 13, 15, 16, 19, 21, 22, 34};
  const int slot = kSlots[data.ConsumeIntegralInRange<int>(0, 10)];
  try {
    Call(data, fuzz::Object(), slot);
  } catch (const cv::Exception&) {
  }
  return 0;
}
