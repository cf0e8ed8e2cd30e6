// The program's settings and the file that stores them.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace fieldpost {

/// The settings as texts (UTF-8), in the form in which the options dialog shows them and the file stores
/// them.
struct MailSettings {
  std::string ArchiveFolder;  ///< folder of archived files; ends in the separator
  std::string ProcessFolder;  ///< folder of documents that wait to be mailed; ends in the separator
  std::string SMTPServer;     ///< name or address
  std::string SenderAddress;
  std::string Organization;
  std::string MailUserName;
  std::string MailPassword;
  std::string MailHostName;         ///< name that EHLO announces to the server
  std::string NumAttachments;       ///< index, from 0, in the list of attachments per mail
  std::string PartnerID;            ///< letters and digits
  std::string UseZip;               ///< "True" or "False"
  std::string SendFault;            ///< "True" or "False"
  std::string SendPPC;              ///< "True" or "False"
  std::string UseDefaultMailSetup;  ///< "True" or "False"
  std::string SMTPPort;
  std::string TryCount;   ///< number of attempts to reach the server
  std::string Timeout;    ///< seconds
  std::string TlsMode;    ///< "auto", "required" or "none"; empty means "auto"
  std::string TlsCaFile;  ///< PEM file of trusted certificates; empty means the system's

  bool operator==(const MailSettings&) const = default;
};

/// The values of the settings that are shown as check boxes.
inline constexpr std::string_view CheckedText = "True";
inline constexpr std::string_view UncheckedText = "False";

/// A member of MailSettings and its name, which is also its key in the file.
struct MailSettingsField {
  std::string_view name;
  std::string MailSettings::*member;
};

/// All members of MailSettings, in the order in which they are stored.
inline constexpr std::array<MailSettingsField, 19> MailSettingsFields{{
    {"ArchiveFolder", &MailSettings::ArchiveFolder},
    {"ProcessFolder", &MailSettings::ProcessFolder},
    {"SMTPServer", &MailSettings::SMTPServer},
    {"SenderAddress", &MailSettings::SenderAddress},
    {"Organization", &MailSettings::Organization},
    {"MailUserName", &MailSettings::MailUserName},
    {"MailPassword", &MailSettings::MailPassword},
    {"MailHostName", &MailSettings::MailHostName},
    {"NumAttachments", &MailSettings::NumAttachments},
    {"PartnerID", &MailSettings::PartnerID},
    {"UseZip", &MailSettings::UseZip},
    {"SendFault", &MailSettings::SendFault},
    {"SendPPC", &MailSettings::SendPPC},
    {"UseDefaultMailSetup", &MailSettings::UseDefaultMailSetup},
    {"SMTPPort", &MailSettings::SMTPPort},
    {"TryCount", &MailSettings::TryCount},
    {"Timeout", &MailSettings::Timeout},
    {"TlsMode", &MailSettings::TlsMode},
    {"TlsCaFile", &MailSettings::TlsCaFile},
}};

inline constexpr std::string_view OptionsFileName = "Options.ini";
inline constexpr std::string_view MailOptionsSection = "Mail Options";
inline constexpr std::string_view PartnerIdKey = "PartnerID";

/// Stores MailSettings in "Options.ini" in the program's own folder. Only its owner may read the file,
/// because it contains the password. Each call opens the file and closes it again.
class MailSettingsStore {
 public:
  /// `ownFolder` is the program's own folder. Does not access the file.
  MailSettingsStore(FileSystem& files, std::filesystem::path ownFolder);

  /// Returns the stored settings. A setting is empty when it, or the file, is missing; all are empty when the
  /// file is unreadable, which Problem reports. Never throws.
  [[nodiscard]] MailSettings Load() const;

  /// Stores the settings by replacing the file once; only lines of changed values differ. Returns an empty
  /// text on success. When a value contains a line break or a NUL, or the file is unreadable or cannot be
  /// written, the file stays as it was, and the result is one line that says why.
  [[nodiscard]] std::string Save(const MailSettings& settings);

  /// Returns one line that says why the file is unreadable, or an empty text when it is readable or missing.
  [[nodiscard]] std::string Problem() const;

  /// Returns the path of the file, with its name in the letter case that it has on the disk.
  [[nodiscard]] std::filesystem::path File() const;

 private:
  FileSystem& files_;
  std::filesystem::path ownFolder_;
};

}  // namespace fieldpost
