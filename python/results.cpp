// repr() and to_dict() of the result classes, and the text of a list of choices.
#include "binding.hpp"

namespace imgtarn::python {
namespace {

// An image in a repr is its dtype and shape: the pixels would bury the other fields.
std::string ValueRepr(const py::handle& value) {
  if (py::isinstance<py::array>(value)) {
    return "<" + py::str(value.attr("dtype")).cast<std::string>() + " array " +
           py::str(value.attr("shape")).cast<std::string>() + ">";
  }
  return py::repr(value).cast<std::string>();
}

py::object Plain(const py::handle& value) {
  if (py::hasattr(value, "to_dict")) return value.attr("to_dict")();
  if (py::isinstance<py::list>(value)) {
    py::list items;
    for (const py::handle& item : value) items.append(Plain(item));
    return std::move(items);
  }
  return py::reinterpret_borrow<py::object>(value);
}

}  // namespace

std::string ReprOf(const py::handle& self, const std::vector<std::string>& fields) {
  std::string text = py::type::of(self).attr("__name__").cast<std::string>() + "(";
  for (std::size_t i = 0; i < fields.size(); ++i) {
    text += (i ? ", " : "") + fields[i] + "=" + ValueRepr(self.attr(fields[i].c_str()));
  }
  return text + ")";
}

py::dict DictOf(const py::handle& self, const std::vector<std::string>& fields) {
  py::dict dict;
  for (const std::string& field : fields) {
    dict[field.c_str()] = Plain(self.attr(field.c_str()));
  }
  return dict;
}

std::string ChoiceList(const std::vector<const char*>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    text += std::string(i ? ", " : "") + "'" + names[i] + "'";
  }
  return text;
}

}  // namespace imgtarn::python
