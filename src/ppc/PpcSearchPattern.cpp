#include "ppc/PpcSearchPattern.h"

#include "common/Text.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view AnyXml = "*.xml";

/// `subfolder` is empty or ends in the separator.
std::string PatternOf(std::string_view value, std::string_view subfolder, char separator) {
  value = value.substr(0, value.find('\0'));
  if (value.empty()) return {};
  if (value.ends_with(AnyXml)) return std::string(value);
  std::string pattern;
  if (value.ends_with(".xml") || value.ends_with(separator)) {
    pattern = value.substr(0, value.rfind(separator) + 1);
  } else {
    pattern.append(value) += separator;
  }
  return pattern.append(subfolder).append(AnyXml);
}

}  // namespace

std::string PatternOfDatabase(std::string_view value, char separator) {
  return PatternOf(value, {}, separator);
}

std::string PatternOfInstallation(std::string_view value, char separator) {
  return PatternOf(value, std::string("PPCdb") + separator, separator);
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
  constexpr std::size_t none = std::string_view::npos;
  std::size_t at = 0;
  std::size_t star = none;  // position of the last "*" seen, and the end of what it matches
  std::size_t starEnd = 0;
  std::size_t i = 0;
  while (i < name.size()) {
    if (at < pattern.size() && pattern[at] == '*') {
      star = at++;
      starEnd = i;
    } else if (at < pattern.size() &&
               (pattern[at] == '?' || EqualNoCase(name.substr(i, 1), pattern.substr(at, 1)))) {
      ++at;
      ++i;
    } else if (star != none) {
      at = star + 1;
      i = ++starEnd;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == none;
}

std::vector<fs::path> FilesOfPattern(const FileSystem& files, std::string_view pattern) {
  const fs::path whole = PathFromUtf8(pattern);
  const fs::path folder = whole.parent_path();
  if (folder.empty() || !files.IsFolder(folder)) return {};
  const std::string wanted = Utf8FromPath(whole.filename());
  std::vector<fs::path> found;
  for (const std::string& name : files.ListFiles(folder, "")) {
    if (MatchesPattern(name, wanted)) found.push_back(folder / PathFromUtf8(name));
  }
  return found;
}

}  // namespace fieldpost
