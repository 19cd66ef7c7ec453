// The production Canny engine behind MyCanny and the detection with given thresholds.
#ifndef IMGTARN_EDGES_CANNY_FAST_HPP
#define IMGTARN_EDGES_CANNY_FAST_HPP

#include <opencv2/core.hpp>

#include "DalCanny.hpp"

namespace imgtarn::edges {

// Which row kernels run: the widest the CPU offers, or the portable ones (for tests that
// check both give the same map).
enum class CannyKernels { kBest, kPortable };

struct CannyRequest {
  bool automaticThresholds = true;  // otherwise `given` is used
  bool l2gradient = false;          // squares the automatic thresholds
  CannyThresholds given;
  CannyKernels kernels = CannyKernels::kBest;
  // Row stripes; 0 chooses from cv::getNumThreads() and the image size. Tests set it to
  // check that the hand-over between stripes loses nothing.
  int stripes = 0;
};

// Same input rules and output as MyCanny. The source is read completely before dst is
// written, so the two may share memory.
void DetectCannyEdges(cv::InputArray src, cv::OutputArray dst, const CannyRequest& request,
                      CannyTrace* trace);

}  // namespace imgtarn::edges

#endif  // IMGTARN_EDGES_CANNY_FAST_HPP
