// The Python module's shared pieces: numpy arrays to and from cv::Mat, result classes with
// named fields, option choices given as strings, and the GIL released around each call.
#ifndef IMGTARN_PYTHON_BINDING_HPP
#define IMGTARN_PYTHON_BINDING_HPP

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

namespace imgtarn::python {

namespace py = pybind11;

// ---- Arrays ----

// The image kinds the typed API takes, each one numpy dtype and shape.
enum class Pixels {
  Grey,          // uint8, H x W
  Colour,        // uint8, H x W x 3, blue, green, red
  GreyOrColour,  // either of the two
  Heights,       // float32, H x W
  Coefficients,  // float32, H x W x 3
};

// An array argument (or a list of them) as the caller passed it: ToMat checks it, so that the
// error can name the argument. The signatures show numpy.ndarray.
template <bool List>
struct ArrayArgOf {
  py::object object;
};
using ArrayArg = ArrayArgOf<false>;
using ArrayListArg = ArrayArgOf<true>;

// A numpy argument seen as a cv::Mat: the array's own memory when every row of it is packed,
// else a packed copy. `array` keeps that memory alive while `mat` is in use.
struct MatArg {
  py::array array;
  cv::Mat mat;
};

// Raises TypeError (not an array, wrong dtype) or ValueError (wrong shape, no pixel, a side
// beyond int) naming `argument`. With `allowEmpty` an array without pixels gives an empty Mat.
MatArg ToMat(const py::handle& object, const std::string& argument, Pixels pixels,
             bool allowEmpty = false);
inline MatArg ToMat(const ArrayArg& arg, const std::string& argument, Pixels pixels) {
  return ToMat(arg.object, argument, pixels);
}

// ToMat for each item of a sequence; the items are named "<argument>[i]".
std::vector<MatArg> ToMats(const ArrayListArg& sequence, const std::string& argument, Pixels pixels,
                           bool allowEmpty = false);

// The Mats of ToMats' holders, for the typed call.
std::vector<cv::Mat> MatsOf(const std::vector<MatArg>& args);

// A numpy array over the Mat's own buffer (no copy), which the array keeps alive.
py::array ToArray(const cv::Mat& mat);

// ---- Calls ----

// Runs a typed call with the GIL released, so other Python threads run meanwhile. Arguments
// are converted before and results after, with the GIL held.
template <typename Call>
auto WithoutGil(Call&& call) -> decltype(call()) {
  py::gil_scoped_release release;
  return call();
}

// ---- Options given as strings ----

template <typename Enum>
struct Choice {
  const char* name;
  Enum value;
};

std::string ChoiceList(const std::vector<const char*>& names);

// The value named `name`; ValueError naming `argument` and the choices otherwise.
template <typename Enum, std::size_t N>
Enum ParseChoice(const Choice<Enum> (&choices)[N], const char* argument, const std::string& name) {
  std::vector<const char*> names;
  for (const Choice<Enum>& choice : choices) {
    if (name == choice.name) return choice.value;
    names.push_back(choice.name);
  }
  throw py::value_error(std::string(argument) + ": expected one of " + ChoiceList(names) +
                        ", got '" + name + "'");
}

template <typename Enum, std::size_t N>
const char* ChoiceName(const Choice<Enum> (&choices)[N], Enum value) {
  for (const Choice<Enum>& choice : choices) {
    if (choice.value == value) return choice.name;
  }
  return "";
}

// ---- Results ----

// repr() and to_dict() of a result object from its field names: arrays show as their dtype
// and shape in the repr; nested results become dicts in to_dict().
std::string ReprOf(const py::handle& self, const std::vector<std::string>& fields);
py::dict DictOf(const py::handle& self, const std::vector<std::string>& fields);

// A result type as a Python class with read-only named fields. Each field is declared once;
// repr() and to_dict() follow the list.
template <typename Result>
class ResultClass {
 public:
  ResultClass(py::handle scope, const char* name, const char* doc)
      : class_(scope, name, doc), fields_(std::make_shared<std::vector<std::string>>()) {
    const std::shared_ptr<const std::vector<std::string>> fields = fields_;
    class_.def("__repr__", [fields](const py::handle& self) { return ReprOf(self, *fields); });
    class_.def(
        "to_dict", [fields](const py::handle& self) { return DictOf(self, *fields); },
        "The fields as a dict (nested results as dicts too).");
  }

  template <typename Type>
  ResultClass& Field(const char* name, Type Result::*member, const char* doc) {
    class_.def_readonly(name, member, doc);
    fields_->push_back(name);
    return *this;
  }

