#include "shell/ModFPHide.h"

#include <algorithm>
#include <array>

#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {

const ModFPHide::Switch* ModFPHide::Find(std::string_view commandLine) {
  static constexpr std::array<Switch, 3> switches{{
      {.text = "-fcs", .sendAfterCollect = true, .checksMail = true, .step = Step::CollectFaultlogs},
      {.text = "-fc", .sendAfterCollect = false, .checksMail = false, .step = Step::CollectFaultlogs},
      {.text = "-fs", .sendAfterCollect = true, .checksMail = true, .step = Step::SendWaitingFaultlogs},
  }};
  const auto* const found = std::find_if(switches.begin(), switches.end(), [&](const Switch& one) {
    return one.text == ToLowerAscii(commandLine);
  });
  return found == switches.end() ? nullptr : found;
}

bool ModFPHide::RunCommandLine(std::string_view commandLine) {
  const Switch* const found = Find(commandLine);
  if (found == nullptr) return false;
  program_.flags = {.ShowMessages = false, .SendingPPC = false, .SendAfterCollect = found->sendAfterCollect};
  if (!Prepare()) return true;
  if (found->checksMail && program_.check.CheckMailOptionsQuiet()) {
    succeeded_ = false;
    return true;
  }
  succeeded_ = Do(found->step);
  return true;
}

bool ModFPHide::Prepare() {
  // A store that cannot be read would look like one without settings, and the files of another place would be
  // worked on.
  if (program_.ports.keys.Check() != KeyOk) return Refuse(program_.ports.keys.Problem());
  const std::string settingsProblem = program_.settingsStore.Problem();
  if (!settingsProblem.empty()) return Refuse(settingsProblem);
  program_.tree.CreateFolderTree();
  PathList folders = program_.lists.LatestFolderList;
  folders.push_back(PathFromUtf8(program_.settings.ArchiveFolder));
  folders.push_back(PathFromUtf8(program_.settings.ProcessFolder));
  const std::string lockProblem = lock_.TryTake(program_.ports.files, folders);
  return lockProblem.empty() || Refuse(lockProblem);
}

bool ModFPHide::Do(Step step) {
  if (step == Step::SendWaitingFaultlogs) {
    return program_.scan.FinishInterruptedRun() && program_.sendLoop.SendQueuedFaultlogs();
  }
  program_.scan.ProcessLatestFiles(program_.ports.display);
  return program_.scan.Succeeded();
}

bool ModFPHide::Refuse(std::string_view reason) {
  program_.log.WriteLog(reason, LogCategory::Error);
  succeeded_ = false;
  return false;
}

}  // namespace fieldpost
