// Reading integers out of the host's float parameter arrays.
#ifndef IMGTARN_COMMON_PARA_HPP
#define IMGTARN_COMMON_PARA_HPP

#include <climits>
#include <cmath>

namespace imgtarn {

// Truncation toward zero, with NaN and values outside the 32-bit range mapped to INT_MIN:
// the value the processor's truncating conversion (cvttss2si) gives, without the undefined
// behaviour of a plain cast. Every float-to-int conversion of a para value goes through here.
inline int TruncToInt(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return INT_MIN;
  return static_cast<int>(value);
}
inline int TruncToInt(float value) { return TruncToInt(static_cast<double>(value)); }

// para[index] as an integer, truncated toward zero.
inline int ParaInt(const float* para, int index) { return TruncToInt(para[index]); }

// Rounding to nearest (halves away from zero) with the same guard for NaN and overflow.
inline int RoundToInt(double value) { return TruncToInt(std::round(value)); }

// width * height as a 64-bit product, so huge or negative sizes can be refused before any
// allocation; an area of 0 or below means "no plane".
inline long long PlaneArea(int width, int height) {
  return static_cast<long long>(width) * static_cast<long long>(height);
}

}  // namespace imgtarn

#endif  // IMGTARN_COMMON_PARA_HPP
