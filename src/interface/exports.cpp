// The four C-linkage entry points: the only symbols the library exports.
#include <new>

#include "imgtarn/imgtarn.hpp"

// The classes have no virtual destructor (the host's table layout has no slot for one) and
// nothing derives from them, so deleting through the class pointer is exact. They are not
// marked final either: that would let a host's compiler call operations directly by symbol
// instead of through the table, and the operations are not exported.
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"

extern "C" {

ImgTarn_IF* ImgTarn_IFCreate() { return new (std::nothrow) ImgTarn_IF(); }

int ImgTarn_IFRelease(ImgTarn_IF* object) {
  delete object;  // null is accepted
  return 0;
}

NFunction_IF* NFunction_IFCreate() { return new (std::nothrow) NFunction_IF(); }

int NFunction_IFRelease(NFunction_IF* object) {
  delete object;
  return 0;
}

}  // extern "C"
