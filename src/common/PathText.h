// Paths as UTF-8 text and back.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace fieldpost {

/// The platform's separator between the parts of a path.
inline constexpr char PathSeparator = static_cast<char>(std::filesystem::path::preferred_separator);

/// The path that a UTF-8 text names. A path's own constructor would read the text in the system's narrow
/// encoding, which is not UTF-8 everywhere.
std::filesystem::path PathFromUtf8(std::string_view text);

/// A path as UTF-8 text.
std::string Utf8FromPath(const std::filesystem::path& path);

/// A folder's text with the separator at its end; an empty text stays empty.
std::string WithSeparator(std::string_view folder, char separator = PathSeparator);

}  // namespace fieldpost
