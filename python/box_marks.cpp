// locate_cross_mark and locate_rectangle_mark.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

using BoxSearch = BoxMarkResult (*)(const cv::Mat&, const BoxMarkOptions&);

void DefineBoxSearch(py::module_& module, const char* name, BoxSearch search, const char* doc) {
  const BoxMarkOptions defaults;
  module.def(
      name,
      [search](const ArrayArg& image, cv::Size2f size, bool debug) {
        const MatArg grey = ToMat(image, "image", Pixels::Grey);
        BoxMarkOptions options;
        options.size = size;
        options.debug = debug;
        return WithoutGil([&] { return search(grey.mat, options); });
      },
      py::arg("image"), py::kw_only(), py::arg("size") = defaults.size,
      py::arg("debug") = defaults.debug, doc);
}

}  // namespace

void BindBoxMarks(py::module_& module) {
  ResultClass<BoxMarkResult>(module, "BoxMarkResult", "A cross or rectangle mark found.")
      .Field("found", &BoxMarkResult::found, "whether a mark was found")
      .Field("centre", &BoxMarkResult::centre, "(x, y) in pixels; (0, 0) when not found")
      .Field("size", &BoxMarkResult::size, "measured (width, height); (0, 0) when not found");
  DefineBoxSearch(module, "locate_cross_mark", &LocateCrossMark,
                  "Locates one bright plus-shaped mark of nominal full size (width, height) in a "
                  "grey image.");
  DefineBoxSearch(module, "locate_rectangle_mark", &LocateRectangleMark,
                  "Locates one bright axis-aligned rectangular mark of nominal size (width, "
                  "height) in a grey image.");
}

}  // namespace imgtarn::python
