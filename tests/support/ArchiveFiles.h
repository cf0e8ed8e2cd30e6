// A fixture with files in the Archive folder.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/WindowSite.h"

namespace fieldpost::test {

/// A site whose Archive folder the test fills.
struct ArchiveSite : WindowSite {
  [[nodiscard]] std::filesystem::path Archive(std::string_view name) const {
    return Tree("Archive") / PathFromUtf8(name);
  }

  /// Writes an archived file with a mode indicator, padded to a size in bytes.
  std::filesystem::path Archived(std::string_view name, std::string_view mode = "P",
                                 std::size_t size = 0) const {
    std::string xml = fmt::format("<FLFILE><MODEIND>{}</MODEIND></FLFILE>", mode);
    xml.append(size - std::min(size, xml.size()), '\n');
    return folder.Write("home/Faultlog/Archive/" + std::string(name), xml);
  }

  /// Creates hard links to an archived file, "000000.xml" and so on, in a product code.
  void Multiply(const std::filesystem::path& file, std::string_view productCode, std::size_t count) const {
    const std::filesystem::path product = folder.Folder("home/Faultlog/Archive/" + std::string(productCode));
    for (std::size_t i = 0; i < count; ++i) {
      std::filesystem::create_hard_link(file, product / PathFromUtf8(fmt::format("{:06}.xml", i)));
    }
  }

  /// Returns every file and empty folder in the Archive, as sorted relative paths.
  [[nodiscard]] std::vector<std::string> Left() const {
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Tree("Archive"))) {
      if (entry.is_directory() && !std::filesystem::is_empty(entry)) continue;
      left.push_back(Utf8FromPath(entry.path().lexically_relative(Tree("Archive"))));
    }
    std::sort(left.begin(), left.end());
    return left;
  }
};

}  // namespace fieldpost::test
