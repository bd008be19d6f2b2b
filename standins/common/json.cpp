#include "common/json.h"

#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "common/json_error.h"

namespace zelk::common {
using nlohmann::json;

// Where in a text the parser is.
struct Place {
  int line = 1;
  bool line_ends = false;
};

// Reads a text and keeps the place: the parser reads one character beyond a number.
class CharacterIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CharacterIterator(const char* at, Place& place) : at_(at), place_(&place) {}

  reference operator*() const { return *at_; }
  CharacterIterator& operator++() {
    if (place_->line_ends) ++place_->line;
    place_->line_ends = *at_++ == '\n';
    return *this;
  }
  bool operator==(const CharacterIterator& other) const { return at_ == other.at_; }
  bool operator!=(const CharacterIterator& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  Place* place_;
};

// Adds a row for each value that the parser meets.
class JsonBuilder : public nlohmann::json_sax<json> {
 public:
  JsonValue::Rows Read(std::string_view text) {
    const char* const end = text.data() + text.size();
    json::sax_parse(CharacterIterator(text.data(), place_), CharacterIterator(end, place_), this);
    return std::move(rows_);
  }

  bool null() override { return Add(JsonKind::kNull, ""); }
  bool boolean(bool value) override { return Add(JsonKind::kBoolean, value ? "true" : "false"); }
  bool number_integer(number_integer_t value) override {
    return Add(JsonKind::kInteger, std::to_string(value));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return Add(JsonKind::kInteger, std::to_string(value));
  }
  bool number_float(number_float_t value, const string_t&) override {
    return Add(JsonKind::kNumber, json(value).dump());
  }
  bool string(string_t& value) override { return Add(JsonKind::kText, std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool key(string_t& value) override {
    key_ = std::move(value);
    return true;
  }
  bool start_object(std::size_t) override { return Open(JsonKind::kObject); }
  bool end_object() override { return Close(); }
  bool start_array(std::size_t) override { return Open(JsonKind::kArray); }
  bool end_array() override { return Close(); }
  bool parse_error(std::size_t, const std::string&, const json::exception& error) override {
    throw JsonError(place_.line, ExplainJsonError(error).reason);
  }

 private:
  bool Add(JsonKind kind, std::string text) {
    if (!counts_.empty() && rows_[parent_].kind == JsonKind::kArray) {
      key_ = std::to_string(counts_.back()++);
    }
    rows_.push_back({.kind = kind,
                     .line = place_.line,
                     .parent = parent_,
                     .end = rows_.size() + 1,
                     .key = std::exchange(key_, {}),
                     .text = std::move(text)});
    return true;
  }

  bool Open(JsonKind kind) {
    Add(kind, "");
    parent_ = rows_.size() - 1;
    counts_.push_back(0);
    return true;
  }

  bool Close() {
    rows_[parent_].end = rows_.size();
    parent_ = rows_[parent_].parent;
    counts_.pop_back();
    return true;
  }

  Place place_;
  JsonValue::Rows rows_;
  std::string key_;
  // The array or object that is open, and how many elements each of those around it has.
  std::size_t parent_ = 0;
  std::vector<std::size_t> counts_;
};

JsonValue::JsonValue(std::string_view text)
    : rows_(std::make_shared<const Rows>(JsonBuilder().Read(text))) {}

std::string JsonValue::Pointer() const {
  std::string pointer;
  for (std::size_t index = index_; index != 0; index = (*rows_)[index].parent) {
    pointer.insert(0, "/" + (*rows_)[index].key);
  }
  return pointer;
}

std::vector<JsonValue> JsonValue::Children() const {
  std::vector<JsonValue> children;
  for (std::size_t child = index_ + 1; child < row().end; child = (*rows_)[child].end) {
    children.push_back(JsonValue(rows_, child));
  }
  return children;
}

std::optional<JsonValue> JsonValue::Find(std::string_view name) const {
  std::optional<JsonValue> found;
  if (kind() != JsonKind::kObject) return found;
  for (std::size_t child = index_ + 1; child < row().end; child = (*rows_)[child].end) {
    if ((*rows_)[child].key == name) found = JsonValue(rows_, child);
  }
  return found;
}

std::optional<JsonValue> ReadJson(std::string_view text) try {
  return JsonValue(text);
} catch (const JsonError&) {
  return std::nullopt;
}

std::string JsonText(const std::string& text) {
  return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

bool IsUtf8(const std::string& text) try {
  json(text).dump();
  return true;
} catch (const json::type_error&) {
  return false;
}

}  // namespace zelk::common
