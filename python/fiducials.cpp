// locate_fiducial.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

constexpr Choice<FiducialShape> kShapes[] = {{"circle", FiducialShape::Circle},
                                             {"cross", FiducialShape::Cross},
                                             {"rectangle", FiducialShape::Rectangle}};

}  // namespace

void BindFiducials(py::module_& module) {
  ResultClass<FiducialResult>(module, "FiducialResult", "One fiducial mark, measured and scored.")
      .Field("found", &FiducialResult::found, "score at least 0.5")
      .Field("centre", &FiducialResult::centre, "(x, y) in pixels, sub-pixel")
      .Field("size", &FiducialResult::size, "measured full (width, height)")
      .Field("radius", &FiducialResult::radius, "circle: measured radius; otherwise 0")
      .Field("score", &FiducialResult::score, "0 .. 1: how much it looks like the mark")
      .Property(
          "stage", [](const FiducialResult& r) { return std::string(FiducialStageName(r.stage)); },
          "the search that proposed the mark, e.g. 'edge-circles'; 'none'");

  const FiducialOptions defaults;
  module.def(
      "locate_fiducial",
      [](const ArrayArg& image, const std::string& shape, float radius, cv::Size2f size,
         cv::Rect window) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        FiducialOptions options;
        options.shape = ParseChoice(kShapes, "shape", shape);
        options.radius = radius;
        options.size = size;
        options.window = window;
        return WithoutGil([&] { return LocateFiducial(grey.mat, options); });
      },
      py::arg("image"), py::kw_only(), py::arg("shape") = ChoiceName(kShapes, defaults.shape),
      py::arg("radius") = defaults.radius, py::arg("size") = defaults.size,
      py::arg("window") = defaults.window,
      "Locates one bright mark of known shape ('circle', 'cross' or 'rectangle') and nominal "
      "size (circle: radius; cross, rectangle: full (width, height)) in a grey image to a "
      "fraction of a pixel, and scores how much it looks like that mark. window: (x, y, "
      "width, height) to search; (0, 0, 0, 0) searches everywhere.");
}

}  // namespace imgtarn::python
