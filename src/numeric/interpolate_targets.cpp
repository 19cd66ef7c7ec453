// Interpolation of four values towards their targets by a percentage.
#include <cmath>
#include <cstdint>

#include "numeric.hpp"
#include "para.hpp"

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

// in: [0] mode, [1] percentage, [2..5] current A to D, [6] target A, [7] weight A, [8] target B,
// [9] weight B, [11] target C, [12] target D.
struct InterpolateInput {
  int mode;  // a 16-bit value: 65537 is mode 1
  float percent;
  float current[4];
  float target[4];
  float weightA, weightB;
  static InterpolateInput FromPara(const float* in);
};

InterpolateInput InterpolateInput::FromPara(const float* in) {
  return {static_cast<std::int16_t>(TruncToInt(in[0])),
          in[1],
          {in[2], in[3], in[4], in[5]},
          {in[6], in[8], in[11], in[12]},
          in[7],
          in[9]};
}

}  // namespace

int InterpolateToTargets(const float* in, int inCount, float* out, int outCount) {
  if (inCount < 13 || outCount < 8) return -1;
  const InterpolateInput input = InterpolateInput::FromPara(in);
  if (input.mode != 1) return 0;
  out[0] = 0.0f;
  const float k = StepFraction(input.percent);
  if (std::fabs(input.weightA) < 0.001) return 0;

  const float newA = Towards(input.current[0], input.target[0], k);
  const float newB = Towards(input.current[1], input.target[1], k);
  const float newC = Towards(input.current[2], input.target[2], k);
  const float newD = Towards(input.current[3], input.target[3], k);
  out[0] = 1.0f;
  out[1] = newA;
  out[2] = static_cast<float>(static_cast<double>(newA / input.target[0]) * input.weightA);
  out[3] = newB;
  out[4] = static_cast<float>(static_cast<double>(newB / input.target[1]) * input.weightB);
  out[5] = newB / newA;
  out[6] = newC;
  out[7] = newD;
  return 0;
}

}  // namespace imgtarn::numeric
