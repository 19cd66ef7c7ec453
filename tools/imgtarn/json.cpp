// Printing and parsing of the small JSON value.
#include "json.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace imgtarn_cli::json {

Value& Value::Set(const std::string& key, Value value) {
  if (kind_ == Kind::kNull) kind_ = Kind::kObject;
  for (auto& member : members_) {
    if (member.first == key) return member.second = std::move(value);
  }
  members_.emplace_back(key, std::move(value));
  return members_.back().second;
}

const Value& Value::Get(const std::string& key) const {
  static const Value kNullValue;
  for (const auto& member : members_) {
    if (member.first == key) return member.second;
  }
  return kNullValue;
}

bool Value::Has(const std::string& key) const {
  for (const auto& member : members_) {
    if (member.first == key) return true;
  }
  return false;
}

Value& Value::Push(Value value) {
  if (kind_ == Kind::kNull) kind_ = Kind::kArray;
  items_.push_back(std::move(value));
  return items_.back();
}

namespace {

void AppendEscaped(std::string& out, const std::string& text) {
  out += '"';
  for (unsigned char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (c < 0x20) {
          char buffer[8];
          std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
          out += buffer;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
}

// Whole numbers print without a fraction; a value that came from a float prints with the
// fewest digits that read back as that float (19.6, not 19.6000004). JSON has no NaN or
// infinity, so those print as null.
void AppendNumber(std::string& out, double value, bool single) {
  if (!std::isfinite(value)) {
    out += "null";
    return;
  }
  char buffer[32];
  if (value == std::floor(value) && std::fabs(value) < 1e15) {
    std::snprintf(buffer, sizeof buffer, "%.0f", value);
  } else if (single) {
    for (int digits = 6; digits <= 9; ++digits) {
      std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
      if (std::strtof(buffer, nullptr) == static_cast<float>(value)) break;
    }
  } else {
    std::snprintf(buffer, sizeof buffer, "%.10g", value);
  }
  out += buffer;
}

void NewLine(std::string& out, int indent, int depth) {
  if (indent < 0) return;
  out += '\n';
  out.append(static_cast<std::size_t>(indent * depth), ' ');
}

}  // namespace

void Value::DumpTo(std::string& out, int indent, int depth) const {
  switch (kind_) {
    case Kind::kNull:
      out += "null";
      return;
    case Kind::kBool:
      out += bool_ ? "true" : "false";
      return;
    case Kind::kNumber:
      AppendNumber(out, number_, single_);
      return;
    case Kind::kString:
      AppendEscaped(out, string_);
      return;
    case Kind::kArray: {
      // Arrays of plain numbers stay on one line: coordinates read better that way.
      bool flat = true;
      for (const auto& item : items_) flat = flat && !item.IsArray() && !item.IsObject();
      out += '[';
      for (std::size_t i = 0; i < items_.size(); ++i) {
        if (i > 0) out += flat && indent >= 0 ? ", " : ",";
        if (!flat) NewLine(out, indent, depth + 1);
        items_[i].DumpTo(out, indent, depth + 1);
      }
      if (!flat && !items_.empty()) NewLine(out, indent, depth);
      out += ']';
      return;
    }
    case Kind::kObject: {
      out += '{';
      for (std::size_t i = 0; i < members_.size(); ++i) {
        if (i > 0) out += ',';
        NewLine(out, indent, depth + 1);
        AppendEscaped(out, members_[i].first);
        out += indent < 0 ? ":" : ": ";
        members_[i].second.DumpTo(out, indent, depth + 1);
      }
      if (!members_.empty()) NewLine(out, indent, depth);
      out += '}';
      return;
    }
  }
}

std::string Value::Dump(int indent) const {
  std::string out;
  DumpTo(out, indent, 0);
  return out;
}

namespace {

class Parser {
 public:
  explicit Parser(const std::string& text) : text_(text) {}

  Value Document() {
    Value value = Any();
    SkipSpace();
    if (pos_ != text_.size()) Fail("unexpected text after the document");
    return value;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error("JSON " + what + " at offset " + std::to_string(pos_));
  }
  void SkipSpace() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\n' ||
                                   text_[pos_] == '\r' || text_[pos_] == '\t')) {
      ++pos_;
    }
  }
  bool Consume(char c) {
    SkipSpace();
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }
  void Expect(char c) {
    if (!Consume(c)) Fail(std::string("expected '") + c + "'");
  }
  bool ConsumeWord(const char* word) {
    std::string w(word);
    if (text_.compare(pos_, w.size(), w) != 0) return false;
    pos_ += w.size();
    return true;
  }

  Value Any() {
    SkipSpace();
    if (pos_ >= text_.size()) Fail("unexpected end");
    char c = text_[pos_];
    if (c == '{') return ObjectValue();
    if (c == '[') return ArrayValue();
    if (c == '"') return Value(StringText());
    if (ConsumeWord("true")) return Value(true);
    if (ConsumeWord("false")) return Value(false);
    if (ConsumeWord("null")) return Value();
    return NumberValue();
  }

  Value ObjectValue() {
    Expect('{');
    Value object = Value::Object();
    if (Consume('}')) return object;
    do {
      SkipSpace();
      std::string key = StringText();
      Expect(':');
      object.Set(key, Any());
    } while (Consume(','));
    Expect('}');
    return object;
  }

  Value ArrayValue() {
    Expect('[');
    Value array = Value::Array();
    if (Consume(']')) return array;
    do {
      array.Push(Any());
    } while (Consume(','));
    Expect(']');
    return array;
  }

  std::string StringText() {
    if (pos_ >= text_.size() || text_[pos_] != '"') Fail("expected a string");
    ++pos_;
    std::string out;
    while (pos_ < text_.size() && text_[pos_] != '"') {
      char c = text_[pos_++];
      if (c != '\\') {
        out += c;
        continue;
      }
      if (pos_ >= text_.size()) break;
      char e = text_[pos_++];
      switch (e) {
        case 'n':
          out += '\n';
          break;
        case 't':
          out += '\t';
          break;
        case 'r':
          out += '\r';
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'u': {
          // Only the control characters this tool writes itself need to round-trip.
          if (pos_ + 4 > text_.size()) Fail("short \\u escape");
          out += static_cast<char>(std::strtol(text_.substr(pos_, 4).c_str(), nullptr, 16));
          pos_ += 4;
          break;
        }
        default:
          out += e;
      }
    }
    if (pos_ >= text_.size()) Fail("unterminated string");
    ++pos_;
    return out;
  }

  Value NumberValue() {
    const char* start = text_.c_str() + pos_;
    char* end = nullptr;
    double value = std::strtod(start, &end);
    if (end == start) Fail("unexpected character");
    pos_ += static_cast<std::size_t>(end - start);
    return Value(value);
  }

  const std::string& text_;
  std::size_t pos_ = 0;
};

}  // namespace

Value Parse(const std::string& text) { return Parser(text).Document(); }

}  // namespace imgtarn_cli::json
