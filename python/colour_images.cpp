// fill_black_holes, dominant_levels and resize.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

constexpr Choice<Interpolation> kInterpolations[] = {{"linear", Interpolation::Linear},
                                                     {"cubic", Interpolation::Cubic}};

void BindRgb(py::module_& module) {
  ResultClass<Rgb>(module, "Rgb",
                   "Red, green and blue levels; a tuple (red, green, blue) "
                   "converts to it.")
      .Field("red", &Rgb::red, "0 .. 255")
      .Field("green", &Rgb::green, "0 .. 255")
      .Field("blue", &Rgb::blue, "0 .. 255")
      .Class()
      .def(py::init([](int red, int green, int blue) {
             return Rgb{red, green, blue};
           }),
           py::arg("red"), py::arg("green"), py::arg("blue"))
      .def(py::init([](const std::array<int, 3>& parts) {
             return Rgb{parts[0], parts[1], parts[2]};
           }),
           py::arg("colour"));
  py::implicitly_convertible<py::tuple, Rgb>();
}

}  // namespace

void BindColourImages(py::module_& module) {
  BindRgb(module);

  const FillOptions fill;
  module.def(
      "fill_black_holes",
      [](const ArrayArg& image, const Rgb& colour, int threads) {
        const MatArg bgr = ToMat(image, "image", Pixels::Colour);
        FillOptions options;
        options.threads = threads;
        return ToArray(WithoutGil([&] { return FillBlackHoles(bgr.mat, colour, options); }));
      },
      py::arg("image"), py::arg("colour"), py::kw_only(), py::arg("threads") = fill.threads,
      "Paints the black pixels inside the area showing a reference colour (Rgb or (red, "
      "green, blue)) with that colour; returns the painted image. threads: OpenCV's worker "
      "count (process-wide; 0 leaves it alone).");

  module.def(
      "dominant_levels",
      [](const ArrayArg& image) {
        const MatArg bgr = ToMat(image, "image", Pixels::Colour);
        return WithoutGil([&] { return DominantLevels(bgr.mat); });
      },
      py::arg("image"), "The most frequent level of each channel among levels 5 .. 249.");

  const ResizeOptions resize;
  module.def(
      "resize",
      [](const ArrayArg& image, cv::Size size, const std::string& interpolation) {
        const MatArg source = ToMat(image, "image", Pixels::GreyOrColour);
        ResizeOptions options;
        options.interpolation = ParseChoice(kInterpolations, "interpolation", interpolation);
        return ToArray(WithoutGil([&] { return Resize(source.mat, size, options); }));
      },
      py::arg("image"), py::arg("size"), py::kw_only(),
      py::arg("interpolation") = ChoiceName(kInterpolations, resize.interpolation),
      "Resizes a grey or colour image to size (width, height); interpolation 'linear' or "
      "'cubic'.");
}

}  // namespace imgtarn::python
