// Command-line options: named options instead of float indexes, with errors that name the
// option and the text that did not parse.
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

const OptionSpec* FindSpec(const std::vector<OptionSpec>& specs, const std::string& token) {
  for (const auto& option : specs) {
    if (token == "--" + option.name) return &option;
    if (!option.shortName.empty() && token == "-" + option.shortName) return &option;
  }
  return nullptr;
}

}  // namespace

Args::Args(std::string command, const std::vector<OptionSpec>& specs,
           const std::vector<std::string>& tokens)
    : command_(std::move(command)) {
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const std::string& token = tokens[i];
    // A lone "-" or a negative number is a value, not an option.
    bool looksLikeOption = token.size() > 1 && token[0] == '-' &&
                           !(std::isdigit(static_cast<unsigned char>(token[1])) || token[1] == '.');
    if (!looksLikeOption) {
      positionals_.push_back(token);
      continue;
    }
    std::string name = token, inlineValue;
    bool hasInline = false;
    std::size_t equals = token.find('=');
    if (token.rfind("--", 0) == 0 && equals != std::string::npos) {
      name = token.substr(0, equals);
      inlineValue = token.substr(equals + 1);
      hasInline = true;
    }
    const OptionSpec* option = FindSpec(specs, name);
    if (option == nullptr) {
      throw UsageError("unknown option " + name + " (see imgtarn " + command_ + " --help)");
    }
    if (option->value.empty()) {
      if (hasInline) throw UsageError("option --" + option->name + " takes no value");
      values_.emplace_back(option->name, "");
      continue;
    }
    if (!hasInline) {
      if (i + 1 >= tokens.size()) {
        throw UsageError("option --" + option->name + " needs a value " + option->value);
      }
      inlineValue = tokens[++i];
    }
    values_.emplace_back(option->name, inlineValue);
  }
}

void Args::ExpectPositionals(std::size_t count, const std::string& what) const {
  if (positionals_.size() < count) {
    throw UsageError("missing " + what + " (see imgtarn " + command_ + " --help)");
  }
  if (positionals_.size() > count) {
    throw UsageError("unexpected argument '" + positionals_[count] + "' (see imgtarn " + command_ +
                     " --help)");
  }
}

const std::string* Args::Find(const std::string& name) const {
  const std::string* found = nullptr;
  for (const auto& value : values_) {
    if (value.first == name) found = &value.second;  // the last one given wins
  }
  return found;
}

bool Args::Has(const std::string& name) const { return Find(name) != nullptr; }

std::vector<std::string> Args::All(const std::string& name) const {
  std::vector<std::string> all;
  for (const auto& value : values_) {
    if (value.first == name) all.push_back(value.second);
  }
  return all;
}

std::string Args::Text(const std::string& name, const std::string& fallback) const {
  const std::string* value = Find(name);
  return value ? *value : fallback;
}

std::string Args::RequiredText(const std::string& name) const {
  const std::string* value = Find(name);
  if (value == nullptr) {
    throw UsageError("missing option --" + name + " (see imgtarn " + command_ + " --help)");
  }
  if (value->empty()) throw UsageError("option --" + name + " needs a non-empty value");
  return *value;
}

double Args::Number(const std::string& name, double fallback) const {
  const std::string* value = Find(name);
  return value ? ParseNumber(*value, "--" + name) : fallback;
}

double Args::RequiredNumber(const std::string& name) const {
  return ParseNumber(RequiredText(name), "--" + name);
}

int Args::Integer(const std::string& name, int fallback) const {
  const std::string* value = Find(name);
  return value ? ParseInteger(*value, "--" + name) : fallback;
}

cv::Size Args::RequiredSize(const std::string& name) const {
  return ParseSize(RequiredText(name), "--" + name);
}

cv::Size Args::SizeOr(const std::string& name, cv::Size fallback) const {
  const std::string* value = Find(name);
  return value ? ParseSize(*value, "--" + name) : fallback;
}

double ParseNumber(const std::string& text, const std::string& what) {
  errno = 0;
  char* end = nullptr;
  double value = std::strtod(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size() || errno == ERANGE ||
      !std::isfinite(value)) {
    throw UsageError(what + ": '" + text + "' is not a number");
  }
  return value;
}

int ParseInteger(const std::string& text, const std::string& what) {
  errno = 0;
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || end != text.c_str() + text.size() || errno == ERANGE || value < INT_MIN ||
      value > INT_MAX) {
    throw UsageError(what + ": '" + text + "' is not a whole number");
  }
  return static_cast<int>(value);
}

cv::Size ParseSize(const std::string& text, const std::string& what) {
  std::size_t x = text.find_first_of("xX");
  if (x == std::string::npos) {
    throw UsageError(what + ": '" + text + "' is not a size WIDTHxHEIGHT (e.g. 60x40)");
  }
  int width = ParseInteger(text.substr(0, x), what + " width");
  int height = ParseInteger(text.substr(x + 1), what + " height");
  if (width < 1 || height < 1) {
    throw UsageError(what + ": width and height must be at least 1, got '" + text + "'");
  }
  return {width, height};
}

cv::Point2f ParsePoint(const std::string& text, const std::string& what) {
  std::size_t comma = text.find(',');
  if (comma == std::string::npos || text.find(',', comma + 1) != std::string::npos) {
    throw UsageError(what + ": '" + text + "' is not a point X,Y");
  }
  return {static_cast<float>(ParseNumber(text.substr(0, comma), what)),
          static_cast<float>(ParseNumber(text.substr(comma + 1), what))};
}

cv::Vec3i ParseColour(const std::string& text, const std::string& what) {
  cv::Vec3i colour;
  std::size_t start = 0;
  for (int i = 0; i < 3; ++i) {
    std::size_t comma = text.find(',', start);
    if ((i < 2) != (comma != std::string::npos)) {
      throw UsageError(what + ": '" + text + "' is not R,G,B (e.g. 180,120,60)");
    }
    std::string part = text.substr(start, i < 2 ? comma - start : std::string::npos);
    colour[i] = ParseInteger(part, what);
    if (colour[i] < 0 || colour[i] > 255) throw UsageError(what + " values lie in 0..255");
    start = comma + 1;
  }
  return colour;
}

std::vector<OptionSpec> CommonOptions() {
  return {{"library", "PATH", "load this libimgtarn.so instead of searching for it"},
          {"help", "", "describe this command", "h"}};
}

OptionSpec AnnotateOption() {
  return {"annotate", "FILE.png", "write a picture of the result drawn over the input"};
}

OptionSpec DebugOption() {
  return {"debug", "",
          "switch on the operation's own debug windows and files (files go to the current "
          "folder)"};
}

}  // namespace imgtarn_cli
