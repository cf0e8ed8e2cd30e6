#include "environment/MailSettings.h"

#include <utility>
#include <vector>

#include "platform/IniFile.h"

namespace fieldpost {

MailSettingsStore::MailSettingsStore(FileSystem& files, std::filesystem::path ownFolder)
    : files_(files), ownFolder_(std::move(ownFolder)) {}

MailSettings MailSettingsStore::Load() const {
  std::vector<std::string_view> keys;
  for (const MailSettingsField& field : MailSettingsFields) keys.push_back(field.name);
  std::vector<std::string> values = ReadIniValues(files_, File(), MailOptionsSection, keys);
  MailSettings settings;
  for (std::size_t i = 0; i < values.size(); ++i)
    settings.*MailSettingsFields.at(i).member = std::move(values[i]);
  return settings;
}

std::string MailSettingsStore::Save(const MailSettings& settings) {
  std::vector<IniEntry> entries;
  for (const MailSettingsField& field : MailSettingsFields) {
    entries.push_back({field.name, settings.*field.member});
  }
  return WriteIniValues(files_, File(), MailOptionsSection, entries, FileAccess::OwnerOnly);
}

std::string MailSettingsStore::Problem() const {
  return IniFileProblem(files_, File());
}

std::filesystem::path MailSettingsStore::File() const {
  return FindFileNoCase(files_, ownFolder_, OptionsFileName);
}

}  // namespace fieldpost
