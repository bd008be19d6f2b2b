// What the library lends to its caller until the caller releases it: tokens and user infos. Reports
// what is released twice, too late, or never. The last ones released stay allocated, with spoilt
// texts, so that a late reader finds '#' in them and not another caller's object.
#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "entry.h"

namespace eos_standin {

template <class Object>
class Loans {
 public:
  // `kind` is the first part of the rules' names.
  Loans(std::string kind, std::atomic<int64_t>& counter)
      : kind_(std::move(kind)), counter_(counter) {}

  Object* Lend(const Platform* platform, std::unique_ptr<Object> object) {
    Object* lent = object.get();
    Count(counter_, 1);
    out_.emplace(lent, Loan{std::move(object), platform});
    return lent;
  }

  void TakeBack(const Entry& entry, const void* object) {
    const auto found = out_.find(object);
    if (found == out_.end()) return ReportStranger(entry, object);
    if (found->second.platform->released) entry.Misuse(kind_ + "-after-platform");
    Count(counter_, -1);
    found->second.object->Spoil();
    Bury(std::move(found->second.object));
    out_.erase(found);
  }

  // All that the platform lent and did not get back.
  void ReportLeaks(const Entry& entry, const Platform* platform) const {
    for (const auto& [object, loan] : out_) {
      if (loan.platform == platform) entry.Misuse(kind_ + "-leaked");
    }
  }

 private:
  struct Loan {
    std::unique_ptr<Object> object;
    const Platform* platform;
  };
  static constexpr size_t kMostBuried = 1024;

  void ReportStranger(const Entry& entry, const void* object) const {
    const auto same = [object](const auto& buried) { return buried.get() == object; };
    const bool known = std::any_of(buried_.begin(), buried_.end(), same);
    entry.Misuse(known ? kind_ + "-released-twice" : "unknown-handle");
  }

  void Bury(std::unique_ptr<Object> object) {
    buried_.push_back(std::move(object));
    if (buried_.size() > kMostBuried) buried_.pop_front();
  }

  std::string kind_;
  std::atomic<int64_t>& counter_;
  std::unordered_map<const void*, Loan> out_;
  std::deque<std::unique_ptr<Object>> buried_;
};

// A text of something lent: absent ones are null.
inline const char* Borrow(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

inline void SpoilText(std::optional<std::string>& text) {
  if (text) std::fill(text->begin(), text->end(), '#');
}

}  // namespace eos_standin
