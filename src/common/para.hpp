// Reading integers out of the host's float parameter arrays.
#ifndef IMGTARN_COMMON_PARA_HPP
#define IMGTARN_COMMON_PARA_HPP

#include <climits>

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

}  // namespace imgtarn

#endif  // IMGTARN_COMMON_PARA_HPP
