// JSON texts, read into one flat list of values: a document of any depth is read and destroyed
// without recursion, and nothing but reading it takes memory.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelk::common {

// What is wrong with a text, and in which line.
struct JsonError : std::runtime_error {
  JsonError(int line_of_error, const std::string& reason)
      : std::runtime_error(reason), line(line_of_error) {}
  int line;
};

enum class JsonKind { kNull, kBoolean, kInteger, kNumber, kText, kArray, kObject };

// A value of a document, which lives as long as any of its values.
class JsonValue {
 public:
  // The document of a text. Throws JsonError.
  explicit JsonValue(std::string_view text);

  JsonKind kind() const { return row().kind; }
  // What a text says, the JSON of a number or boolean, "" of anything else.
  const std::string& text() const { return row().text; }
  // The name of a member, the index of an element.
  const std::string& key() const { return row().key; }
  int line() const { return row().line; }
  // The way from the document to this value: "/accounts/0".
  std::string Pointer() const;

  // The members of an object, the elements of an array, in their order.
  std::vector<JsonValue> Children() const;
  // The last member of that name; nothing where this is no object.
  std::optional<JsonValue> Find(std::string_view name) const;

 private:
  friend class JsonBuilder;
  struct Row {
    JsonKind kind;
    int line;
    std::size_t parent;
    std::size_t end = 0;  // after what is inside of this value
    std::string key;
    std::string text;
  };
  using Rows = std::vector<Row>;

  JsonValue(std::shared_ptr<const Rows> rows, std::size_t index)
      : rows_(std::move(rows)), index_(index) {}
  const Row& row() const { return (*rows_)[index_]; }

  std::shared_ptr<const Rows> rows_;
  std::size_t index_ = 0;
};

// The document of a text; nothing when it is malformed.
std::optional<JsonValue> ReadJson(std::string_view text);

// A text as JSON, quoted; what is no UTF-8 in it is replaced.
std::string JsonText(const std::string& text);
bool IsUtf8(const std::string& text);

}  // namespace zelk::common
