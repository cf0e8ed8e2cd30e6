// Loads and saves what the options dialog shows.
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

inline constexpr std::string_view PlaceInfoSection = "PlaceInfo";

/// The values that the options dialog shows. All texts are UTF-8.
struct OptionsValues {
  MailSettings settings;
  std::string faultlogRecipient;
  std::string ppcRecipient;
  PathList latestFolders;

  bool operator==(const OptionsValues&) const = default;
};

/// Loads and saves the options: the mail settings in "Options.ini", the partner ID in "Options.ini" and in
/// the service suite's "faultlog.ini", the recipients in the registry, and the list of Latest folders. Never
/// throws.
class OptionsStore {
 public:
  /// `settings` and `latestFolders` are the program-wide ones; loading and saving keep them equal to the
  /// files. `ownFolder` is the program's own folder. Reads and writes no file yet.
  OptionsStore(FileSystem& files, KeyStore& keys, MailSettings& settings, PathList& latestFolders,
               const std::filesystem::path& ownFolder);

  /// Returns what the dialog shows when it opens: the stored options, with the defaults of port, try count,
  /// timeout and recipients where these are empty, and the partner ID of LoadPartnerID.
  OptionsValues LoadOptions(const std::filesystem::path& installPath);

  /// Returns the partner ID to show. The service suite's, from "faultlog.ini" in the installation path, takes
  /// precedence over the one in the settings, and is copied into the settings and into "Options.ini" at once.
  std::string LoadPartnerID(const std::filesystem::path& installPath);

  /// Saves what the dialog shows, place after place; a place that fails does not keep the others from being
  /// saved. An empty partner ID leaves that of "faultlog.ini" alone. Returns the places that could not be
  /// written, each once, in the order of saving: paths of files, and keys of the registry. None when
  /// everything was saved.
  [[nodiscard]] std::vector<std::string> SaveOptions(const OptionsValues& values,
                                                     const std::filesystem::path& installPath);

 private:
  class UnsavedPlaces;

  void TakeMailOptions(const MailSettings& shown);
  void SaveSettings(UnsavedPlaces& unsaved);
  void SavePartnerID(std::string_view partnerID, const std::filesystem::path& installPath,
                     UnsavedPlaces& unsaved);
  void SaveRecipient(std::string_view key, const std::string& address, UnsavedPlaces& unsaved);

  FileSystem& files_;
  KeyStore& keys_;
  MailSettings& settings_;
  PathList& latestFolders_;
  MailSettingsStore settingsStore_;
  LatestFolderStore latestStore_;
};

}  // namespace fieldpost
