// Conversions between UTF-8 text or paths and the texts of widgets.
#pragma once

#include <QString>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/PathText.h"

namespace fieldpost {

/// Converts UTF-8 to the text of a widget. Bytes that are not UTF-8 become U+FFFD.
inline QString ToQt(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// Converts a path to the text of a widget.
inline QString PathToQt(const std::filesystem::path& path) {
  return ToQt(Utf8FromPath(path));
}

/// Converts the text of a widget to a path.
inline std::filesystem::path PathFromQt(const QString& text) {
  return PathFromUtf8(text.toStdString());
}

/// Converts the text of a widget to UTF-8.
inline std::string FromQt(const QString& text) {
  return text.toStdString();
}

}  // namespace fieldpost
