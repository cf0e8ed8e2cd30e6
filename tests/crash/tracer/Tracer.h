// Runs a program and stops it before each call that changes a file: to record it, to kill the program, or to
// make the call fail.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <optional>

#include "crash/tracer/ChangingCalls.h"
#include "crash/tracer/Options.h"

struct user_regs_struct;

namespace fieldpost::tracer {

/// How the tracer ends, beside the status of the program itself.
inline constexpr int EndedBefore = 100;  ///< plus the program's status when the requested call never came
inline constexpr int CannotTrace = 125;  ///< the tracer itself failed
inline constexpr int Killed = 137;       ///< the program was killed at the requested call

class Tracer {
 public:
  /// Keeps a reference to the options.
  explicit Tracer(const Options& options);

  /// Runs the program to its end. Returns the exit status of the tracer.
  int Run();

 private:
  /// A call that a thread has begun and not ended.
  struct Pending {
    Call call;
    std::optional<ChangingCall> change{};  ///< empty for a call through a socket
    std::uint64_t number = 0;
    int error = 0;  ///< what the call is made to return; 0 for its own result
  };

  bool Start();
  [[noreturn]] void BecomeTheProgram(int gate) const;
  void Handle(pid_t thread, int status);
  void Begin(pid_t thread);
  void BeginChange(pid_t thread, const Call& call, ChangingCall change);
  void BeginOther(pid_t thread, const Call& call);
  bool MustFail(pid_t thread, const Call& call, const ChangingCall& change);
  void Break(pid_t thread, Pending& pending);
  void End(pid_t thread);
  void MarkSocket(pid_t thread, const Call& call, std::int64_t result);
  void KillAll(pid_t thread);
  [[nodiscard]] bool FinishFiles();
  [[nodiscard]] int Status() const;

  const Options& options_;
  std::ofstream record_;
  pid_t program_ = 0;
  int programStatus_ = 0;
  bool killed_ = false;
  std::uint64_t calls_ = 0;
  std::map<pid_t, Pending> pending_;
  std::map<pid_t, Call> interrupted_;  ///< the last interrupted call of each thread
};

}  // namespace fieldpost::tracer
