// locate_circle_mark, detect_hough_circle and refine_circle_edges.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

constexpr Choice<CircleMethod> kMethods[] = {{"full", CircleMethod::Full},
                                             {"quick", CircleMethod::Quick},
                                             {"two_scale", CircleMethod::TwoScale}};

void BindResults(py::module_& module) {
  ResultClass<CircleMarkResult>(module, "CircleMarkResult", "A circular mark or circle found.")
      .Field("found", &CircleMarkResult::found, "whether a mark was found")
      .Field("centre", &CircleMarkResult::centre, "(x, y) in pixels; (0, 0) when not found")
      .Field("radius", &CircleMarkResult::radius, "the radius in pixels; 0 when not found");
  ResultClass<CircleEdgeResult>(module, "CircleEdgeResult", "An ellipse fitted to a circle's edge.")
      .Field("found", &CircleEdgeResult::found, "false when fewer than 5 rays met an edge")
      .Field("centre", &CircleEdgeResult::centre, "(x, y) of the fitted ellipse")
      .Field("semi_axes", &CircleEdgeResult::semiAxes, "its two semi-axes")
      .Field("angle", &CircleEdgeResult::angle, "its angle in degrees");
}

}  // namespace

void BindCircleMarks(py::module_& module) {
  BindResults(module);

  const CircleMarkOptions mark;
  module.def(
      "locate_circle_mark",
      [](const ArrayArg& image, float radius, const std::string& method, bool debug) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        CircleMarkOptions options;
        options.radius = radius;
        options.method = ParseChoice(kMethods, "method", method);
        options.debug = debug;
        return WithoutGil([&] { return LocateCircleMark(grey.mat, options); });
      },
      py::arg("image"), py::kw_only(), py::arg("radius") = mark.radius,
      py::arg("method") = ChoiceName(kMethods, mark.method), py::arg("debug") = mark.debug,
      "Locates one bright filled circular mark of known radius in a grey image.\n"
      "method: 'full' (edge search, then template search), 'quick' (template search; small "
      "marks, radius below 12) or 'two_scale' (half size, then full size).");

  const HoughCircleOptions hough;
  module.def(
      "detect_hough_circle",
      [](const ArrayArg& image, float radius, int tolerance, double threshold) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        HoughCircleOptions options;
        options.radius = radius;
        options.tolerance = tolerance;
        options.threshold = threshold;
        return WithoutGil([&] { return DetectHoughCircle(grey.mat, options); });
      },
      py::arg("image"), py::kw_only(), py::arg("radius") = hough.radius,
      py::arg("tolerance") = hough.tolerance, py::arg("threshold") = hough.threshold,
      "The Hough circle whose radius is nearest `radius` (radii radius +- tolerance searched; "
      "threshold: the upper Canny threshold).");

  const CircleEdgeOptions edge;
  module.def(
      "refine_circle_edges",
      [](const ArrayArg& image, cv::Point2f centre, float radius) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        CircleEdgeOptions options;
        options.radius = radius;
        return WithoutGil([&] { return RefineCircleEdges(grey.mat, centre, options); });
      },
      py::arg("image"), py::arg("centre"), py::kw_only(), py::arg("radius") = edge.radius,
      "Refines a roughly known circle (centre (x, y), radius) by an ellipse fitted to its "
      "strongest radial edges.");
}

}  // namespace imgtarn::python
