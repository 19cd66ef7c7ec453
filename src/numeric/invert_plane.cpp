#include <cstdint>

#include "numeric.hpp"
#include "para.hpp"

namespace imgtarn::numeric {
namespace {

// para: [0] width, [1] height, [2] switch (0.0 leaves the plane alone).
struct InvertParams {
  int width, height;
  bool invert;
  static InvertParams FromPara(const float* para);
};

InvertParams InvertParams::FromPara(const float* para) {
  return {ParaInt(para, 0), ParaInt(para, 1), para[2] != 0.0f};
}

}  // namespace

int InvertPlane(unsigned char* plane, const float* para, int paraCount) {
  if (paraCount < 3) return -1;
  const InvertParams params = InvertParams::FromPara(para);
  // The sample count is a 32-bit product: it wraps like the host's own int arithmetic, and a
  // wrapped or negative count inverts nothing.
  const auto count = static_cast<std::int32_t>(static_cast<std::uint32_t>(params.width) *
                                               static_cast<std::uint32_t>(params.height));
  if (params.invert && count > 0) {
    for (std::int32_t i = 0; i < count; ++i) plane[i] = static_cast<unsigned char>(255 - plane[i]);
  }
  return 0;
}

}  // namespace imgtarn::numeric
