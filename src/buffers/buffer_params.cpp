// Reading the buffer operations' para arrays into typed parameters.
#include "buffer_params.hpp"

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "para.hpp"

namespace imgtarn::buffers {
namespace {

unsigned char LowByte(int value) { return static_cast<unsigned char>(value & 0xFF); }

// In single precision, as the host writes its switches: a host's 0.001f is within 0.001f.
bool Near(float value, float target, bool inclusive) {
  const float distance = std::fabs(value - target);
  return inclusive ? distance <= 0.001f : distance < 0.001f;
}

EvenRule EvenRuleFrom(float value) {
  if (Near(value, 0.0f, false)) return EvenRule::kLower;
  if (Near(value, 1.0f, false)) return EvenRule::kUpper;
  return EvenRule::kMean;
}

}  // namespace

FillBlackHolesParams FillBlackHolesParams::FromPara(const float* para) {
  FillBlackHolesParams p;
  p.width = ParaInt(para, 0);
  p.height = ParaInt(para, 1);
  p.refR = LowByte(ParaInt(para, 2));
  p.refG = LowByte(ParaInt(para, 3));
  p.refB = LowByte(ParaInt(para, 4));
  p.threads = ParaInt(para, 5);
  return p;
}

MedianParams MedianParams::FromPara(const float* para) {
  MedianParams p;
  p.width = ParaInt(para, 1);
  p.height = ParaInt(para, 2);
  p.window = ParaInt(para, 3);
  p.lower = static_cast<float>(ParaInt(para, 4));
  p.upper = static_cast<float>(ParaInt(para, 5));
  p.evenRule = EvenRuleFrom(para[6]);
  // The switch counts as off up to 0.001 inclusive; the even rule's bands are open.
  p.limited = Near(para[7], 0.0f, true);
  return p;
}

FileParams FileParams::FromPara(const float* para) {
  FileParams p;
  p.pathLength = ParaInt(para, 0);
  p.width = ParaInt(para, 1);
  p.height = ParaInt(para, 2);
  return p;
}

ResizeParams ResizeParams::FromPara(const float* para) {
  ResizeParams p;
  p.srcWidth = ParaInt(para, 0);
  p.srcHeight = ParaInt(para, 1);
  p.dstWidth = ParaInt(para, 2);
  p.dstHeight = ParaInt(para, 3);
  p.interpolation = ParaInt(para, 4) == 1 ? cv::INTER_CUBIC : cv::INTER_LINEAR;
  return p;
}

FlatFieldParams FlatFieldParams::FromPara(const float* para) {
  FlatFieldParams p;
  p.groups = ParaInt(para, 1);
  p.width = ParaInt(para, 2);
  p.height = ParaInt(para, 3);
  p.window = ParaInt(para, 4);
  p.acceptHigh = para[5];
  p.acceptLow = para[6];
  p.targetLow = ParaInt(para, 7);
  p.targetHigh = ParaInt(para, 8);
  p.minCount = ParaInt(para, 9);
  return p;
}

CountingSortParams CountingSortParams::FromPara(const float* para) {
  CountingSortParams p;
  p.count = ParaInt(para, 0);
  p.ascending = ParaInt(para, 1) == 1;
  p.firstK = ParaInt(para, 2);
  p.writePermutation = ParaInt(para, 3) == 1;
  return p;
}

}  // namespace imgtarn::buffers
