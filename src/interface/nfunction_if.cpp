// The thin operations of NFunction_IF.
#include "imgtarn/imgtarn.hpp"
#include "numeric.hpp"

int NFunction_IF::InvertPlane(unsigned char* plane, float* para, int paraCount) {
  return imgtarn::numeric::InvertPlane(plane, para, paraCount);
}

int NFunction_IF::StepPositionToOffsets(float* in, int inCount, float* out, int outCount) {
  return imgtarn::numeric::StepPositionToOffsets(in, inCount, out, outCount);
}

int NFunction_IF::InterpolateToTargets(float* in, int inCount, float* out, int outCount) {
  return imgtarn::numeric::InterpolateToTargets(in, inCount, out, outCount);
}
