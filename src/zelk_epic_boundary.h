// The plugin's boundary: nothing thrown inside it reaches the core, EOS or the system. Every entry
// point, EOS callback and thread start does its work in here.
#pragma once

#include <exception>

#include "zelk_epic_log.h"

namespace zelk {

// Runs `action`. When it throws, a line says so and `answer` answers the request, if one is known
// that still waits for its answer. When that throws too, as the core does without memory, another
// line says so, and this one answer is lost.
template <class Action, class Answer = decltype([] {})>
void AtBoundary(const char* function, Action action, Answer answer = {}) noexcept {
  try {
    action();
    return;
  } catch (const std::exception& error) {
    ZELK_LOG_AS(function, kLogError, "exception: %s", error.what());
  } catch (...) {
    ZELK_LOG_AS(function, kLogError, "unknown exception");
  }
  try {
    answer();
  } catch (...) {
    ZELK_LOG_AS(function, kLogError, "the request could not be answered");
  }
}

}  // namespace zelk
