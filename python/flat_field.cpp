// calibrate_flat_field and apply_flat_field.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

FlatFieldCoefficients CoefficientsFrom(const ArrayArg& offset, const ArrayArg& gain) {
  // Copies: the coefficients outlive the arrays they were made from.
  return {ToMat(offset, "offset", Pixels::Coefficients).mat.clone(),
          ToMat(gain, "gain", Pixels::Coefficients).mat.clone()};
}

}  // namespace

void BindFlatField(py::module_& module) {
  ResultClass<FlatFieldCoefficients>(
      module, "FlatFieldCoefficients",
      "Per-pixel, per-channel coefficients: corrected = low byte of trunc(sample * gain + "
      "offset). FlatFieldCoefficients(offset, gain) takes float32 H x W x 3 arrays.")
      .Field("offset", &FlatFieldCoefficients::offset, "float32 H x W x 3")
      .Field("gain", &FlatFieldCoefficients::gain, "float32 H x W x 3")
      .Class()
      .def(py::init(&CoefficientsFrom), py::arg("offset"), py::arg("gain"));

  const FlatFieldOptions defaults;
  module.def(
      "calibrate_flat_field",
      [](const ArrayListArg& images, int window, float acceptLow, float acceptHigh, int targetLow,
         int targetHigh, int minCount) {
        const std::vector<MatArg> held = ToMats(images, "images", Pixels::Colour);
        const std::vector<cv::Mat> mats = MatsOf(held);
        FlatFieldOptions options;
        options.window = window;
        options.acceptLow = acceptLow;
        options.acceptHigh = acceptHigh;
        options.targetLow = targetLow;
        options.targetHigh = targetHigh;
        options.minCount = minCount;
        return WithoutGil([&] { return CalibrateFlatField(mats, options); });
      },
      py::arg("images"), py::kw_only(), py::arg("window") = defaults.window,
      py::arg("accept_low") = defaults.acceptLow, py::arg("accept_high") = defaults.acceptHigh,
      py::arg("target_low") = defaults.targetLow, py::arg("target_high") = defaults.targetHigh,
      py::arg("min_count") = defaults.minCount,
      "Two-point flat-field calibration from pairs of colour pictures of a flat target, low "
      "level then high level: [low, high, ...].");

  module.def(
      "apply_flat_field",
      [](const ArrayArg& image, const FlatFieldCoefficients& coefficients) {
        const MatArg colour = ToMat(image, "image", Pixels::Colour);
        return ToArray(WithoutGil([&] { return ApplyFlatField(colour.mat, coefficients); }));
      },
      py::arg("image"), py::arg("coefficients"),
      "Applies flat-field coefficients to a colour image; returns the corrected image.");
}

}  // namespace imgtarn::python
