#include "shell/ModFPHide.h"

#include <algorithm>
#include <array>
#include <exception>

#include "common/Text.h"

namespace fieldpost {

const ModFPHide::Switch* ModFPHide::Find(std::string_view commandLine) {
  static constexpr std::array<Switch, 6> switches{{
      {.text = "-fcs", .sendAfterCollect = true, .checksMail = true, .first = Step::CollectFaultlogs},
      {.text = "-fc", .sendAfterCollect = false, .checksMail = false, .first = Step::CollectFaultlogs},
      {.text = "-fs", .sendAfterCollect = true, .checksMail = true, .first = Step::SendWaitingFaultlogs},
      {.text = "-ps", .sendAfterCollect = true, .checksMail = true, .first = Step::CollectPpcData},
      {.text = "-fcs -ps",
       .sendAfterCollect = true,
       .checksMail = true,
       .first = Step::CollectFaultlogs,
       .second = Step::CollectPpcData},
      {.text = "-ps -fcs",
       .sendAfterCollect = true,
       .checksMail = true,
       .first = Step::CollectPpcData,
       .second = Step::CollectFaultlogs},
  }};
  const auto* const found = std::find_if(switches.begin(), switches.end(), [&](const Switch& one) {
    return one.text == ToLowerAscii(commandLine);
  });
  return found == switches.end() ? nullptr : found;
}

bool ModFPHide::RunCommandLine(std::string_view commandLine) {
  const Switch* const found = Find(commandLine);
  if (found == nullptr) return false;
  program_.flags = {.ShowMessages = false,
                    .SendingPPC = found->first == Step::CollectPpcData,
                    .SendAfterCollect = found->sendAfterCollect};
  if (!Prepare()) return true;
  if (!program_.sendLoop.FinishInterruptedSend()) succeeded_ = false;
  if (found->checksMail && !CheckMail()) return true;
  Do(found->first);
  if (found->second == Step::None) return true;
  EmptyLists();
  program_.flags.SendingPPC = found->second == Step::CollectPpcData;
  Do(found->second);
  return true;
}

bool ModFPHide::Prepare() {
  const std::string problem = preparation_.Prepare(RunPreparation::EmptyLatestList::TakeDefault);
  if (!program_.tree.IsWhole()) succeeded_ = false;
  return problem.empty() || Refuse(problem);
}

/// Defaults that could not be saved serve this run, and are a failure all the same.
bool ModFPHide::CheckMail() {
  const bool missing = program_.check.CheckMailOptionsQuiet();
  if (missing || !program_.check.DefaultsAreSaved()) succeeded_ = false;
  return !missing;
}

/// One half's failure, of whatever kind, does not keep the other from its work.
void ModFPHide::Do(Step step) {
  try {
    if (!DoWhole(step)) succeeded_ = false;
  } catch (const std::exception& error) {
    Refuse(error.what());
  }
}

/// Nothing of the first half may be sent as the second's.
void ModFPHide::EmptyLists() {
  program_.lists.PendingFiles.clear();
  program_.lists.Attachments.clear();
  program_.lists.PackedFiles.clear();
}

bool ModFPHide::DoWhole(Step step) {
  if (step == Step::CollectPpcData) return program_.ppcRun.ProcessPpcData(program_.ports.display);
  if (step == Step::SendWaitingFaultlogs) {
    return program_.scan.RecoverInterruptedRun().succeeded && program_.sendLoop.SendQueuedFaultlogs();
  }
  return program_.scan.ProcessLatestFiles(program_.ports.display).succeeded;
}

bool ModFPHide::Refuse(std::string_view reason) {
  program_.log.WriteLog(reason, LogCategory::Error);
  succeeded_ = false;
  return false;
}

}  // namespace fieldpost
