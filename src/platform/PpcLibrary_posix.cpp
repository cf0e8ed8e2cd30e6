#include <dlfcn.h>

#include <cstdlib>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"
#include "platform/PpcLibrary.h"

namespace fieldpost {
namespace {

/// Whether the loader reports that the file itself is missing. A report on a library that the file depends on
/// begins with that library's name.
bool SaysMissing(std::string_view error, const std::string& file) {
  return error.starts_with(file + ": cannot open shared object file");
}

}  // namespace

std::filesystem::path PpcLibraryFile() {
  const char* const file = std::getenv("FIELDPOST_PPC_LIBRARY");
  if (file == nullptr || *file == '\0') return "libppcdb.so";
  std::error_code ignored;
  return std::filesystem::absolute(PathFromUtf8(file), ignored);
}

void PpcLibrary::Unload::operator()(void* library) const {
  ::dlclose(library);
}

PpcLibrary::PpcLibrary(std::filesystem::path file) : file_(std::move(file)) {}

PpcLibrary::State PpcLibrary::Load() {
  if (routine_ != nullptr) return State::Ready;
  problem_.clear();
  library_.reset(::dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library_) {
    const char* const error = ::dlerror();
    if (!file_.has_parent_path() && SaysMissing(error, file_.native())) return State::Missing;
    problem_ = "cannot load the PPC database library: " + EscapeControls(error);
    return State::Unusable;
  }
  routine_ = reinterpret_cast<Routine>(::dlsym(library_.get(), "PPCDBArchive"));
  if (routine_ != nullptr) return State::Ready;
  problem_ = "no routine PPCDBArchive in " + EscapeControls(Utf8FromPath(file_));
  library_.reset();
  return State::Unusable;
}

void PpcLibrary::PPCDBArchive(const std::filesystem::path& output, const std::string& pattern,
                              std::int16_t& first, std::int16_t& second) const {
  static_cast<void>(routine_(Utf8FromPath(output).c_str(), pattern.c_str(), &first, &second));
}

}  // namespace fieldpost
