#include "shell/RunPreparation.h"

#include "common/PathText.h"
#include "shell/KeepSecrets.h"

namespace fieldpost {

std::string RunPreparation::Prepare(EmptyLatestList empty) {
  KeepSecrets(program_.ports, program_.settingsStore, program_.log);
  std::string problem = StoreProblem();
  if (!problem.empty()) return problem;
  // Two first starts at once would write the same settings.
  const PathList own{program_.paths.OwnFolder()};
  problem = lock_.Acquire(program_.ports.files, own);
  if (!problem.empty()) {
    MakeLogFolder();
    return problem;
  }
  PathList& latest = program_.lists.LatestFolderList;
  program_.latestStore.LoadLatestFolders(latest);
  if (!latest.empty() || empty == EmptyLatestList::TakeDefault) program_.tree.CreateFolderTree();
  PathList folders = latest;
  folders.push_back(PathFromUtf8(program_.settings.ArchiveFolder));
  folders.push_back(PathFromUtf8(program_.settings.ProcessFolder));
  folders.push_back(program_.paths.FaultlogFolder("PPCTemp"));
  return lock_.Acquire(program_.ports.files, folders);
}

/// The run that is refused may be faster than the first start of all, which makes the folders.
void RunPreparation::MakeLogFolder() {
  try {
    program_.ports.files.CreateFolders(program_.paths.FaultlogFolder("Log"));
  } catch (const FileError&) {
    // the line then goes to standard error
  }
}

/// A store that cannot be read would look like one without settings, and the files of another place would be
/// worked on.
std::string RunPreparation::StoreProblem() const {
  if (program_.ports.keys.Check() != KeyOk) return program_.ports.keys.Problem();
  std::string problem = program_.settingsStore.Problem();
  return problem.empty() ? program_.latestStore.Problem() : problem;
}

}  // namespace fieldpost
