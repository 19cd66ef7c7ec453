// NFunction_IF: plane inversion, position stepping and interpolation with any parameters.
#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  void* object = fuzz::NumericObject();
  switch (data.ConsumeIntegralInRange<int>(0, 2)) {
    case 0: {
      float para[3] = {fuzz::ParaValue(data), fuzz::ParaValue(data), fuzz::ParaValue(data)};
      // The count is the wrapped 32-bit product, so two negative sizes make a plane too.
      const auto samples =
          static_cast<std::int32_t>(static_cast<std::uint32_t>(fuzz::AsInt(para[0])) *
                                    static_cast<std::uint32_t>(fuzz::AsInt(para[1])));
      if (samples > fuzz::kMaxSamples) return 0;
      std::vector<unsigned char> plane = fuzz::Bytes(data, samples);
      fuzz::CallSlot<int>(object, 0, fuzz::Ptr(plane), para, data.ConsumeIntegralInRange(-2, 5));
      break;
    }
    case 1:
    case 2: {
      const int slot = data.ConsumeIntegralInRange(1, 2);
      float in[15], out[8];
      for (float& v : in) v = fuzz::ParaValue(data, 200);
      // The pass-through values of slot 1 are written before its length check, so the
      // output always has room for them.
      fuzz::CallSlot<int>(object, slot, in, data.ConsumeIntegralInRange(slot == 1 ? 13 : 11, 15),
                          out, data.ConsumeIntegralInRange(slot == 1 ? 5 : 6, 8));
      break;
    }
  }
  return 0;
}
