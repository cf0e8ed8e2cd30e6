// Calls of the system that fail when a test asks for it, in this program's own code alone.
#pragma once

#include <string>
#include <string_view>

namespace fieldpost::test {

/// While it lives, calls of this name fail with `error` (of <cerrno>): those that come after `passed` others,
/// `times` in all. Only calls that FailingCall.cpp knows. A call that fails is not made; "close" is, so that
/// nothing leaks.
class FailingCall {
 public:
  FailingCall(std::string_view name, int error, int passed = 0, int times = 1);
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;
  ~FailingCall();

  /// How often it has failed.
  [[nodiscard]] int Failures() const { return failures_; }

  /// Whether this call of that name fails now; `errno` says why.
  bool Fails(std::string_view name);

 private:
  std::string name_;
  int error_;
  int passed_;
  int times_;
  int failures_ = 0;
};

/// For those who stand in the place of a call: whether one of this name fails now.
bool CallFails(std::string_view name);

}  // namespace fieldpost::test
