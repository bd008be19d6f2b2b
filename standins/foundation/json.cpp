#include "core_contract/json.h"

#include <utility>

#include "common/json.h"
#include "common/null_text.h"

namespace zelk {

struct JSONWriter::Document {
  std::string text;
  bool open = false;

  // Outside of StartJsonConvert and EndJsonConvert nothing is taken.
  void Add(const char* key, const std::string& json) {
    if (open) text += (text.empty() ? "{" : ",") + common::JsonText(key) + ":" + json;
  }
};

JSONWriter::JSONWriter() : document_(std::make_unique<Document>()) {}

JSONWriter::~JSONWriter() = default;

void JSONWriter::StartJsonConvert() { *document_ = {.text = "", .open = true}; }

void JSONWriter::EndJsonConvert() {
  if (!std::exchange(document_->open, false)) return;
  document_->text += document_->text.empty() ? "{}" : "}";
}

JSONWriter& JSONWriter::Convert(const char* key, int value) {
  return Convert(key, static_cast<long long>(value));
}

JSONWriter& JSONWriter::Convert(const char* key, bool value) {
  document_->Add(key, value ? "true" : "false");
  return *this;
}

JSONWriter& JSONWriter::Convert(const char* key, long long value) {
  document_->Add(key, std::to_string(value));
  return *this;
}

JSONWriter& JSONWriter::Convert(const char* key, unsigned long long value) {
  document_->Add(key, std::to_string(value));
  return *this;
}

JSONWriter& JSONWriter::Convert(const char* key, const char* value, int kind) {
  return Convert(key, std::string(common::OrEmpty(value)), kind);
}

JSONWriter& JSONWriter::Convert(const char* key, const std::string& value, int kind) {
  if (kind == kJsonText) document_->Add(key, common::JsonText(value));
  return *this;
}

std::string JSONWriter::GetJsonString() const { return document_->open ? "" : document_->text; }

// Of a malformed text, and of a missing member, there is none.
struct JSONReader::Value {
  std::optional<common::JsonValue> json;
};

JSONReader::JSONReader(std::shared_ptr<const Value> value) : value_(std::move(value)) {}

JSONReader::~JSONReader() = default;

bool JSONReader::IsObject() const {
  return value_->json && value_->json->kind() == common::JsonKind::kObject;
}

bool JSONReader::HasMember(const char* key) const {
  return value_->json && value_->json->Find(key);
}

JSONReaderParse::JSONReaderParse(const std::string& text)
    : JSONReader(std::make_shared<const Value>(Value{common::ReadJson(text)})) {}

JSONReaderParse::JSONReaderParse(std::shared_ptr<const Value> value)
    : JSONReader(std::move(value)) {}

JSONReaderParse::~JSONReaderParse() = default;

JSONReaderParse JSONReaderParse::operator[](const char* key) const {
  Value member;
  if (value_->json) member.json = value_->json->Find(key);
  return JSONReaderParse(std::make_shared<const Value>(std::move(member)));
}

void JSONReaderParse::Convert(std::string& out, bool /*flag*/) const {
  out = value_->json ? value_->json->text() : "";
}

}  // namespace zelk
