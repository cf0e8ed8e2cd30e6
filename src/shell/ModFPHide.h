// The unattended run: the switches of the command line.
#pragma once

#include <string_view>

#include "shell/FieldpostProgram.h"
#include "shell/RunPreparation.h"

namespace fieldpost {

/// Does the whole job that a switch stands for, without a window.
class ModFPHide {
 public:
  explicit ModFPHide(FieldpostProgram& program) : program_(program), preparation_(program) {}

  /// Whether a command line is one of the switches, in any letter case but otherwise to the letter.
  [[nodiscard]] static bool IsSwitch(std::string_view commandLine) { return Find(commandLine) != nullptr; }

  /// True when the line is one of the switches, in any letter case but otherwise to the letter; the run is
  /// then over, well or not. False, with nothing done, for any other line.
  bool RunCommandLine(std::string_view commandLine);

  /// Whether the run did all that it set out to do, and could log it.
  [[nodiscard]] bool Succeeded() const { return succeeded_ && !program_.log.HasFailed(); }

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

  bool Prepare();
  bool CheckMail();
  void Do(Step step);
  bool DoWhole(Step step);
  void EmptyLists();
  bool Refuse(std::string_view reason);

  FieldpostProgram& program_;
  RunPreparation preparation_;
  bool succeeded_ = true;
};

}  // namespace fieldpost