  ResultClass& Field(const char* name, cv::Mat Result::*member, const char* doc) {
    return Property(
        name, [member](const Result& result) { return ToArray(result.*member); }, doc);
  }

  // A field computed from the result, e.g. a name for an enum.
  template <typename Getter>
  ResultClass& Property(const char* name, Getter getter, const char* doc) {
    class_.def_property_readonly(name, getter, doc);
    fields_->push_back(name);
    return *this;
  }

  py::class_<Result>& Class() { return class_; }

 private:
  py::class_<Result> class_;
  std::shared_ptr<std::vector<std::string>> fields_;
};

// ---- The families ----

void BindCircleMarks(py::module_& module);
void BindBoxMarks(py::module_& module);
void BindEdges(py::module_& module);
void BindPads(py::module_& module);
void BindFlatField(py::module_& module);
void BindColourImages(py::module_& module);
void BindHeightMaps(py::module_& module);
void BindImageFiles(py::module_& module);
void BindFiducials(py::module_& module);

}  // namespace imgtarn::python

// ---- Points, sizes and boxes as plain tuples ----

namespace pybind11::detail {

// cv::Point2f as (x, y), cv::Size2f and cv::Size as (width, height), cv::Rect as
// (x, y, width, height): what a numpy or cv2 user writes and reads.
template <typename T>
struct TupleOf;

template <>
struct TupleOf<cv::Point2f> {
  using Parts = std::array<float, 2>;
  static constexpr auto name = const_name("tuple[float, float]");
  static Parts Split(const cv::Point2f& p) { return {p.x, p.y}; }
  static cv::Point2f Join(const Parts& parts) { return {parts[0], parts[1]}; }
};

template <>
struct TupleOf<cv::Size2f> {
  using Parts = std::array<float, 2>;
  static constexpr auto name = const_name("tuple[float, float]");
  static Parts Split(const cv::Size2f& s) { return {s.width, s.height}; }
  static cv::Size2f Join(const Parts& parts) { return {parts[0], parts[1]}; }
};

template <>
struct TupleOf<cv::Size> {
  using Parts = std::array<int, 2>;
  static constexpr auto name = const_name("tuple[int, int]");
  static Parts Split(const cv::Size& s) { return {s.width, s.height}; }
  static cv::Size Join(const Parts& parts) { return {parts[0], parts[1]}; }
};

template <>
struct TupleOf<cv::Rect> {
  using Parts = std::array<int, 4>;
  static constexpr auto name = const_name("tuple[int, int, int, int]");
  static Parts Split(const cv::Rect& r) { return {r.x, r.y, r.width, r.height}; }
  static cv::Rect Join(const Parts& parts) { return {parts[0], parts[1], parts[2], parts[3]}; }
};

template <typename T>
struct TupleCaster {
  PYBIND11_TYPE_CASTER(T, TupleOf<T>::name);

  bool load(handle source, bool convert) {
    make_caster<typename TupleOf<T>::Parts> parts;
    if (!parts.load(source, convert)) return false;
    value = TupleOf<T>::Join(cast_op<typename TupleOf<T>::Parts&>(parts));
    return true;
  }

  static handle cast(const T& source, return_value_policy, handle) {
    const typename TupleOf<T>::Parts parts = TupleOf<T>::Split(source);
    tuple result(parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
      result[i] = pybind11::cast(parts[i]);
    }
    return result.release();
  }
};

// Array arguments pass through as they are; ToMat checks them.
template <bool List>
struct type_caster<imgtarn::python::ArrayArgOf<List>> {
  PYBIND11_TYPE_CASTER(imgtarn::python::ArrayArgOf<List>,
                       const_name<List>("list[numpy.ndarray]", "numpy.ndarray"));
  bool load(handle source, bool) {
    value.object = reinterpret_borrow<object>(source);
    return true;
  }
  static handle cast(const imgtarn::python::ArrayArgOf<List>& arg, return_value_policy, handle) {
    return arg.object.inc_ref();
  }
};

template <>
struct type_caster<cv::Point2f> : TupleCaster<cv::Point2f> {};
template <>
struct type_caster<cv::Size2f> : TupleCaster<cv::Size2f> {};
template <>
struct type_caster<cv::Size> : TupleCaster<cv::Size> {};
template <>
struct type_caster<cv::Rect> : TupleCaster<cv::Rect> {};

}  // namespace pybind11::detail

#endif  // IMGTARN_PYTHON_BINDING_HPP
