#include "common/PathText.h"

namespace fieldpost {

std::filesystem::path PathFromUtf8(std::string_view text) {
  return std::u8string(text.begin(), text.end());
}

std::string Utf8FromPath(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::string WithSeparator(std::string_view folder, char separator) {
  std::string result(folder);
  if (!result.empty() && result.back() != separator) result += separator;
  return result;
}

}  // namespace fieldpost
