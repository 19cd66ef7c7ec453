// Stepped correction of an X/Y position towards measured offsets. The mix of single and
// double precision below is part of the result: hosts compare positions to the last bit.
#include <cmath>
#include <cstdint>

#include "numeric.hpp"
#include "para.hpp"

namespace imgtarn::numeric {
namespace {

struct StepInput {
  float totalCount, offsetX, offsetY, scaleX, scaleY, unitX, unitY, adjustOff, countA, countB,
      stepEnable, stepSize, stepEnable2;
  int positionX, positionY;
  static StepInput FromPara(const float* in);
};

StepInput StepInput::FromPara(const float* in) {
  return {in[0],
          in[1],
          in[2],
          in[3],
          in[4],
          in[5],
          in[6],
          in[7],
          in[8],
          in[9],
          in[10],
          in[11],
          in[12],
          TruncToInt(in[13]),
          TruncToInt(in[14])};
}

struct AxisState {
  float offset;
  int position;
  bool adjusted = false;
};

// Coverage percentage of the pads found: (total - countB) / total in percent, 0 without total.
float CoveragePercent(const StepInput& in) {
  const int total = TruncToInt(in.totalCount);
  if (total <= 0) return 0.0f;
  return (static_cast<float>(total) - in.countB) / static_cast<float>(total) * 100.0f;
}

// When most pads are found, an axis whose error is far below the coverage gets its offset
// replaced by one derived from the coverage and is then left out of the stepping.
void AdjustByCoverage(const StepInput& in, AxisState& x, AxisState& y) {
  const double ex = static_cast<double>(in.scaleX * in.offsetX) * 0.1 / in.unitX;
  const double ey = std::fabs(static_cast<double>(in.scaleY * in.offsetY) * 0.1 / in.unitY);
  if (!(in.adjustOff == 0.0f && in.countA > (in.countB + in.countA) * 0.4f)) return;
  const float p = CoveragePercent(in);
  if (std::fabs(ex) > ey) {
    if (p - std::fabs(ex) > 20.0) {
      x.adjusted = true;
      x.offset = in.offsetX / std::fabs(in.offsetX) * (p * in.unitX / in.scaleX * 10.0f);
    }
  } else if (p - ey > 20.0) {
    y.adjusted = true;
    y.offset = in.offsetY / std::fabs(in.offsetY) * (p * in.unitY / in.scaleY * 10.0f);
  }
}

// Positions are the host's 32-bit integers and wrap like them at the ends of the range.
int WrappingAdd(int position, int step) {
  return static_cast<int>(static_cast<unsigned>(position) + static_cast<unsigned>(step));
}

// One step of size s towards zero offset; an offset within one step is halved instead.
// Returns true when the axis moved.
bool StepAxis(AxisState& axis, std::int16_t step) {
  if (axis.adjusted) return false;
  const float s = static_cast<float>(step);
  float& d = axis.offset;
  if (d < 0.0f && s < -d) {
    d = d + s;
    axis.position = WrappingAdd(axis.position, -step);
  } else if (d > 0.0f && s < d) {
    d = d - s;
    axis.position = WrappingAdd(axis.position, step);
  } else if (d < 0.0f || d > 0.0f) {
    d = static_cast<float>(static_cast<double>(d) * 0.5);
    axis.position = TruncToInt(static_cast<float>(axis.position) + d);
  } else {
    return false;  // zero or NaN: nothing to correct
  }
  return true;
}

}  // namespace

int StepPositionToOffsets(const float* in, int inCount, float* out, int outCount) {
  const StepInput input = StepInput::FromPara(in);
  // The pass-through values are written before the length check: hosts read them even when
  // the call is refused.
  out[0] = static_cast<float>(input.positionX);
  out[1] = static_cast<float>(input.positionY);
  out[2] = 0.0f;
  out[3] = input.offsetX;
  out[4] = input.offsetY;
  if (inCount < 15 || outCount < 5) return -1;

  AxisState x{input.offsetX, input.positionX};
  AxisState y{input.offsetY, input.positionY};
  AdjustByCoverage(input, x, y);

  const auto step = static_cast<std::int16_t>(TruncToInt(input.stepSize));
  if (input.stepEnable == 0.0f || step < 1 || input.stepEnable2 == 0.0f) return 0;

  const bool movedX = StepAxis(x, step);
  const bool movedY = StepAxis(y, step);
  const int flag = (movedX || movedY) ? 1 : 0;
  out[3] = x.offset;
  out[4] = y.offset;
  out[0] = static_cast<float>(x.position);
  out[1] = static_cast<float>(y.position);
  out[2] = static_cast<float>(flag);
  return flag;
}

}  // namespace imgtarn::numeric
