#include <cstdint>

#include "common/para.hpp"
#include "numeric/numeric.hpp"

namespace imgtarn::numeric {

int InvertPlane(unsigned char* plane, const float* para, int paraCount) {
  if (paraCount < 3) return -1;
  // The sample count is a 32-bit product: it wraps like the host's own int arithmetic, and a
  // wrapped or negative count inverts nothing.
  const auto count = static_cast<std::int32_t>(static_cast<std::uint32_t>(ParaInt(para, 0)) *
                                               static_cast<std::uint32_t>(ParaInt(para, 1)));
  if (para[2] != 0.0f && count > 0) {
    for (std::int32_t i = 0; i < count; ++i) plane[i] = static_cast<unsigned char>(255 - plane[i]);
  }
  return 0;
}

}  // namespace imgtarn::numeric
