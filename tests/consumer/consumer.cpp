// Creates both objects through the installed header and library and calls one slot of each.
#include <cstdio>
#include <imgtarn/imgtarn.hpp>

int main() {
  ImgTarn_IF* img = ImgTarn_IFCreate();
  NFunction_IF* num = NFunction_IFCreate();
  if (img == nullptr || num == nullptr) return 1;
  unsigned char plane[2] = {0, 200};
  float para[3] = {2, 1, 1};
  const int status = num->InvertPlane(plane, para, 3);
  const int initialized = img->Initialize();
  ImgTarn_IFRelease(img);
  NFunction_IFRelease(num);
  std::printf("status=%d initialized=%d plane=%d,%d\n", status, initialized, plane[0], plane[1]);
  return status == 0 && initialized == 0 && plane[0] == 255 && plane[1] == 55 ? 0 : 1;
}
