// The steps of a start with the window.
#pragma once

#include <functional>

#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// What a start found before it created the folder tree, which writes both files.
struct StartState {
  bool hadLog = false;         ///< the log of the day existed
  bool hadLatestList = false;  ///< a list of Latest folders was stored
};

/// The steps of a start, in the order in which the main window calls them. None of them shows anything.
class StartUp {
 public:
  /// `program` must outlive the object.
  explicit StartUp(FieldpostProgram& program) : program_(program) {}

  /// Creates one object of each component. A component that is missing is reported only where it is used.
  void CheckComponents();

  /// Creates what is missing of the folder tree. Returns what was there before.
  [[nodiscard]] StartState CreateFolderTree();

  /// Calls `loadOptions`, which loads the options dialog without showing it, when no list of Latest folders
  /// was stored. Writes the first line of the day's log when the day had no log.
  void OpenDailyLogHeader(const StartState& before, const std::function<void()>& loadOptions);

  /// Writes the path of the program's own folder into the registry.
  void RegisterProgramFolder();

 private:
  FieldpostProgram& program_;
};

}  // namespace fieldpost
