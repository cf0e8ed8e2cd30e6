// What the options dialog loads and saves, in each of the places where it is kept.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/RunLists.h"
#include "environment/LatestFolderStore.h"
#include "environment/MailSettings.h"
#include "platform/FileSystem.h"
#include "platform/KeyStore.h"

namespace fieldpost {

inline constexpr std::string_view FaultlogIniName = "faultlog.ini";
inline constexpr std::string_view PlaceInfoSection = "PlaceInfo";

/// Everything that the options dialog shows. All texts are UTF-8.
struct OptionsValues {
  MailSettings settings;
  std::string faultlogRecipient;
  std::string ppcRecipient;
  PathList latestFolders;

  bool operator==(const OptionsValues&) const = default;
};

/// Loads and saves the options: the settings, the partner ID in two INI files, the recipients in the registry
/// and the Latest folders. Nothing here throws.
class OptionsStore {
 public:
  /// `settings` and `latestFolders` are the program-wide ones, which are kept in step with the files.
  /// `ownFolder` is the program's own folder. Touches no file.
  OptionsStore(FileSystem& files, KeyStore& keys, MailSettings& settings, PathList& latestFolders,
               const std::filesystem::path& ownFolder);

  /// What the dialog shows when it opens: what is kept, the defaults of port, try count, time-out and
  /// recipients where they are empty, and the partner ID of LoadPartnerID.
  OptionsValues LoadOptions(const std::filesystem::path& installPath);

  /// The partner ID to show. The service suite's, from "faultlog.ini" in the installation path, wins: it is
  /// at once copied into the settings and into "Options.ini". Else the one of the settings.
  std::string LoadPartnerID(const std::filesystem::path& installPath);

  /// Saves what the dialog shows, place after place; one that fails does not keep the others from being
  /// saved. False when any failed. An empty partner ID leaves that of "faultlog.ini" alone.
  bool SaveOptions(const OptionsValues& values, const std::filesystem::path& installPath);

  /// The places that the last SaveOptions could not write, each once, in the order of saving: the paths of
  /// files, and the registry's keys.
  [[nodiscard]] const std::vector<std::string>& UnsavedPlaces() const { return unsaved_; }

 private:
  void TakeMailOptions(const MailSettings& shown);
  void SaveSettings();
  void SavePartnerID(std::string_view partnerID, const std::filesystem::path& installPath);
  void SaveRecipient(std::string_view key, const std::string& address);
  void Note(bool saved, std::string place);

  FileSystem& files_;
  KeyStore& keys_;
  MailSettings& settings_;
  PathList& latestFolders_;
  MailSettingsStore settingsStore_;
  LatestFolderStore latestStore_;
  std::vector<std::string> unsaved_;
};

}  // namespace fieldpost
