// The unattended run and the switches of the command line that start it.
#pragma once

#include <string_view>

#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// What came of a command line.
struct UnattendedResult {
  bool handled = false;   ///< the line is one of the switches
  bool succeeded = true;  ///< the run did all that its switch asks for, and could log it
};

/// Does the job of a switch without showing a window.
class ModFPHide {
 public:
  /// `program` must outlive the object.
  explicit ModFPHide(FieldpostProgram& program) : program_(program) {}

  /// Whether a command line is one of the switches, in any case of ASCII letters.
  [[nodiscard]] static bool IsSwitch(std::string_view commandLine) { return Find(commandLine) != nullptr; }

  /// Does the job of a switch; does nothing for any other line.
  [[nodiscard]] UnattendedResult RunCommandLine(std::string_view commandLine);

 private:
  enum class Step { None, CollectFaultlogs, SendWaitingFaultlogs, CollectPpcData };
  struct Switch {
    std::string_view text;
    bool sendAfterCollect;
    bool checksMail;
    Step first;
    Step second = Step::None;
  };
  static const Switch* Find(std::string_view commandLine);

  [[nodiscard]] bool Run(const Switch& wanted);
  [[nodiscard]] bool DoSteps(const Switch& wanted);
  [[nodiscard]] bool Do(Step step);
  [[nodiscard]] bool DoUncaught(Step step);
  bool Fail(std::string_view reason);

  FieldpostProgram& program_;
};

}  // namespace fieldpost
