#include <dlfcn.h>

#include <system_error>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"
#include "platform/WindowLibrary.h"

namespace fieldpost {

std::filesystem::path WindowLibraryFile() {
  std::error_code ignored;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return program.parent_path().parent_path() / "lib" / "fieldpost" / WindowLibraryName;
}

WindowLibrary::WindowLibrary(std::filesystem::path file) : file_(std::move(file)) {}

std::string WindowLibrary::Load() {
  void* const library = ::dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return "cannot load the program's windows: " + EscapeControls(::dlerror());
  run_ = reinterpret_cast<Routine>(::dlsym(library, "FieldpostWindow"));
  if (run_ == nullptr) return "no windows of the program in " + EscapeControls(Utf8FromPath(file_));
  return {};
}

}  // namespace fieldpost
