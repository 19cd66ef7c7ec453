// Per-sample gain and offset correction (slot 25).
#include <cstdint>

#include "buffers.hpp"

namespace imgtarn::buffers {
namespace {

// The low byte of the value truncated toward zero to 64 bits, with no saturation (256 -> 0,
// -1 -> 255). NaN and values beyond the 64-bit range give the processor's INT64_MIN, whose
// low byte is 0, without the undefined behaviour of a plain cast.
unsigned char LowByteOfTruncation(float value) {
  if (!(value > -9223372036854775808.0f && value < 9223372036854775808.0f)) return 0;
  return static_cast<unsigned char>(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
}

unsigned char Corrected(unsigned char sample, float gain, float offset) {
  const float value = static_cast<float>(sample) * gain + offset;  // single precision
  return LowByteOfTruncation(value);
}

}  // namespace

void ApplyGainOffsetLiteral(const unsigned char* src, const float* offsets, const float* gains,
                            int count, unsigned char* dst) {
  int i = 0;
  // Four samples a step, then the rest one by one: each sample depends only on its own
  // position, so any count gives the same bytes as a plain loop.
  for (; i + 4 <= count; i += 4) {
    dst[i] = Corrected(src[i], gains[i], offsets[i]);
    dst[i + 1] = Corrected(src[i + 1], gains[i + 1], offsets[i + 1]);
    dst[i + 2] = Corrected(src[i + 2], gains[i + 2], offsets[i + 2]);
    dst[i + 3] = Corrected(src[i + 3], gains[i + 3], offsets[i + 3]);
  }
  for (; i < count; ++i) dst[i] = Corrected(src[i], gains[i], offsets[i]);
}

int ApplyGainOffset(unsigned char* src, float* coefficients, int count, unsigned char* dst) {
  if (src == nullptr || coefficients == nullptr || count <= 0) return 0;
  // The table holds all offsets first, then all gains.
  ApplyGainOffsetFast(src, coefficients, coefficients + count, count, dst);
  return 0;
}

}  // namespace imgtarn::buffers
