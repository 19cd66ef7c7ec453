// The blob buffers handed to the host: pixel blocks back to back, four ints per blob.
#include <cstring>

#include "cad_overlay.hpp"

namespace imgtarn::cad_overlay {

void WriteBlobs(const std::vector<cv::Mat>& blobs, unsigned char* blobPixels, int* blobRects) {
  unsigned char* next = blobPixels;
  for (std::size_t i = 0; i < blobs.size(); ++i) {
    const cv::Mat& blob = blobs[i];
    if (next != nullptr) {
      // Row by row: a blob is a view into a larger image, so its rows are not contiguous.
      for (int y = 0; y < blob.rows; ++y) {
        std::memcpy(next, blob.ptr<unsigned char>(y), blob.cols);
        next += blob.cols;
      }
    }
    if (blobRects != nullptr) {
      blobRects[4 * i + 2] = blob.cols;
      blobRects[4 * i + 3] = blob.rows;
    }
  }
}

}  // namespace imgtarn::cad_overlay
