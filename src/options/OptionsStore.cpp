#include "options/OptionsStore.h"

#include <algorithm>
#include <utility>

#include "common/PathText.h"
#include "environment/EditWinReg.h"
#include "environment/FolderTree.h"
#include "environment/Recipients.h"
#include "environment/SettingValues.h"
#include "platform/IniFile.h"

namespace fieldpost {
namespace {

std::string_view WithoutTrailingBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

/// Notes each place that could not be written, once.
class OptionsStore::UnsavedPlaces {
 public:
  void Note(bool isSaved, std::string place) {
    if (isSaved || std::ranges::find(places_, place) != places_.end()) return;
    places_.push_back(std::move(place));
  }

  [[nodiscard]] std::vector<std::string> Take() { return std::move(places_); }

 private:
  std::vector<std::string> places_;
};

OptionsStore::OptionsStore(FileSystem& files, KeyStore& keys, MailSettings& settings, PathList& latestFolders,
                           const std::filesystem::path& ownFolder)
    : files_(files),
      keys_(keys),
      settings_(settings),
      latestFolders_(latestFolders),
      settingsStore_(files, ownFolder),
      latestStore_(files, ownFolder) {}

OptionsValues OptionsStore::LoadOptions(const std::filesystem::path& installPath) {
  EditWinReg registry(keys_);
  OptionsValues values{
      .settings = settings_,
      .faultlogRecipient = FaultlogRecipient(registry),
      .ppcRecipient = PpcRecipient(registry),
      .latestFolders = latestFolders_,
  };
  FillInNumberDefaults(values.settings);
  values.settings.PartnerID = LoadPartnerID(installPath);
  return values;
}

std::string OptionsStore::LoadPartnerID(const std::filesystem::path& installPath) {
  const std::filesystem::path suiteFile = FindFileNoCase(files_, installPath, FaultlogIniName);
  const std::string found = ReadIniValue(files_, suiteFile, PlaceInfoSection, PartnerIdKey);
  if (found.empty()) return settings_.PartnerID;
  settings_.PartnerID = WithoutTrailingBlanks(found);
  UnsavedPlaces ignored;  // the next start copies it again
  SavePartnerID(settings_.PartnerID, installPath, ignored);
  return settings_.PartnerID;
}

std::vector<std::string> OptionsStore::SaveOptions(const OptionsValues& values,
                                                   const std::filesystem::path& installPath) {
  UnsavedPlaces unsaved;
  settings_.ArchiveFolder = values.settings.ArchiveFolder;
  settings_.ProcessFolder = values.settings.ProcessFolder;
  SaveSettings(unsaved);
  if (!values.settings.PartnerID.empty()) SavePartnerID(values.settings.PartnerID, installPath, unsaved);
  TakeMailOptions(values.settings);
  SaveSettings(unsaved);
  SaveRecipient(FaultlogRecipientKey, values.faultlogRecipient, unsaved);
  SaveRecipient(PpcRecipientKey, values.ppcRecipient, unsaved);
  settings_.MailPassword = values.settings.MailPassword;
  SaveSettings(unsaved);
  latestFolders_ = values.latestFolders;
  unsaved.Note(latestStore_.SaveLatestFolders(latestFolders_).empty(), Utf8FromPath(latestStore_.File()));
  return unsaved.Take();
}

/// Copies the settings but the folders and the password, which are saved in steps of their own.
void OptionsStore::TakeMailOptions(const MailSettings& shown) {
  MailSettings taken = shown;
  taken.ArchiveFolder = settings_.ArchiveFolder;
  taken.ProcessFolder = settings_.ProcessFolder;
  taken.MailPassword = settings_.MailPassword;
  settings_ = std::move(taken);
}

/// An empty partner ID counts as missing in this run, but does not overwrite the one in the file.
void OptionsStore::SaveSettings(UnsavedPlaces& unsaved) {
  MailSettings stored = settings_;
  if (stored.PartnerID.empty()) stored.PartnerID = settingsStore_.Load().PartnerID;
  unsaved.Note(settingsStore_.Save(stored).empty(), Utf8FromPath(settingsStore_.File()));
}

void OptionsStore::SavePartnerID(std::string_view partnerID, const std::filesystem::path& installPath,
                                 UnsavedPlaces& unsaved) {
  const std::filesystem::path own = settingsStore_.File();
  unsaved.Note(WriteIniValue(files_, own, MailOptionsSection, PartnerIdKey, partnerID, FileAccess::OwnerOnly),
               Utf8FromPath(own));
  const std::filesystem::path suite = FindFileNoCase(files_, installPath, FaultlogIniName);
  unsaved.Note(WriteIniValue(files_, suite, PlaceInfoSection, PartnerIdKey, partnerID, FileAccess::ByUmask),
               Utf8FromPath(suite));
}

void OptionsStore::SaveRecipient(std::string_view key, const std::string& address, UnsavedPlaces& unsaved) {
  EditWinReg registry(keys_);
  registry.CreateNewKey(HKEY_LOCAL_MACHINE, key);
  registry.SetKeyValue(HKEY_LOCAL_MACHINE, key, DefaultValue, address, REG_SZ);
  unsaved.Note(registry.QueryText(HKEY_LOCAL_MACHINE, key, DefaultValue) == address,
               "HKLM\\" + std::string(key));
}

}  // namespace fieldpost
