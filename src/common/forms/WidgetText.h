// Conversion of UTF-8 texts and paths to and from QString.
#pragma once

#include <QString>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/PathText.h"

namespace fieldpost {

/// Converts a UTF-8 text; each malformed sequence becomes U+FFFD.
inline QString ToQt(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// Converts a path.
inline QString PathToQt(const std::filesystem::path& path) {
  return ToQt(Utf8FromPath(path));
}

/// Converts a text to the path that it names.
inline std::filesystem::path PathFromQt(const QString& text) {
  return PathFromUtf8(text.toStdString());
}

/// Converts a text to UTF-8.
inline std::string FromQt(const QString& text) {
  return text.toStdString();
}

}  // namespace fieldpost
