// UTF-8 text and paths on their way to and from the widgets.
#pragma once

#include <QString>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/PathText.h"

namespace fieldpost {

/// A UTF-8 text for a widget; what is no UTF-8 becomes U+FFFD.
inline QString ToQt(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// A path for a widget.
inline QString PathToQt(const std::filesystem::path& path) {
  return ToQt(Utf8FromPath(path));
}

/// The path that a widget's text names.
inline std::filesystem::path PathFromQt(const QString& text) {
  return PathFromUtf8(text.toStdString());
}

/// A widget's text as UTF-8.
inline std::string FromQt(const QString& text) {
  return text.toStdString();
}

}  // namespace fieldpost
