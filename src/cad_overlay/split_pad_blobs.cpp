// Slot 27: split a grey pad image into pad blobs and hand them to the host.
#include "cad_overlay.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::cad_overlay {

SplitParams SplitParams::FromPara(const float* para) {
  SplitParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.brightPads = para[2] != 0.0f;
  params.debug = para[3] != 0.0f;
  const int rows = ParaInt(para, 4), cols = ParaInt(para, 5);
  // Only a zero in either value means no grid; negative counts (NaN too) are a given grid.
  if (rows != 0 && cols != 0) {
    params.gridRows = rows;
    params.gridCols = cols;
  }
  return params;
}

int SplitPadBlobs(unsigned char* plane, float* para, float* gridShape, unsigned char* blobPixels,
                  int* blobRects) {
  const SplitParams params = SplitParams::FromPara(para);
  if (!IsUsablePlane(plane, params.width, params.height)) return -1;
  const cv::Mat image = WrapPlane(plane, params.width, params.height);
  const std::optional<BlobSplit> split = SplitPads(image, params);
  if (!split) return -1;  // the host sees gridShape and blobRects untouched

  if (gridShape != nullptr) {
    gridShape[0] = static_cast<float>(split->gridRows);
    gridShape[1] = static_cast<float>(split->gridCols);
  }
  if (blobRects != nullptr) {
    for (std::size_t i = 0; i < split->origins.size(); ++i) {
      blobRects[4 * i] = split->origins[i].x;
      blobRects[4 * i + 1] = split->origins[i].y;
    }
  }
  WriteBlobs(split->blobs, blobPixels, blobRects);
  return 0;
}

}  // namespace imgtarn::cad_overlay
