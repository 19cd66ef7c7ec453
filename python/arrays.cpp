// numpy arrays to cv::Mat headers and back, without copying where the layout allows.
#include <climits>
#include <cstdint>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

struct PixelKind {
  int depth;    // CV_8U or CV_32F
  bool grey;    // H x W accepted
  bool colour;  // H x W x 3 accepted
  const char* dtype;
  const char* shape;
};

// In the order of Pixels.
constexpr PixelKind kKinds[] = {
    {CV_8U, true, false, "uint8", "H x W"},
    {CV_8U, false, true, "uint8", "H x W x 3"},
    {CV_8U, true, true, "uint8", "H x W or H x W x 3"},
    {CV_32F, true, false, "float32", "H x W"},
    {CV_32F, false, true, "float32", "H x W x 3"},
};

bool HasDtype(const py::array& array, int depth) {
  return depth == CV_8U ? py::isinstance<py::array_t<std::uint8_t>>(array)
                        : py::isinstance<py::array_t<float>>(array);
}

std::string ShapeText(const py::array& array) {
  return py::str(array.attr("shape")).cast<std::string>();
}

bool HasShape(const py::array& array, const PixelKind& kind) {
  if (array.ndim() == 2) return kind.grey;
  return array.ndim() == 3 && array.shape(2) == 3 && kind.colour;
}

// Every row a packed run of pixels at an aligned, positive row step: what cv::Mat can
// describe. A side of one pixel may carry any stride in numpy and needs none here.
bool RowsArePacked(const py::array& array) {
  const py::ssize_t item = array.itemsize();
  const py::ssize_t channels = array.ndim() == 3 ? 3 : 1;
  const bool channelsPacked = channels == 1 || array.strides(2) == item;
  const bool pixelsPacked = array.shape(1) == 1 || array.strides(1) == item * channels;
  const bool rowStepFits =
      array.shape(0) == 1 ||
      (array.strides(0) >= array.shape(1) * item * channels && array.strides(0) % item == 0);
  const bool aligned = (array.flags() & py::detail::npy_api::NPY_ARRAY_ALIGNED_) != 0;
  return channelsPacked && pixelsPacked && rowStepFits && aligned;
}

cv::Mat HeaderOver(const py::array& array, int depth) {
  const int rows = static_cast<int>(array.shape(0));
  const int cols = static_cast<int>(array.shape(1));
  const int channels = array.ndim() == 3 ? 3 : 1;
  const std::size_t packedStep = static_cast<std::size_t>(cols) * array.itemsize() * channels;
  const std::size_t step = rows == 1 ? packedStep : static_cast<std::size_t>(array.strides(0));
  // The typed API never writes its inputs, so read-only arrays are wrapped as they are.
  return cv::Mat(rows, cols, CV_MAKETYPE(depth, channels), const_cast<void*>(array.data()), step);
}

std::string TypeName(const py::handle& object) {
  return py::type::of(object).attr("__name__").cast<std::string>();
}

}  // namespace

MatArg ToMat(const py::handle& object, const std::string& argument, Pixels pixels,
             bool allowEmpty) {
  const PixelKind& kind = kKinds[static_cast<int>(pixels)];
  const std::string wanted = std::string("a ") + kind.dtype + " numpy array of " + kind.shape;
  if (!py::isinstance<py::array>(object)) {
    throw py::type_error(argument + ": expected " + wanted + ", got " + TypeName(object));
  }
  py::array array = py::reinterpret_borrow<py::array>(object);
  if (!HasDtype(array, kind.depth)) {
    throw py::type_error(argument + ": expected " + wanted + ", got dtype " +
                         py::str(array.dtype()).cast<std::string>());
  }
  if (array.size() == 0 && allowEmpty) return {array, cv::Mat()};
  if (!HasShape(array, kind)) {
    throw py::value_error(argument + ": expected " + wanted + ", got shape " + ShapeText(array));
  }
  if (array.size() == 0) throw py::value_error(argument + ": no pixel, shape " + ShapeText(array));
  if (array.shape(0) > INT_MAX || array.shape(1) > INT_MAX) {
    throw py::value_error(argument + ": a side beyond INT_MAX, shape " + ShapeText(array));
  }
  if (!RowsArePacked(array)) {
    array = py::module_::import("numpy").attr("ascontiguousarray")(array);
  }
  return {array, HeaderOver(array, kind.depth)};
}

std::vector<MatArg> ToMats(const ArrayListArg& arg, const std::string& argument, Pixels pixels,
                           bool allowEmpty) {
  const py::handle sequence = arg.object;
  if (!py::isinstance<py::sequence>(sequence) || py::isinstance<py::array>(sequence)) {
    throw py::type_error(argument + ": expected a list of numpy arrays, got " + TypeName(sequence));
  }
  std::vector<MatArg> args;
  const py::sequence items = py::reinterpret_borrow<py::sequence>(sequence);
  for (std::size_t i = 0; i < items.size(); ++i) {
    args.push_back(ToMat(items[i], argument + "[" + std::to_string(i) + "]", pixels, allowEmpty));
  }
  return args;
}

std::vector<cv::Mat> MatsOf(const std::vector<MatArg>& args) {
  std::vector<cv::Mat> mats;
  for (const MatArg& arg : args) mats.push_back(arg.mat);
  return mats;
}

py::array ToArray(const cv::Mat& mat) {
  if (mat.depth() != CV_32F && mat.depth() != CV_8U) {
    throw std::logic_error("an image of depth " + std::to_string(mat.depth()) +
                           " has no numpy counterpart here");
  }
  const py::dtype dtype =
      mat.depth() == CV_32F ? py::dtype::of<float>() : py::dtype::of<std::uint8_t>();
  if (mat.empty()) return py::array(dtype, std::vector<py::ssize_t>{0, 0});
  std::vector<py::ssize_t> shape{mat.rows, mat.cols};
  std::vector<py::ssize_t> strides{static_cast<py::ssize_t>(mat.step[0]),
                                   static_cast<py::ssize_t>(mat.elemSize())};
  if (mat.channels() > 1) {
    shape.push_back(mat.channels());
    strides.push_back(static_cast<py::ssize_t>(mat.elemSize1()));
  }
  // The capsule owns a Mat header sharing the buffer; the array releases it when it goes.
  auto owner = std::make_unique<cv::Mat>(mat);
  py::capsule base(owner.get(), [](void* header) { delete static_cast<cv::Mat*>(header); });
  void* data = owner.release()->data;
  return py::array(dtype, shape, strides, data, base);
}

}  // namespace imgtarn::python
