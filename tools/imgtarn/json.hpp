// JSON as the tool prints it: objects keep the order their fields were set in, and a float
// prints with the fewest digits that read back as the same float (19.6f is 19.6, not
// 19.600000381469727), because every figure an operation returns is a float.
#ifndef IMGTARN_TOOLS_JSON_HPP
#define IMGTARN_TOOLS_JSON_HPP

#include <charconv>
#include <nlohmann/json.hpp>

namespace nlohmann {

template <>
struct adl_serializer<float> {
  // Stored as the double nearest the float's shortest decimal form, which the serialiser
  // then prints with those same digits.
  template <typename BasicJson>
  static void to_json(BasicJson& json, float value) {
    char text[32];
    const char* end = std::to_chars(text, text + sizeof text, value).ptr;
    double shortest = 0.0;
    std::from_chars(text, end, shortest);
    json = shortest;
  }
  template <typename BasicJson>
  static void from_json(const BasicJson& json, float& value) {
    value = static_cast<float>(json.template get<double>());
  }
};

}  // namespace nlohmann

namespace imgtarn_cli {
using Json = nlohmann::ordered_json;
}  // namespace imgtarn_cli

#endif  // IMGTARN_TOOLS_JSON_HPP
