// Paths as UTF-8 text and back.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace fieldpost {

/// The platform's path separator.
inline constexpr char PathSeparator = static_cast<char>(std::filesystem::path::preferred_separator);

/// Converts UTF-8 text to a path. The constructor of std::filesystem::path would read the text in the
/// system's narrow encoding, which is not UTF-8 on every system.
std::filesystem::path PathFromUtf8(std::string_view text);

/// Converts a path to UTF-8 text.
std::string Utf8FromPath(const std::filesystem::path& path);

/// Returns the text of a folder with `separator` at its end. An empty text stays empty.
std::string WithSeparator(std::string_view folder, char separator = PathSeparator);

}  // namespace fieldpost
