// detect_edges.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {

void BindEdges(py::module_& module) {
  ResultClass<EdgeResult>(module, "EdgeResult", "An edge map and the thresholds it was made with.")
      .Field("edges", &EdgeResult::edges, "uint8 H x W: 255 on edges (with fill: inside shapes)")
      .Field("low_threshold", &EdgeResult::lowThreshold, "the lower hysteresis threshold chosen")
      .Field("high_threshold", &EdgeResult::highThreshold, "the upper one")
      .Field("edge_pixels", &EdgeResult::edgePixels, "edge pixels of the raw edge map")
      .Field("contours", &EdgeResult::contours, "with fill: contours kept; else 0");

  const EdgeOptions defaults;
  module.def(
      "detect_edges",
      [](const ArrayArg& image, bool fill, int minArea, bool debug) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        EdgeOptions options;
        options.fill = fill;
        options.minArea = minArea;
        options.debug = debug;
        return WithoutGil([&] { return DetectEdges(grey.mat, options); });
      },
      py::arg("image"), py::kw_only(), py::arg("fill") = defaults.fill,
      py::arg("min_area") = defaults.minArea, py::arg("debug") = defaults.debug,
      "Canny edges with thresholds chosen from the image's gradient histogram; with fill a "
      "filled mask of the closed shapes whose area reaches min_area.");
}

}  // namespace imgtarn::python
