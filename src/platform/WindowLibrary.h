// The library that holds the program's windows: a run without them loads nothing of it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace fieldpost {

/// The library's file name.
inline constexpr std::string_view WindowLibraryName = "libfieldpost-window.so";

/// Where the library lies: "lib/fieldpost" beside the folder that the running program is in.
std::filesystem::path WindowLibraryFile();

/// Loads the library, and keeps it until the process ends.
class WindowLibrary {
 public:
  explicit WindowLibrary(std::filesystem::path file = WindowLibraryFile());

  /// Empty when the library is loaded, else one line on why it cannot be.
  [[nodiscard]] std::string Load();

  /// Shows the main window and returns the program's exit status when it was closed. The arguments are those
  /// of `main`. Only after Load() succeeded.
  [[nodiscard]] int Run(int argc, char** argv) const { return run_(argc, argv); }

 private:
  using Routine = int (*)(int, char**);

  std::filesystem::path file_;
  Routine run_ = nullptr;
};

}  // namespace fieldpost
