// median_filter and counting_sort.
#include <imgtarn/vision.hpp>

#include "binding.hpp"

namespace imgtarn::python {
namespace {

constexpr Choice<EvenRule> kEvenRules[] = {
    {"lower", EvenRule::Lower}, {"upper", EvenRule::Upper}, {"mean", EvenRule::Mean}};

}  // namespace

void BindHeightMaps(py::module_& module) {
  ResultClass<SortResult>(module, "SortResult", "Sorted values and where each came from.")
      .Field("values", &SortResult::values, "the values sorted (with first: those delivered)")
      .Field("permutation", &SortResult::permutation, "input position of each value");

  const MedianOptions median;
  module.def(
      "median_filter",
      [](const ArrayArg& heights, int window, bool limited, int lower, int upper,
         const std::string& even) {
        const MatArg map = ToMat(heights, "heights", Pixels::Heights);
        MedianOptions options;
        options.window = window;
        options.limited = limited;
        options.lower = lower;
        options.upper = upper;
        options.even = ParseChoice(kEvenRules, "even", even);
        return ToArray(WithoutGil([&] { return MedianFilter(map.mat, options); }));
      },
      py::arg("heights"), py::kw_only(), py::arg("window") = median.window,
      py::arg("limited") = median.limited, py::arg("lower") = median.lower,
      py::arg("upper") = median.upper, py::arg("even") = ChoiceName(kEvenRules, median.even),
      "Square-window median of a float32 height map (limited: only samples strictly between "
      "lower and upper; even: 'lower', 'upper' or 'mean' for an even count).");

  const SortOptions sort;
  module.def(
      "counting_sort",
      [](const std::vector<int>& values, bool descending, int first) {
        SortOptions options;
        options.descending = descending;
        options.first = first;
        return WithoutGil([&] { return CountingSort(values, options); });
      },
      py::arg("values"), py::kw_only(), py::arg("descending") = sort.descending,
      py::arg("first") = sort.first,
      "Stable counting sort of integers (first: stop after the value that brings the count to "
      "first or more; 0 sorts all).");
}

}  // namespace imgtarn::python
