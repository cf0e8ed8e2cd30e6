// INI files: one value read, or lines changed while every other byte stays.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace fieldpost {

/// A key and the value that it shall have.
struct IniEntry {
  std::string_view key;
  std::string_view value;
};

/// The value of a key, as the platform's own call reads it: names compare without regard to case; of sections
/// and keys of the same name the first counts; blanks round the value and one pair of double quotes are taken
/// off; it ends at its first NUL. At most MaxIniValueCharacters characters. Empty when the file, the section
/// or the key is missing, or the file cannot be read. Never throws.
std::string ReadIniValue(const FileSystem& files, const std::filesystem::path& file, std::string_view section,
                         std::string_view key);

/// The same for several keys of one section, in one reading of the file, each value whole.
std::vector<std::string> ReadIniValues(const FileSystem& files, const std::filesystem::path& file,
                                       std::string_view section, std::span<const std::string_view> keys);

/// Gives a key a value: changes its line, or adds one (and the section) where it is missing, and makes the
/// file when there is none. Every other byte stays; a file in which the value stands already is not written.
/// The file is replaced whole. A value with blanks or quotes at its ends is written in double quotes.
/// False, and the file as it was, when the value has a line break or a NUL in it, the file is no plain file,
/// is in UTF-16, or cannot be read or written. Never throws.
bool WriteIniValue(FileSystem& files, const std::filesystem::path& file, std::string_view section,
                   std::string_view key, std::string_view value, FileAccess access);

/// The same for several keys of one section, with one writing of the file: all are changed, or none.
bool WriteIniValues(FileSystem& files, const std::filesystem::path& file, std::string_view section,
                    std::span<const IniEntry> entries, FileAccess access);

/// The same. Returns one line on why nothing was changed; empty when all is written.
std::string TryWriteIniValues(FileSystem& files, const std::filesystem::path& file, std::string_view section,
                              std::span<const IniEntry> entries, FileAccess access);

/// One line on why a file cannot be read as an INI file; empty when it can, or is missing. Never throws.
std::string IniFileProblem(const FileSystem& files, const std::filesystem::path& file);

/// The path of the plain file in `folder` that bears `name` without regard to case: first the one spelt
/// exactly so, then the first by its bytes. `folder / name` when there is none. Never throws.
std::filesystem::path FindFileNoCase(const FileSystem& files, const std::filesystem::path& folder,
                                     std::string_view name);

}  // namespace fieldpost
