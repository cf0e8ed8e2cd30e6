// The program's settings, and the file that keeps them between runs.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace fieldpost {

/// The settings, all as texts (UTF-8), in the form in which the options dialog shows and stores them.
struct MailSettings {
  std::string ArchiveFolder;  ///< archived files; ends in the separator
  std::string ProcessFolder;  ///< documents waiting to be mailed; ends in the separator
  std::string SMTPServer;     ///< name or address
  std::string SenderAddress;
  std::string Organization;
  std::string MailUserName;
  std::string MailPassword;
  std::string MailHostName;         ///< announced to the server
  std::string NumAttachments;       ///< place in the list of attachments per mail, from 0
  std::string PartnerID;            ///< letters and digits
  std::string UseZip;               ///< "True" or "False"
  std::string SendFault;            ///< "True" or "False"
  std::string SendPPC;              ///< "True" or "False"
  std::string UseDefaultMailSetup;  ///< state of a check box
  std::string SMTPPort;
  std::string TryCount;   ///< attempts to reach the server
  std::string Timeout;    ///< seconds
  std::string TlsMode;    ///< "auto", "required" or "none"; empty means "auto"
  std::string TlsCaFile;  ///< PEM file of trusted certificates; empty means the system's

  bool operator==(const MailSettings&) const = default;
};

/// What an empty setting stands for.
inline constexpr std::string_view DefaultSmtpPort = "25";
inline constexpr std::string_view DefaultTryCount = "2";
inline constexpr std::string_view DefaultTimeoutSeconds = "10";

/// The settings that are check boxes hold one of these.
inline constexpr std::string_view CheckedText = "True";
inline constexpr std::string_view UncheckedText = "False";

/// A property of MailSettings and its name, which is its key in the file.
struct MailSettingsField {
  std::string_view name;
  std::string MailSettings::*member;
};

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

/// MailSettings in "Options.ini" in the program's own folder. The file is readable by its owner alone,
/// because the password is in it. It is read anew at each call and never held open.
class MailSettingsStore {
 public:
  /// `ownFolder` is the program's own folder. Touches no file.
  MailSettingsStore(FileSystem& files, std::filesystem::path ownFolder);

  /// The stored settings; what was never stored is empty. Never throws.
  [[nodiscard]] MailSettings Load() const;

  /// Stores the settings with one writing of the file, which touches the lines of changed values only. False,
  /// and nothing changed, when a value has a line break or a NUL in it or the file cannot be written.
  bool Save(const MailSettings& settings);

  /// The same. Returns one line on why nothing was stored; empty when the settings are.
  std::string TrySave(const MailSettings& settings);

  /// One line on why the stored settings cannot be read; empty when they can, or were never stored.
  [[nodiscard]] std::string Problem() const;

  /// The file's path, however its name is spelt on the disk.
  [[nodiscard]] std::filesystem::path File() const;

 private:
  FileSystem& files_;
  std::filesystem::path ownFolder_;
};

}  // namespace fieldpost
