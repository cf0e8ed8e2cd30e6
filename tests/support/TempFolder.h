// A temporary folder for a test, removed at its end.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <string_view>

#include "common/PathText.h"

namespace fieldpost::test {

class TempFolder {
 public:
  TempFolder() {
    std::random_device random;
    path_ = std::filesystem::temp_directory_path() /
            ("fieldpost-test-" + std::to_string((static_cast<std::uint64_t>(random()) << 32U) | random()));
    std::filesystem::create_directory(path_);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

  /// Returns a path in the folder. Creates the folders above it.
  [[nodiscard]] std::filesystem::path operator/(std::string_view name) const {
    const std::filesystem::path result = path_ / PathFromUtf8(name);
    std::filesystem::create_directories(result.parent_path());
    return result;
  }

  /// Creates a folder in the folder and returns its path.
  std::filesystem::path Folder(std::string_view name) const {
    const std::filesystem::path result = path_ / PathFromUtf8(name);
    std::filesystem::create_directories(result);
    return result;
  }

  /// Writes a file into the folder and returns its path.
  std::filesystem::path Write(std::string_view name, std::string_view bytes) const {
    const std::filesystem::path result = *this / name;
    std::ofstream(result, std::ios::binary) << bytes;
    return result;
  }

 private:
  std::filesystem::path path_;
};

/// Returns the content of a file; empty when it cannot be read.
inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Returns the names in a folder.
inline std::set<std::string> Names(const std::filesystem::path& folder) {
  std::set<std::string> result;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    result.insert(Utf8FromPath(entry.path().filename()));
  }
  return result;
}

}  // namespace fieldpost::test
