// What the library lends to its caller until the caller releases it: tokens and user infos. Reports
// what is released twice, too late, or never. What was released is poisoned and stays in quarantine
// for a while, so that a late reader finds '#' in it and not another caller's object.
#pragma once

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform.h"
#include "script.h"

namespace eos_standin {

// A published structure with the texts that it points to.
template <class Published, size_t kMostTexts>
class Lent : public Published {
 public:
  // The address of a copy; null for no text.
  const char* Keep(std::optional<std::string> text) {
    if (!text) return nullptr;
    return (texts_.at(used_++) = std::move(*text)).c_str();
  }

  void Poison() {
    for (std::string& text : texts_) std::fill(text.begin(), text.end(), '#');
  }

 private:
  std::array<std::string, kMostTexts> texts_;
  size_t used_ = 0;
};

struct LendingRules {
  MisuseRule released_twice;
  MisuseRule after_platform;
  MisuseRule leaked;
};

template <class Object>
class LentObjects {
 public:
  LentObjects(const LendingRules& rules, std::atomic<int64_t>& counter)
      : rules_(rules), counter_(counter) {}

  Object* Lend(const Platform* platform, std::unique_ptr<Object> object) {
    Object* lent = object.get();
    Count(counter_, 1);
    out_.emplace(lent, Loan{std::move(object), platform});
    return lent;
  }

  void Reclaim(Function function, const void* object) {
    const auto found = out_.find(object);
    if (found == out_.end()) return ReportNotLent(function, object);
    if (found->second.platform->released) ReportMisuse(rules_.after_platform, function);
    Count(counter_, -1);
    found->second.object->Poison();
    quarantine_.push_back(std::move(found->second.object));
    if (quarantine_.size() > kQuarantineSize) quarantine_.pop_front();
    out_.erase(found);
  }

  // All that the platform lent and did not get back.
  void ReportLeaks(Function function, const Platform* platform) const {
    for (const auto& [object, loan] : out_) {
      if (loan.platform == platform) ReportMisuse(rules_.leaked, function);
    }
  }

 private:
  struct Loan {
    std::unique_ptr<Object> object;
    const Platform* platform;
  };
  static constexpr size_t kQuarantineSize = 1024;

  // The pointer is compared, never followed.
  void ReportNotLent(Function function, const void* object) const {
    const auto same = [object](const auto& released) { return released.get() == object; };
    const bool known = std::any_of(quarantine_.begin(), quarantine_.end(), same);
    ReportMisuse(known ? rules_.released_twice : MisuseRule::kUnknownHandle, function);
  }

  LendingRules rules_;
  std::atomic<int64_t>& counter_;
  std::unordered_map<const void*, Loan> out_;
  std::deque<std::unique_ptr<Object>> quarantine_;
};

}  // namespace eos_standin
