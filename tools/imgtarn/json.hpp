// A small JSON value: what the tool prints, and what it reads back (ground truth, blob lists).
// Objects keep their insertion order so the printed fields stand in a readable order.
#ifndef IMGTARN_TOOLS_JSON_HPP
#define IMGTARN_TOOLS_JSON_HPP

#include <string>
#include <utility>
#include <vector>

namespace imgtarn_cli::json {

class Value {
 public:
  enum class Kind { kNull, kBool, kNumber, kString, kArray, kObject };

  Value() = default;
  Value(bool b) : kind_(Kind::kBool), bool_(b) {}        // NOLINT: literals read naturally
  Value(double d) : kind_(Kind::kNumber), number_(d) {}  // NOLINT
  // A float prints with the fewest digits that read back as the same float.
  Value(float f) : kind_(Kind::kNumber), number_(f), single_(true) {}    // NOLINT
  Value(int i) : Value(static_cast<double>(i)) {}                        // NOLINT
  Value(long long i) : Value(static_cast<double>(i)) {}                  // NOLINT
  Value(const char* s) : kind_(Kind::kString), string_(s) {}             // NOLINT
  Value(std::string s) : kind_(Kind::kString), string_(std::move(s)) {}  // NOLINT

  static Value Array() { return Value(Kind::kArray); }
  static Value Object() { return Value(Kind::kObject); }

  Kind kind() const { return kind_; }
  bool IsNull() const { return kind_ == Kind::kNull; }
  bool IsNumber() const { return kind_ == Kind::kNumber; }
  bool IsObject() const { return kind_ == Kind::kObject; }
  bool IsArray() const { return kind_ == Kind::kArray; }

  // Object access: Set appends or replaces; Get returns a null value for a missing key.
  Value& Set(const std::string& key, Value value);
  const Value& Get(const std::string& key) const;
  bool Has(const std::string& key) const;
  const std::vector<std::pair<std::string, Value>>& Members() const { return members_; }

  // Array access.
  Value& Push(Value value);
  const std::vector<Value>& Items() const { return items_; }
  std::size_t Size() const { return kind_ == Kind::kArray ? items_.size() : members_.size(); }
  const Value& operator[](std::size_t i) const { return items_[i]; }

  double Number(double fallback = 0.0) const { return IsNumber() ? number_ : fallback; }
  bool Bool(bool fallback = false) const { return kind_ == Kind::kBool ? bool_ : fallback; }
  const std::string& String() const { return string_; }

  // Compact when indent < 0, else pretty-printed with that many spaces per level.
  std::string Dump(int indent = 2) const;

 private:
  explicit Value(Kind kind) : kind_(kind) {}
  void DumpTo(std::string& out, int indent, int depth) const;

  Kind kind_ = Kind::kNull;
  bool bool_ = false;
  double number_ = 0.0;
  bool single_ = false;
  std::string string_;
  std::vector<Value> items_;
  std::vector<std::pair<std::string, Value>> members_;
};

// Parses a whole JSON document; throws std::runtime_error naming the offset of a syntax error.
Value Parse(const std::string& text);

}  // namespace imgtarn_cli::json

#endif  // IMGTARN_TOOLS_JSON_HPP
