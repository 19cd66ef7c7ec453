// The operation object of the binary contract, created once through the exported factory.
#include <memory>

#include "cli.hpp"

namespace imgtarn_cli {

ImgTarn_IF& Contract() {
  static const std::unique_ptr<ImgTarn_IF, int (*)(ImgTarn_IF*)> object(ImgTarn_IFCreate(),
                                                                        ImgTarn_IFRelease);
  if (!object) throw std::bad_alloc();
  return *object;
}

void ExpectRan(int status) {
  if (status == -1) throw std::runtime_error("the operation refused the call (status -1)");
}

}  // namespace imgtarn_cli
