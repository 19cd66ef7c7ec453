// Interpolation of four values towards their targets by a percentage.
#include <cmath>
#include <cstdint>

#include "common/para.hpp"
#include "numeric/numeric.hpp"

namespace imgtarn::numeric {
namespace {

// The fraction of the way to go: 0 % means all the way, anything below 10 % (negative
// percentages too) is lifted to 10 %, and there is no upper bound (over 100 % extrapolates).
float StepFraction(float percent) {
  float k = static_cast<float>(percent * 0.01);
  if (std::fabs(k) < 0.001) return 1.0f;
  if (k < 0.1) return 0.1f;
  return k;
}

float Towards(float current, float target, float k) { return (target - current) * k + current; }

}  // namespace

int InterpolateToTargets(const float* in, int inCount, float* out, int outCount) {
  if (inCount < 13 || outCount < 8) return -1;
  if (static_cast<std::int16_t>(TruncToInt(in[0])) != 1) return 0;
  out[0] = 0.0f;
  const float k = StepFraction(in[1]);
  if (std::fabs(in[7]) < 0.001) return 0;

  const float newA = Towards(in[2], in[6], k);
  const float newB = Towards(in[3], in[8], k);
  const float newC = Towards(in[4], in[11], k);
  const float newD = Towards(in[5], in[12], k);
  out[0] = 1.0f;
  out[1] = newA;
  out[2] = static_cast<float>(static_cast<double>(newA / in[6]) * in[7]);
  out[3] = newB;
  out[4] = static_cast<float>(static_cast<double>(newB / in[8]) * in[9]);
  out[5] = newB / newA;
  out[6] = newC;
  out[7] = newD;
  return 0;
}

}  // namespace imgtarn::numeric
