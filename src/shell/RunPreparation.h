// What comes before every run, whoever started it.
#pragma once

#include <string>

#include "environment/RunLock.h"
#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// Makes sure that the stores can be read and the folders are there, and keeps the folders for this run alone
/// until the object ends.
class RunPreparation {
 public:
  /// What becomes of a list of Latest folders that is empty.
  enum class EmptyLatestList {
    TakeDefault,  ///< the tree's own Latest folder is entered
    Leave,        ///< somebody at the screen emptied it, and is to be asked
  };

  explicit RunPreparation(FieldpostProgram& program) : program_(program) {}

  /// Takes the program's own folder, loads the Latest folder list, makes what is missing of the folder tree,
  /// and takes the folders that a run works in. Empty on success, else one line on why the run must not
  /// begin.
  [[nodiscard]] std::string Prepare(EmptyLatestList empty);

 private:
  void MakeLogFolder();
  [[nodiscard]] std::string StoreProblem() const;

  FieldpostProgram& program_;
  RunLock lock_;
};

}  // namespace fieldpost
