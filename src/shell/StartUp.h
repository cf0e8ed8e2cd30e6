// What the start of the window does before anybody can use it.
#pragma once

#include <functional>

#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// The steps of a start with the window; the window calls them in their order. None of them shows anything.
class StartUp {
 public:
  explicit StartUp(FieldpostProgram& program) : program_(program) {}

  /// Tries to create one of each thing that the program is made of; whatever is missing is found out again
  /// where it is used.
  void CheckComponents();

  /// Makes what is missing of the folder tree. Whether the day has a log and whether a list of Latest folders
  /// is stored is looked at before, since making the tree writes both.
  void CreateFolderTree();

  /// Has the options loaded, without showing them, when no list of Latest folders was stored; writes the
  /// day's first line when the day had no log.
  void OpenDailyLogHeader(const std::function<void()>& loadOptions);

  /// Tells the registry where the program's own folder is.
  void RegisterProgramFolder();

 private:
  FieldpostProgram& program_;
  bool hadLog_ = false;
  bool hadLatestList_ = false;
};

}  // namespace fieldpost
