// The foundation's JSON writer and reader. Not thread-safe: one object, one thread. Invalid UTF-8
// is replaced when written and malformed when read; nothing throws but for want of memory.
#pragma once

#include <memory>
#include <string>

#include "core_contract/export.h"

namespace zelk {

// Writes one flat JSON object; members stand in the order of the Convert calls.
class JSONWriter {
 public:
  ZELK_FOUNDATION_API JSONWriter();
  JSONWriter(const JSONWriter&) = delete;
  JSONWriter& operator=(const JSONWriter&) = delete;
  ZELK_FOUNDATION_API ~JSONWriter();

  ZELK_FOUNDATION_API void StartJsonConvert();
  ZELK_FOUNDATION_API void EndJsonConvert();

  // Each adds one member and returns this writer. `kind` is kJsonText.
  ZELK_FOUNDATION_API JSONWriter& Convert(const char* key, int value);
  ZELK_FOUNDATION_API JSONWriter& Convert(const char* key, bool value);
  ZELK_FOUNDATION_API JSONWriter& Convert(const char* key, long long value);
  ZELK_FOUNDATION_API JSONWriter& Convert(const char* key, unsigned long long value);
  ZELK_FOUNDATION_API JSONWriter& Convert(const char* key, const char* value, int kind);
  ZELK_FOUNDATION_API JSONWriter& Convert(const char* key, const std::string& value, int kind);

  // The finished document, after EndJsonConvert.
  ZELK_FOUNDATION_API std::string GetJsonString() const;

 private:
  struct Document;
  std::unique_ptr<Document> document_;
};

// The kind of every text member.
inline constexpr int kJsonText = 5;

// A JSON value, as far as it can be asked what it is.
class JSONReader {
 public:
  ZELK_FOUNDATION_API bool IsObject() const;
  // False when this value is no object.
  ZELK_FOUNDATION_API bool HasMember(const char* key) const;

 protected:
  struct Value;
  ZELK_FOUNDATION_API explicit JSONReader(std::shared_ptr<const Value> value);
  ZELK_FOUNDATION_API ~JSONReader();

  std::shared_ptr<const Value> value_;
};

// A JSON text read into memory. A malformed text is no object and has no members.
class JSONReaderParse : public JSONReader {
 public:
  ZELK_FOUNDATION_API explicit JSONReaderParse(const std::string& text);
  ZELK_FOUNDATION_API ~JSONReaderParse();

  // The member's value; of a missing member, a value that is no object.
  ZELK_FOUNDATION_API JSONReaderParse operator[](const char* key) const;

  // This value as text: a string as it is, a number or boolean as its JSON text, anything else "".
  ZELK_FOUNDATION_API void Convert(std::string& out, bool flag) const;

 private:
  explicit JSONReaderParse(std::shared_ptr<const Value> value);
};

}  // namespace zelk
