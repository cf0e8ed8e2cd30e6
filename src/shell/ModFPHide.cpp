#include "shell/ModFPHide.h"

#include <algorithm>
#include <array>
#include <exception>

#include "common/Text.h"
#include "shell/RunPreparation.h"

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

UnattendedResult ModFPHide::RunCommandLine(std::string_view commandLine) {
  const Switch* const wanted = Find(commandLine);
  if (wanted == nullptr) return {};
  program_.flags = {.ShowMessages = false,
                    .SendingPPC = wanted->first == Step::CollectPpcData,
                    .SendAfterCollect = wanted->sendAfterCollect};
  const bool done = Run(*wanted);
  return {.handled = true, .succeeded = done && !program_.log.HasFailed()};
}

bool ModFPHide::Run(const Switch& wanted) {
  RunPreparation preparation(program_);
  const PreparationResult prepared = preparation.Prepare(RunPreparation::EmptyLatestList::TakeDefault);
  if (!prepared.problem.empty()) return Fail(prepared.problem);
  bool done = prepared.treeIsWhole;
  if (!program_.sendLoop.FinishInterruptedSend()) done = false;
  if (wanted.checksMail) {
    const MailOptionsResult checked = program_.check.CheckMailOptionsQuiet();
    if (checked.requiredMissing) return false;
    // Defaults that could not be stored serve this run, but that is a failure.
    if (!checked.defaultsSaved) done = false;
  }
  return DoSteps(wanted) && done;
}

bool ModFPHide::DoSteps(const Switch& wanted) {
  const bool firstDone = Do(wanted.first);
  if (wanted.second == Step::None) return firstDone;
  // The second step must not send the documents of the first again.
  program_.lists.PendingFiles.clear();
  program_.flags.SendingPPC = wanted.second == Step::CollectPpcData;
  const bool secondDone = Do(wanted.second);
  return firstDone && secondDone;
}

/// Catches and logs every std::exception, so that the other step still runs.
bool ModFPHide::Do(Step step) {
  try {
    return DoUncaught(step);
  } catch (const std::exception& error) {
    return Fail(error.what());
  }
}

bool ModFPHide::DoUncaught(Step step) {
  if (step == Step::CollectPpcData) return program_.ppcRun.ProcessPpcData(program_.ports.display);
  if (step == Step::SendWaitingFaultlogs) {
    return program_.scan.RecoverInterruptedRun().succeeded && program_.sendLoop.SendQueuedFaultlogs();
  }
  return program_.scan.ProcessLatestFiles(program_.ports.display).succeeded;
}

bool ModFPHide::Fail(std::string_view reason) {
  program_.log.WriteLog(reason, LogCategory::Error);
  return false;
}

}  // namespace fieldpost
