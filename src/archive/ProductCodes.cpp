#include "archive/ProductCodes.h"

namespace fieldpost {

ProductCodeList ListProductCodes(const FileSystem& files, const std::filesystem::path& archive) {
  using State = ProductCodeList::State;
  try {
    return {.state = State::Listed, .names = files.OpenFolder(archive)->ListFolders(), .problem = {}};
  } catch (const FileError& error) {
    return {.state = error.IsMissing() ? State::Missing : State::Unreadable,
            .names = {},
            .problem = error.what()};
  }
}

}  // namespace fieldpost
