// The product codes of the Archive folder.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/FileSystem.h"

namespace fieldpost {

/// What came of listing the product-code folders, which are the folders directly in the Archive folder.
struct ProductCodeList {
  enum class State {
    Listed,
    Missing,     ///< there is no Archive folder
    Unreadable,  ///< the Archive folder cannot be listed
  };

  State state = State::Listed;
  std::vector<std::string> names;  ///< when listed, sorted by their bytes; a link to a folder is not one
  std::string problem;             ///< unless listed: one line with the path and the reason
};

/// Lists the product-code folders of an Archive folder. Never throws FileError.
[[nodiscard]] ProductCodeList ListProductCodes(const FileSystem& files, const std::filesystem::path& archive);

}  // namespace fieldpost
