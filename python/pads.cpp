// split_pads, match_pads and score_overlay.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

void BindResults(py::module_& module) {
  ResultClass<PadBlob>(module, "PadBlob", "One pad of a split.")
      .Field("box", &PadBlob::box, "(x, y, width, height) in image pixels")
      .Field("pixels", &PadBlob::pixels, "uint8 of the box's size: the pad's mask or samples");
  ResultClass<PadSplitResult>(module, "PadSplitResult", "Pad blobs and the grid reported.")
      .Field("found", &PadSplitResult::found, "false: no contour and no closed band of pads")
      .Field("grid_rows", &PadSplitResult::gridRows, "rows of the pad grid reported")
      .Field("grid_cols", &PadSplitResult::gridCols, "its columns")
      .Field("blobs", &PadSplitResult::blobs, "list of PadBlob, in the split's order");
  ResultClass<PadMatchResult>(module, "PadMatchResult", "Scores of pad templates.")
      .Field("scores", &PadMatchResult::scores, "one score per template, in order");
  ResultClass<OverlayResult>(module, "OverlayResult", "How well a blob covers its CAD pad.")
      .Field("score", &OverlayResult::score, "0 or more; 1: covers the pad, spills nowhere");
}

}  // namespace

void BindPads(py::module_& module) {
  BindResults(module);

  const PadSplitOptions split;
  module.def(
      "split_pads",
      [](const ArrayArg& image, bool bright, int gridRows, int gridCols, bool debug) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        PadSplitOptions options;
        options.bright = bright;
        options.gridRows = gridRows;
        options.gridCols = gridCols;
        options.debug = debug;
        return WithoutGil([&] { return SplitPads(grey.mat, options); });
      },
      py::arg("image"), py::kw_only(), py::arg("bright") = split.bright,
      py::arg("grid_rows") = split.gridRows, py::arg("grid_cols") = split.gridCols,
      py::arg("debug") = split.debug,
      "Splits a grey image of pads into pad blobs (bright: pads brighter than the ground; "
      "grid_rows and grid_cols: the pad grid when known, 0 when not).");

  const PadMatchOptions match;
  module.def(
      "match_pads",
      [](const ArrayArg& image, const ArrayListArg& templates, bool bright, bool debug) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        const std::vector<MatArg> held = ToMats(templates, "templates", Pixels::Grey, true);
        const std::vector<cv::Mat> mats = MatsOf(held);
        PadMatchOptions options;
        options.bright = bright;
        options.debug = debug;
        return WithoutGil([&] { return MatchPads(grey.mat, mats, options); });
      },
      py::arg("image"), py::arg("templates"), py::kw_only(), py::arg("bright") = match.bright,
      py::arg("debug") = match.debug,
      "Scores pad templates (e.g. [blob.pixels for blob in split_pads(reference).blobs]) "
      "against a grey image of the pads; about 1 on the reference image.");

  const OverlayOptions overlay;
  module.def(
      "score_overlay",
      [](const ArrayArg& boundary, const ArrayArg& cad, const ArrayArg& measured, bool debug) {
        const MatArg boundaryMask = ToMat(boundary, "boundary", Pixels::Grey);
        const MatArg cadMask = ToMat(cad, "cad", Pixels::Grey);
        const MatArg measuredMask = ToMat(measured, "measured", Pixels::Grey);
        OverlayOptions options;
        options.debug = debug;
        return WithoutGil(
            [&] { return ScoreOverlay(boundaryMask.mat, cadMask.mat, measuredMask.mat, options); });
      },
      py::arg("boundary"), py::arg("cad"), py::arg("measured"), py::kw_only(),
      py::arg("debug") = overlay.debug,
      "Scores how well a measured pad mask covers its CAD pad mask inside a boundary mask "
      "(uint8 masks of one size).");
}

}  // namespace imgtarn::python
