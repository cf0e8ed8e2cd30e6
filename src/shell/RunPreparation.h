// Prepares a run, unattended or from the window.
#pragma once

#include <string>

#include "environment/RunLock.h"
#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// Removes other users' access to the files that contain secrets, creates the folder tree, and then logs
/// which of these files other users could access. Returns false when a part of the tree could not be created
/// or stored.
[[nodiscard]] bool PrepareFolders(FieldpostProgram& program);

/// What came of preparing a run.
struct PreparationResult {
  std::string problem;      ///< one line on why the run must not begin; empty when it may
  bool treeIsWhole = true;  ///< the folder tree was created and stored completely
};

/// Checks that the stores are readable, creates the folders, and locks them until the object ends.
class RunPreparation {
 public:
  /// What happens when the list of Latest folders is empty.
  enum class EmptyLatestList {
    TakeDefault,  ///< the Latest folder of the tree is entered
    Leave,        ///< the list stays empty, because the user is asked for a folder
  };

  /// `program` must outlive the object.
  explicit RunPreparation(FieldpostProgram& program) : program_(program) {}

  /// Locks the program's own folder, loads the list of Latest folders, creates what is missing of the folder
  /// tree, and locks the folders that the run works in.
  [[nodiscard]] PreparationResult Prepare(EmptyLatestList empty);

 private:
  [[nodiscard]] std::string LockOwnFolder();
  [[nodiscard]] bool CreateFolders(EmptyLatestList empty);
  void CreateLogFolder();
  [[nodiscard]] std::string StoreProblem() const;
  [[nodiscard]] PathList WorkFolders() const;

  FieldpostProgram& program_;
  RunLock lock_;
};

}  // namespace fieldpost
