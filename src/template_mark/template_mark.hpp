// Template mark location: the operations of slots 14 and 18.
#ifndef IMGTARN_TEMPLATE_MARK_TEMPLATE_MARK_HPP
#define IMGTARN_TEMPLATE_MARK_TEMPLATE_MARK_HPP

namespace imgtarn::template_mark {

int LocateCrossMark(unsigned char* plane, float* para, float* result);
int LocateRectangleMark(unsigned char* plane, float* para, float* result);

}  // namespace imgtarn::template_mark

#endif  // IMGTARN_TEMPLATE_MARK_TEMPLATE_MARK_HPP
