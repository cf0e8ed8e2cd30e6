// Fault injection: system calls of the program's own code that fail on request.
#pragma once

#include <string>
#include <string_view>

namespace fieldpost::test {

/// During its lifetime, calls named `name` fail with `error` (of <cerrno>): after `passed` successful ones,
/// `times` calls fail. Only the calls in FailingCall.cpp can fail. A failing call is not made, except
/// "close", so that no descriptor leaks.
class FailingCall {
 public:
  FailingCall(std::string_view name, int error, int passed = 0, int times = 1);
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;
  ~FailingCall();

  /// Returns the number of calls that failed.
  [[nodiscard]] int Failures() const { return failures_; }

  /// Whether the current call, named `name`, fails. Sets `errno` when it does.
  bool Fails(std::string_view name);

 private:
  std::string name_;
  int error_;
  int passed_;
  int times_;
  int failures_ = 0;
};

/// For wrapped calls: whether any FailingCall lets the current call, named `name`, fail.
bool CallFails(std::string_view name);

}  // namespace fieldpost::test
