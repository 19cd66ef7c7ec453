// load_image and save_image.
#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {

void BindImageFiles(py::module_& module) {
  module.def(
      "load_image",
      [](const std::filesystem::path& path) {
        return ToArray(WithoutGil([&] { return LoadImage(path.string()); }));
      },
      py::arg("path"),
      "Reads an image file as a uint8 H x W x 3 colour image (blue, green, red); grey files "
      "give three equal channels.");

  module.def(
      "save_image",
      [](const std::filesystem::path& path, const ArrayArg& image) {
        const MatArg source = ToMat(image, "image", Pixels::GreyOrColour);
        WithoutGil([&] { SaveImage(path.string(), source.mat); });
      },
      py::arg("path"), py::arg("image"),
      "Writes a grey or colour image as a colour file whose format follows the extension.");
}

}  // namespace imgtarn::python
