// The three numeric routines of NFunction_IF.
#ifndef IMGTARN_NUMERIC_NUMERIC_HPP
#define IMGTARN_NUMERIC_NUMERIC_HPP

namespace imgtarn::numeric {

int InvertPlane(unsigned char* plane, const float* para, int paraCount);
int StepPositionToOffsets(const float* in, int inCount, float* out, int outCount);
int InterpolateToTargets(const float* in, int inCount, float* out, int outCount);

}  // namespace imgtarn::numeric

#endif  // IMGTARN_NUMERIC_NUMERIC_HPP
