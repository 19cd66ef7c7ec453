// The four C-linkage entry points: the only symbols the library exports.
#include <new>

#include "imgtarn/imgtarn.hpp"

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
