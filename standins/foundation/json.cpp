#include "core_contract/json.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "common/null_text.h"

namespace zelk {
namespace {

constexpr int kNoIndent = -1;

template <class Json>
std::string Dump(const Json& value) {
  return value.dump(kNoIndent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): an empty value of the library does not throw
struct JSONWriter::Document {
  nlohmann::ordered_json object;
  bool open = false;

  // Outside of StartJsonConvert and EndJsonConvert nothing is taken.
  template <class T>
  void Add(const char* key, const T& value) {
    if (open) object[key] = value;
  }
};

JSONWriter::JSONWriter() : document_(std::make_unique<Document>()) {}

JSONWriter::~JSONWriter() = default;

void JSONWriter::StartJsonConvert() {
  document_->object = nlohmann::ordered_json::object();
  document_->open = true;
}

void JSONWriter::EndJsonConvert() { document_->open = false; }

JSONWriter& JSONWriter::Convert(const char* key, int value) {
  document_->Add(key, value);
  return *this;
}

JSONWriter& JSONWriter::Convert(const char* key, bool value) {
  document_->Add(key, value);
  return *this;
}

JSONWriter& JSONWriter::Convert(const char* key, long long value) {
  document_->Add(key, value);
  return *this;
}

JSONWriter& JSONWriter::Convert(const char* key, unsigned long long value) {
  document_->Add(key, value);
  return *this;
}

JSONWriter& JSONWriter::Convert(const char* key, const char* value, int kind) {
  return Convert(key, std::string(common::OrEmpty(value)), kind);
}

JSONWriter& JSONWriter::Convert(const char* key, const std::string& value, int kind) {
  if (kind == kJsonText) document_->Add(key, value);
  return *this;
}

std::string JSONWriter::GetJsonString() const {
  const bool finished = document_->object.is_object() && !document_->open;
  return finished ? Dump(document_->object) : "";
}

// Points into a document that all readers of it own together.
struct JSONReader::Value {
  std::shared_ptr<const nlohmann::json> json;
};

JSONReader::JSONReader(std::shared_ptr<const Value> value) : value_(std::move(value)) {}

JSONReader::~JSONReader() = default;

bool JSONReader::IsObject() const { return value_->json->is_object(); }

bool JSONReader::HasMember(const char* key) const { return value_->json->contains(key); }

// Parsing and destroying a document takes no stack, however deep it is nested; copying would.
JSONReaderParse::JSONReaderParse(const std::string& text)
    : JSONReader(std::make_shared<const Value>(Value{std::make_shared<const nlohmann::json>(
          nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false))})) {}

JSONReaderParse::JSONReaderParse(std::shared_ptr<const Value> value)
    : JSONReader(std::move(value)) {}

JSONReaderParse::~JSONReaderParse() = default;

JSONReaderParse JSONReaderParse::operator[](const char* key) const {
  static const auto missing = std::make_shared<const nlohmann::json>();
  const std::shared_ptr<const nlohmann::json>& object = value_->json;
  const auto member = object->find(key);
  if (member == object->end())
    return JSONReaderParse(std::make_shared<const Value>(Value{missing}));
  return JSONReaderParse(std::make_shared<const Value>(
      Value{std::shared_ptr<const nlohmann::json>(object, &*member)}));
}

void JSONReaderParse::Convert(std::string& out, bool /*flag*/) const {
  const nlohmann::json& json = *value_->json;
  if (json.is_string()) {
    out = json.get_ref<const std::string&>();
  } else {
    out = json.is_number() || json.is_boolean() ? Dump(json) : "";
  }
}

}  // namespace zelk
