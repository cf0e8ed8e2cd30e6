#include "archive/ProductCodes.h"

#include <system_error>

namespace fieldpost {

ProductCodeList ListProductCodes(const FileSystem& files, const std::filesystem::path& archive) {
  using State = ProductCodeList::State;
  try {
    return {.state = State::Listed, .names = files.OpenFolder(archive)->ListFolders(), .problem = {}};
  } catch (const FileError& error) {
    return {
        .state = IsMissing(error) ? State::Missing : State::Unreadable, .names = {}, .problem = error.what()};
  }
}

bool IsMissing(const FileError& error) {
  return std::errc(error.Number()) == std::errc::no_such_file_or_directory;
}

}  // namespace fieldpost
