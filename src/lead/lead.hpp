// Lead measurement: the operations of slots 13 and 16. The public header documents every
// argument and para index; these are the adapters the interface forwards to.
#ifndef IMGTARN_LEAD_LEAD_HPP
#define IMGTARN_LEAD_LEAD_HPP

namespace imgtarn::lead {

// The judgement bits of slot 16's result[9], as the public header names them to hosts.
enum Judgement : int { kPositionOff = 1, kLeftBright = 2, kRightBright = 4, kNotFound = 8 };

int CutLeadRois(const unsigned char* image, const unsigned char* leadTemplate, float* para);
int MeasureLeadRoi(const unsigned char* image, const unsigned char* leadTemplate, const float* para,
                   float* result);

}  // namespace imgtarn::lead

#endif  // IMGTARN_LEAD_LEAD_HPP
