// Lead measurement: the operations of slots 13 and 16.
#ifndef IMGTARN_LEAD_LEAD_HPP
#define IMGTARN_LEAD_LEAD_HPP

namespace imgtarn::lead {

int CutLeadRois(unsigned char* a1, float* a2, float* a4);
int MeasureLeadRoi(unsigned char* a1, unsigned char* a2, float* a3, float* a4);

}  // namespace imgtarn::lead

#endif  // IMGTARN_LEAD_LEAD_HPP
