#include "platform/IniFile.h"

#include <algorithm>
#include <optional>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"
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

/// The first MaxIniValueCharacters characters. Bytes that are no UTF-8 count as a character each.
std::string CutToLength(std::string text) {
  std::size_t at = 0;
  for (std::size_t characters = 0; characters < MaxIniValueCharacters && at < text.size(); ++characters) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    const std::size_t following = lead >= 0xF0U ? 3 : lead >= 0xE0U ? 2 : lead >= 0xC0U ? 1 : 0;
    const std::size_t end = std::min(text.size(), at + following);
    while (at < end && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U) ++at;
  }
  text.resize(at);
  return text;
}

bool AreFit(std::string_view section, std::span<const IniEntry> entries) {
  return IniText::IsFitSection(section) &&
         std::all_of(entries.begin(), entries.end(), [](const IniEntry& entry) {
           return IniText::IsFitKey(entry.key) && IniText::IsFitValue(entry.value);
         });
}

}  // namespace

std::string ReadIniValue(const FileSystem& files, const fs::path& file, std::string_view section,
                         std::string_view key) {
  return CutToLength(std::move(ReadIniValues(files, file, section, {&key, 1}).front()));
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
    // what cannot be read holds nothing
  }
  return values;
}

bool WriteIniValue(FileSystem& files, const fs::path& file, std::string_view section, std::string_view key,
                   std::string_view value, FileAccess access) {
  const IniEntry entry{key, value};
  return WriteIniValues(files, file, section, {&entry, 1}, access);
}

bool WriteIniValues(FileSystem& files, const fs::path& file, std::string_view section,
                    std::span<const IniEntry> entries, FileAccess access) {
  return TryWriteIniValues(files, file, section, entries, access).empty();
}

std::string TryWriteIniValues(FileSystem& files, const fs::path& file, std::string_view section,
                              std::span<const IniEntry> entries, FileAccess access) {
  if (!AreFit(section, entries)) return FileError("cannot write", file, "a value cannot be a line").what();
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
    // a folder that cannot be listed may still be entered by name
  }
  return exact;
}

}  // namespace fieldpost
