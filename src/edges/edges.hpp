// Edge detection: the operation of slot 23.
#ifndef IMGTARN_EDGES_EDGES_HPP
#define IMGTARN_EDGES_EDGES_HPP

namespace imgtarn::edges {

int DetectEdgesCanny(unsigned char* src, float* para, unsigned char* dst, float* result);

}  // namespace imgtarn::edges

#endif  // IMGTARN_EDGES_EDGES_HPP
