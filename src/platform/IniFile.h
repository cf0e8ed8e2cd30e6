// Reading and writing values of INI files.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace fieldpost {

/// A key and the value to be written.
struct IniEntry {
  std::string_view key;
  std::string_view value;
};

/// Returns the value of a key as GetPrivateProfileString reads it: the case of ASCII letters is ignored in
/// the names of section and key; the first of several sections or keys of one name counts; blanks around the
/// value and one pair of double quotes are removed; the value ends at its first NUL, and is cut to
/// MaxIniValueCharacters characters. Empty when the file, the section or the key is missing, or the file
/// cannot be read. Never throws.
std::string ReadIniValue(const FileSystem& files, const std::filesystem::path& file, std::string_view section,
                         std::string_view key);

/// Returns the values of several keys of one section, in their order, from one reading of the file. They are
/// read as ReadIniValue reads them, except that long values are not cut. Never throws.
std::vector<std::string> ReadIniValues(const FileSystem& files, const std::filesystem::path& file,
                                       std::string_view section, std::span<const std::string_view> keys);

/// Sets the value of one key as WriteIniValues does. Returns false when that failed. Never throws.
[[nodiscard]] bool WriteIniValue(FileSystem& files, const std::filesystem::path& file,
                                 std::string_view section, std::string_view key, std::string_view value,
                                 FileAccess access);

/// Sets the values of several keys of one section: changes their lines, or adds them, and creates the section
/// and the file where they are missing. Every other byte stays. A value with blanks or quotes at its ends is
/// written in double quotes. The file is replaced atomically, and not written when it has all the values
/// already. Returns an empty text on success; otherwise nothing has changed, and the text is one line with
/// the reason: a value holds a line break or a NUL, or the file is not a regular file, is in UTF-16, or
/// cannot be read or written. Never throws.
[[nodiscard]] std::string WriteIniValues(FileSystem& files, const std::filesystem::path& file,
                                         std::string_view section, std::span<const IniEntry> entries,
                                         FileAccess access);

/// Returns one line on why a file cannot be read as an INI file; empty when it can, or is missing. Never
/// throws.
[[nodiscard]] std::string IniFileProblem(const FileSystem& files, const std::filesystem::path& file);

/// Returns the path of the regular file in `folder` whose name is `name`, ignoring the case of ASCII letters:
/// the one spelt exactly so, otherwise the first by its bytes. Returns `folder / name` when there is none.
/// Never throws.
std::filesystem::path FindFileNoCase(const FileSystem& files, const std::filesystem::path& folder,
                                     std::string_view name);

}  // namespace fieldpost
