#include "shell/RunPreparation.h"

#include "common/PathText.h"
#include "shell/KeepSecrets.h"

namespace fieldpost {

namespace {

void LogErrors(ModWriteLogFile& log, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) log.WriteLog(line, LogCategory::Error);
}

}  // namespace

bool PrepareFolders(FieldpostProgram& program) {
  // KeepSecrets comes first, because creating the tree rewrites Options.ini. Its lines are logged last,
  // because the tree contains the log folder.
  const std::vector<std::string> exposed = KeepSecrets(program.ports, program.settingsStore);
  program.tree.CreateFolderTree();
  LogErrors(program.log, exposed);
  return program.tree.IsWhole();
}

PreparationResult RunPreparation::Prepare(EmptyLatestList empty) {
  const std::string problem = LockOwnFolder();
  if (!problem.empty()) {
    LogErrors(program_.log, KeepSecrets(program_.ports, program_.settingsStore));
    return {.problem = problem};
  }
  const bool isWhole = CreateFolders(empty);
  return {.problem = lock_.Acquire(program_.ports.files, WorkFolders()), .treeIsWhole = isWhole};
}

std::string RunPreparation::LockOwnFolder() {
  std::string problem = StoreProblem();
  if (!problem.empty()) return problem;
  // Crash safety, rule 12: two first starts at the same time would write the same settings.
  problem = lock_.Acquire(program_.ports.files, {program_.paths.OwnFolder()});
  if (!problem.empty()) CreateLogFolder();
  return problem;
}

bool RunPreparation::CreateFolders(EmptyLatestList empty) {
  program_.latestStore.LoadLatestFolders(program_.lists.LatestFolderList);
  if (!program_.lists.LatestFolderList.empty() || empty == EmptyLatestList::TakeDefault)
    return PrepareFolders(program_);
  LogErrors(program_.log, KeepSecrets(program_.ports, program_.settingsStore));
  return true;
}

/// When two first starts overlap, the refused run logs before the other has created the folder.
void RunPreparation::CreateLogFolder() {
  try {
    program_.ports.files.CreateFolders(program_.paths.FaultlogFolder("Log"));
  } catch (const FileError&) {
    // The log line then goes to standard error.
  }
}

/// An unreadable store would look like an empty one, and the run would work in the wrong folders.
std::string RunPreparation::StoreProblem() const {
  if (program_.ports.keys.Check() != KeyOk) return program_.ports.keys.Problem();
  std::string problem = program_.settingsStore.Problem();
  return problem.empty() ? program_.latestStore.Problem() : problem;
}

PathList RunPreparation::WorkFolders() const {
  PathList folders = program_.lists.LatestFolderList;
  folders.push_back(PathFromUtf8(program_.settings.ArchiveFolder));
  folders.push_back(PathFromUtf8(program_.settings.ProcessFolder));
  folders.push_back(program_.paths.FaultlogFolder("PPCTemp"));
  return folders;
}

}  // namespace fieldpost
