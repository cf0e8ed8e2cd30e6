// The library of the program's windows, which an unattended run does not load.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace fieldpost {

/// The filename of the library.
inline constexpr std::string_view WindowLibraryName = "libfieldpost-window.so";

/// Returns the path of the library: in "lib/fieldpost" beside the folder of the running program.
std::filesystem::path WindowLibraryFile();

/// The library, which stays loaded until the process ends.
class WindowLibrary {
 public:
  explicit WindowLibrary(std::filesystem::path file = WindowLibraryFile());

  /// Loads the library. Returns an empty text on success, otherwise one line with the reason.
  [[nodiscard]] std::string Load();

  /// Shows the main window, waits until it is closed, and returns the program's exit status. The arguments
  /// are those of `main`. Load must have succeeded.
  [[nodiscard]] int Run(int argc, char** argv) const { return run_(argc, argv); }

 private:
  using Routine = int (*)(int, char**);

  std::filesystem::path file_;
  Routine run_ = nullptr;
};

}  // namespace fieldpost
