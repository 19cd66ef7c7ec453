// The imgtarn Python module: the typed API's operations on numpy arrays.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

PYBIND11_MODULE(imgtarn, module) {
  namespace py = pybind11;
  module.doc() =
      "Machine-vision operations of imgtarn on numpy arrays: grey images are uint8 H x W, "
      "colour images uint8 H x W x 3 in OpenCV's blue, green, red order, height maps float32 "
      "H x W. Options are keyword arguments with the typed API's defaults; results have named "
      "fields and to_dict(). Input an operation cannot work on raises ValueError (TypeError "
      "for a wrong type) naming the argument; an OpenCV error raises imgtarn.Error.";
  module.attr("__version__") = IMGTARN_VERSION;
  // OpenCV's own message (condition, routine, file and line) is what a user needs to report.
  py::register_exception<cv::Exception>(module, "Error", PyExc_RuntimeError);

  using namespace imgtarn::python;
  BindFiducials(module);
  BindCircleMarks(module);
  BindBoxMarks(module);
  BindEdges(module);
  BindPads(module);
  BindFlatField(module);
  BindColourImages(module);
  BindHeightMaps(module);
  BindImageFiles(module);
}
