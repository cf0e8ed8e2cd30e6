#include "platform/IniFile.h"

#include <algorithm>
#include <optional>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "platform/IniText.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view InUtf16 = "it is in UTF-16, not in UTF-8";

bool IsUtf16(std::string_view bytes) {
  return bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
}

std::string CutAtNul(std::string text) {
  text.resize(std::min(text.find('\0'), text.size()));
  return text;
}

bool CanBeWritten(std::string_view section, std::span<const IniEntry> entries) {
  return IniText::IsValidSection(section) &&
         std::all_of(entries.begin(), entries.end(), [](const IniEntry& entry) {
           return IniText::IsValidKey(entry.key) && IniText::IsValidValue(entry.value);
         });
}

}  // namespace

std::string ReadIniValue(const FileSystem& files, const fs::path& file, std::string_view section,
                         std::string_view key) {
  const std::vector<std::string> values = ReadIniValues(files, file, section, {&key, 1});
  return std::string(FirstCharacters(values.front(), MaxIniValueCharacters));
}

std::vector<std::string> ReadIniValues(const FileSystem& files, const fs::path& file,
                                       std::string_view section, std::span<const std::string_view> keys) {
  std::vector<std::string> values(keys.size());
  try {
    if (!files.IsFile(file)) return values;
    const IniText text(files.ReadWhole(file, MaxIniFileBytes));
    std::transform(keys.begin(), keys.end(), values.begin(), [&](std::string_view key) {
      return CutAtNul(text.Value(section, key).value_or(std::string()));
    });
  } catch (const FileError&) {
    // An unreadable file has no values; IniFileProblem returns the reason.
  }
  return values;
}

bool WriteIniValue(FileSystem& files, const fs::path& file, std::string_view section, std::string_view key,
                   std::string_view value, FileAccess access) {
  const IniEntry entry{key, value};
  return WriteIniValues(files, file, section, {&entry, 1}, access).empty();
}

std::string WriteIniValues(FileSystem& files, const fs::path& file, std::string_view section,
                           std::span<const IniEntry> entries, FileAccess access) {
  if (!CanBeWritten(section, entries)) {
    return FileError("cannot write", file, "a value holds a line break or a zero byte").what();
  }
  try {
    std::string bytes = files.Exists(file) ? files.ReadWhole(file, MaxIniFileBytes) : std::string();
    if (IsUtf16(bytes)) return FileError("cannot write", file, InUtf16).what();
    IniText text(std::move(bytes));
    for (const IniEntry& entry : entries) text.SetValue(section, entry.key, entry.value);
    if (text.Changed()) files.SaveAtomically(file, text.Bytes(), access);
    return {};
  } catch (const FileError& error) {
    return error.what();
  }
}

std::string IniFileProblem(const FileSystem& files, const fs::path& file) {
  try {
    if (!files.Exists(file) || !IsUtf16(files.ReadWhole(file, MaxIniFileBytes))) return {};
    return FileError("cannot read", file, InUtf16).what();
  } catch (const FileError& error) {
    return error.what();
  }
}

fs::path FindFileNoCase(const FileSystem& files, const fs::path& folder, std::string_view name) {
  const fs::path exact = folder / PathFromUtf8(name);
  if (files.Exists(exact) || !files.IsFolder(folder)) return exact;
  try {
    for (const std::string& found : files.ListFiles(folder, name)) {
      if (EqualNoCase(found, name)) return folder / PathFromUtf8(found);
    }
  } catch (const FileError&) {
    // The file may be readable by its exact name even where the folder cannot be listed.
  }
  return exact;
}

}  // namespace fieldpost
